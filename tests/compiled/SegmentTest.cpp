// Code segments: the section "segs" with its checks, and the listing.
#include "compiled/SegmentManager.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/compiled/TableFiles.h"

namespace {

std::string listing_of(const Segment& segment) {
    String out;
    segment.Listing(&out, "expr", 4);
    return std::string(out.c_str(), static_cast<size_t>(out.length()));
}

// Two segments, the second starting: "segs" as the manager writes it.
// clang-format off
const Bytes TWO_SEGMENTS = {
    0x02, 0x00, 0x00, 0x00,  // segment_list.entries 2
    0x01, 0x00, 0x00, 0x00,  // segment_list.start 1
    0x00, 0x00, 0x00, 0x00,  // segment_header[0].offset 0
    0x02, 0x00, 0x00, 0x00,  // segment_header[0].size 2
    0x02, 0x00, 0x00, 0x00,  // segment_header[1].offset 2
    0x06, 0x00, 0x00, 0x00,  // segment_header[1].size 6
    0x3C, 0x00,              // segment 0: retn
    0x01, 0x40,              // segment 1: pushc
    0xFE, 0xFF, 0xFF, 0xFF,  //            dword -2
};
// clang-format on

}  // namespace

// Ordinary instructions are listed in the golden cases; these are the corners of the listing.
TEST(Segment, ListsInstructionsByTheirShapeBits) {
    struct Case {
        const char* what;
        std::vector<std::pair<int, double>> items;  // width (2, 4 or 8) and value
        const char* lines;
    } cases[] = {
        {"renamed",
         {{2, 0x410C}, {4, 1}, {2, 0x0214}},
         "0\top_http\tdword:1\n6\tdbrevealstructuredb\t\n"},
        {"assemblable but unnamed",
         {{2, 0x505C}, {4, 1}, {4, 2}},
         "0\tIllegal Instruction\ndword:1, dword:2\n"},
        {"two doubles",
         {{2, 0xA001}, {8, 0.5}, {8, 1}},
         "0\tIllegal Instruction\ndouble:0.500000, double:1.000000\n"},
        // Both second-operand bits print nothing, not even the newline.
        {"both second bits", {{2, 0x3000}, {2, 0x003C}}, "0\tIllegal Instruction\n2\tretn\t\n"},
        {"operand cut off", {{2, 0x4001}, {2, 7}}, "0\tpushc\t\n"},
    };
    for (const Case& c : cases) {
        Segment segment(0);
        int at = 0;
        for (const auto& item : c.items) {
            if (item.first == 1) at = segment.Write_Byte(at, 0);
            if (item.first == 2) at = segment.Write_Word(at, static_cast<unsigned>(item.second));
            if (item.first == 4) {
                at = segment.Write_Dword(at, static_cast<unsigned>(static_cast<int>(item.second)));
            }
            if (item.first == 8) at = segment.Write_Double(at, item.second);
        }
        EXPECT_EQ(listing_of(segment), std::string("\n\nExpression: expr\n") + c.lines) << c.what;
    }
    EXPECT_EQ(listing_of(Segment(0)), "\n\nExpression: expr\n");
}

// Every instruction code through the listing: named codes list under their name, all others
// as illegal, and either way the operands its shape bits announce are consumed, so the
// instruction behind it is listed at its own position.
TEST(Segment, ListsAllInstructionCodes) {
    const unsigned unnamed_mnemonics[] = {0x003F, 0x0041, 0x0052, 0x0055, 0x0058, 0x0059,
                                          0x005B, 0x0116, 0x020F, 0x0216, 0x0217, 0x0218,
                                          0x0219, 0x021A, 0x4053, 0x4054, 0x4056, 0x4112,
                                          0x4115, 0x505C, 0x5113, 0x5114, 0x5117};
    for (unsigned code : unnamed_mnemonics) EXPECT_EQ(segment_listing_name(code), nullptr);
    int named = 0;
    for (unsigned code = 0; code < 0x10000; code++) {
        int width = 2;
        if ((code & 0xC000) == 0x4000) width += 4;
        if ((code & 0xC000) == 0x8000) width += 8;
        if ((code & 0x3000) == 0x1000) width += 4;
        if ((code & 0x3000) == 0x2000) width += 8;
        Segment segment(0);
        segment.Write_Word(0, code);
        segment.Write_Word(width, 0x003C);
        const char* name = segment_listing_name(code);
        if (name != nullptr) named++;
        std::string listing = listing_of(segment);
        std::string head = "\n\nExpression: expr\n0\t" +
                           (name != nullptr ? std::string(name) + "\t" : "Illegal Instruction\n");
        std::string tail = std::to_string(width) + "\tretn\t\n";
        ASSERT_EQ(listing.compare(0, head.size(), head), 0) << std::hex << code;
        ASSERT_GE(listing.size(), head.size() + tail.size()) << std::hex << code;
        ASSERT_EQ(listing.compare(listing.size() - tail.size(), tail.size(), tail), 0)
            << std::hex << code;
    }
    EXPECT_EQ(named, 126);
}

TEST(SegmentManager, WritesSegmentsAndReadsThemBack) {
    SegmentManager manager;
    manager.Start()->Write_Word(0, 0x003C);
    EXPECT_EQ(manager.Start(), manager.segment(0));
    Segment* second = manager.Segment_Add();
    EXPECT_EQ(second->number(), 1);
    second->Write_Dword(second->Write_Word(0, 0x4001), static_cast<unsigned>(-2));
    Bytes written = write_container([&](TaggedFile& file) { return manager.Write(&file); });
    // The writer's start is 0; the fixture's is 1.
    EXPECT_EQ(written, container_with(TAG_SEGS, with_u32(TWO_SEGMENTS, 4, 0)));

    OpenContainer in(container_with(TAG_SEGS, TWO_SEGMENTS));
    SegmentManager loaded;
    ASSERT_TRUE(loaded.Read(&in.file)) << loaded.error().c_str();
    EXPECT_EQ(loaded.count(), 2);
    EXPECT_EQ(loaded.start(), 1);
    EXPECT_EQ(loaded.Start()->length(), 6);
    EXPECT_EQ(listing_of(*loaded.segment(1)), "\n\nExpression: expr\n0\tpushc\tdword:-2\n");

    SegmentManager copy(loaded);
    EXPECT_NE(copy.segment(1), loaded.segment(1));
    EXPECT_EQ(std::memcmp(copy.segment(1)->data(), loaded.segment(1)->data(), 6), 0);
}

// The plain case of each message is reached through tndump in DumpApplicationTest; these rows
// are the order of the checks, their bounds and the cut-off records.
TEST(SegmentManager, ChecksTheSectionAndKeepsItsSegmentsOnFailure) {
    struct Case {
        const char* what;
        Bytes section;
        const char* message;
    } cases[] = {
        {"start = entries", with_u32(TWO_SEGMENTS, 4, 2), "segment_list.start out of range"},
        {"negative start", with_u32(TWO_SEGMENTS, 4, 0xFFFFFFFF),
         "segment_list.start out of range"},
        // Within the limit, but the table is not there.
        {"entries 0x0FFFFFFF", with_u32(TWO_SEGMENTS, 0, 0x0FFFFFFF), "Invalid size"},
        {"entries 0x00FFFFFF", with_u32(TWO_SEGMENTS, 0, 0x00FFFFFF), "Unexpected end of file"},
        {"data past the section", with_u32(TWO_SEGMENTS, 20, 7), "Unexpected end of file"},
        {"offset past the section", with_u32(TWO_SEGMENTS, 16, 9), "Invalid offset"},
        {"negative offset", with_u32(TWO_SEGMENTS, 16, 0xFFFFFFE0), "Invalid offset"},
        {"header cut short", Bytes(TWO_SEGMENTS.begin(), TWO_SEGMENTS.begin() + 7),
         "Unexpected end of file"},
        {"empty segment", with_u32(with_u32(TWO_SEGMENTS, 4, 0), 12, 0), ""},
    };
    for (const Case& c : cases) {
        OpenContainer in(container_with(TAG_SEGS, c.section));
        SegmentManager manager;
        manager.Start()->Write_Word(0, 0x0016);
        bool ok = manager.Read(&in.file);
        EXPECT_EQ(ok ? "" : manager.error().c_str(), std::string(c.message)) << c.what;
        EXPECT_EQ(manager.Start()->length(), ok ? 0 : 2)
            << c.what;  // the empty segment 0, or the old one
    }
}

// Segments of functions share large blocks: one that grows after another was carved behind it
// moves, one that is trimmed keeps its bytes, and one too large for a block has its own.
TEST(SegmentManager, KeepsTheBytesOfSegmentsThatGrowInTurn) {
    SegmentManager manager;
    manager.Start();
    std::vector<std::vector<unsigned char>> expected(1);
    auto write = [&](int number, int words) {
        Segment* segment = manager.segment(number);
        std::vector<unsigned char>& bytes = expected[static_cast<size_t>(number)];
        for (int k = 0; k < words; k++) {
            const unsigned value = static_cast<unsigned>(number * 7 + bytes.size()) & 0xFFFF;
            segment->Write_Word(static_cast<int>(bytes.size()), value);
            bytes.push_back(static_cast<unsigned char>(value));
            bytes.push_back(static_cast<unsigned char>(value >> 8));
        }
    };
    // Segment, words written, then whether it is trimmed.
    const int steps[][3] = {{1, 300, 0},    {2, 50, 0}, {1, 1500, 1}, {2, 10, 1},
                            {3, 200000, 1}, {1, 5, 0},  {4, 3, 1}};
    for (const auto& step : steps) {
        while (manager.count() <= step[0]) {
            manager.Segment_Add();
            expected.emplace_back();
        }
        write(step[0], step[1]);
        if (step[2] != 0) manager.segment(step[0])->Trim();
    }
    OpenContainer in(write_container([&](TaggedFile& file) { return manager.Write(&file); }));
    SegmentManager loaded;
    ASSERT_TRUE(loaded.Read(&in.file)) << loaded.error().c_str();
    for (size_t i = 0; i < expected.size(); i++) {
        const Segment* segment = loaded.segment(static_cast<int>(i));
        ASSERT_EQ(segment->length(), static_cast<int>(expected[i].size())) << i;
        EXPECT_EQ(
            std::vector<unsigned char>(segment->bytes(), segment->bytes() + segment->length()),
            expected[i])
            << i;
    }
}
