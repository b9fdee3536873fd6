// UNIX dump application: the file manager and the system's error text.
#include "driver/UNIXDumpApplication.h"

#include <cerrno>
#include <cstring>

#include "platform/UNIXFileManager.h"

UNIXDumpApplication::UNIXDumpApplication(int argc, char** argv)
    : DumpApplication(argc, argv), file_manager_(new UNIXFileManager(this)) {}

UNIXDumpApplication::~UNIXDumpApplication() {
    delete file_manager_;
}

FileManager* UNIXDumpApplication::filemanager() {
    return file_manager_;
}

const char* UNIXDumpApplication::lasterror() {
    return std::strerror(errno);
}
