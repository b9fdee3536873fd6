// Generated programs through the whole assembler: each one assembles, every section reads back
// through its reader, and each reader's table writes back to exactly the bytes it read.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/IdentList.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/SegmentManager.h"
#include "compiled/TaggedFile.h"
#include "compiled/VariableHash.h"
#include "driver/AssemblerApplication.h"
#include "platform/Output.h"
#include "tests/support/MemoryFile.h"
#include "tests/support/ProgramGenerator.h"

namespace {

constexpr uint32_t PROGRAMS = 200;

class SilentOutput : public Output {
  public:
    int Write(const char*, int count) override { return count; }
    int WriteError(const char* bytes, int count) override {
        errors.append(bytes, static_cast<size_t>(count));
        return count;
    }
    int Flush() override { return 0; }
    std::string errors;
};

class MemoryAssemblerApplication : public AssemblerApplication {
  public:
    MemoryAssemblerApplication(int argc, char** argv)
        : AssemblerApplication(argc, argv), output(new SilentOutput()) {
        delete SetOutput(output);
    }
    FileManager* filemanager() override { return &files; }
    const char* lasterror() override { return ""; }

    MemoryFileManager files;
    SilentOutput* output;  // owned by the application
};

std::vector<unsigned char> section_bytes(TaggedFile& file, int tag) {
    std::vector<unsigned char> bytes;
    int size = 0;
    if (!file.Section_Read_Start(tag, &size)) return bytes;
    bytes.resize(static_cast<size_t>(size));
    if (size > 0) {
        EXPECT_EQ(file.Section_Read(bytes.data(), size), size);
    }
    file.Section_Read_End();
    return bytes;
}

}  // namespace

TEST(AssemblerRoundTrip, GeneratedProgramsReadBackAndWriteBackUnchanged) {
    for (uint32_t seed = 1; seed <= PROGRAMS; ++seed) {
        const std::string source = generate_program(seed, random_small_shape(seed));
        SCOPED_TRACE("seed " + std::to_string(seed));

        char program[] = "tnasm";
        char input[] = "in.s";
        char* argv[] = {program, input, nullptr};
        MemoryAssemblerApplication application(2, argv);
        application.files.Put("in.s", source);
        ASSERT_EQ(application.Go(), 0) << application.output->errors << source;

        TaggedFile in(&application.files);
        ASSERT_TRUE(in.Open("output.tnc", FILE_MODE_READ)) << in.error().c_str();
        Dictionary dictionary;
        ASSERT_TRUE(dictionary.Read(&in)) << dictionary.error().c_str();
        VariableHash globals(&dictionary, 12, 512, 0);
        ASSERT_EQ(globals.Read(&in, TAG_GLBL), 1) << globals.error().c_str();
        VariableHash system(&dictionary, 12, 512, 0);
        ASSERT_EQ(system.Read(&in, TAG_SYST), 1) << system.error().c_str();
        FunctionManager functions(&dictionary, 8);
        ASSERT_TRUE(functions.Read(&in)) << functions.error().c_str();
        SegmentManager segments;
        ASSERT_TRUE(segments.Read(&in)) << segments.error().c_str();
        IdentList idents;
        ASSERT_TRUE(idents.Read(&in)) << idents.error().c_str();
        LocalizedDictionary pieces;
        ASSERT_TRUE(pieces.Read(&in)) << pieces.error().c_str();
        LocalizedLanguages languages(&application, &dictionary, &in, 12, 8);
        ASSERT_TRUE(languages.Read()) << languages.error().c_str();

        // Every table the assembler wrote, written again by its reader's object.
        TaggedFile out(&application.files);
        ASSERT_TRUE(out.Create("again.tnc", nullptr, in.version()));
        ASSERT_TRUE(dictionary.Write(&out));
        ASSERT_EQ(globals.Write(&out, TAG_GLBL), 1);
        ASSERT_EQ(system.Write(&out, TAG_SYST), 1);
        ASSERT_TRUE(functions.Write(&out));
        ASSERT_TRUE(segments.Write(&out));
        ASSERT_TRUE(idents.Write(&out));
        ASSERT_TRUE(pieces.Write(&out));
        // The language indexes load one by one on first use; each is written back on its own.
        std::vector<int> index_tags;
        for (int i = 0; i < in.directory_entries(); ++i) {
            int tag = in.directory_entry(i)->tag;
            if (tag == TAG_NONE || (tag & 0xFFFF) == 0x584C) index_tags.push_back(tag);
        }
        for (int tag : index_tags) {
            LocalizedIndex index(&dictionary, 12, 128, 0);
            ASSERT_TRUE(index.Read(&in, tag)) << index.error().c_str();
            ASSERT_TRUE(index.Write(&out, tag));
        }
        ASSERT_TRUE(out.Section_Flush());
        out.Close();

        TaggedFile again(&application.files);
        ASSERT_TRUE(again.Open("again.tnc", FILE_MODE_READ));
        for (int tag : {TAG_DICT, TAG_GLBL, TAG_SYST, TAG_FUNC, TAG_SEGS, TAG_IDNT, TAG_LOCD}) {
            EXPECT_EQ(section_bytes(again, tag), section_bytes(in, tag)) << "tag " << tag;
        }
        for (int tag : index_tags) {
            EXPECT_EQ(section_bytes(again, tag), section_bytes(in, tag)) << "tag " << tag;
        }
        // One index per language from version 1.8 on, else the first language's only.
        int indexes = in.version() > 0x10007 ? languages.Entries() : (languages.Entries() > 0);
        EXPECT_EQ(static_cast<int>(index_tags.size()), indexes);
        if (HasFailure()) return;
    }
}
