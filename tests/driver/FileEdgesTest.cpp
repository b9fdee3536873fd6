// The program over real files at the edges: inputs that are no readable file, sources of 2 GiB
// and more, and outputs that cannot be created or that fail later. Every run ends in at most one
// report and status 1, never hangs, and never leaves a compiled file that a loader accepts.
#include <gtest/gtest.h>

#include <algorithm>
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
#include "driver/UNIXDumpApplication.h"
#include "platform/UNIXFile.h"
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

// The file layer's hook for a source cut short by another program: the source is cut to 'keep'
// bytes as soon as it is mapped, before the tokenizer reads a byte of it.
struct CutFile : UNIXFile {
    CutFile(const char* name, off_t size)
        : UNIXFile(open(name, O_RDONLY | O_CLOEXEC), name, O_RDONLY), path(name), keep(size) {}
    const char* Map(int64_t offset, int64_t length) override {
        const char* view = UNIXFile::Map(offset, length);
        EXPECT_EQ(truncate(path.c_str(), keep), 0);
        return view;
    }
    std::string path;
    off_t keep;
};
struct CuttingFiles : UNIXFileManager {
    explicit CuttingFiles(off_t size) : UNIXFileManager(nullptr), keep(size) {}
    File* Open(const char* path, int mode) override {
        return mode == FILE_MODE_READ ? new CutFile(path, keep) : UNIXFileManager::Open(path, mode);
    }
    off_t keep;
};
struct CuttingApplication : UNIXAssemblerApplication {
    CuttingApplication(CommandLineWords* line, off_t keep)
        : UNIXAssemblerApplication(static_cast<int>(line->words.size()), line->argv.data()),
          files(keep) {}
    FileManager* filemanager() override { return &files; }
    CuttingFiles files;
};

}  // namespace

TEST_F(FileEdgesTest, SourceCutShortWhileReadIsReportedOnce) {
    // Three megabytes of statements: cut at the first megabyte, the pages behind it are lost
    // under the tokenizer; cut by its last statement, the last page only reads zeros where the
    // statement was, and the rest still assembles.
    std::string source;
    while (source.size() < 3 * 1024 * 1024) source += "pushi 1234567\npushf 2.5\n";
    source += "pushi 1\n";
    for (off_t keep : {off_t{1} << 20, static_cast<off_t>(source.size() - 8)}) {
        MakeFile("in.s", source);
        CommandLineWords line({"tnasm", "-o", PathOf("out.tnc"), PathOf("in.s")});
        CuttingApplication application(&line, keep);
        CapturedOutput* capture = new CapturedOutput;
        delete application.SetOutput(capture);
        EXPECT_EQ(1, application.Go()) << keep;
        EXPECT_EQ("tnasm: Unable to read '" + PathOf("in.s") + "': File changed while being read\n",
                  capture->err);
        EXPECT_NE(0, access(PathOf("out.tnc").c_str(), F_OK)) << keep;
    }
}

TEST_F(FileEdgesTest, InputThatIsNoReadableFileIsRefusedAtOnce) {
    ASSERT_EQ(mkdir(PathOf("dir.s").c_str(), 0755), 0);
    MakeFile("locked.s", "pushi 1\n");
    ASSERT_EQ(chmod(PathOf("locked.s").c_str(), 0), 0);
    struct Row {
        std::string name;
        std::string reason;
    } rows[] = {
        {"dir.s", "Is a directory"},
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

TEST_F(FileEdgesTest, SourceTooLongForA32BitViewIsRefusedNotCut) {
    // Sparse files: no disk space is used and the program never reads them. 4 GiB and 10 bytes
    // would be a source of 10 bytes to a wrapped 32-bit count; 2^31 - 1 bytes leave no room
    // for the zero byte behind the view.
    const long long sizes[] = {2147483647LL, 2147483648LL, 2147483649LL, 4294967306LL};
    for (long long size : sizes) {
        const std::string name = "big-" + std::to_string(size) + ".s";
        MakeFile(name, "pushi 1\n");
        ASSERT_EQ(truncate(PathOf(name).c_str(), static_cast<off_t>(size)), 0);
        const Outcome run = Assemble({"-o", PathOf("out.tnc"), PathOf(name)});
        EXPECT_EQ(1, run.status) << size;
        EXPECT_EQ("tnasm: Unable to open '" + PathOf(name) + "': File too large\n", run.err);
        EXPECT_NE(0, access(PathOf("out.tnc").c_str(), F_OK)) << size;
    }
}

TEST_F(FileEdgesTest, TndumpRefusesAFileTooLongForA32BitContainerBeforeReadingIt) {
    // Read whole, 4 GiB of zeros would cost 4 GiB of memory just to be found corrupt.
    MakeFile("huge.tnc", "Tarn");
    ASSERT_EQ(truncate(PathOf("huge.tnc").c_str(), 4294967306LL), 0);
    CommandLineWords line({"tndump", PathOf("huge.tnc")});
    UNIXDumpApplication application(static_cast<int>(line.words.size()), line.argv.data());
    CapturedOutput* capture = new CapturedOutput;
    delete application.SetOutput(capture);
    alarm(HANG_SECONDS);
    EXPECT_EQ(1, application.Go());
    alarm(0);
    EXPECT_EQ("tndump: Unable to read '" + PathOf("huge.tnc") + "': File too large\n",
              capture->err);
}

TEST_F(FileEdgesTest, OutputThatCannotBeCreatedIsReportedAsSuch) {
    MakeFile("in.s", ".string s \"text\"\npushc s\n");
    ASSERT_EQ(mkdir(PathOf("dir.tnc").c_str(), 0755), 0);
    ASSERT_EQ(mkfifo(PathOf("pipe.tnc").c_str(), 0644), 0);
    ASSERT_EQ(mkdir(PathOf("locked").c_str(), 0555), 0);
    struct Row {
        std::string path;
        std::string reason;
        bool as_superuser;  // whether the row holds for the superuser too
    } rows[] = {
        {PathOf("dir.tnc"), "Is a directory", true},
        {PathOf("pipe.tnc"), "Not a regular file", true},
        {PathOf("missing/out.tnc"), "No such file or directory", true},
        {PathOf("locked/out.tnc"), "Permission denied", false},
        // Opens, but the first write, the header's, finds no space.
        {"/dev/full", "No space left on device", true},
    };
    for (const Row& row : rows) {
        if (!row.as_superuser && geteuid() == 0) continue;
        const Outcome run = Assemble({"-o", row.path, PathOf("in.s")});
        EXPECT_EQ(1, run.status) << row.path;
        EXPECT_EQ("tnasm: Unable to create '" + row.path + "': " + row.reason + "\n", run.err);
    }
}

TEST_F(FileEdgesTest, WriteThatFailsLaterEndsWithStatusOneAndNoLoadableFile) {
    // A size limit on written files (with its signal ignored) makes a write fail once the file
    // reaches it: at every limit up to the size of the whole file, the run fails and what it
    // leaves is refused by the loader. At the size itself, it succeeds.
    std::string source = ".string s \"" + std::string(3000, 'x') + "\"\n.global g \"g\"\n";
    source += ".function f\n.parameter p \"p\"\npushl p\n.endfunction\npushc s\ncall f\n";
    source += ".ident \"id\"\n.localized \"en-US\" \"k\" \"t %v%\"\n";
    MakeFile("in.s", source);
    const std::string out = PathOf("out.tnc");
    ASSERT_EQ(0, Assemble({"-o", out, PathOf("in.s")}).status);
    struct stat st;
    ASSERT_EQ(stat(out.c_str(), &st), 0);
    const long long full_size = st.st_size;

    struct rlimit saved;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    void (*saved_handler)(int) = signal(SIGXFSZ, SIG_IGN);
    // Limits just past the header, inside the dictionary, within the later sections, at the
    // directory, and at the last byte.
    const long long limits[] = {33,       100, 3000, full_size - 60, full_size - 12, full_size - 1,
                                full_size};
    for (long long limit : limits) {
        (void)unlink(out.c_str());
        struct rlimit small = saved;
        small.rlim_cur = static_cast<rlim_t>(limit);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        const Outcome run = Assemble({"-o", out, PathOf("in.s")});
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &saved), 0);
        if (limit >= full_size) {
            EXPECT_EQ(0, run.status);
            EXPECT_TRUE(Loadable(out));
            continue;
        }
        EXPECT_EQ(1, run.status) << "limit " << limit;
        EXPECT_LE(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_FALSE(Loadable(out)) << "limit " << limit;
    }
    signal(SIGXFSZ, saved_handler);
}
