// Chain of blocks for building text of unknown length: bytes are appended or prepended
// without moving what is held, and made contiguous once at the end.
#ifndef TARN_FOUNDATION_LINKBUFFER_H
#define TARN_FOUNDATION_LINKBUFFER_H

#include <mpdecimal.h>

class Output;
class Variable;

// One block of the chain. It owns its array and every block after it.
class LinkBuffer_Block {
  public:
    // A new array of 'size' bytes, none used.
    explicit LinkBuffer_Block(int size);
    // Adopts 'data' (allocated with array new) with 'used' bytes filled of 'capacity'.
    LinkBuffer_Block(char* data, int used, int capacity);
    LinkBuffer_Block(const LinkBuffer_Block&) = delete;
    LinkBuffer_Block& operator=(const LinkBuffer_Block&) = delete;
    // Frees the array and destroys the rest of the chain after this block.
    ~LinkBuffer_Block();

    // Copies as many of 'length' bytes as fit into the spare room; returns that count.
    int cat(const char* bytes, int length);
    // Forgets the array without freeing it: its new owner took it.
    void release();

    char* data;
    int used;
    int capacity;
    LinkBuffer_Block* next;
    LinkBuffer_Block* previous;
};

class LinkBuffer {
  public:
    // 'first_unit' sizes the first block, 'later_unit' every further one: a block holds the
    // bytes that start it rounded up past the next multiple of its unit.
    LinkBuffer(int first_unit, int later_unit);
    LinkBuffer(const LinkBuffer&) = delete;
    LinkBuffer& operator=(const LinkBuffer&) = delete;
    virtual ~LinkBuffer();

    // ---- appending ----
    // 'length' of -1 means 'bytes' is NUL-terminated.
    void cat(const char* bytes, int length);
    // Adopts 'data' (array new) as a new tail block, whose spare room later appends fill.
    void cat_nocopy(char* data, int length, int capacity);
    // Two upper-case hexadecimal digits, high nibble first.
    void cat_hex(unsigned char byte);
    // The number's text as the application writes it, adopted as a block of its own.
    void cat(int value);
    void cat(double value);
    void cat(mpd_t* value);
    // The variable's value as text.
    void cat(Variable* variable);
    // Appends a copy of every block of 'other', first to last.
    void cat(const LinkBuffer* other);
    // Moves the blocks of 'other' behind the tail without copying, then deletes 'other'.
    void cat_destroy(LinkBuffer* other);

    // ---- prepending ----
    void prepend(const char* bytes, int length);
    void prepend_nocopy(char* data, int length, int capacity);
    void prepend(int value);
    void prepend(double value);
    void prepend(mpd_t* value);
    void prepend(Variable* variable);
    // Prepends copies of the blocks of 'other' so that their order is kept.
    void prepend(const LinkBuffer* other);
    // Moves the blocks of 'other' before the head without copying, then deletes 'other'.
    void prepend_destroy(LinkBuffer* other);

    // ---- taking the result ----
    // Copies every block's bytes one after the other; 'destination' holds total() bytes and
    // gets no terminator.
    void append_to(char* destination) const;
    // Writes every block's bytes in order; 0 on success, -1 at the first failed write.
    int output(Output* out) const;
    // Makes the bytes one block with room for 'extra' more, unless they are already.
    void coalesce(int extra);
    // The bytes as one NUL-terminated array that the buffer keeps; an empty buffer gives a
    // shared empty text of length 0 and capacity 1.
    const char* data(int* length, int* capacity);
    // Hands the bytes over as one array (the caller frees it with array delete) with room for
    // 'extra' more, and empties the buffer. No terminator is written: callers that want one
    // pass an 'extra' of 1 and write it. An empty buffer gives a new 1-byte array.
    char* release(int* length, int* capacity, int extra);

    // ---- accessors ----
    int total() const { return total_; }
    const LinkBuffer_Block* head() const { return head_; }
    const LinkBuffer_Block* tail() const { return tail_; }

  private:
    void link_after_tail(LinkBuffer_Block* first, LinkBuffer_Block* last);
    void link_before_head(LinkBuffer_Block* first, LinkBuffer_Block* last);
    void clear();

    LinkBuffer_Block* head_;
    LinkBuffer_Block* tail_;
    int total_;
    int first_unit_;
    int later_unit_;
};

#endif
