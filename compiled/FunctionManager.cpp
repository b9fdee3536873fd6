// Function table: insertion into sorted hash chains, lookup by name, and the "func" section.
#include <vector>

#include "compiled/FunctionManager.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

#include "compiled/Dictionary.h"
#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "compiled/VariableHash.h"
#include "foundation/ByteOrder.h"

namespace {

constexpr int CHAIN_LINK_SIZE = 4;
constexpr int FUNCTION_RECORD_SIZE = 20;
constexpr int PARAMETER_RECORD_SIZE = 12;

// Read limits, so that every array the loader sizes from them stays within 31 bits. The function
// count has a looser and a tighter bound, reported alike; the tighter one is in force.
constexpr uint32_t MAX_FUNCTION_COUNT_LOOSE = 0x1FFFFFFF;
constexpr uint32_t MAX_FUNCTION_COUNT = 0x0FFFFFFF;
const TableShape SHAPE = {
    "function_list_header",   "function_count",   "function_hash_bucket.index out of range",
    MAX_FUNCTION_COUNT_LOOSE, MAX_FUNCTION_COUNT, UINT32_MAX,
    TABLE_HEADER_SIZE};
constexpr uint32_t MAX_PARAMETER_COUNT = 0x0AAAAAAA;

int measured(const char* text, int length) {
    return length == -1 ? static_cast<int>(std::strlen(text)) : length;
}

}  // namespace

FunctionManager::FunctionManager(Dictionary* dictionary, int bucket_bits)
    : bucket_bits_(bucket_bits),
      bucket_count_(1 << (bucket_bits & 31)),
      bucket_entries_(0),
      chain_(new_links(FUNCTION_TABLE_GROWTH)),
      functions_(new Function*[FUNCTION_TABLE_GROWTH]()),
      count_(0),
      capacity_(FUNCTION_TABLE_GROWTH),
      dictionary_(dictionary) {
    buckets_.Reset(bucket_count_);
}

FunctionManager::~FunctionManager() {
    for (int i = 0; i < count_; ++i) delete functions_[i];
    delete[] functions_;
    delete[] chain_;
}

// ---- adding ----

// The first 16 bytes of the name, each as memcmpi maps it (-1 to 254) moved up by one, the first
// byte highest: comparing the words compares those bytes as memcmpi does.
FunctionManager::ChainEntry::ChainEntry(const char* name, int name_length, int function)
    : text(name), length(name_length), index(function), prefix{0, 0} {
    for (int k = 0; k < name_length && k < 16; k++) {
        prefix[k / 8] |= static_cast<uint64_t>(fold_lower(name[k]) + 1) << (56 - 8 * (k % 8));
    }
}

int FunctionManager::ChainEntry::Order(const ChainEntry& a, const ChainEntry& b) {
    if (a.length != b.length) return a.length < b.length ? -1 : 1;
    for (int w = 0; w < 2; w++) {
        if (a.prefix[w] != b.prefix[w]) return a.prefix[w] < b.prefix[w] ? -1 : 1;
    }
    return a.length <= 16 ? 0 : memcmpi(a.text + 16, b.text + 16, a.length - 16);
}

Function* FunctionManager::Function_Add(int segment, int segment_offset, const char* name,
                                        int length, const char* parameters, int parameters_length,
                                        int flags) {
    length = measured(name, length);
    int name_index = dictionary_->Entry_Add(name, length);
    Function* function =
        new Function(dictionary_, count_, flags, name_index, name, length, segment, segment_offset);
    function->SetParameters(parameters, parameters_length);
    return Function_Add(function, name, length);
}

Function* FunctionManager::Function_Add(const char* name, int length, int flags) {
    return Function_Add(-1, -1, name, length, nullptr, 0, flags | FUNCTION_EXTERNAL);
}

Function* FunctionManager::Function_Add(Function* function) {
    const String& name = function->name();
    (void)dictionary_->Entry_Add(name.c_str(), name.length());  // the copy keeps the source's index
    Function* copy = new Function(dictionary_, count_, function->flags(), function->name_index(),
                                  name.c_str(), name.length(), -1, -1);
    List<FunctionParameter>& parameters = function->parameters();
    for (FunctionParameter* p = parameters.First(); p != nullptr; p = parameters.Next()) {
        copy->AddParameter(p->flags(), p->name().c_str(), p->name().length());
    }
    return Function_Add(copy, name.c_str(), name.length());
}

// Chains are sorted, shortest names first and names of equal length by memcmpi, so that a
// lookup can stop early; a name equal to earlier ones goes after them.
Function* FunctionManager::Function_Add(Function* function, const char* name, int length) {
    length = measured(name, length);
    if (count_ == capacity_) {
        // Doubling: a file of many functions is not recopied every FUNCTION_TABLE_GROWTH.
        int capacity = capacity_ + std::max(capacity_, FUNCTION_TABLE_GROWTH);
        move_into(&chain_, count_, new_links(capacity));
        move_into(&functions_, count_, new Function*[capacity]());
        capacity_ = capacity;
    }
    int added = count_;
    functions_[added] = function;
    chain_[added] = -1;
    ++count_;

    // A name that Function_Get has just missed, with the table unchanged since, goes where
    // the lookup stopped: no name there is equal to it. A key of up to 16 bytes holds the whole
    // name as the chain order sees it, which tells that it is the same name.
    const ChainEntry key{name, length, added};
    const bool missed = by_name_valid_ && miss_.count == added && length <= 16 &&
                        ChainEntry::Order(key, miss_.key) == 0;
    int bucket = missed ? miss_.bucket : name_bucket(name, length, bucket_bits_);
    int previous = -1;
    int current = buckets_.Head(bucket);
    if (current == -1) ++bucket_entries_;
    if (by_name_valid_ && bucket_count_ <= MAX_SORTED_BUCKETS) {
        // The chain's functions in order: the new one goes behind every name not after its own.
        if (sorted_chains_.empty()) sorted_chains_.resize(static_cast<size_t>(bucket_count_));
        std::vector<ChainEntry>& sorted = sorted_chains_[static_cast<size_t>(bucket)];
        // Placed by the name it is linked under; compared later by its own name, as the chain
        // walk compares.
        auto after = sorted.begin() + static_cast<std::ptrdiff_t>(missed ? miss_.place : 0);
        if (!missed)
            after = std::upper_bound(sorted.begin(), sorted.end(), key, ChainEntry::Before);
        previous = after == sorted.begin() ? -1 : (after - 1)->index;
        current = after == sorted.end() ? -1 : after->index;
        const String& own = function->name();
        sorted.insert(after, ChainEntry{own.c_str(), own.length(), added});
    } else {
        for (int steps = 0; IsFunction(current) && current != added && steps < count_; ++steps) {
            const String& other = functions_[current]->name();
            if (name_order(name, length, other.c_str(), other.length()) < 0) break;
            previous = current;
            current = chain_[current];
        }
    }
    chain_[added] = IsFunction(current) && current != added ? current : -1;
    if (previous == -1) {
        buckets_.SetHead(bucket, added);
    } else {
        chain_[previous] = added;
    }
    if (sorted_chains_.empty())
        by_name_.emplace(hashi(name, static_cast<uint32_t>(length), 0), added);
    miss_ = Miss{};
    return function;
}

// ---- lookup ----

Function* FunctionManager::Function_Get(const char* name, int length) {
    if (name == nullptr) return nullptr;
    length = measured(name, length);
    if (by_name_valid_ && !sorted_chains_.empty()) {
        // What the chain walk below finds: the first function whose name is not before this
        // one, if the names are equal. Equal names stand in the order they were added.
        const int bucket = name_bucket(name, length, bucket_bits_);
        const std::vector<ChainEntry>& sorted = sorted_chains_[static_cast<size_t>(bucket)];
        const ChainEntry key{name, length, -1};
        auto first = std::lower_bound(sorted.begin(), sorted.end(), key, ChainEntry::Before);
        if (first == sorted.end() || ChainEntry::Order(*first, key) != 0) {
            // Where the name would go, for the Function_Add of it that mostly follows.
            miss_ = Miss{key, bucket, static_cast<size_t>(first - sorted.begin()), count_};
            return nullptr;
        }
        return functions_[first->index];
    }
    if (by_name_valid_) {
        // Equal names stand in their chain in the order they were added, so the chain's first
        // equal name is the one added first.
        int first = -1;
        auto range = by_name_.equal_range(hashi(name, static_cast<uint32_t>(length), 0));
        for (auto it = range.first; it != range.second; ++it) {
            const String& other = functions_[it->second]->name();
            if ((first == -1 || it->second < first) &&
                name_order(other.c_str(), other.length(), name, length) == 0) {
                first = it->second;
            }
        }
        return first == -1 ? nullptr : functions_[first];
    }
    int current = buckets_.Head(name_bucket(name, length, bucket_bits_));
    // A chain read from a file may loop; no chain is longer than the table.
    for (int steps = 0; IsFunction(current) && steps < count_; ++steps) {
        const String& other = functions_[current]->name();
        int order = name_order(other.c_str(), other.length(), name, length);
        if (order > 0) return nullptr;
        if (order == 0) return functions_[current];
        current = chain_[current];
    }
    return nullptr;
}

Function* FunctionManager::Function_Index(int i) const {
    return IsFunction(i) ? functions_[i] : nullptr;
}

const String& FunctionManager::error() {
    return error_;
}

void FunctionManager::Error(const String& text) {
    if (text.buffer() != nullptr) error_ = text;
}

// ---- writing ----

// clang-format off
// Section "func":
//   offset  size                   field
//   0       2                      function_list_header.bucket_entries
//   2       1                      function_list_header.bucket_bits
//   3       4                      function_list_header.function_count
//   7       6 per non-empty bucket function_hash_bucket.index (2), .function (4)
//   then    4 per function         next function in the same bucket, or -1
//   then, per function in index order:
//           20                     function_header.name, .parameter_count, .flags, .segment,
//                                  .segment_offset (4 each)
//           12 per parameter       function_parameter.name, .flags, .variable (4 each)
//           ...                    the function's local variable table, as VariableHash writes it
// clang-format on
bool FunctionManager::Write(TaggedFile* file) {
    file->Section_Start(TAG_FUNC);
    SectionWriter out(file);
    unsigned char header[TABLE_HEADER_SIZE];
    put_u16(header, static_cast<uint32_t>(bucket_entries_));
    put_u8(header + 2, static_cast<uint32_t>(bucket_bits_));
    put_u32(header + 3, static_cast<uint32_t>(count_));
    out.Write(header, TABLE_HEADER_SIZE);

    int record = 0;
    std::vector<unsigned char> bucket_records =
        encode_bucket_records(buckets_, bucket_count_, bucket_entries_, &record);
    out.Write(bucket_records.data(), BUCKET_RECORD_SIZE * record);

    std::vector<unsigned char> chain(static_cast<size_t>(CHAIN_LINK_SIZE * count_));
    for (int i = 0; i < count_; ++i) {
        put_u32(chain.data() + CHAIN_LINK_SIZE * i, static_cast<uint32_t>(chain_[i]));
    }
    out.Write(chain.data(), CHAIN_LINK_SIZE * count_);

    for (int i = 0; out.ok() && i < count_; ++i) {
        Function* function = functions_[i];
        List<FunctionParameter>& parameters = function->parameters();
        int parameter_count = parameters.Entries();
        unsigned char record_bytes[FUNCTION_RECORD_SIZE];
        put_u32(record_bytes, static_cast<uint32_t>(function->name_index()));
        put_u32(record_bytes + 4, static_cast<uint32_t>(parameter_count));
        put_u32(record_bytes + 8, static_cast<uint32_t>(function->flags()));
        put_u32(record_bytes + 12, static_cast<uint32_t>(function->segment()));
        put_u32(record_bytes + 16, static_cast<uint32_t>(function->segment_offset()));
        out.Write(record_bytes, FUNCTION_RECORD_SIZE);

        std::vector<unsigned char> parameter_records(
            static_cast<size_t>(PARAMETER_RECORD_SIZE * parameter_count));
        unsigned char* p = parameter_records.data();
        for (FunctionParameter* parameter = parameters.First(); parameter != nullptr;
             parameter = parameters.Next(), p += PARAMETER_RECORD_SIZE) {
            put_u32(p, static_cast<uint32_t>(parameter->name_index()));
            put_u32(p + 4, static_cast<uint32_t>(parameter->flags()));
            put_u32(p + 8, static_cast<uint32_t>(parameter->variable()));
        }
        out.Write(parameter_records.data(), PARAMETER_RECORD_SIZE * parameter_count);

        if (out.ok() && function->variables()->Write(file) == 0) {
            Error(function->variables()->error());
            return false;
        }
    }
    if (!out.ok()) {
        Error(file->error());
        return false;
    }
    return true;
}

int64_t FunctionManager::WrittenSize() const {
    int64_t size = TABLE_HEADER_SIZE + BUCKET_RECORD_SIZE * static_cast<int64_t>(bucket_entries_) +
                   CHAIN_LINK_SIZE * static_cast<int64_t>(count_);
    for (int i = 0; i < count_; ++i) {
        size +=
            FUNCTION_RECORD_SIZE +
            PARAMETER_RECORD_SIZE * static_cast<int64_t>(functions_[i]->parameters().Entries()) +
            functions_[i]->variables()->WrittenSize();
    }
    return size;
}

// ---- reading ----

// Reads the section written above. The checks run in a fixed order, each naming its field;
// the table changes only when all of them passed.
bool FunctionManager::Read(TaggedFile* file) {
    if (!file->Section_Read_Start(TAG_FUNC)) {
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
    uint32_t function_count = table.count;

    int count = static_cast<int>(function_count);
    std::vector<unsigned char> chain_bytes;
    if (file->Section_Read_Vector(&chain_bytes, CHAIN_LINK_SIZE * count) !=
        CHAIN_LINK_SIZE * count) {
        Error(file->error());
        return false;
    }
    int* chain = new int[count];
    for (int i = 0; i < count; ++i) chain[i] = get_s32(chain_bytes.data() + CHAIN_LINK_SIZE * i);

    Function** functions = new Function*[count]();
    bool ok = true;
    for (int i = 0; ok && i < count; ++i) {
        unsigned char record[FUNCTION_RECORD_SIZE];
        if (file->Section_Read(record, FUNCTION_RECORD_SIZE) != FUNCTION_RECORD_SIZE) {
            Error(file->error());
            ok = false;
            break;
        }
        int name_index = get_s32(record);
        int name_length = 0;
        const char* name = dictionary_->Entry(name_index, &name_length);
        if (name == nullptr) {
            Error(String("Invalid function header name index"));
            ok = false;
            break;
        }
        Function* function = new Function(dictionary_, i, get_s32(record + 8), name_index, name,
                                          name_length, get_s32(record + 12), get_s32(record + 16));
        functions[i] = function;

        uint32_t parameter_count = get_u32(record + 4);
        if (parameter_count != 0) {
            if (parameter_count > MAX_PARAMETER_COUNT) {
                Error(String("function_header.parameter_count out of range"));
                ok = false;
                break;
            }
            int parameter_bytes = PARAMETER_RECORD_SIZE * static_cast<int>(parameter_count);
            std::vector<unsigned char> parameters;
            if (file->Section_Read_Vector(&parameters, parameter_bytes) != parameter_bytes) {
                Error(file->error());
                ok = false;
                break;
            }
            for (uint32_t k = 0; ok && k < parameter_count; ++k) {
                const unsigned char* p = parameters.data() + PARAMETER_RECORD_SIZE * k;
                int parameter_name_index = get_s32(p);
                int parameter_length = 0;
                const char* parameter_name =
                    dictionary_->Entry(parameter_name_index, &parameter_length);
                if (parameter_name == nullptr) {
                    Error(String("Invalid function parameter name index"));
                    ok = false;
                    break;
                }
                function->AppendParameter(new FunctionParameter(parameter_name_index,
                                                                parameter_name, parameter_length,
                                                                get_s32(p + 4), get_s32(p + 8)));
            }
            if (!ok) break;
        }
        if (function->variables()->Read(file) == 0) {
            Error(function->variables()->error());
            ok = false;
        }
    }
    if (!ok) {
        for (int i = 0; i < count; ++i) delete functions[i];
        delete[] functions;
        delete[] chain;
        return false;
    }
    file->Section_Read_End();

    for (int i = 0; i < count_; ++i) delete functions_[i];
    delete[] functions_;
    delete[] chain_;
    buckets_ = std::move(buckets);
    bucket_bits_ = static_cast<int>(bucket_bits);
    bucket_count_ = static_cast<int>(bucket_count);
    bucket_entries_ = 0;
    for (int b = 0; b < buckets_.held(); ++b) {
        if (buckets_.Head(b) != -1) ++bucket_entries_;
    }
    chain_ = chain;
    functions_ = functions;
    count_ = count;
    capacity_ = count;
    by_name_.clear();
    sorted_chains_.clear();
    by_name_valid_ = false;
    miss_ = Miss{};
    return true;
}
