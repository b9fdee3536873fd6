// File manager over files held in memory.
#include "platform/BufferFileManager.h"

#include "platform/BufferFile.h"

BufferFileManager::BufferFileManager() {}

BufferFileManager::~BufferFileManager() {}

File* BufferFileManager::Open(const char* path, int mode) {
    if (path == nullptr) {
        error_.assign("No such file or directory");
        return nullptr;
    }
    auto found = files_.find(path);
    if (found == files_.end()) {
        if ((mode & FILE_MODE_CREATE) == 0) {
            error_.assign("No such file or directory");
            return nullptr;
        }
        found = files_.emplace(path, std::make_shared<std::vector<unsigned char>>()).first;
    } else if ((mode & FILE_MODE_TRUNCATE) != 0) {
        found->second->clear();
    }
    return new BufferFile(found->second);
}

void BufferFileManager::DeactivateFile(File* file) {
    (void)file;  // nothing to release: the bytes stay in memory
}

void BufferFileManager::Put(const char* path, const void* bytes, int length) {
    const unsigned char* first = static_cast<const unsigned char*>(bytes);
    files_[path] =
        std::make_shared<std::vector<unsigned char>>(first, first + (length > 0 ? length : 0));
}

const std::vector<unsigned char>* BufferFileManager::Get(const char* path) const {
    auto found = files_.find(path);
    return found == files_.end() ? nullptr : found->second.get();
}
