// UNIX file manager and files over real temporary files: open modes, the mapped view with its
// zero byte, sequential and positioned access. The system's failure texts for inputs and outputs
// that cannot be opened are checked through the whole program in FileEdgesTest.
#include "platform/UNIXFileManager.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/File.h"

namespace {

class UNIXFileManagerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/tnasm-files-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        std::string command = "rm -rf '" + dir_ + "'";
        (void)std::system(command.c_str());  // a leftover temporary directory is harmless
    }

    std::string PathOf(const char* name) const { return dir_ + "/" + name; }

    // Creates 'name' holding 'bytes' through the manager itself.
    void MakeFile(const char* name, const std::string& bytes) {
        File* file = manager_.Open(PathOf(name).c_str(), 15);
        ASSERT_NE(file, nullptr) << manager_.error().c_str();
        ASSERT_EQ(file->Write(bytes.data(), static_cast<int>(bytes.size())),
                  static_cast<int>(bytes.size()));
        delete file;
    }

    std::string dir_;
    UNIXFileManager manager_{nullptr};
};

}  // namespace

TEST_F(UNIXFileManagerTest, MapHasAZeroBytePastTheEnd) {
    // An empty file, and sizes around a page boundary, where a memory mapping would have no byte
    // behind it.
    for (size_t size : {0u, 1u, 4095u, 4096u, 4097u, 8192u}) {
        std::string bytes(size, 'a');
        MakeFile("page.s", bytes);
        File* file = manager_.Open(PathOf("page.s").c_str(), 1);
        ASSERT_NE(file, nullptr);
        ASSERT_EQ(file->Length(), static_cast<int64_t>(size));
        const char* view = file->Map(0, file->Length());
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(std::string(view, size), bytes);
        EXPECT_EQ(view[size], '\0') << size;
        // A part of the file, also terminated.
        view = size > 0 ? file->Map(size - 1, 1) : "a";
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view[0], 'a');
        EXPECT_EQ(view[1], '\0');
        delete file;  // ends the view
    }
}

TEST_F(UNIXFileManagerTest, SeekReadAndWrite) {
    File* file = manager_.Open(PathOf("rw.tnc").c_str(), 15);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->Write("0123456789", 10), 10);
    EXPECT_EQ(file->Seek(4), 4);
    EXPECT_EQ(file->Write("xy", 2), 2);
    EXPECT_EQ(file->Seek(0), 0);
    char bytes[16] = {};
    EXPECT_EQ(file->Read(bytes, 16), 10);  // short at the end
    EXPECT_EQ(std::string(bytes, 10), "0123xy6789");
    // Seeking past the end and writing leaves a hole of zero bytes.
    EXPECT_EQ(file->Seek(12), 12);
    EXPECT_EQ(file->Write("z", 1), 1);
    EXPECT_EQ(file->Length(), 13);
    EXPECT_EQ(file->Seek(-1), -1);
    EXPECT_STREQ(file->error().c_str(), std::strerror(EINVAL));
    delete file;

    // Truncation on the next create-and-truncate open; opening without it keeps the bytes.
    file = manager_.Open(PathOf("rw.tnc").c_str(), 1);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->Length(), 13);
    EXPECT_EQ(file->Write("q", 1), -1) << "read-only file accepted a write";
    EXPECT_STREQ(file->error().c_str(), std::strerror(EBADF));
    delete file;
    // The old bytes are written over in place and cut off at the close, but they are gone from
    // the start: the file reads as holding only what was written, also across a deactivation.
    file = manager_.Open(PathOf("rw.tnc").c_str(), 15);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->Length(), 0);
    EXPECT_EQ(file->Read(bytes, 16), 0);
    EXPECT_EQ(file->Write("abc", 3), 3);
    manager_.DeactivateFile(file);
    EXPECT_EQ(file->Write("d", 1), 1);
    EXPECT_EQ(file->Seek(1), 1);
    EXPECT_EQ(file->Read(bytes, 16), 3);
    EXPECT_EQ(file->Length(), 4);
    delete file;
    file = manager_.Open(PathOf("rw.tnc").c_str(), 1);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->Length(), 4);
    EXPECT_EQ(file->Read(bytes, 16), 4);
    EXPECT_EQ(std::string(bytes, 4), "abcd");
    delete file;
}

TEST_F(UNIXFileManagerTest, DeactivatedFileReopensWhereItWas) {
    MakeFile("idle.s", "abcdef");
    File* file = manager_.Open(PathOf("idle.s").c_str(), 1);
    ASSERT_NE(file, nullptr);
    char bytes[4] = {};
    ASSERT_EQ(file->Read(bytes, 2), 2);
    manager_.DeactivateFile(file);
    ASSERT_EQ(file->Read(bytes, 2), 2);
    EXPECT_EQ(std::string(bytes, 2), "cd");
    delete file;

    // A written file keeps its bytes and is not truncated again when it comes back.
    file = manager_.Open(PathOf("idle.tnc").c_str(), 15);
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->Write("1234", 4), 4);
    manager_.DeactivateFile(file);
    ASSERT_EQ(file->Write("56", 2), 2);
    EXPECT_EQ(file->Length(), 6);
    delete file;
}
