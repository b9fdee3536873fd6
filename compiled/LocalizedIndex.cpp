// Localization index of one language: sorted hash chains over key texts and its section.
#include <vector>

#include "compiled/LocalizedIndex.h"

#include <cassert>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

#include "compiled/Dictionary.h"
#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"

namespace {

constexpr int HEADER_SIZE = 11;
constexpr int ENTRY_RECORD_SIZE = 12;

// Read limits, so that every array sized from them stays within 31 bits. The entry count is
// tested against a loose and a tight bound and, after the bucket count, against the bound that
// keeps 12 bytes an entry within 31 bits; all three report alike.
constexpr uint32_t MAX_INDEX_COUNT_LOOSE = 0x1FFFFFFF;
constexpr uint32_t MAX_INDEX_COUNT = 0x0FFFFFFF;
constexpr uint32_t MAX_INDEX_RECORDS = 0x0AAAAAAA;
const TableShape SHAPE = {"localized_index_header",
                          "index_count",
                          "localized_index_bucket.index out of range",
                          MAX_INDEX_COUNT_LOOSE,
                          MAX_INDEX_COUNT,
                          MAX_INDEX_RECORDS,
                          HEADER_SIZE};
// Entries first allocated for an index.
constexpr int LOCALIZED_INDEX_FIRST_ALLOCATION = 4;

}  // namespace

LocalizedIndex::LocalizedIndex(Dictionary* dictionary, int bucket_bits, int capacity, int language)
    : language_(language),
      bucket_bits_(bucket_bits),
      bucket_count_(1 << (bucket_bits & 31)),
      bucket_entries_(0),
      next_(nullptr),
      run_last_(nullptr),
      entries_(nullptr),
      count_(0),
      capacity_(capacity),
      allocated_(0),
      dictionary_(dictionary) {
    // Buckets and entries take memory as they are used: a file may hold many languages, most
    // of them with few keys.
    buckets_.Reset(0);
}

LocalizedIndex::~LocalizedIndex() {
    delete[] next_;
    delete[] run_last_;
    delete[] entries_;
}

int LocalizedIndex::Entries() {
    return count_;
}

const String& LocalizedIndex::error() {
    return error_;
}

void LocalizedIndex::Error(const String& text) {
    if (text.buffer() != nullptr) error_ = text;
}

const _LI_Entry* LocalizedIndex::entry(int i) const {
    return IsEntry(i) ? &entries_[i] : nullptr;
}

// ---- adding and looking up ----

// Chains are sorted as in the function table: shorter texts first, equal lengths by memcmpi,
// a text equal to earlier ones after them.
int LocalizedIndex::Add_Entry(int key, int value) {
    if (count_ >= capacity_) capacity_ += LOCALIZED_INDEX_GROWTH;
    Allocate(count_ + 1);
    int added = count_;
    entries_[added] = _LI_Entry{key, value};
    next_[added] = -1;
    run_last_[added] = -1;
    int length = 0;
    const char* text = dictionary_->Entry(key, &length);
    if (text == nullptr) return -1;
    ++count_;

    int bucket = name_bucket(text, length, bucket_bits_);
    int previous = -1;
    int twins = -1;  // the first of the new key's twins, when it has any
    int current = buckets_.Head(bucket);
    if (current == -1) ++bucket_entries_;
    for (int steps = 0; IsEntry(current) && current != added && steps < count_; ++steps) {
        int size = 0;
        const char* other = dictionary_->Entry(entries_[current].key, &size);
        int order = name_order(other, size, text, length);
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

const _LI_Entry* LocalizedIndex::Get_Entry(int key) {
    int length = 0;
    const char* text = dictionary_->Entry(key, &length);
    return text == nullptr ? nullptr : Get_Entry(text, length);
}

const _LI_Entry* LocalizedIndex::Get_Entry(const char* text, int length) {
    if (length == -1) length = static_cast<int>(std::strlen(text));
    int current = buckets_.Head(name_bucket(text, length, bucket_bits_));
    // A chain read from a file may loop; no chain is longer than the index.
    for (int steps = 0; IsEntry(current) && steps < count_; ++steps) {
        int size = 0;
        const char* other = dictionary_->Entry(entries_[current].key, &size);
        int order = name_order(other, size, text, length);
        if (order > 0) return nullptr;
        if (order == 0) return &entries_[current];
        current = next_[RunEnd(current, -1)];
    }
    return nullptr;
}

// ---- writing ----

// clang-format off
// Localization index section (tag 'L' 'X' + language number, or 0 in files up to 1.7):
//   offset  size                   field
//   0       2                      localized_index_header.bucket_entries
//   2       1                      localized_index_header.bucket_bits
//   3       4                      localized_index_header.index_count
//   7       4                      reserved, zero
//   11      6 per non-empty bucket localized_index_bucket.index (2), .entry (4)
//   then    12 per entry           localized_index_entry.key, .next, .value (4 each)
// The chain link sits between key and value here, unlike the language table's records.
// clang-format on
bool LocalizedIndex::Write(TaggedFile* file, int tag) {
    file->Section_Start(tag);
    unsigned char header[HEADER_SIZE] = {};
    put_u16(header, static_cast<uint32_t>(bucket_entries_));
    put_u8(header + 2, static_cast<uint32_t>(bucket_bits_));
    put_u32(header + 3, static_cast<uint32_t>(count_));

    int record = 0;
    std::vector<unsigned char> bucket_records =
        encode_bucket_records(buckets_, bucket_count_, bucket_entries_, &record);
    std::vector<unsigned char> entry_records(static_cast<size_t>(ENTRY_RECORD_SIZE * count_));
    for (int i = 0; i < count_; ++i) {
        unsigned char* p = entry_records.data() + ENTRY_RECORD_SIZE * i;
        put_u32(p, static_cast<uint32_t>(entries_[i].key));
        put_u32(p + 4, static_cast<uint32_t>(next_[i]));
        put_u32(p + 8, static_cast<uint32_t>(entries_[i].value));
    }

    SectionWriter out(file);
    out.Write(header, HEADER_SIZE);
    out.Write(bucket_records.data(), BUCKET_RECORD_SIZE * record);
    out.Write(entry_records.data(), ENTRY_RECORD_SIZE * count_);
    if (!out.ok()) {
        Error(file->error());
        return false;
    }
    assert(out.written() == WrittenSize());
    file->Section_End();
    return true;
}

int64_t LocalizedIndex::WrittenSize() const {
    return HEADER_SIZE + BUCKET_RECORD_SIZE * static_cast<int64_t>(bucket_entries_) +
           ENTRY_RECORD_SIZE * static_cast<int64_t>(count_);
}

// ---- reading ----

bool LocalizedIndex::Read(TaggedFile* file, int tag) {
    bool started = file->Section_Read_Start(tag);
    // Old files hold their single index under tag 0.
    if (!started && tag != 0 && !index_per_language(file->version())) {
        started = file->Section_Read_Start(0);
    }
    if (!started) {
        Error(file->error());
        return false;
    }
    TableHeader table;
    BucketArray buckets;
    String reason;
    if (!read_table_start(file, SHAPE, &table, &buckets, &reason)) {
        Error(reason);
        return false;
    }
    uint32_t bucket_count = table.bucket_count;
    uint32_t bucket_bits = table.bucket_bits;
    uint32_t index_count = table.count;

    int count = static_cast<int>(index_count);
    std::vector<unsigned char> entry_records;
    if (file->Section_Read_Vector(&entry_records, ENTRY_RECORD_SIZE * count) !=
        ENTRY_RECORD_SIZE * count) {
        Error(file->error());
        return false;
    }
    int* next = new int[count];
    _LI_Entry* entries = new _LI_Entry[count];
    // Links from a file are not trusted to keep twins together: every entry is a run of its own.
    int* run_last = new_links(count);
    for (int i = 0; i < count; ++i) {
        const unsigned char* p = entry_records.data() + ENTRY_RECORD_SIZE * i;
        entries[i] = _LI_Entry{get_s32(p), get_s32(p + 8)};
        next[i] = get_s32(p + 4);
    }
    file->Section_Read_End();

    delete[] next_;
    delete[] run_last_;
    delete[] entries_;
    buckets_ = std::move(buckets);
    bucket_bits_ = static_cast<int>(bucket_bits);
    bucket_count_ = static_cast<int>(bucket_count);
    bucket_entries_ = 0;
    for (int b = 0; b < buckets_.held(); ++b) {
        if (buckets_.Head(b) != -1) ++bucket_entries_;
    }
    next_ = next;
    run_last_ = run_last;
    entries_ = entries;
    count_ = count;
    capacity_ = count;
    allocated_ = count;
    return true;
}

// Makes at least 'needed' entries (and links) real, doubling from a few; the capacity counts in
// steps of 128 beside it. Not held to the capacity: a long index would otherwise be copied once
// per step.
void LocalizedIndex::Allocate(int needed) {
    if (needed <= allocated_) return;
    int size =
        doubled_allocation(allocated_, LOCALIZED_INDEX_FIRST_ALLOCATION, needed, sizeof(_LI_Entry));
    move_into(&next_, allocated_, new_links(size));
    move_into(&run_last_, allocated_, new_links(size));
    move_into(&entries_, allocated_, new _LI_Entry[static_cast<size_t>(size)]());
    allocated_ = size;
}

// The last of the twins that follow 'entry' in its chain (entry itself when it has none known):
// a walk passes a run of equal keys in one step, so that one key given many times does not make
// every add walk them all. 'added' is the entry being linked, never part of a run yet.
int LocalizedIndex::RunEnd(int entry, int added) const {
    const int last = run_last_[entry];
    return IsEntry(last) && last != added ? last : entry;
}
