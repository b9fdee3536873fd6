// In-memory files for tests: a File over a byte vector and a FileManager that keeps files by
// path, with failure injection (the k-th open, map, read, write or seek fails).
#ifndef TARN_TESTS_SUPPORT_MEMORYFILE_H
#define TARN_TESTS_SUPPORT_MEMORYFILE_H

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/FileManager.h"

// Counts operations across every file of one manager; an operation whose running number equals
// its 'fail_at' value fails (0 = never). Tests loop k from 1 until a run succeeds.
struct MemoryFaults {
    int fail_open_at = 0;
    int fail_map_at = 0;
    int fail_read_at = 0;
    int fail_write_at = 0;
    int fail_seek_at = 0;
    int opens = 0;
    int maps = 0;
    int reads = 0;
    int writes = 0;
    int seeks = 0;

    // Fails the k-th operation of any kind (counted together).
    int fail_any_at = 0;
    int any = 0;

    bool Hit(int& counter, int fail_at) {
        ++counter;
        ++any;
        return (fail_at != 0 && counter == fail_at) || (fail_any_at != 0 && any == fail_any_at);
    }
};

class MemoryFile : public File {
public:
    // 'bytes' is shared with the manager, so what a writer wrote stays readable after it closed.
    MemoryFile(std::shared_ptr<std::vector<unsigned char>> bytes, MemoryFaults* faults)
        : bytes_(std::move(bytes)), faults_(faults) {}

    int64_t Length() override { return static_cast<int64_t>(bytes_->size()); }

    const char* Map(int64_t offset, int64_t length) override {
        if (faults_ != nullptr && faults_->Hit(faults_->maps, faults_->fail_map_at)) {
            error_.assign("Injected map failure");
            return nullptr;
        }
        if (offset < 0 || length < 0 || offset + length > Length()) {
            error_.assign("Invalid argument");
            return nullptr;
        }
        // A separate copy with a zero byte behind it, as the real file layer guarantees.
        view_.assign(bytes_->begin() + offset, bytes_->begin() + offset + length);
        view_.push_back(0);
        return reinterpret_cast<const char*>(view_.data());
    }

    void Release() override { view_.clear(); }

    int Read(void* out, int count) override {
        if (faults_ != nullptr && faults_->Hit(faults_->reads, faults_->fail_read_at)) {
            error_.assign("Injected read failure");
            return -1;
        }
        if (count < 0) return -1;
        int64_t left = Length() - position_;
        int n = left < count ? static_cast<int>(left < 0 ? 0 : left) : count;
        if (n > 0) std::memcpy(out, bytes_->data() + position_, static_cast<size_t>(n));
        position_ += n;
        return n;
    }

    int Write(const void* in, int count) override {
        if (faults_ != nullptr && faults_->Hit(faults_->writes, faults_->fail_write_at)) {
            error_.assign("Injected write failure");
            return -1;
        }
        if (count < 0) return -1;
        size_t end = static_cast<size_t>(position_) + static_cast<size_t>(count);
        if (bytes_->size() < end) bytes_->resize(end);
        if (count > 0) std::memcpy(bytes_->data() + position_, in, static_cast<size_t>(count));
        position_ += count;
        return count;
    }

    int64_t Seek(int64_t offset) override {
        if (faults_ != nullptr && faults_->Hit(faults_->seeks, faults_->fail_seek_at)) {
            error_.assign("Injected seek failure");
            return -1;
        }
        if (offset < 0) {
            error_.assign("Invalid argument");
            return -1;
        }
        position_ = offset;
        return position_;
    }

    const String& error() override { return error_; }

private:
    std::shared_ptr<std::vector<unsigned char>> bytes_;
    MemoryFaults* faults_;
    std::vector<unsigned char> view_;
    int64_t position_ = 0;
    String error_;
};

class MemoryFileManager : public FileManager {
public:
    // Opening a path that does not exist fails unless the create bit is set; the truncate bit
    // empties an existing file.
    File* Open(const char* path, int mode) override {
        if (faults.Hit(faults.opens, faults.fail_open_at)) {
            error_.assign("Injected open failure");
            return nullptr;
        }
        auto it = files_.find(path);
        if (it == files_.end()) {
            if ((mode & FILE_MODE_CREATE) == 0) {
                error_.assign("No such file or directory");
                return nullptr;
            }
            it = files_.emplace(path, std::make_shared<std::vector<unsigned char>>()).first;
        } else if ((mode & FILE_MODE_TRUNCATE) != 0) {
            it->second->clear();
        }
        return new MemoryFile(it->second, &faults);
    }

    void DeactivateFile(File*) override { ++deactivations; }

    const String& error() override { return error_; }

    // ---- test helpers ----
    void Put(const std::string& path, const std::vector<unsigned char>& bytes) {
        files_[path] = std::make_shared<std::vector<unsigned char>>(bytes);
    }
    void Put(const std::string& path, const std::string& text) {
        Put(path, std::vector<unsigned char>(text.begin(), text.end()));
    }
    bool Has(const std::string& path) const { return files_.count(path) != 0; }
    std::vector<unsigned char> Get(const std::string& path) const {
        auto it = files_.find(path);
        return it == files_.end() ? std::vector<unsigned char>() : *it->second;
    }

    MemoryFaults faults;
    int deactivations = 0;

private:
    std::map<std::string, std::shared_ptr<std::vector<unsigned char>>> files_;
    String error_;
};

#endif
