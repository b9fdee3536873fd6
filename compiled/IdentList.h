// Identifier list: the texts of the source's .ident directives, carried unchanged into the
// "idnt" section for whoever inspects the compiled file.
#ifndef TARN_COMPILED_IDENTLIST_H
#define TARN_COMPILED_IDENTLIST_H

#include <cstdint>

#include "foundation/String.h"

class TaggedFile;

// The buffer grows in steps of this many bytes.
constexpr int IDENT_LIST_GROWTH = 8192;

class IdentList {
  public:
    IdentList();
    IdentList(const IdentList&) = delete;
    IdentList& operator=(const IdentList&) = delete;

    // The virtual operations are in the order the loader's class shares; do not reorder them.
    virtual ~IdentList();
    virtual const String& error();
    virtual void Error(const String& text);

    // Appends the text and a 0 byte. 'length' of -1: the text runs up to its own 0 byte.
    void Entry_Add(const char* text, int length);
    // The entry at the read cursor, its length (without the 0 byte) stored in 'length'; the
    // cursor moves past it. Null once every entry was returned.
    const char* Entry(int* length);

    // Writes the "idnt" section, also when the list is empty.
    bool Write(TaggedFile* file);
    // The bytes Write sends: the texts with their zero bytes, nothing else.
    int64_t WrittenSize() const { return length_; }
    // Empties the list and reads the "idnt" section of 'file' in its place; after a failure the
    // list stays empty.
    bool Read(TaggedFile* file);

    int length() const { return length_; }
    int capacity() const { return capacity_; }

  private:
    String error_;
    char* buffer_;
    int capacity_;
    // Bytes behind 'buffer_', at least the capacity.
    int allocated_;
    int cursor_;
    int length_;  // bytes in use, the 0 bytes included
};

#endif
