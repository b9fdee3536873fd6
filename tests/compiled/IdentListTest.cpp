// Identifier list: the flat "idnt" section, its 8192-byte growth, the read cursor and the reader.
#include "compiled/IdentList.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/compiled/TableFiles.h"

namespace {

Bytes idnt_of(IdentList& list, int version = 0x10001) {
    Bytes file = write_container([&](TaggedFile& f) { return list.Write(&f); }, version);
    std::vector<Section> sections = sections_of(file);
    EXPECT_EQ(sections.size(), 1u);
    EXPECT_EQ(sections.empty() ? 0 : sections[0].tag, TAG_IDNT);
    return sections.empty() ? Bytes() : sections[0].bytes;
}

std::string next_entry(IdentList& list) {
    int length = -7;
    const char* text = list.Entry(&length);
    return text == nullptr ? "<none>" : std::string(text, static_cast<size_t>(length));
}

}  // namespace

TEST(IdentList, WritesEachTextWithItsTerminatorInOrder) {
    IdentList list;
    list.Entry_Add("abc", -1);
    list.Entry_Add("de", 2);
    list.Entry_Add("", 0);  // an empty text still adds its terminator
    EXPECT_EQ(idnt_of(list), (Bytes{'a', 'b', 'c', 0, 'd', 'e', 0, 0}));
}

TEST(IdentList, EmptyListStillWritesTheSection) {
    IdentList list;
    EXPECT_EQ(idnt_of(list), Bytes());
}

TEST(IdentList, GrowsInSteps) {
    // 8191 bytes and the terminator fill the first step exactly; one more byte takes the next.
    IdentList list;
    std::string long_text(8191, 'x');
    list.Entry_Add(long_text.c_str(), -1);
    EXPECT_EQ(list.capacity(), 8192);
    EXPECT_EQ(list.length(), 8192);
    list.Entry_Add("y", 1);
    EXPECT_EQ(list.capacity(), 16384);
    EXPECT_EQ(list.length(), 8194);
    EXPECT_EQ(next_entry(list), long_text);
    EXPECT_EQ(next_entry(list), "y");

    // A first text of a whole step needs the step after it for its terminator.
    IdentList whole;
    std::string step(8192, 'z');
    whole.Entry_Add(step.c_str(), 8192);
    EXPECT_EQ(whole.capacity(), 16384);
}

TEST(IdentList, CursorStopsAfterTheLastEntry) {
    IdentList list;
    EXPECT_EQ(next_entry(list), "<none>");
    list.Entry_Add("one", -1);
    list.Entry_Add("two", -1);
    EXPECT_EQ(next_entry(list), "one");
    EXPECT_EQ(next_entry(list), "two");
    EXPECT_EQ(next_entry(list), "<none>");
    list.Entry_Add("three", -1);  // the cursor stayed at the end, so the new entry comes next
    EXPECT_EQ(next_entry(list), "three");
}

TEST(IdentList, ReadsBackWhatItWrote) {
    IdentList written;
    written.Entry_Add("first", -1);
    written.Entry_Add("", 0);
    written.Entry_Add("third", -1);
    OpenContainer in(write_container([&](TaggedFile& f) { return written.Write(&f); }));
    ASSERT_TRUE(in.opened);

    IdentList read;
    read.Entry_Add("old", -1);
    ASSERT_TRUE(read.Read(&in.file));
    EXPECT_EQ(read.length(), 13);
    EXPECT_EQ(next_entry(read), "first");
    EXPECT_EQ(next_entry(read), "");
    EXPECT_EQ(next_entry(read), "third");
    EXPECT_EQ(next_entry(read), "<none>");
    EXPECT_EQ(idnt_of(read), idnt_of(written));
}

TEST(IdentList, ReadStopsAtAMissingTerminator) {
    // A hand-made section whose last text lacks its 0 byte: the text ends with the section.
    OpenContainer in(container_with(TAG_IDNT, Bytes{'a', 0, 'b', 'c'}));
    IdentList list;
    ASSERT_TRUE(list.Read(&in.file));
    EXPECT_EQ(next_entry(list), "a");
    EXPECT_EQ(next_entry(list), "bc");
    EXPECT_EQ(next_entry(list), "<none>");
    list.Entry_Add("d", 1);  // appending after a read always leaves room for the terminator
    EXPECT_EQ(next_entry(list), "d");
}

TEST(IdentList, FailedReadsLeaveTheListEmpty) {
    struct Case {
        const char* what;
        Bytes file;
        const char* message;
    };
    Bytes truncated = container_with(TAG_IDNT, Bytes{'a', 'b', 'c', 0});
    put_u32(truncated.data() + truncated.size() - 4,
            400);  // directory[0].section_size past the end
    const Case cases[] = {
        {"no idnt section", container_with(TAG_SEGS, Bytes{1, 2}), "Invalid section"},
        {"section runs past the file", truncated, "Unexpected end of file"},
    };
    for (const Case& c : cases) {
        OpenContainer in(c.file);
        ASSERT_TRUE(in.opened) << c.what;
        IdentList list;
        list.Entry_Add("kept?", -1);
        EXPECT_FALSE(list.Read(&in.file)) << c.what;
        EXPECT_STREQ(list.error().c_str(), c.message) << c.what;
        EXPECT_EQ(list.length(), 0) << c.what;
        EXPECT_EQ(next_entry(list), "<none>") << c.what;
    }
}

TEST(IdentList, ShortWriteReportsTheFileError) {
    MemoryFileManager files;
    TaggedFile file(&files);
    ASSERT_TRUE(file.Create("out.tnc", nullptr, 0));
    IdentList list;
    list.Entry_Add("abc", -1);
    files.faults.fail_write_at = files.faults.writes + 1;
    EXPECT_FALSE(list.Write(&file));
    EXPECT_STREQ(list.error().c_str(), "Injected write failure");
}
