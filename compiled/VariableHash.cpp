// Variable hash table: numbering of variable names, the run-time lookups, and the section body
// that the loader reads back and probes with the same hash.
#include <vector>

#include "compiled/VariableHash.h"

#include <cassert>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "compiled/Dictionary.h"
#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"
#include "value/AggregateIndex.h"
#include "value/Variable.h"
#include "value/VariableList.h"

namespace {

constexpr int VARIABLE_RECORD_SIZE = 8;

// Read limits. The bucket count and the variable count must keep every array size within 31
// bits on the loader's side; the variable count has a looser and a tighter bound, both reported
// alike, and the tighter one is in force.
constexpr uint32_t MAX_VARIABLE_COUNT_LOOSE = 0x1FFFFFFF;
constexpr uint32_t MAX_VARIABLE_COUNT = 0x7FFFFFF;
const TableShape SHAPE = {
    "variable_hash_header",   "variable_count",   "variable_hash_bucket.index out of range",
    MAX_VARIABLE_COUNT_LOOSE, MAX_VARIABLE_COUNT, UINT32_MAX,
    TABLE_HEADER_SIZE};
// Entries first allocated for a table; they double as the table fills, up to its capacity.
constexpr int VARIABLE_HASH_FIRST_ALLOCATION = 8;

int measured(const char* text, int length) {
    return length == -1 ? static_cast<int>(std::strlen(text)) : length;
}

}  // namespace

// The entries and both link arrays of a table of 'size' entries in one block, so that the many
// small tables of a program (one per function) cost one allocation each rather than three. The
// entries are empty and the links -1 (the end of a chain).
VariableHash::Arrays VariableHash::NewArrays(int size) {
    const size_t count = size > 0 ? static_cast<size_t>(size) : 0;
    Arrays arrays;
    arrays.block = new char[count * (sizeof(_VH_Entry) + 2 * sizeof(int))];
    arrays.entries = reinterpret_cast<_VH_Entry*>(arrays.block);
    for (size_t i = 0; i < count; ++i) new (&arrays.entries[i]) _VH_Entry{0, 0, nullptr};
    arrays.next = reinterpret_cast<int*>(arrays.block + count * sizeof(_VH_Entry));
    arrays.run_last = arrays.next + count;
    for (size_t i = 0; i < 2 * count; ++i) new (&arrays.next[i]) int(-1);
    return arrays;
}

void VariableHash::Adopt(const Arrays& arrays) {
    delete[] block_;
    block_ = arrays.block;
    entries_ = arrays.entries;
    next_ = arrays.next;
    run_last_ = arrays.run_last;
}

VariableHash::VariableHash(Dictionary* dictionary, int bucket_bits, int capacity, int count)
    : bucket_bits_(bucket_bits),
      bucket_count_(1 << (bucket_bits & 31)),
      bucket_entries_(0),
      block_(nullptr),
      next_(nullptr),
      run_last_(nullptr),
      capacity_(capacity),
      allocated_(0),
      entries_(nullptr),
      count_(count),
      dictionary_(dictionary) {
    assert(capacity >= 0 && count >= 0 && count <= capacity);
    // Buckets and entries take memory as they are used (see BucketArray and Allocate).
    buckets_.Reset(0);
    Allocate(count_);
}

VariableHash::VariableHash(TarnApplication* application, Dictionary* dictionary,
                           VariableHash& other, bool clone)
    : buckets_(other.buckets_),
      bucket_bits_(other.bucket_bits_),
      bucket_count_(other.bucket_count_),
      bucket_entries_(other.bucket_entries_),
      block_(nullptr),
      next_(nullptr),
      run_last_(nullptr),
      capacity_(other.capacity_),
      allocated_(other.allocated_),
      entries_(nullptr),
      count_(other.count_),
      dictionary_(dictionary),
      error_(other.error_) {
    Adopt(NewArrays(allocated_));
    if (allocated_ > 0) {
        std::memcpy(next_, other.next_, sizeof(int) * static_cast<size_t>(allocated_));
        std::memcpy(run_last_, other.run_last_, sizeof(int) * static_cast<size_t>(allocated_));
    }
    for (int i = 0; i < allocated_; ++i) {
        entries_[i] = other.entries_[i];
        if (clone && entries_[i].variable != nullptr) {
            entries_[i].variable = entries_[i].variable->Clone(application);
        }
    }
}

VariableHash::~VariableHash() {
    delete[] block_;
}

// ---- insertion ----

int VariableHash::Insert(Variable* variable) {
    const String& name = variable->name();
    return Insert(-1, name.c_str(), name.length(), variable);
}

int VariableHash::Insert(const char* name, int length) {
    return Insert(-1, name, length, nullptr);
}

int VariableHash::Insert(int name_index) {
    return Insert(name_index, nullptr, -1, nullptr);
}

int VariableHash::Insert(int name_index, const char* name, int length, Variable* variable) {
    if (count_ >= capacity_) Grow();
    int added = count_;
    if (added >= allocated_) Allocate(added + 1);
    if (name != nullptr) {
        length = measured(name, length);
        if (name_index == -1) name_index = dictionary_->Entry_Add(name, length);
    } else {
        name = dictionary_->Entry(name_index, &length);
    }
    entries_[added] = _VH_Entry{name_index, Version(), variable};
    next_[added] = -1;
    run_last_[added] = -1;
    ++count_;
    // A name the dictionary does not hold cannot be hashed: the entry keeps its number but no
    // lookup will reach it.
    if (name == nullptr) return added;

    int bucket = BucketOf(name, length);
    int previous = -1;
    int twins = -1;  // the first of the new name's twins, when it has any
    int current = buckets_.Head(bucket);
    if (current == -1) ++bucket_entries_;
    for (int steps = 0; IsEntry(current) && current != added && steps < count_; ++steps) {
        int size = 0;
        const char* text = dictionary_->Entry(entries_[current].name_index, &size);
        int order = name_order(text, size, name, length);
        if (order > 0) break;
        if (order == 0) twins = current;
        previous = RunEnd(current, added);
        current = next_[previous];
    }
    next_[added] = IsEntry(current) && current != added ? current : -1;
    if (previous == -1) {
        buckets_.SetHead(bucket, added);
    } else {
        next_[previous] = added;
    }
    // The new entry ends its twins' run (or starts one of its own).
    if (twins != -1) run_last_[twins] = added;
    return added;
}

// ---- lookup ----

int VariableHash::Seek(int name_index, const char* name, int length, _VH_Entry** out) {
    if (out != nullptr) *out = nullptr;
    if (name == nullptr) {
        name = dictionary_->Entry(name_index, &length);
        if (name == nullptr) return -1;
    } else {
        length = measured(name, length);
    }
    int current = buckets_.Head(BucketOf(name, length));
    // A chain read from a file may loop; no chain is longer than the table.
    for (int steps = 0; IsEntry(current) && steps < count_; ++steps) {
        int size = 0;
        const char* text = dictionary_->Entry(entries_[current].name_index, &size);
        int order = name_order(text, size, name, length);
        if (order > 0) return -1;
        if (order == 0) {
            if (out != nullptr) *out = &entries_[current];
            return current;
        }
        current = next_[RunEnd(current, -1)];
    }
    return -1;
}

int VariableHash::Find(Variable** out, const char* name, int length, int create) {
    _VH_Entry* entry = nullptr;
    int i = Seek(-1, name, length, &entry);
    if (i == -1) return 0;
    if (create != 0 && entry->variable == nullptr) MakeVariable(i);
    if (out != nullptr) *out = entry->variable;
    return 1;
}

Variable* VariableHash::Index(int i, int create) {
    if (!IsEntry(i)) return nullptr;
    if (create != 0 && entries_[i].variable == nullptr) MakeVariable(i);
    return entries_[i].variable;
}

// Names with array parts read "name[1][2]": each part selects an element of the one before, and
// each index must be a whole number from 1 up, since arrays are numbered from 1. With 'create'
// set, a missing name is declared and missing elements are made.
int VariableHash::LookupVariable_Fancy(Variable** out, const char* name, int length, int create) {
    if (out != nullptr) *out = nullptr;
    length = measured(name, length);
    const char* bracket = static_cast<const char*>(std::memchr(name, '[', length));
    int base_length = bracket == nullptr ? length : static_cast<int>(bracket - name);
    Variable* variable = nullptr;
    if (Find(&variable, name, base_length, create) == 0) {
        if (create == 0) return 0;
        variable = Index(Insert(name, base_length), 1);
    }
    if (variable == nullptr) return 0;
    int position = base_length;
    while (position < length) {
        const char* close = static_cast<const char*>(
            std::memchr(name + position, ']', static_cast<size_t>(length - position)));
        int64_t index = 0;
        int digits = 0;
        for (int k = position + 1; close != nullptr && name + k < close; ++k, ++digits) {
            if (name[k] < '0' || name[k] > '9' || index > 0x7FFFFFFF) {
                digits = -1;
                break;
            }
            index = index * 10 + (name[k] - '0');
        }
        if (name[position] != '[' || close == nullptr || digits <= 0 || index < 1 ||
            index > 0x7FFFFFFF) {
            Error(String("Array index must be positive integer"));
            return 0;
        }
        variable = variable->Element(AggregateIndex(static_cast<int>(index)), create);
        if (variable == nullptr) return 0;
        position = static_cast<int>(close - name) + 1;
    }
    if (out != nullptr) *out = variable;
    return 1;
}

// ---- run-time changes ----

// Gives the named variable a text value, declaring the name and making its variable if needed;
// returns the entry's number.
int VariableHash::SetVariable(const char* name, int length, const char* value, int value_length) {
    _VH_Entry* entry = nullptr;
    int i = Seek(-1, name, length, &entry);
    if (i == -1) i = Insert(name, length);
    Variable* variable = Index(i, 1);
    variable->SetValue(value, value_length);
    return i;
}

// Puts 'variable' under its own name, in place of any variable there; returns the entry's number.
int VariableHash::SetVariable(Variable* variable) {
    const String& name = variable->name();
    _VH_Entry* entry = nullptr;
    int i = Seek(-1, name.c_str(), name.length(), &entry);
    if (i == -1) return Insert(variable);
    entry->variable = variable;
    entry->version = Version();
    return i;
}

// Entry 'index' shares the caller's variable (a parameter passed by reference); 0 when there is
// no such entry.
int VariableHash::SetVariable_Reference(int index, Variable* variable) {
    if (!IsEntry(index)) return 0;
    entries_[index].variable = variable;
    entries_[index].version = Version();
    return 1;
}

// Gives an element reached by a name with array parts a text value; 1 on success.
int VariableHash::SetVariable_Fancy(const char* name, int length, const char* value,
                                    int value_length, int create) {
    Variable* variable = nullptr;
    if (LookupVariable_Fancy(&variable, name, length, create) == 0) return 0;
    variable->SetValue(value, value_length);
    return 1;
}

// Empties the named variable but keeps its entry and object; 1 when the name has a variable.
int VariableHash::ClearVariable(const char* name, int length) {
    Variable* variable = nullptr;
    if (Find(&variable, name, length, 0) == 0 || variable == nullptr) return 0;
    variable->SetNULL();
    return 1;
}

int VariableHash::Version() {
    return 0;
}

int VariableHash::Size() {
    return capacity_;
}

int VariableHash::Entries() {
    return count_;
}

int VariableHash::AllocatedVars(VariableList* list) {
    int added = 0;
    for (int i = 0; i < count_; ++i) {
        if (entries_[i].variable == nullptr) continue;
        list->Insert(entries_[i].variable, LIST_TAIL);
        ++added;
    }
    return added;
}

void VariableHash::Dump() {
    for (int i = 0; i < count_; ++i) {
        Variable::Release(entries_[i].variable);
        entries_[i].variable = nullptr;
    }
}

const String& VariableHash::error() {
    return error_;
}

void VariableHash::Error(const String& text) {
    if (text.buffer() != nullptr) error_ = text;
}

void VariableHash::Push() {}

int VariableHash::Pop() {
    return 0;
}

VariableHash* VariableHash::RealIdentity() {
    return this;
}

const _VH_Entry* VariableHash::entry(int i) const {
    return IsEntry(i) ? &entries_[i] : nullptr;
}

// ---- writing ----

int VariableHash::Write(TaggedFile* file, int tag) {
    file->Section_Start(tag);
    int result = Write(file);
    if (result != 0) file->Section_End();
    return result;
}

// Section body:
//   offset  size                 field
//   0       2                    variable_hash_header.bucket_entries
//   2       1                    variable_hash_header.bucket_bits
//   3       4                    variable_hash_header.variable_count
//   7       6 per bucket record  variable_hash_bucket.index (2), first entry of the chain (4)
//   then    8 per variable       name (4, dictionary index), next entry of the chain (4, or -1)
// Only non-empty buckets have a record, in ascending bucket number. Bucket numbers are 16 bits,
// so a table that is written has at most 15 bucket bits.
int VariableHash::Write(TaggedFile* file) {
    unsigned char header[TABLE_HEADER_SIZE];
    put_u16(header, static_cast<uint32_t>(bucket_entries_));
    put_u8(header + 2, static_cast<uint32_t>(bucket_bits_));
    put_u32(header + 3, static_cast<uint32_t>(count_));

    int record = 0;
    std::vector<unsigned char> bucket_records =
        encode_bucket_records(buckets_, bucket_count_, bucket_entries_, &record);
    assert(record == bucket_entries_);

    std::vector<unsigned char> variable_records(static_cast<size_t>(VARIABLE_RECORD_SIZE * count_));
    for (int i = 0; i < count_; ++i) {
        put_u32(variable_records.data() + VARIABLE_RECORD_SIZE * i,
                static_cast<uint32_t>(entries_[i].name_index));
        put_u32(variable_records.data() + VARIABLE_RECORD_SIZE * i + 4,
                static_cast<uint32_t>(next_[i]));
    }

    SectionWriter out(file);
    out.Write(header, TABLE_HEADER_SIZE);
    out.Write(bucket_records.data(), BUCKET_RECORD_SIZE * bucket_entries_);
    out.Write(variable_records.data(), VARIABLE_RECORD_SIZE * count_);
    if (!out.ok()) {
        Error(file->error());
        return 0;
    }
    assert(out.written() == WrittenSize());
    return 1;
}

int64_t VariableHash::WrittenSize() const {
    return TABLE_HEADER_SIZE + BUCKET_RECORD_SIZE * static_cast<int64_t>(bucket_entries_) +
           VARIABLE_RECORD_SIZE * static_cast<int64_t>(count_);
}

// ---- reading ----

int VariableHash::Read(TaggedFile* file, int tag) {
    if (!file->Section_Read_Start(tag)) {
        Error(file->error());
        return 0;
    }
    int result = Read(file);
    if (result != 0) file->Section_Read_End();
    return result;
}

// Reads the section body written above. The checks run in a fixed order, each naming its field;
// nothing of the table changes until all of them passed.
int VariableHash::Read(TaggedFile* file) {
    TableHeader table;
    BucketArray buckets;
    String reason;
    if (!read_table_start(file, SHAPE, &table, &buckets, &reason)) {
        Error(reason);
        return 0;
    }
    uint32_t bucket_count = table.bucket_count;
    uint32_t bucket_bits = table.bucket_bits;
    uint32_t variable_count = table.count;

    int count = static_cast<int>(variable_count);
    std::vector<unsigned char> variable_records;
    if (file->Section_Read_Vector(&variable_records, VARIABLE_RECORD_SIZE * count) !=
        VARIABLE_RECORD_SIZE * count) {
        Error(file->error());
        return 0;
    }
    // Links from a file are not trusted to keep twins together: every entry is a run of its own.
    Arrays arrays = NewArrays(count);
    for (int i = 0; i < count; ++i) {
        arrays.entries[i].name_index = get_s32(variable_records.data() + VARIABLE_RECORD_SIZE * i);
        arrays.next[i] = get_s32(variable_records.data() + VARIABLE_RECORD_SIZE * i + 4);
    }

    Adopt(arrays);
    buckets_ = std::move(buckets);
    bucket_bits_ = static_cast<int>(bucket_bits);
    bucket_count_ = static_cast<int>(bucket_count);
    // Recounted rather than taken from the header, so that a table read back and written again
    // has one record per non-empty bucket even when the file named a bucket twice.
    bucket_entries_ = 0;
    for (int b = 0; b < buckets_.held(); ++b) {
        if (buckets_.Head(b) != -1) ++bucket_entries_;
    }
    capacity_ = count;
    allocated_ = count;
    count_ = count;
    return 1;
}

// ---- helpers ----

Variable* VariableHash::MakeVariable(int i) {
    int size = 0;
    const char* name = dictionary_->Entry(entries_[i].name_index, &size);
    entries_[i].variable = new Variable(name != nullptr ? name : "", size);
    entries_[i].version = Version();
    return entries_[i].variable;
}

int VariableHash::BucketOf(const char* name, int length) const {
    return name_bucket(name, length, bucket_bits_);
}

void VariableHash::Grow() {
    capacity_ += VARIABLE_HASH_GROWTH;
}

// Makes at least 'needed' entries (and links) of the capacity real: doubling from a few, the
// new ones empty.
void VariableHash::Allocate(int needed) {
    if (needed <= allocated_) return;
    // The doubling may run past the capacity, which grows in steps of 512.
    int size =
        doubled_allocation(allocated_, VARIABLE_HASH_FIRST_ALLOCATION, needed, sizeof(_VH_Entry));
    Arrays arrays = NewArrays(size);
    const size_t kept = static_cast<size_t>(allocated_);
    if (kept > 0) {
        std::memcpy(arrays.entries, entries_, kept * sizeof(_VH_Entry));
        std::memcpy(arrays.next, next_, kept * sizeof(int));
        std::memcpy(arrays.run_last, run_last_, kept * sizeof(int));
    }
    Adopt(arrays);
    allocated_ = size;
}

// The last of the twins that follow 'entry' in its chain (entry itself when it has none known):
// a walk passes a run of equal names in one step, so that many variables of one name (empty
// names, parameters of one name) do not make every insert walk them all. 'added' is the entry
// being linked, never part of a run yet.
int VariableHash::RunEnd(int entry, int added) const {
    const int last = run_last_[entry];
    return IsEntry(last) && last != added ? last : entry;
}
