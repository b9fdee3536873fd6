// One code segment: a growable byte array of instructions (opcode words and their operands,
// little-endian), and its readable listing.
#ifndef TARN_COMPILED_SEGMENT_H
#define TARN_COMPILED_SEGMENT_H

#include <cstdio>
#include <string>
#include <vector>

#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"
#include "foundation/String.h"

// Segments grow in steps of this size, so that a function body rarely reallocates.
constexpr int SEGMENT_GROWTH_STEP = 8192;
// The first block of a segment's bytes that is really allocated; it doubles up to the capacity.
// Most function bodies fit it.
constexpr int SEGMENT_FIRST_ALLOCATION = 512;

// Operand size bits of an instruction code, the one definition that the mnemonic table, the
// emitter, the listing and the disassembly share; the low 12 bits number the operation.
constexpr unsigned SEGMENT_FIRST_MASK = 0xC000;
constexpr unsigned SEGMENT_FIRST_DWORD = 0x4000;
constexpr unsigned SEGMENT_FIRST_DOUBLE = 0x8000;
constexpr unsigned SEGMENT_SECOND_MASK = 0x3000;
constexpr unsigned SEGMENT_SECOND_DWORD = 0x1000;
constexpr unsigned SEGMENT_SECOND_DOUBLE = 0x2000;

// `retn`, the instruction that closes every function body.
constexpr unsigned OPCODE_RETN = 0x003C;

// Listing name of an instruction code, or null for a code that has none.
const char* segment_listing_name(unsigned code);

// Large blocks that the bytes of many segments are carved from, one behind the other, and that
// are freed together: the segments of a program's functions, made and finished one after the
// other, then cost no allocation of their own, and a finished one keeps exactly its bytes
// without being copied. Only the last piece carved can grow in place, so a segment that grows
// after another was carved behind it moves.
class SegmentShelf {
  public:
    SegmentShelf() = default;
    SegmentShelf(const SegmentShelf&) = delete;
    SegmentShelf& operator=(const SegmentShelf&) = delete;
    ~SegmentShelf();

    // A piece of 'size' bytes holding the first 'kept' bytes of 'piece' (a piece of this shelf
    // of at least 'kept' bytes, or null): 'piece' itself when it is the last piece and its block
    // has room, else a new piece behind the last. Null when the piece would be too large for
    // the shelf; the caller then allocates on its own.
    char* Claim(char* piece, int kept, int size);
    // Gives back the bytes of 'piece' from 'size' on, when it is the last piece.
    void Shrink(char* piece, int old_size, int size);

    // The largest piece a shelf hands out: a larger segment takes memory of its own.
    static constexpr int LARGEST_PIECE = 256 * 1024;

  private:
    static constexpr size_t BLOCK_SIZE = 4 << 20;

    std::vector<char*> blocks_;
    char* free_ = nullptr;  // the first byte not carved of the last block
    char* end_ = nullptr;   // the end of the last block
};

class Segment {
  public:
    // An empty segment: 8192 zero bytes, length 0. With a shelf its bytes are carved from it
    // while they are few enough.
    explicit Segment(int number, SegmentShelf* shelf = nullptr);
    // Adopts 'data' (allocated with array new) of 'capacity' bytes, 'length' of them in use.
    Segment(int number, char* data, int capacity, int length);
    Segment(const Segment& other);
    Segment& operator=(const Segment&) = delete;
    virtual ~Segment();

    // Each stores its value little-endian at 'position', growing first, and returns
    // 'position' plus its width (-1 for a position no segment can hold).
    int Write_Byte(int position, unsigned int value);
    int Write_Word(int position, unsigned int value) {
        if (!Fits(position, 2)) return Write_Word_Growing(position, value);
        put_u16(reinterpret_cast<unsigned char*>(data_ + position), value);
        return Written(position, 2);
    }
    int Write_Dword(int position, unsigned int value) {
        if (!Fits(position, 4)) return Write_Dword_Growing(position, value);
        put_u32(reinterpret_cast<unsigned char*>(data_ + position), value);
        return Written(position, 4);
    }
    int Write_Double(int position, double value);

    // Each returns 'position' plus its width, or -1 when the value does not lie wholly below
    // the length (nothing is read then).
    int Read_Byte(int position, unsigned int* value) const;
    int Read_Word(int position, unsigned int* value) const;
    int Read_Dword(int position, unsigned int* value) const;
    int Read_Double(int position, double* value) const;

    // Makes room for at least 'needed' bytes, in whole steps of SEGMENT_GROWTH_STEP.
    void Grow(int needed);

    // Appends the first 'length' bytes to the open section; true when all were written.
    bool Write(TaggedFile* file);

    // The listing of the segment, appended to 'out'.
    void Listing(String* out, const char* expression, int expression_length) const;
    void Dump(FILE* out, const char* expression, int expression_length) const;
    // Writes the listing to the file at 'path'; nothing at all when it cannot be opened.
    void Dump(const char* path, const char* expression, int expression_length) const;

    // Gives back the memory held past the length: a finished function's segment keeps only
    // its bytes. Nothing observable changes; a later write past the length allocates again.
    void Trim();

    int number() const { return number_; }
    // All 'capacity' bytes, the unwritten ones zero.
    const char* data() const;
    // The first 'length' bytes as they lie, without allocating the rest (null when none are).
    const char* bytes() const { return data_; }
    int capacity() const { return capacity_; }
    int length() const { return length_; }

  private:
    // True when a value of 'width' bytes at 'position' needs neither growth nor allocation:
    // the writes of an emitter, one behind the other, almost always.
    bool Fits(int position, int width) const {
        return position >= 0 && position < capacity_ - width && position <= allocated_ - width;
    }
    int Written(int position, int width) {
        if (position + width > length_) length_ = position + width;
        return position + width;
    }
    int Write_Word_Growing(int position, unsigned int value);
    int Write_Dword_Growing(int position, unsigned int value);
    // Grows for a value of 'width' bytes at 'position'; false when no segment can hold it.
    bool Reserve(int position, int width);
    bool Holds(int position, int width) const;
    void List(std::string* out, const char* expression, int expression_length) const;

    // Allocates at least 'needed' of the capacity's bytes.
    void Allocate(int needed) const;

    // Frees the bytes unless they belong to the shelf.
    void Release() const;

    int number_;
    // The first 'allocated_' bytes of the capacity; the rest are zero until allocated.
    mutable char* data_;
    // Where the bytes are carved from, or null; 'shelved_' tells whether 'data_' is a piece of it.
    SegmentShelf* shelf_;
    mutable bool shelved_;
    mutable int allocated_;
    int capacity_;
    int length_;
    // Kept for the runtime's segment layout; the assembler never uses it.
    int spare_;
};

#endif
