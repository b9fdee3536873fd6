// The dump program on UNIX systems: adds the file manager.
#ifndef TARN_DRIVER_UNIXDUMPAPPLICATION_H
#define TARN_DRIVER_UNIXDUMPAPPLICATION_H

#include "driver/DumpApplication.h"

class UNIXFileManager;

class UNIXDumpApplication : public DumpApplication {
  public:
    UNIXDumpApplication(int argc, char** argv);
    ~UNIXDumpApplication() override;

    FileManager* filemanager() override;
    // strerror of the current errno.
    const char* lasterror() override;

  private:
    UNIXFileManager* file_manager_;
};

#endif
