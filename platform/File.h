// A file of the file manager: sequential read and write, absolute seek, and a read-only view
// of the whole file for the tokenizer. Failures leave their text behind error().
#ifndef TARN_PLATFORM_FILE_H
#define TARN_PLATFORM_FILE_H

#include <cstdint>

#include "foundation/String.h"

class File {
  public:
    virtual ~File() {}

    // Size of the file in bytes, or -1 when it cannot be told.
    virtual int64_t Length() = 0;
    // Read-only view of 'length' bytes from 'offset'. A readable zero byte always stands just
    // past the end of the view (the tokenizer relies on it). Null on failure.
    virtual const char* Map(int64_t offset, int64_t length) = 0;
    // Ends the view made by Map; harmless when there is none.
    virtual void Release() = 0;
    // Says that the view's bytes from 'offset' (counted from the view's start) for 'length'
    // bytes will not be read again, so that a long source need not stay in memory behind the
    // tokenizer. Reading them again stays allowed: they are still the file's bytes.
    virtual void Discard(int64_t offset, int64_t length) {
        (void)offset;
        (void)length;
    }
    // Bytes read (0 at the end of the file), or -1 on failure.
    virtual int Read(void* bytes, int count) = 0;
    // Bytes written, or a negative value on failure.
    virtual int Write(const void* bytes, int count) = 0;
    // The resulting offset, or -1 on failure.
    virtual int64_t Seek(int64_t offset) = 0;
    virtual const String& error() = 0;

    // True when the bytes under the view are no longer the file's: the file shrank below the
    // view's end while it was read, or a page of the view could not be read at all (such a page
    // reads as zero bytes). A file held in memory never changes.
    virtual bool Changed() { return false; }
    // The device and file number that tell this file apart from every other, when known.
    virtual bool Identity(uint64_t* device, uint64_t* inode) {
        (void)device;
        (void)inode;
        return false;
    }
};

#endif
