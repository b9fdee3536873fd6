// The file manager: opens files by path with the mode bits below and keeps the text of its
// last failure.
#ifndef TARN_PLATFORM_FILEMANAGER_H
#define TARN_PLATFORM_FILEMANAGER_H

#include "foundation/String.h"
#include "platform/File.h"

// Open mode bits; the compiled-file writer opens with all four (15).
constexpr int FILE_MODE_READ = 1;
constexpr int FILE_MODE_WRITE = 2;
constexpr int FILE_MODE_CREATE = 4;
constexpr int FILE_MODE_TRUNCATE = 8;

class FileManager {
  public:
    virtual ~FileManager() {}

    // An owned file object, or null with the reason behind error().
    virtual File* Open(const char* path, int mode) = 0;
    // The manager may close the descriptor of an idle file and reopen it on next use.
    virtual void DeactivateFile(File* file) = 0;
    virtual const String& error() = 0;
    // True when 'path' names the open 'file' itself, under whatever spelling (another relative
    // path, a hard link, a symbolic link); false when it names no file or another one.
    virtual bool IsSameFile(const char* path, File* file) {
        (void)path;
        (void)file;
        return false;
    }
};

#endif
