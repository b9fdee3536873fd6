// Failure injection: the whole program over in-memory files whose k-th open, map, read, write or
// seek fails, for k from 1 until the run succeeds. Every failing run reports at most one error,
// returns 1 and leaves no compiled file that a loader accepts; the run that succeeds writes the
// same bytes as a run without failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/TaggedFile.h"
#include "tests/support/MemoryApplication.h"

namespace {

// Every section, the localization indexes of two languages among them.
const char* const SOURCE =
    "; failure injection over every section of the compiled file\n"
    ".version 1.8\n"
    ".string greeting \"Hello\"\n"
    ".global counter \"counter\"\n"
    ".system host \"host\"\n"
    ".ident \"injected\"\n"
    ".localized \"en-US\" \"hello\" \"Hello %name%!\"\n"
    ".localized \"de-DE\" \"hello\" \"Hallo %name%!\"\n"
    ".function twice\n"
    ".parameter value \"value\" reference\n"
    ".local result \"result\"\n"
    "again: pushl value\n"
    "popl result\n"
    "jmp_ne again\n"
    ".endfunction\n"
    ".function outside external\n"
    ".endfunction\n"
    "pushc greeting\n"
    "pushg counter\n"
    "call twice\n"
    "pushf 2.5\n";

struct Outcome {
    int status;
    std::string err;
    bool has_output;
    std::vector<unsigned char> output;
};

Outcome assemble(MemoryFaults faults) {
    MemoryAssemblerApplication application({"tnasm", "-o", "out.tnc", "in.s"});
    application.files.Put("in.s", std::string(SOURCE));
    application.files.faults = faults;
    const int status = application.Go();
    return {status, application.capture->err, application.files.Has("out.tnc"),
            application.files.Get("out.tnc")};
}

// What a loader does first: open the container and read the dictionary.
bool loadable(const std::vector<unsigned char>& bytes) {
    MemoryFileManager files;
    files.Put("x.tnc", bytes);
    TaggedFile file(&files);
    if (!file.Open("x.tnc", FILE_MODE_READ)) return false;
    Dictionary dictionary;
    return dictionary.Read(&file);
}

}  // namespace

TEST(FailureInjection, EveryFailingFileOperationEndsInAtMostOneReportAndStatusOne) {
    const Outcome clean = assemble(MemoryFaults());
    ASSERT_EQ(0, clean.status) << clean.err;
    ASSERT_TRUE(loadable(clean.output));

    struct Kind {
        const char* name;
        int MemoryFaults::*fail_at;
        int least_failures;  // failing runs the loop must see, so that it reaches every stage
    } kinds[] = {
        // The sections go out gathered into one write here: the writes are the placeholder
        // header, the sections, each directory entry and the final header.
        {"open", &MemoryFaults::fail_open_at, 2}, {"map", &MemoryFaults::fail_map_at, 1},
        {"read", &MemoryFaults::fail_read_at, 0}, {"write", &MemoryFaults::fail_write_at, 13},
        {"seek", &MemoryFaults::fail_seek_at, 3}, {"any", &MemoryFaults::fail_any_at, 19},
    };
    for (const Kind& kind : kinds) {
        int failures = 0;
        for (int k = 1;; ++k) {
            ASSERT_LT(k, 10000) << kind.name << ": no run succeeded";
            MemoryFaults faults;
            faults.*kind.fail_at = k;
            const Outcome run = assemble(faults);
            const std::string where = std::string(kind.name) + " " + std::to_string(k);
            EXPECT_LE(std::count(run.err.begin(), run.err.end(), '\n'), 1) << where << run.err;
            if (run.status == 0) {
                EXPECT_EQ("", run.err) << where;
                EXPECT_TRUE(run.output == clean.output) << where;
                break;
            }
            ++failures;
            EXPECT_EQ(1, run.status) << where;
            if (run.has_output) {
                EXPECT_FALSE(loadable(run.output)) << where;
            }
        }
        EXPECT_GE(failures, kind.least_failures) << kind.name;
    }
}

TEST(FailureInjection, EachStageReportsWhatFailed) {
    struct Row {
        int MemoryFaults::*fail_at;
        int k;
        const char* err;
    } rows[] = {
        {&MemoryFaults::fail_open_at, 1, "tnasm: Unable to open 'in.s': Injected open failure\n"},
        {&MemoryFaults::fail_map_at, 1, "tnasm: Unable to open 'in.s': Injected map failure\n"},
        {&MemoryFaults::fail_open_at, 2,
         "tnasm: Unable to create 'out.tnc': Injected open failure\n"},
        {&MemoryFaults::fail_seek_at, 1,
         "tnasm: Unable to create 'out.tnc': Injected seek failure\n"},
        {&MemoryFaults::fail_write_at, 1,
         "tnasm: Unable to create 'out.tnc': Injected write failure\n"},
        // A section that cannot be written ends the run without a report of its own.
        {&MemoryFaults::fail_write_at, 2, ""},
    };
    for (const Row& row : rows) {
        MemoryFaults faults;
        faults.*row.fail_at = row.k;
        const Outcome run = assemble(faults);
        EXPECT_EQ(1, run.status) << row.err;
        EXPECT_EQ(row.err, run.err);
    }
}

TEST(FailureInjection, TndumpReportsEachFailingReadOnceAndPrintsNothingPartial) {
    const Outcome compiled = assemble(MemoryFaults());
    ASSERT_EQ(0, compiled.status);
    for (const char* mode : {"", "--listing", "--source"}) {
        auto dump = [&compiled, mode](MemoryFaults faults, std::string* out, int* reports) {
            std::vector<std::string> words = {"tndump"};
            if (*mode != '\0') words.push_back(mode);
            words.push_back("in.tnc");
            MemoryDumpApplication application(words);
            application.files.Put("in.tnc", compiled.output);
            application.files.faults = faults;
            const int status = application.Go();
            *out = application.capture->out;
            *reports = application.capture->reports;
            return status;
        };
        std::string clean;
        int reports = 0;
        ASSERT_EQ(0, dump(MemoryFaults(), &clean, &reports)) << mode;
        int failures = 0;
        for (int k = 1;; ++k) {
            ASSERT_LT(k, 10000) << mode << ": no run succeeded";
            MemoryFaults faults;
            faults.fail_any_at = k;
            std::string out;
            const int status = dump(faults, &out, &reports);
            const std::string where = std::string(mode) + " " + std::to_string(k);
            if (status == 0) {
                EXPECT_EQ(0, reports) << where;
                EXPECT_EQ(clean, out) << where;
                break;
            }
            ++failures;
            EXPECT_EQ(1, status) << where;
            EXPECT_EQ(1, reports) << where;
            EXPECT_EQ("", out) << where;
        }
        EXPECT_GE(failures, 3) << mode;
    }
}
