// The owned byte string: 24-byte growth steps, the cautious one-byte append, whole-remainder
// matching, substrings and splitting.
#include "foundation/String.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string text(const String& s) {
    return std::string(s.c_str(), s.length());
}

String replaced(const char* input, const char* pattern, const char* replacement) {
    String s(input, -1);
    s.gsub(pattern, replacement);
    return s;
}

}  // namespace

TEST(String, CapacityGrowsToTheNextMultipleOf24) {
    const struct {
        int length;
        int capacity;
    } rows[] = {{1, 24}, {23, 24}, {24, 48}, {71, 72}, {72, 96}};
    for (const auto& row : rows) {
        std::string bytes(row.length, 'x');
        String s(bytes.c_str(), row.length);
        EXPECT_EQ(s.capacity(), row.capacity) << "length " << row.length;
        EXPECT_EQ(s.c_str()[row.length], 0);
    }
}

TEST(String, AppendsGrowOnlyWhenFullAndTheOneByteAppendKeepsASpare) {
    String s;
    EXPECT_EQ(String(s).capacity(), 24);  // a copy of a never-allocated string is allocated
    s.assign("0123456789012345678901", -1);
    s.cat("x", 1);  // 23 + NUL fills 24 exactly
    EXPECT_EQ(s.capacity(), 24);
    s.cat("y", 1);
    EXPECT_EQ(s.capacity(), 48);
    s.cat(s.buffer(), s.length());  // its own bytes
    EXPECT_EQ(text(s), "0123456789012345678901xy0123456789012345678901xy");
    s.assign(s.buffer() + 3, 4);
    EXPECT_EQ(text(s), "3456");
    EXPECT_EQ(s.capacity(), 72);

    String c(std::string(21, 'a').c_str(), -1);
    c.cat('x');
    EXPECT_EQ(c.capacity(), 24);
    c.cat('y');  // 23 + NUL would fit, but one byte is kept spare
    EXPECT_EQ(c.capacity(), 48);
    String p("world", -1);
    p.prepend(std::string(18, '-').c_str(), 18);  // 23 bytes: the same 24 still fit
    EXPECT_EQ(text(p), "------------------world");
    EXPECT_EQ(p.capacity(), 24);
}

TEST(String, AssignNocopyAdoptsOnlyWithRoomForTheNul) {
    char* roomy = new char[10];
    std::memcpy(roomy, "abc", 3);
    String s(roomy, 3, 10);
    EXPECT_EQ(s.buffer(), roomy);
    char* full = new char[3];
    std::memcpy(full, "xyz", 3);
    s.assign_nocopy(full, 3, 3);
    EXPECT_NE(s.buffer(), full);
    EXPECT_EQ(text(s), "xyz");
}

TEST(String, SearchesAndMatches) {
    String hello("hello", -1);
    EXPECT_EQ(hello.search("l", 3), 3);
    EXPECT_EQ(hello.search("", 0), -1);
    EXPECT_EQ(hello.search("hello!", 0), -1);
    EXPECT_EQ(hello.index("llo"), 2);
    EXPECT_EQ(String("aaaa", -1).freq("aa"), 3);
    EXPECT_EQ(String().search("a", 0), -1);
    // matches tests the whole remainder
    const struct {
        const char* s;
        int pos;
        bool expected;
    } rows[] = {{"LO", 3, true}, {"L", 3, false}, {"", 5, true}, {"", 4, false}, {"lol", 3, false}};
    for (const auto& row : rows) {
        EXPECT_EQ(hello.matches(row.s, row.pos), row.expected) << row.s << " at " << row.pos;
    }
    EXPECT_TRUE(hello.matches('\0', 5));
    EXPECT_FALSE(hello.matches('e', 6));
}

TEST(String, SubstringsAndReplacements) {
    String hello("hello", -1);
    const struct {
        String result;
        const char* expected;
    } rows[] = {
        {hello.at(1, 99), "ello"},
        {hello.from(2), "llo"},
        {hello.after("l", 0), "lo"},
        {hello.before("z"), "hello"},
        {hello.before("ll"), "he"},
        {hello.upper(), "HELLO"},
        {hello.padl(7, '.'), "..hello"},
        {replaced("hello", "l", nullptr), "heo"},
        {replaced("aaa", "a", "aa"), "aaaaaa"},
        {replaced("hello", "", "x"), "hello"},
        {replaced("a.b.c", ".", "::"), "a::b::c"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(text(row.result), row.expected);
    }
    EXPECT_EQ(hello.before(-1).buffer(), nullptr);
    EXPECT_NE(hello.at(9, 10).buffer(), nullptr);
}

TEST(String, WhitespaceIsSpaceTabLineFeedAndReturnOnly) {
    String strip(" \t a b \r\n", -1), compress("a \t  b", -1), kept("\va\f", -1);
    strip.StripWhitespace();
    compress.CompressWhitespace();
    kept.StripWhitespace();
    EXPECT_EQ(text(strip), "a b");
    EXPECT_EQ(text(compress), "a b");
    EXPECT_EQ(text(kept), "\va\f");
}

TEST(String, Split) {
    const struct {
        const char* input;
        int max;
        const char* sep;
        int count;
        const char* pieces[4];
    } rows[] = {
        {"a,b,", 5, ",", 2, {"a", "b", ""}},
        {"a,,b", 5, ",", 3, {"a", "", "b"}},
        {"a,b,c", 2, ",", 2, {"a", "b"}},
        {"a::b", 5, "::", 2, {"a", "b"}},
    };
    for (const auto& row : rows) {
        String out[5];
        EXPECT_EQ(split(String(row.input, -1), out, row.max, row.sep), row.count) << row.input;
        for (int i = 0; i < 4 && row.pieces[i] != nullptr; i++) {
            EXPECT_EQ(text(out[i]), row.pieces[i]) << row.input << " piece " << i;
        }
    }
}
