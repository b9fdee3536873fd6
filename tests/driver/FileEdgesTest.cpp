// The program over real files at the edges: inputs that are no readable file, sources of 2 GiB
// and more, and outputs that cannot be created or that fail later. Every run ends in at most one
// report and status 1, never hangs, and never leaves a compiled file that a loader accepts.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "compiled/Dictionary.h"
#include "compiled/TaggedFile.h"
#include "driver/UNIXAssemblerApplication.h"
#include "platform/UNIXFileManager.h"
#include "tests/support/MemoryApplication.h"

namespace {

// A run that does not end within this many seconds is taken for a hang: the alarm kills the
// test instead of letting it wait for ever on a pipe.
constexpr unsigned HANG_SECONDS = 60;

struct Outcome {
    int status;
    std::string err;
};

class FileEdgesTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/tnasm-edges-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        (void)chmod(dir_.c_str(), 0700);
        std::string command = "rm -rf '" + dir_ + "'";
        (void)std::system(command.c_str());  // a leftover temporary directory is harmless
    }

    std::string PathOf(const std::string& name) const { return dir_ + "/" + name; }

    void MakeFile(const std::string& name, const std::string& bytes) {
        int fd = open(PathOf(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(fd);
    }

    // The whole program over a command line, its reports captured.
    static Outcome Assemble(std::vector<std::string> words) {
        words.insert(words.begin(), "tnasm");
        CommandLineWords line(words);
        UNIXAssemblerApplication application(static_cast<int>(line.words.size()), line.argv.data());
        CapturedOutput* capture = new CapturedOutput;
        delete application.SetOutput(capture);
        alarm(HANG_SECONDS);
        const int status = application.Go();
        alarm(0);
        return {status, capture->err};
    }

    // True when a loader would take the file: its container opens and its dictionary reads.
    static bool Loadable(const std::string& path) {
        UNIXFileManager files(nullptr);
        TaggedFile file(&files);
        if (!file.Open(path.c_str(), FILE_MODE_READ)) return false;
        Dictionary dictionary;
        return dictionary.Read(&file);
    }

    std::string dir_;
};

}  // namespace

TEST_F(FileEdgesTest, InputThatIsNoReadableFileIsRefusedAtOnce) {
    ASSERT_EQ(mkdir(PathOf("dir.s").c_str(), 0755), 0);
    ASSERT_EQ(mkfifo(PathOf("pipe.s").c_str(), 0644), 0);
    MakeFile("locked.s", "pushi 1\n");
    ASSERT_EQ(chmod(PathOf("locked.s").c_str(), 0), 0);
    struct Row {
        std::string name;
        std::string reason;
    } rows[] = {
        {"dir.s", "Is a directory"},
        {"pipe.s", "Not a regular file"},
        {"locked.s", "Permission denied"},
        {"missing.s", "No such file or directory"},
    };
    for (const Row& row : rows) {
        // The superuser reads a file whatever its permissions.
        if (row.name == "locked.s" && geteuid() == 0) continue;
        const Outcome run = Assemble({"-o", PathOf("out.tnc"), PathOf(row.name)});
        EXPECT_EQ(1, run.status) << row.name;
        EXPECT_EQ("tnasm: Unable to open '" + PathOf(row.name) + "': " + row.reason + "\n",
                  run.err);
        EXPECT_NE(0, access(PathOf("out.tnc").c_str(), F_OK)) << row.name;
    }
}
