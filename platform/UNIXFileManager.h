// File manager of UNIX systems: opens files by path with the manager's mode bits and keeps the
// system's text for its last failure.
#ifndef TARN_PLATFORM_UNIXFILEMANAGER_H
#define TARN_PLATFORM_UNIXFILEMANAGER_H

#include "foundation/String.h"
#include "platform/FileManager.h"

class TarnApplication;

class UNIXFileManager : public FileManager {
  public:
    // 'owner' is the application the manager serves; not owned.
    explicit UNIXFileManager(TarnApplication* owner);
    ~UNIXFileManager() override;

    UNIXFileManager(const UNIXFileManager&) = delete;
    UNIXFileManager& operator=(const UNIXFileManager&) = delete;

    // Pipes, FIFOs and character devices opened for reading are read to their end and held in
    // memory. Directories, sockets and block devices are refused, and so are pipes and FIFOs
    // opened for writing: the file layer measures, maps and seeks the files it writes.
    File* Open(const char* path, int mode) override;
    void DeactivateFile(File* file) override;
    const String& error() override { return error_; }
    bool IsSameFile(const char* path, File* file) override;

    TarnApplication* owner() const { return owner_; }

  private:
    static bool WaitForWriter(int fd);

    TarnApplication* owner_;
    String error_;
};

#endif
