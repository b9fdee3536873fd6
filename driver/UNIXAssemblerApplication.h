// The assembler application on UNIX systems: adds the file manager.
#ifndef TARN_DRIVER_UNIXASSEMBLERAPPLICATION_H
#define TARN_DRIVER_UNIXASSEMBLERAPPLICATION_H

#include "driver/AssemblerApplication.h"

class UNIXFileManager;

class UNIXAssemblerApplication : public AssemblerApplication {
  public:
    UNIXAssemblerApplication(int argc, char** argv);
    ~UNIXAssemblerApplication() override;

    FileManager* filemanager() override;
    // strerror of the current errno.
    const char* lasterror() override;

  private:
    UNIXFileManager* file_manager_;
};

#endif
