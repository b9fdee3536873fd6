// Function table: every function a compiled file declares or defines, hashed by name, written as
// the "func" section with each function's local variable table inside it.
#ifndef TARN_COMPILED_FUNCTIONMANAGER_H
#define TARN_COMPILED_FUNCTIONMANAGER_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "compiled/Function.h"
#include "compiled/TableSupport.h"
#include "foundation/String.h"

class Dictionary;
class TaggedFile;

// The function and chain arrays start with room for this many functions, and double when full.
constexpr int FUNCTION_TABLE_GROWTH = 64;

class FunctionManager {
  public:
    FunctionManager(Dictionary* dictionary, int bucket_bits);
    FunctionManager(const FunctionManager&) = delete;
    FunctionManager& operator=(const FunctionManager&) = delete;

    // The virtual operations are in the order the loader's class shares; do not reorder them.
    virtual ~FunctionManager();
    // The function named 'name' (any case), or null. 'length' of -1: 'name' is NUL-terminated.
    virtual Function* Function_Get(const char* name, int length);
    virtual const String& error();
    virtual void Error(const String& text);

    // A function with a body in code segment 'segment', with the parameters of the list
    // 'parameters' (see Function::SetParameters; null for none).
    Function* Function_Add(int segment, int segment_offset, const char* name, int length,
                           const char* parameters, int parameters_length, int flags);
    // An external declaration: no segment, the external bit forced on, no parameters yet.
    Function* Function_Add(const char* name, int length, int flags);
    // A copy of another table's function, without its body. The copy keeps the source's name
    // index although the name is added to this dictionary again.
    Function* Function_Add(Function* function);
    // Links 'function' (now owned by the table) into the hash under 'name'. Duplicates are not
    // refused: callers ask Function_Get first.
    Function* Function_Add(Function* function, const char* name, int length);

    // Writes the "func" section. The section is left open: the next Section_Start closes it.
    bool Write(TaggedFile* file);
    // The bytes Write sends, the functions' own tables included.
    int64_t WrittenSize() const;
    // Replaces the table with the "func" section of 'file'; on failure the table is unchanged.
    bool Read(TaggedFile* file);

    // ---- for listings ----
    int Functions() const { return count_; }
    // Function 'i' in index order, or null when 'i' is negative or not below the count.
    Function* Function_Index(int i) const;
    int bucket_bits() const { return bucket_bits_; }
    int bucket_entries() const { return bucket_entries_; }

  private:
    // 'i' is a link a walk may follow: links read from a file are not checked.
    bool IsFunction(int i) const { return i >= 0 && i < count_; }

    String error_;
    BucketArray buckets_;
    int bucket_bits_;
    int bucket_count_;
    int bucket_entries_;
    int* chain_;
    Function** functions_;
    int count_;
    // Functions by the case-folded hash of their names, for Function_Get in a table of more than
    // MAX_SORTED_BUCKETS buckets: with thousands of functions the fixed buckets' chains grow
    // long. A table read from a file is looked up through its chains alone, as a loader does.
    std::unordered_multimap<uint32_t, int> by_name_;
    // Each bucket's chain as a sorted array, so that adding and Function_Get find their place by
    // halving rather than by walking the chain (tables of up to MAX_SORTED_BUCKETS buckets).
    static constexpr int MAX_SORTED_BUCKETS = 1 << 16;
    // An entry carries its function's name, so that the halving reads no function object, and
    // the name's first bytes as the comparison sees them, so that it mostly reads no name.
    struct ChainEntry {
        ChainEntry(const char* name, int name_length, int function);
        // As name_order compares the names.
        static int Order(const ChainEntry& a, const ChainEntry& b);
        static bool Before(const ChainEntry& a, const ChainEntry& b) { return Order(a, b) < 0; }

        const char* text;
        int length;
        int index;
        uint64_t prefix[2];
    };
    std::vector<std::vector<ChainEntry>> sorted_chains_;
    // The last name Function_Get did not find in the sorted chains: its key, its bucket, the
    // place in the bucket's chain where it would go, and the count of functions then.
    struct Miss {
        ChainEntry key{nullptr, 0, -1};
        int bucket = 0;
        size_t place = 0;
        int count = -1;
    };
    Miss miss_;
    bool by_name_valid_ = true;
    int capacity_;
    Dictionary* dictionary_;  // not owned
};

#endif
