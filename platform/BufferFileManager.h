// File manager over files held in memory, keyed by path: the assembler can read a source and
// write a compiled file through it without touching the disk.
#ifndef TARN_PLATFORM_BUFFERFILEMANAGER_H
#define TARN_PLATFORM_BUFFERFILEMANAGER_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "foundation/String.h"
#include "platform/FileManager.h"

class BufferFileManager : public FileManager {
  public:
    BufferFileManager();
    ~BufferFileManager() override;

    BufferFileManager(const BufferFileManager&) = delete;
    BufferFileManager& operator=(const BufferFileManager&) = delete;

    // A path that is not held fails unless the create bit is set; the truncate bit empties it.
    File* Open(const char* path, int mode) override;
    void DeactivateFile(File* file) override;
    const String& error() override { return error_; }

    // Places 'length' bytes at 'path', replacing what was there.
    void Put(const char* path, const void* bytes, int length);
    // The bytes held at 'path', or null when there are none.
    const std::vector<unsigned char>* Get(const char* path) const;

  private:
    std::map<std::string, std::shared_ptr<std::vector<unsigned char>>> files_;
    String error_;
};

#endif
