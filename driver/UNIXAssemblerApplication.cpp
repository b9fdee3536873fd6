// UNIX assembler application: the file manager and the system's error text.
#include "driver/UNIXAssemblerApplication.h"

#include <cerrno>
#include <cstring>

#include "platform/UNIXFileManager.h"

UNIXAssemblerApplication::UNIXAssemblerApplication(int argc, char** argv)
    : AssemblerApplication(argc, argv), file_manager_(new UNIXFileManager(this)) {}

UNIXAssemblerApplication::~UNIXAssemblerApplication() {
    delete file_manager_;
}

FileManager* UNIXAssemblerApplication::filemanager() {
    return file_manager_;
}

const char* UNIXAssemblerApplication::lasterror() {
    return std::strerror(errno);
}
