// Identifier list: the flat "idnt" section, the read cursor and the reader.
#include "compiled/IdentList.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/compiled/TableFiles.h"

namespace {

Bytes idnt_of(IdentList& list) {
    std::vector<Section> sections =
        sections_of(write_container([&](TaggedFile& f) { return list.Write(&f); }));
    return sections.size() == 1 && sections[0].tag == TAG_IDNT ? sections[0].bytes : Bytes{9};
}

std::string next_entry(IdentList& list) {
    int length = -7;
    const char* text = list.Entry(&length);
    return text == nullptr ? "<none>" : std::string(text, static_cast<size_t>(length));
}

}  // namespace

TEST(IdentList, WritesEachTextWithItsTerminatorInOrder) {
    IdentList list;
    EXPECT_EQ(idnt_of(list), Bytes()) << "an empty list still writes its section";
    EXPECT_EQ(next_entry(list), "<none>");
    list.Entry_Add("abc", -1);
    list.Entry_Add("", 0);  // an empty text still adds its terminator
    EXPECT_EQ(idnt_of(list), (Bytes{'a', 'b', 'c', 0, 0}));
    EXPECT_EQ(next_entry(list), "abc");
    EXPECT_EQ(next_entry(list), "");
    EXPECT_EQ(next_entry(list), "<none>");
    list.Entry_Add("f", -1);  // the cursor stayed at the end, so the new entry comes next
    EXPECT_EQ(next_entry(list), "f");
}

TEST(IdentList, ReadsAnUnterminatedLastText) {
    // The last text lacks its 0 byte: it ends with the section.
    OpenContainer in(container_with(TAG_IDNT, Bytes{'a', 0, 'b', 'c'}));
    IdentList read;
    read.Entry_Add("old", -1);
    ASSERT_TRUE(read.Read(&in.file));
    EXPECT_EQ(next_entry(read), "a");
    EXPECT_EQ(next_entry(read), "bc");
    EXPECT_EQ(next_entry(read), "<none>");
    read.Entry_Add("d", 1);  // appending after a read always leaves room for the terminator
    EXPECT_EQ(next_entry(read), "d");
}

TEST(IdentList, FailedReadsLeaveTheListEmpty) {
    Bytes past_end = container_with(TAG_IDNT, Bytes{'a', 'b', 'c', 0});
    put_u32(past_end.data() + past_end.size() - 4, 400);  // directory[0].section_size past the end
    struct Case {
        const char* what;
        Bytes file;
        const char* message;
    };
    const Case cases[] = {
        {"no idnt section", container_with(TAG_SEGS, Bytes{1, 2}), "Invalid section"},
        {"section runs past the file", past_end, "Unexpected end of file"},
    };
    for (const Case& c : cases) {
        OpenContainer in(c.file);
        IdentList list;
        list.Entry_Add("gone", -1);
        EXPECT_FALSE(list.Read(&in.file)) << c.what;
        EXPECT_STREQ(list.error().c_str(), c.message) << c.what;
        EXPECT_EQ(next_entry(list), "<none>") << c.what;
    }
}
