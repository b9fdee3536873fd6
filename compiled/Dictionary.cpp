// String dictionary: texts pooled in blocks with shared bytes, entry indexes for the other
// sections, and the section "dict".
#include "compiled/Dictionary.h"

#include <climits>
#include <cstring>

#include "compiled/DictionaryPacker.h"
#include "foundation/ByteOrder.h"

namespace {

constexpr int DICTIONARY_HEADER_SIZE = 12;
constexpr int DICTIONARY_ENTRY_SIZE = 8;
// The loader's limits: the tighter entry bound is the one in force, the looser one is checked
// first with the same message.
constexpr uint32_t DICTIONARY_ENTRIES_LOOSE_MAX = 0x0FFFFFFF;
constexpr uint32_t DICTIONARY_ENTRIES_MAX = 0x07FFFFFF;
// Most data blocks (of TF_DATA_BLOCK_SIZE bytes) a data area may span.
constexpr uint32_t DICTIONARY_BLOCKS_MAX = 0x3FFFF;

// Bits of the window filter of Entry_Add: about eight per window a full granule holds.
constexpr int WINDOW_FILTER_BITS = 17;

uint64_t window_hash(uint64_t window) {
    window *= 0x9E3779B97F4A7C15ull;
    return window >> (64 - WINDOW_FILTER_BITS);
}

// Hash of a remembered text; never 0, which marks a free slot.
uint64_t repeat_hash(const char* text, int length) {
    uint64_t hash = 0xCBF29CE484222325ull;
    for (int k = 0; k < length; k++) {
        hash = (hash ^ static_cast<unsigned char>(text[k])) * 0x100000001B3ull;
    }
    return hash | 1;
}

// Native-order loads: they only feed the filter's hash, never the file.
uint64_t window4(const char* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v | (uint64_t{1} << 40);
}

uint64_t window8(const char* p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
}

}  // namespace

int dictionary_block_capacity(int length) {
    return (length / TF_DATA_BLOCK_SIZE) * TF_DATA_BLOCK_SIZE + TF_DATA_BLOCK_SIZE;
}

int dictionary_search(const char* bytes, int used, const char* text, int n) {
    if (used < n) return -1;
    if (n == 0) return 0;
    int shift[256];
    for (int& s : shift) s = n;
    for (int k = 0; k < n; k++) shift[static_cast<unsigned char>(text[k])] = n - 1 - k;
    int i = n - 1;
    int j = n - 1;
    for (;;) {
        if (bytes[i] == text[j]) {
            if (j == 0) return i;
            i--;
            j--;
            continue;
        }
        int skip = shift[static_cast<unsigned char>(bytes[i])];
        if (skip < n - j) skip = n - j;
        if (skip >= used - i) return -1;
        i += skip;
        j = n - 1;
    }
}

// ---- DictionaryDataBlock ----

DictionaryDataBlock::DictionaryDataBlock(int capacity)
    : data_(new char[capacity]), capacity_(capacity), used_(0), base_(0), slab_(-1) {}

DictionaryDataBlock::DictionaryDataBlock(char* storage, int capacity, int slab)
    : data_(storage), capacity_(capacity), used_(0), base_(0), slab_(slab) {}

DictionaryDataBlock::DictionaryDataBlock(const DictionaryDataBlock& other)
    : data_(new char[other.capacity_]),
      capacity_(other.capacity_),
      used_(other.used_),
      base_(other.base_),
      slab_(-1) {
    if (used_ > 0) std::memcpy(data_, other.data_, static_cast<size_t>(used_));
}

DictionaryDataBlock::~DictionaryDataBlock() {
    if (slab_ < 0) delete[] data_;
}

int DictionaryDataBlock::Add(const char* text, int length) {
    if (length < 0) return -1;
    int found = dictionary_search(data_, used_, text, length);
    if (found >= 0) return found;
    if (length > capacity_ - used_) return -1;
    if (length > 0) std::memcpy(data_ + used_, text, static_cast<size_t>(length));
    int offset = used_;
    used_ += length;
    return offset;
}

int DictionaryDataBlock::Append(const char* text, int length) {
    if (length < 0 || length > capacity_ - used_) return -1;
    if (length > 0) std::memcpy(data_ + used_, text, static_cast<size_t>(length));
    int offset = used_;
    used_ += length;
    return offset;
}

void DictionaryDataBlock::Grow(int capacity) {
    if (capacity <= capacity_) return;
    char* grown = new char[capacity];
    if (used_ > 0) std::memcpy(grown, data_, static_cast<size_t>(used_));
    if (slab_ < 0) delete[] data_;
    data_ = grown;
    slab_ = -1;
    capacity_ = capacity;
}

// ---- Dictionary ----

Dictionary::Dictionary()
    : entry_capacity_(0),
      current_(nullptr),
      flags_(0),
      windows_block_(nullptr),
      windows_used_(0),
      repeats_block_(nullptr),
      repeats_used_(0),
      compressed_(false),
      laid_out_(0),
      capacity_open_(false),
      packed_entries_(0) {}

Dictionary::Dictionary(const Dictionary& other)
    : error_(other.error_),
      entry_capacity_(other.entry_capacity_),
      current_(nullptr),
      flags_(other.flags_),
      windows_block_(nullptr),
      windows_used_(0),
      repeats_block_(nullptr),
      repeats_used_(0),
      compressed_(other.compressed_),
      laid_out_(0),
      capacity_open_(false),
      packed_entries_(0) {
    // Laying out and settling change nothing that can be seen of the original.
    Dictionary& original = const_cast<Dictionary&>(other);
    original.Lay_Out();
    original.Settle_Capacity();
    GrowingArray<Entry_Slot> entries(other.entries_);
    entries_.swap(entries);
    laid_out_ = other.laid_out_;
    // The copies keep the order of the blocks, so the entries' block indexes stay right.
    for (const DictionaryDataBlock* block : other.blocks_) {
        blocks_.push_back(new DictionaryDataBlock(*block));
    }
    if (other.current_ != nullptr) current_ = blocks_.back();
}

Dictionary::~Dictionary() {
    Free_Blocks();
    Free_Pending();
}

void Dictionary::Free_Pending() {
    for (Slab& slab : pending_) delete[] slab.bytes;
    pending_.clear();
}

void Dictionary::Free_Blocks() {
    for (DictionaryDataBlock* block : blocks_) delete block;
    blocks_.clear();
    for (Slab& slab : slabs_) delete[] slab.bytes;
    slabs_.clear();
    current_ = nullptr;
    // A new block may get the address of a freed one.
    windows_block_ = nullptr;
    repeats_block_ = nullptr;
}

const String& Dictionary::error() {
    return error_;
}

void Dictionary::Error(const String& text) {
    if (!text.empty()) error_ = text;
}

// Looking at the blocks is when their layout has to be there. Laying out changes nothing that
// can be seen, so these stay const for their callers.
int Dictionary::blocks() const {
    const_cast<Dictionary*>(this)->Lay_Out();
    return static_cast<int>(blocks_.size());
}

const DictionaryDataBlock* Dictionary::block(int i) const {
    if (i < 0 || i >= blocks()) return nullptr;
    const_cast<Dictionary*>(this)->Settle_Capacity();
    return blocks_[static_cast<size_t>(i)];
}

int Dictionary::Entry_Add(const char* text, int length) {
    if (length == -1) length = text != nullptr ? static_cast<int>(std::strlen(text)) : 0;
    // A block for the text must stay within 31 bits.
    if (length < 0 || length > INT_MAX - TF_DATA_BLOCK_SIZE) return -1;
    if (length > 0 && text == nullptr) return -1;
    // The table is said to grow by DICTIONARY_ENTRY_STEP entries; the array underneath grows
    // geometrically, so that adding stays linear in the number of entries.
    if (entries() == entry_capacity_) entry_capacity_ += DICTIONARY_ENTRY_STEP;
    int index = entries();
    compressed_ = false;
    // The bytes wait in the last pending slab, or a new one (a text that would take much of a
    // slab has one of its own size).
    if (pending_.empty() || pending_.back().size - pending_.back().used < length) {
        int size = length > SLAB_SIZE / 8 ? length : SLAB_SIZE;
        pending_.push_back(Slab{new char[size > 0 ? size : 1], size, 0, 0});
    }
    Slab& slab = pending_.back();
    if (length > 0) std::memcpy(slab.bytes + slab.used, text, static_cast<size_t>(length));
    entries_.push_back(Entry_Slot{-static_cast<int>(pending_.size()), slab.used, length});
    slab.used += length;
    return index;
}

void Dictionary::Lay_Out() {
    if (laid_out_ == entries()) return;
    // Texts go into the packed block while it has room, so its capacity must be the real one.
    Settle_Capacity();
    for (size_t i = static_cast<size_t>(laid_out_); i < entries_.size(); i++) {
        Entry_Slot& entry = entries_[i];
        const char* text = pending_[static_cast<size_t>(-1 - entry.block)].bytes + entry.offset;
        Place(&entry, text, entry.size);
    }
    laid_out_ = entries();
    Free_Pending();
}

void Dictionary::Place(Entry_Slot* entry, const char* text, int length) {
    if (current_ != nullptr) {
        int offset = Repeated_Offset(text, length);
        if (offset == -1) {
            int used = current_->used();
            offset = Surely_Absent(text, length) ? current_->Append(text, length)
                                                 : current_->Add(text, length);
            // An occurrence ends within the old bytes, so an offset at the old end was appended.
            if (offset != -1) Remember(text, length, offset, offset == used ? used : -1);
        }
        if (offset != -1) {
            entry->block = static_cast<int>(blocks_.size()) - 1;
            entry->offset = offset;
            return;
        }
    }
    // No block yet, or the current one is full: a new block that surely holds the text. The
    // earlier block keeps its unused tail.
    DictionaryDataBlock* block = New_Block(dictionary_block_capacity(length));
    current_ = block;
    entry->offset = block->Add(text, length);
    entry->block = static_cast<int>(blocks_.size());
    blocks_.push_back(block);
}

// The straightforward repacking makes its block as large as the used counts of the layout
// before it, and grows it by granules when an append does not fit. Both are found again here:
// the packed texts laid out afresh give the first, and the appends in the packed block (a text
// whose offset is the block's end so far) replay the second.
void Dictionary::Settle_Capacity() {
    if (!capacity_open_) return;
    capacity_open_ = false;
    Dictionary fresh;
    for (int i = 0; i < packed_entries_; i++) {
        int size = 0;
        const char* text = Entry(i, &size);
        fresh.Entry_Add(text, size);
    }
    fresh.Lay_Out();
    int64_t capacity = fresh.data_size();
    int64_t used = 0;
    for (int i = 0; i < packed_entries_; i++) {
        const Entry_Slot& entry = entries_[static_cast<size_t>(i)];
        if (entry.size == 0 || entry.offset != used) continue;
        if (used + entry.size > capacity) {
            capacity = dictionary_block_capacity(static_cast<int>(used + entry.size));
        }
        used += entry.size;
    }
    DictionaryDataBlock* packed = blocks_[0];
    if (capacity > packed->capacity_) {
        packed->Grow(static_cast<int>(capacity));
    } else {
        // The block's storage may be larger than its capacity; nothing goes past the capacity.
        packed->capacity_ = static_cast<int>(capacity);
    }
}

// A block for Entry_Add: small ones out of the last slab, or a new one; a block that would take
// much of a slab has bytes of its own.
DictionaryDataBlock* Dictionary::New_Block(int capacity) {
    if (capacity > SLAB_SIZE / 8) return new DictionaryDataBlock(capacity);
    if (slabs_.empty() || SLAB_SIZE - slabs_.back().used < capacity) {
        // Untouched, the rest of the last slab costs no memory.
        slabs_.push_back(Slab{new char[SLAB_SIZE], SLAB_SIZE, 0, 0});
    }
    Slab& slab = slabs_.back();
    DictionaryDataBlock* block = new DictionaryDataBlock(
        slab.bytes + slab.used, capacity, static_cast<int>(slabs_.size()) - 1);
    slab.used += capacity;
    slab.blocks++;
    return block;
}

void Dictionary::Release_Bytes(DictionaryDataBlock* block) {
    if (block->slab_ < 0) {
        delete[] block->data_;
    } else {
        Slab& slab = slabs_[static_cast<size_t>(block->slab_)];
        if (--slab.blocks == 0) {
            delete[] slab.bytes;
            slab.bytes = nullptr;
        }
        block->slab_ = -1;
    }
    block->data_ = nullptr;
    block->capacity_ = 0;
}

// The leftmost offset of a text added to the current block before, or -1 when it was not (or
// is too long to be remembered). A text that was found then is still leftmost where it was:
// later bytes only add occurrences to its right. A text that was appended had no occurrence
// before, so the leftmost one now starts at most 'length' - 1 bytes before the old end, across
// the joint ("a", "aa", "aa" at 0, 1, 0), or at its own place.
int Dictionary::Repeated_Offset(const char* text, int length) {
    if (length == 0 || length > REPEAT_MAX_LENGTH) return -1;
    if (repeats_block_ != current_) {
        repeats_.assign(REPEAT_SLOTS, Repeat{0, 0, 0, 0});
        repeats_block_ = current_;
        repeats_used_ = 0;
    }
    uint64_t hash = repeat_hash(text, length);
    for (size_t at = hash & (REPEAT_SLOTS - 1);; at = (at + 1) & (REPEAT_SLOTS - 1)) {
        Repeat& repeat = repeats_[at];
        if (repeat.hash == 0) return -1;
        if (repeat.hash != hash || repeat.length != length) continue;
        const char* bytes = current_->data();
        if (std::memcmp(bytes + repeat.offset, text, static_cast<size_t>(length)) != 0) return -1;
        if (repeat.appended_at >= 0) {
            int from = repeat.appended_at - length + 1 > 0 ? repeat.appended_at - length + 1 : 0;
            for (int p = from; p < repeat.appended_at; p++) {
                if (std::memcmp(bytes + p, text, static_cast<size_t>(length)) == 0) {
                    repeat.offset = p;
                    break;
                }
            }
            repeat.appended_at = -1;
        }
        return repeat.offset;
    }
}

// Remembers where a text went in the current block: 'appended_at' is the old end when it was
// appended there, -1 when it was found.
void Dictionary::Remember(const char* text, int length, int offset, int appended_at) {
    if (length == 0 || length > REPEAT_MAX_LENGTH || repeats_block_ != current_) return;
    if ((repeats_used_ + 1) * 2 > REPEAT_SLOTS) return;
    uint64_t hash = repeat_hash(text, length);
    size_t at = hash & (REPEAT_SLOTS - 1);
    while (repeats_[at].hash != 0) at = (at + 1) & (REPEAT_SLOTS - 1);
    repeats_[at] = Repeat{hash, length, offset, appended_at};
    repeats_used_++;
}

// Brings the window filter up to the current block's bytes; true when the text has a window that
// the block lacks. Texts below 4 bytes always get the search.
bool Dictionary::Surely_Absent(const char* text, int length) {
    if (length < 4 || length > current_->used()) return false;
    if (windows_block_ != current_) {
        windows_.assign(size_t{1} << (WINDOW_FILTER_BITS - 6), 0);
        windows_block_ = current_;
        windows_used_ = 0;
    }
    if (windows_used_ < current_->used()) Note_Windows(windows_used_);
    auto present = [this](uint64_t window) {
        uint64_t bit = window_hash(window);
        return (windows_[bit >> 6] >> (bit & 63) & 1) != 0;
    };
    if (length < 8) {
        for (int k = 0; k + 4 <= length; k++) {
            if (!present(window4(text + k))) return true;
        }
        return false;
    }
    for (int k = 0; k + 8 <= length; k++) {
        if (!present(window8(text + k))) return true;
    }
    return false;
}

// Enters the windows that end past byte 'from' of the current block.
void Dictionary::Note_Windows(int from) {
    const char* bytes = current_->data();
    int used = current_->used();
    auto note = [this](uint64_t window) {
        uint64_t bit = window_hash(window);
        windows_[bit >> 6] |= uint64_t{1} << (bit & 63);
    };
    for (int k = from < 3 ? 0 : from - 3; k + 4 <= used; k++) note(window4(bytes + k));
    for (int k = from < 7 ? 0 : from - 7; k + 8 <= used; k++) note(window8(bytes + k));
    windows_used_ = used;
}

const char* Dictionary::Entry(int index, int* size) const {
    if (index < 0 || index >= entries()) {
        if (size != nullptr) *size = 0;
        return nullptr;
    }
    const Entry_Slot& entry = entries_[static_cast<size_t>(index)];
    if (size != nullptr) *size = entry.size;
    if (entry.block < 0) return pending_[static_cast<size_t>(-1 - entry.block)].bytes + entry.offset;
    return blocks_[static_cast<size_t>(entry.block)]->data() + entry.offset;
}

int Dictionary::Entry_Offset(int index) const {
    if (index < 0 || index >= entries()) return -1;
    const_cast<Dictionary*>(this)->Lay_Out();
    return entries_[static_cast<size_t>(index)].offset;
}

// The layout of repacking depends on nothing but the texts in index order: the pool of the
// straightforward Compress_Reference, found in one scan (DictionaryPacker).
void Dictionary::Compress() {
    // The packer needs nothing but the texts in index order. When none has been laid out yet,
    // it reads them where they wait, and the layout before repacking is never worked out.
    int64_t pending_bytes = 0;
    for (const Entry_Slot& entry : entries_) pending_bytes += entry.size;
    bool from_pending = laid_out_ == 0 && blocks_.empty() && entries() > 0 &&
                        pending_bytes <= INT_MAX - TF_DATA_BLOCK_SIZE;
    if (!from_pending) Lay_Out();
    int total = 0;
    for (const DictionaryDataBlock* block : blocks_) total += block->used();
    if (compressed_ && blocks_.size() == 1) {
        // The same texts again give the same pool, in a block of exactly its size.
        DictionaryDataBlock* packed = new DictionaryDataBlock(total);
        packed->Append(blocks_[0]->data(), total);
        for (Entry_Slot& entry : entries_) entry.block = 0;
        Free_Blocks();
        blocks_.push_back(packed);
        current_ = packed;
        capacity_open_ = false;
        return;
    }
    // The packer reads each entry where it is and moves it to the packed block once placed,
    // so that no copy of the entry table is made for it.
    class Entries : public DictionaryPacker::Texts {
      public:
        explicit Entries(Dictionary* dictionary)
            : dictionary_(dictionary), entries_(&dictionary->entries_) {}
        int count() const override { return static_cast<int>(entries_->size()); }
        DictionaryPacker::Text At(int i) const override {
            int size = 0;
            const char* bytes = dictionary_->Entry(i, &size);
            return DictionaryPacker::Text{bytes, size};
        }
        // Texts are read in index order, and an entry's bytes are in the block or slab that
        // was last when it was added, or a later one: every one before this text's own holds
        // only texts that are placed, so its memory can go while the packed block grows.
        void Placed(int i, int offset) override {
            Entry_Slot& entry = (*entries_)[static_cast<size_t>(i)];
            if (entry.block < 0) {
                std::vector<Slab>& pending = dictionary_->pending_;
                while (released_ < -1 - entry.block) {
                    Slab& slab = pending[static_cast<size_t>(released_++)];
                    delete[] slab.bytes;
                    slab.bytes = nullptr;
                }
            } else {
                std::vector<DictionaryDataBlock*>& blocks = dictionary_->blocks_;
                while (released_ < entry.block) {
                    dictionary_->Release_Bytes(blocks[static_cast<size_t>(released_++)]);
                }
            }
            // The packed block is about to be the only one.
            entry.block = 0;
            entry.offset = offset;
        }

      private:
        Dictionary* dictionary_;
        GrowingArray<Entry_Slot>* entries_;
        int released_ = 0;
    };
    // From pending texts, a block that surely holds them all; its capacity is settled later.
    DictionaryDataBlock* packed =
        new DictionaryDataBlock(from_pending ? static_cast<int>(pending_bytes) : total);
    Entries texts(this);
    DictionaryPacker().Pack(&texts, packed);
    Free_Blocks();
    Free_Pending();
    blocks_.push_back(packed);
    current_ = packed;
    compressed_ = true;
    laid_out_ = entries();
    capacity_open_ = from_pending;
    packed_entries_ = entries();
}

// One block of exactly the summed used counts, filled in index order. That size is enough
// whenever the pool was a single block. After several blocks it can fall short by a few bytes:
// a text appended again in a later block is now found in the earlier bytes and costs nothing,
// so a later text that straddled its joint no longer straddles anything and must be appended.
// Then the block grows, so that every entry still gets a real offset; the bytes are the same
// as they would be in a block large enough from the start.
void Dictionary::Compress_Reference() {
    Lay_Out();
    Settle_Capacity();
    int total = 0;
    for (const DictionaryDataBlock* block : blocks_) total += block->used();
    DictionaryDataBlock* packed = new DictionaryDataBlock(total);
    for (Entry_Slot& entry : entries_) {
        const char* text = blocks_[static_cast<size_t>(entry.block)]->data() + entry.offset;
        int offset = packed->Add(text, entry.size);
        if (offset == -1) {
            packed->Grow(dictionary_block_capacity(packed->used() + entry.size));
            offset = packed->Add(text, entry.size);
        }
        entry.block = 0;  // the packed block, once the others are gone
        entry.offset = offset;
    }
    Free_Blocks();
    blocks_.push_back(packed);
    current_ = packed;
    compressed_ = true;
}

// Section "dict":
//   0      4  dictionary_header.entries
//   4      4  dictionary_header.data_size
//   8      4  dictionary_header.flags  (bit 0: logging disabled)
//  12 + 8i 4  dictionary_entry[i].offset  (within the data area)
//  16 + 8i 4  dictionary_entry[i].size
//  12 + 8n    data area: every block's used bytes, in list order
bool Dictionary::Write(TaggedFile* file) {
    Lay_Out();
    file->Section_Start(TAG_DICT);
    uint32_t data_size = 0;
    for (DictionaryDataBlock* block : blocks_) {
        block->base_ = static_cast<int>(data_size);
        data_size += static_cast<uint32_t>(block->used());
    }
    unsigned char header[DICTIONARY_HEADER_SIZE];
    put_u32(header + 0, static_cast<uint32_t>(entries()));
    put_u32(header + 4, data_size);
    put_u32(header + 8, static_cast<uint32_t>(flags_));
    bool ok = file->Section_Write(header, DICTIONARY_HEADER_SIZE) == DICTIONARY_HEADER_SIZE;

    if (ok) {
        std::vector<unsigned char> table(entries_.size() * DICTIONARY_ENTRY_SIZE);
        unsigned char* at = table.data();
        for (const Entry_Slot& entry : entries_) {
            const DictionaryDataBlock* block = blocks_[static_cast<size_t>(entry.block)];
            put_u32(at + 0,
                    static_cast<uint32_t>(block->base()) + static_cast<uint32_t>(entry.offset));
            put_u32(at + 4, static_cast<uint32_t>(entry.size));
            at += DICTIONARY_ENTRY_SIZE;
        }
        int table_size = static_cast<int>(table.size());
        ok = file->Section_Write(table.data(), table_size) == table_size;
    }
    for (size_t i = 0; ok && i < blocks_.size(); i++) {
        ok = file->Section_Write(blocks_[i]->data(), blocks_[i]->used()) == blocks_[i]->used();
    }
    if (!ok) {
        // The section stays open and unfinished; the caller abandons the file.
        Error(file->error());
        return false;
    }
    file->Section_End();
    return true;
}

int64_t Dictionary::WrittenSize() const {
    return DICTIONARY_HEADER_SIZE + DICTIONARY_ENTRY_SIZE * static_cast<int64_t>(entries_.size()) +
           data_size();
}

int64_t Dictionary::data_size() const {
    const_cast<Dictionary*>(this)->Lay_Out();
    int64_t size = 0;
    for (const DictionaryDataBlock* block : blocks_) size += block->used();
    return size;
}

// Everything is read and checked into locals first; only then are the old contents replaced.
// The section is left current in the container (no Section_Read_End).
bool Dictionary::Read(TaggedFile* file) {
    if (!file->Section_Read_Start(TAG_DICT)) {
        Error(file->error());
        return false;
    }
    unsigned char header[DICTIONARY_HEADER_SIZE];
    if (file->Section_Read(header, DICTIONARY_HEADER_SIZE) != DICTIONARY_HEADER_SIZE) {
        Error(file->error());
        return false;
    }
    uint32_t entry_count = get_u32(header + 0);
    if (entry_count > DICTIONARY_ENTRIES_LOOSE_MAX || entry_count > DICTIONARY_ENTRIES_MAX) {
        Error("dictionary_header.entries out of range");
        return false;
    }
    int data_size = get_s32(header + 4);
    int block_count = data_size / TF_DATA_BLOCK_SIZE;
    if (static_cast<uint32_t>(block_count + 1) > DICTIONARY_BLOCKS_MAX) {
        Error("( dictionary_header.data_size / TF_DATA_BLOCK_SIZE ) + 1 out of range");
        return false;
    }
    int flags = get_s32(header + 8);

    int table_size = static_cast<int>(entry_count) * DICTIONARY_ENTRY_SIZE;
    std::vector<unsigned char> table;
    if (file->Section_Read_Vector(&table, table_size) != table_size) {
        Error(file->error());
        return false;
    }
    GrowingArray<Entry_Slot> entries(entry_count);
    for (size_t i = 0; i < entries.size(); i++) {
        int offset = get_s32(table.data() + i * DICTIONARY_ENTRY_SIZE);
        int size = get_s32(table.data() + i * DICTIONARY_ENTRY_SIZE + 4);
        int end = static_cast<int>(static_cast<uint32_t>(offset) + static_cast<uint32_t>(size));
        if (offset < 0 || offset >= data_size) {
            Error("dictionary_entry.offset out of range");
            return false;
        }
        if (end < 0 || end > data_size) {
            Error("dictionary_entry.offset + dictionary_entry.size out of range");
            return false;
        }
        // A negative size can still end inside the data area; it would hand callers a
        // negative length.
        if (size < 0) {
            Error("dictionary_entry.size out of range");
            return false;
        }
        entries[i] = Entry_Slot{0, offset, size};
    }

    // A negative data size asks for a negative count, which the container refuses; that
    // refusal must not pass for a complete read just because both are -1.
    std::vector<unsigned char> data;
    int got = file->Section_Read_Vector(&data, data_size);
    if (got < 0 || got != data_size) {
        Error(file->error());
        return false;
    }
    DictionaryDataBlock* block = new DictionaryDataBlock((block_count + 1) * TF_DATA_BLOCK_SIZE);
    if (data_size > 0) std::memcpy(block->data_, data.data(), static_cast<size_t>(data_size));
    block->used_ = data_size;

    // The current block was one of the old ones; with them gone there is none.
    Free_Blocks();
    Free_Pending();
    laid_out_ = static_cast<int>(entry_count);
    capacity_open_ = false;
    blocks_.push_back(block);
    entries_.swap(entries);
    entry_capacity_ = static_cast<int>(entry_count);
    compressed_ = false;
    flags_ = flags;
    return true;
}
