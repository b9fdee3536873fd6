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

    // Directories, pipes, sockets and block devices are refused: the file layer measures, maps
    // and seeks its files. Character devices are kept.
    File* Open(const char* path, int mode) override;
    void DeactivateFile(File* file) override;
    const String& error() override { return error_; }

    TarnApplication* owner() const { return owner_; }

  private:
    TarnApplication* owner_;
    String error_;
};

#endif
