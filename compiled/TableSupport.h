// What the hashed tables of a compiled file share: the bucket of a name and the order of a
// bucket's chain. The loader probes the written tables the same way, so both are file format.
#ifndef TARN_COMPILED_TABLESUPPORT_H
#define TARN_COMPILED_TABLESUPPORT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/Hash.h"
#include "foundation/String.h"

class TaggedFile;

// The sizes the tables of a compiled program are made with: the assembler builds its tables so,
// and the loader makes its own so before reading (the bucket counts then come from the file).
// 256 function buckets; 4096 buckets and room for 512 variables in the global and system
// tables; 4096 language buckets and room for 8 languages.
constexpr int FUNCTION_TABLE_BUCKET_BITS = 8;
constexpr int VARIABLE_TABLE_BUCKET_BITS = 12;
constexpr int VARIABLE_TABLE_CAPACITY = 512;
constexpr int LANGUAGE_TABLE_BUCKET_BITS = 12;
constexpr int LANGUAGE_TABLE_CAPACITY = 8;

// Bucket of a name in a table of 2^'bucket_bits' buckets, from the case-folded hash.
inline int name_bucket(const char* name, int length, int bucket_bits) {
    return static_cast<int>(
        hash_bucket(hashi(name, static_cast<uint32_t>(length), 0), bucket_bits));
}

// Order of a hash chain: shorter names first, names of equal length by memcmpi. Negative when
// 'a' goes before 'b', 0 for names that are the same ignoring case.
inline int name_order(const char* a, int a_length, const char* b, int b_length) {
    if (a_length != b_length) return a_length < b_length ? -1 : 1;
    return memcmpi(a, b, a_length);
}

// Heads of the hash chains of a table, -1 for an empty bucket. Only the buckets up to the highest
// one that ever had a chain take memory; every bucket above is empty. A table read from a file
// thus costs what its bucket records name, not what its header asks for: a header may ask for
// 2^28 buckets, a gigabyte for a few bytes of file, while records can name only buckets below
// 32768 (their numbers are 16 bits, read as signed). A table that starts with none held keeps
// its first few chains as (bucket, head) pairs instead, so that the small table of every
// function costs a few pairs rather than an array up to its highest bucket.
class BucketArray {
  public:
    // 'held' empty buckets kept in memory: the whole table, for one that is being built.
    void Reset(int held) {
        heads_.assign(static_cast<size_t>(held), -1);
        pairs_.clear();
    }
    int Head(int bucket) const {
        if (!pairs_.empty()) {
            for (const Pair& pair : pairs_) {
                if (pair.bucket == bucket) return pair.head;
            }
            return -1;
        }
        return static_cast<size_t>(bucket) < heads_.size() ? heads_[static_cast<size_t>(bucket)]
                                                           : -1;
    }
    // 'bucket' must be one of the table's buckets.
    void SetHead(int bucket, int head) {
        if (heads_.empty()) {
            for (Pair& pair : pairs_) {
                if (pair.bucket == bucket) {
                    pair.head = head;
                    return;
                }
            }
            if (pairs_.size() < MAX_PAIRS) {
                // Room for the chains of a function's few variables at once.
                if (pairs_.empty()) pairs_.reserve(FIRST_PAIRS);
                pairs_.push_back(Pair{bucket, head});
                return;
            }
            for (const Pair& pair : pairs_) Store(pair.bucket, pair.head);
            pairs_.clear();
        }
        Store(bucket, head);
    }
    // Calls 'visit(bucket, head)' for every bucket below 'bucket_count' that has a chain, in
    // ascending bucket order; a table kept as pairs costs its pairs, not its bucket count.
    template <class Visit>
    void ForEachChain(int bucket_count, Visit visit) const {
        if (heads_.empty()) {
            Pair sorted[MAX_PAIRS];
            size_t count = 0;
            for (const Pair& pair : pairs_) {
                size_t at = count++;
                for (; at > 0 && sorted[at - 1].bucket > pair.bucket; --at) {
                    sorted[at] = sorted[at - 1];
                }
                sorted[at] = pair;
            }
            for (size_t k = 0; k < count; ++k) {
                if (sorted[k].bucket < bucket_count && sorted[k].head != -1) {
                    visit(sorted[k].bucket, sorted[k].head);
                }
            }
            return;
        }
        const size_t end =
            std::min(heads_.size(), static_cast<size_t>(bucket_count > 0 ? bucket_count : 0));
        for (size_t b = 0; b < end; ++b) {
            if (heads_[b] != -1) visit(static_cast<int>(b), heads_[b]);
        }
    }
    int held() const {
        int highest = -1;
        for (const Pair& pair : pairs_) highest = pair.bucket > highest ? pair.bucket : highest;
        return pairs_.empty() ? static_cast<int>(heads_.size()) : highest + 1;
    }

  private:
    struct Pair {
        int bucket;
        int head;
    };
    static constexpr size_t MAX_PAIRS = 16;
    static constexpr size_t FIRST_PAIRS = 8;

    void Store(int bucket, int head) {
        if (static_cast<size_t>(bucket) >= heads_.size()) {
            heads_.resize(static_cast<size_t>(bucket) + 1, -1);
        }
        heads_[static_cast<size_t>(bucket)] = head;
    }

    std::vector<int> heads_;
    std::vector<Pair> pairs_;
};

// Bytes of the header that every hashed table starts with.
constexpr int TABLE_HEADER_SIZE = 7;

// The header that every hashed table starts with: the count of bucket records (16 bits, read
// as signed), the bucket bits (8) and the count of entries (32).
struct TableHeader {
    int bucket_entries;
    uint32_t bucket_bits;
    uint32_t bucket_count;
    uint32_t count;
};

// What the reader of one kind of hashed table checks its header against: the names its
// messages use and the bounds of its entry count.
struct TableShape {
    const char* header_name;  // e.g. "variable_hash_header"
    const char* count_field;  // e.g. "variable_count"
    const char* bad_bucket;   // the whole message for a bucket record outside the table
    // The entry count is held to a loose and a tight bound, reported alike, before the bucket
    // record count is looked at, and to 'count_records' after it.
    uint32_t count_loose;
    uint32_t count_tight;
    uint32_t count_records;
    // Bytes of the header: TABLE_HEADER_SIZE, or more for a table whose header goes on.
    int header_size;
};

// Opens the hashed table at the read position of the current section: reads its header and
// checks it in the loader's order (bucket bits, the bucket count they make, the entry count,
// the bucket record count), then reads its bucket records into 'buckets'. False with the reason
// in 'error': the file's own text when the bytes are cut short, else the failed field's message.
bool read_table_start(TaggedFile* file, const TableShape& shape, TableHeader* table,
                      BucketArray* buckets, String* error);

// The pieces of one section's bytes, sent to the file in order. It stops at the first piece
// that fails, whose reason stays behind the file's error(), and counts the bytes it sent, which
// the section's own reckoning of its size must match.
class SectionWriter {
  public:
    explicit SectionWriter(TaggedFile* file) : file_(file) {}
    // Sends 'size' bytes unless an earlier piece failed; an empty piece sends nothing.
    void Write(const void* bytes, int size);
    bool ok() const { return ok_; }
    int64_t written() const { return written_; }

  private:
    TaggedFile* file_;
    bool ok_ = true;
    int64_t written_ = 0;
};

// A new array of 'count' chain links, each -1 (the end of a chain).
inline int* new_links(int count) {
    int* links = new int[count];
    for (int i = 0; i < count; ++i) links[i] = -1;
    return links;
}

// How many entries of 'element_size' bytes to hold when 'allocated' are held and 'needed' must
// be: doubling from 'first', so that a long table is not copied once per capacity step; exactly
// 'needed' where doubling would pass a 31-bit byte count.
inline int doubled_allocation(int allocated, int first, int needed, size_t element_size) {
    int64_t size = allocated > 0 ? allocated : first;
    while (size < needed) size *= 2;
    if (size > INT32_MAX / static_cast<int64_t>(element_size)) size = needed;
    return static_cast<int>(size);
}

// Moves the first 'kept' elements of '*array' into 'grown' (allocated with array new), which
// takes the old array's place.
template <class T>
void move_into(T** array, int kept, T* grown) {
    T* old = *array;
    for (int i = 0; i < kept; ++i) grown[i] = old[i];
    delete[] old;
    *array = grown;
}

// Size of a bucket record: the bucket's number (16 bits, read as signed) and its chain's head.
constexpr int BUCKET_RECORD_SIZE = 6;

// The bucket records of a table as written: one for each of the first 'bucket_count' buckets
// that has a chain, in ascending bucket order, at most 'limit' of them; their count in
// 'records'.
std::vector<unsigned char> encode_bucket_records(const BucketArray& buckets, int bucket_count,
                                                 int limit, int* records);

#endif
