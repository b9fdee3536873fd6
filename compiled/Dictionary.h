// The string dictionary: one pool of every text a compiled file needs, each text stored once
// where its bytes already occur, and its section "dict". Other sections refer to texts by
// their entry index here.
#ifndef TARN_COMPILED_DICTIONARY_H
#define TARN_COMPILED_DICTIONARY_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "compiled/TaggedFile.h"
#include "foundation/GrowingArray.h"
#include "foundation/String.h"

// The entry table grows by this many entries at a time.
constexpr int DICTIONARY_ENTRY_STEP = 128;
// Bit of the flags word: logging is disabled for the program (.disable_logging).
constexpr int DICTIONARY_FLAG_DISABLE_LOGGING = 0x1;

// Offset of the leftmost occurrence of 'text' ('n' bytes) within the first 'used' bytes of
// 'bytes', or -1 when there is none; the empty text is at offset 0. Compares from the right
// end of the text and skips by the bad-character rule. This is the search whose outcome fixes
// the bytes of the section, so it is the reference any faster search must agree with.
int dictionary_search(const char* bytes, int used, const char* text, int n);

// Capacity of a block that holds 'length' bytes: whole granules of TF_DATA_BLOCK_SIZE, at least
// one byte more than 'length'.
int dictionary_block_capacity(int length);

// One block of pool bytes.
class DictionaryDataBlock {
  public:
    explicit DictionaryDataBlock(int capacity);
    DictionaryDataBlock(const DictionaryDataBlock& other);
    DictionaryDataBlock& operator=(const DictionaryDataBlock&) = delete;
    virtual ~DictionaryDataBlock();

    // Offset of the text's bytes within the block: where they already occur, else where they
    // were appended; -1 when they had to be appended and do not fit.
    int Add(const char* text, int length);
    // Appends the text's bytes without looking for them: their offset, or -1 when they do not
    // fit.
    int Append(const char* text, int length);
    // Makes room for 'capacity' bytes in all; never shrinks.
    void Grow(int capacity);

    const char* data() const { return data_; }
    int capacity() const { return capacity_; }
    int used() const { return used_; }
    // Offset of the block's first byte within the written data area, set while writing.
    int base() const { return base_; }

  private:
    friend class Dictionary;

    // A block over storage that the dictionary owns (a slab shared by many blocks).
    DictionaryDataBlock(char* storage, int capacity, int slab);

    char* data_;
    int capacity_;
    int used_;
    int base_;
    // Index of the dictionary's slab that holds the bytes, or -1 when the block owns them.
    int slab_;
};

class Dictionary {
  public:
    Dictionary();
    // Deep copy: every block duplicated, each entry pointed at the copy of its block.
    Dictionary(const Dictionary& other);
    Dictionary& operator=(const Dictionary&) = delete;
    virtual ~Dictionary();

    virtual const String& error();
    // An empty 'text' leaves the stored text as it was.
    virtual void Error(const String& text);

    // Index of a new entry for the text; every call adds one, even for a text added before (only
    // bytes are shared). 'length' of -1 means 'text' is NUL-terminated and is measured. -1 for a
    // length no block can hold.
    int Entry_Add(const char* text, int length = -1);
    // The entry's bytes (not terminated) and their count in 'size'; null and 0 for an index
    // out of range.
    const char* Entry(int index, int* size = nullptr) const;

    // Repacks every text into one block, sharing bytes across everything added so far.
    void Compress();
    // The straightforward repacking, kept as the reference whose bytes a faster Compress must
    // reproduce exactly.
    void Compress_Reference();

    // Writes or reads the section "dict"; false with the reason behind error(). A failed read
    // leaves the dictionary as it was.
    bool Write(TaggedFile* file);
    // The bytes Write sends.
    int64_t WrittenSize() const;
    // The bytes of every block's used part, the section's data area.
    int64_t data_size() const;
    bool Read(TaggedFile* file);

    // ---- what readers, dumpers and tests look at ----
    int entries() const { return static_cast<int>(entries_.size()); }
    int entry_capacity() const { return entry_capacity_; }
    // Offset of the entry's bytes within its block, -1 for an index out of range.
    int Entry_Offset(int index) const;
    int flags() const { return flags_; }
    void SetFlags(int flags) { flags_ = flags; }
    int blocks() const;
    const DictionaryDataBlock* block(int i) const;

  private:
    // An index rather than a pointer: a program can hold millions of entries.
    struct Entry_Slot {
        int block;  // in 'blocks_'; for a text not laid out yet, -1 - its slab in 'pending_'
        int offset;
        int size;
    };

    void Free_Blocks();
    void Free_Pending();
    // Puts one text in the current block, or in a new one, as adding it does.
    void Place(Entry_Slot* entry, const char* text, int length);
    // Gives the texts added since the layout was last asked for their places in the blocks.
    void Lay_Out();
    // Works out the packed block's capacity where a Compress of pending texts left it open.
    void Settle_Capacity();
    DictionaryDataBlock* New_Block(int capacity);
    // Gives back the memory of a block's bytes; the block keeps its counts but has no bytes.
    void Release_Bytes(DictionaryDataBlock* block);
    bool Surely_Absent(const char* text, int length);
    int Repeated_Offset(const char* text, int length);
    void Remember(const char* text, int length, int offset, int appended_at);
    void Note_Windows(int from);

    String error_;
    GrowingArray<Entry_Slot> entries_;
    int entry_capacity_;
    // Owned, in creation order.
    std::vector<DictionaryDataBlock*> blocks_;
    // The block new texts go into: the last of 'blocks_', or null.
    DictionaryDataBlock* current_;
    // The bytes of the small blocks, carved in order out of slabs of SLAB_SIZE bytes, so that
    // repacking can hand each slab back whole once it has read every text in it. A large
    // program has thousands of blocks; from the general heap their memory would stay with the
    // process.
    struct Slab {
        char* bytes;
        int size;
        int used;
        int blocks;  // blocks whose bytes it still holds
    };
    static constexpr int SLAB_SIZE = 1 << 20;
    std::vector<Slab> slabs_;
    int flags_;
    // Which windows of 4 and 8 bytes occur in the current block, as hashed bits: a text with a
    // window that is not there cannot occur in the block, and is appended without a search.
    // It describes the first 'windows_used_' bytes of 'windows_block_'.
    std::vector<uint64_t> windows_;
    const DictionaryDataBlock* windows_block_;
    int windows_used_;
    // Where short texts added to the current block went, so that a name added again and again
    // (every function's parameters) is not searched for each time. It describes
    // 'repeats_block_' only; open addressing, filled to half at most.
    struct Repeat {
        uint64_t hash;
        int length;
        int offset;
        int appended_at;
    };
    static constexpr int REPEAT_MAX_LENGTH = 64;
    static constexpr size_t REPEAT_SLOTS = 1024;
    std::vector<Repeat> repeats_;
    const DictionaryDataBlock* repeats_block_;
    size_t repeats_used_;
    // Nothing was added since the last Compress: repacking again would give the same bytes and
    // offsets, so it only settles the block to its used size.
    bool compressed_;
    // Adding only stores a text; where it goes in the blocks is worked out when something asks
    // for the layout (offsets, blocks, writing without repacking). The assembler repacks
    // first, and repacking needs nothing but the texts, so it never pays for the searches.
    // Entries from 'laid_out_' on have their bytes in 'pending_' slabs, back to back, and name
    // them with a negative block index: -1 - the slab.
    int laid_out_;
    std::vector<Slab> pending_;
    // A Compress of pending texts does not know the capacity the straightforward repacking
    // gives its block (the used counts of the layout it skipped): the first 'packed_entries_'
    // entries are laid out again to find it, only when it matters.
    bool capacity_open_;
    int packed_entries_;
};

#endif
