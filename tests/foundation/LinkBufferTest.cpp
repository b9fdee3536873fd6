// The block chain: block sizes from the two units, the texts of numbers, moving and copying
// chains, and taking the result as one array.
#include "foundation/LinkBuffer.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "driver/TarnApplication.h"
#include "value/Variable.h"

namespace {

std::string contents(const LinkBuffer& buffer) {
    std::string bytes(buffer.total(), '?');
    buffer.append_to(&bytes[0]);
    return bytes;
}

// Capacity and used bytes of every block, head first.
std::vector<std::pair<int, int>> blocks(const LinkBuffer& buffer) {
    std::vector<std::pair<int, int>> shape;
    for (const LinkBuffer_Block* b = buffer.head(); b != nullptr; b = b->next) {
        shape.emplace_back(b->capacity, b->used);
    }
    return shape;
}

char* array_of(const char* text, int capacity) {
    char* data = new char[capacity];
    std::memcpy(data, text, std::strlen(text));
    return data;
}

}  // namespace

TEST(LinkBuffer, BlockSizesFollowTheUnits) {
    LinkBuffer buffer(100, 10);
    std::string first(250, 'a'), second(60, 'b');
    buffer.cat(first.data(), 250);
    EXPECT_EQ(blocks(buffer), (std::vector<std::pair<int, int>>{{300, 250}}));
    buffer.cat(second.data(), 60);
    EXPECT_EQ(blocks(buffer), (std::vector<std::pair<int, int>>{{300, 300}, {20, 10}}));
    EXPECT_EQ(buffer.total(), 310);
    EXPECT_EQ(contents(buffer), first + second);
}

TEST(LinkBuffer, NumbersHexAndVariablesAppendTheirText) {
    LinkBuffer buffer(16, 16);
    buffer.cat("n=", 2);
    buffer.cat(-2147483647 - 1);
    buffer.cat(";", 1);  // fills the spare byte the number's text came with
    EXPECT_EQ(buffer.tail()->used, buffer.tail()->capacity);
    buffer.prepend(42);
    for (unsigned char b : {0xAB, 0x05}) buffer.cat_hex(b);
    buffer.cat(0.5);
    mpd_t* decimal = TarnApplication::stompd("12.50", -1);
    buffer.cat(decimal);
    buffer.prepend(decimal);
    mpd_del(decimal);
    Variable text("t", -1, "abc", -1);
    Variable number("n", -1, 17);
    buffer.cat(&text);
    buffer.prepend(&number);
    buffer.cat(static_cast<Variable*>(nullptr));
    const std::string expected = "1712.542n=-2147483648;AB050.512.5abc";
    EXPECT_EQ(contents(buffer), expected);
    EXPECT_EQ(buffer.total(), static_cast<int>(expected.size()));
}

TEST(LinkBuffer, CopyingAndMovingChains) {
    LinkBuffer target(4, 4);
    target.cat("mid", 3);
    LinkBuffer source(2, 2);
    source.cat("abcde", 5);  // blocks "ab" "cde"
    target.cat(&source);
    target.prepend(&source);
    EXPECT_EQ(contents(source), "abcde");
    LinkBuffer* tail_part = new LinkBuffer(2, 2);
    tail_part->cat("XY", 2);
    target.cat_destroy(tail_part);
    LinkBuffer* head_part = new LinkBuffer(2, 2);
    head_part->cat("12345", 5);
    target.prepend_destroy(head_part);
    EXPECT_EQ(contents(target), "12345abcdemidabcdeXY");
    // Walking back from the tail must meet every block the forward walk met.
    int forward = static_cast<int>(blocks(target).size());
    int backward = 0;
    for (const LinkBuffer_Block* b = target.tail(); b != nullptr; b = b->previous) {
        backward++;
    }
    EXPECT_EQ(backward, forward);
}

TEST(LinkBuffer, DataAndReleaseGiveOneTerminatedArray) {
    LinkBuffer buffer(3, 3);
    buffer.cat("hello", 5);
    buffer.cat(" world", 6);
    int length = -1, capacity = -1;
    const char* text = buffer.data(&length, &capacity);
    EXPECT_STREQ(text, "hello world");
    EXPECT_EQ(capacity, 12);

    LinkBuffer single(16, 16);
    char* adopted = array_of("abc", 10);
    single.cat_nocopy(adopted, 3, 10);
    char* released = single.release(&length, &capacity, 1);
    EXPECT_EQ(released, adopted);  // room for the extra byte: no copy
    delete[] released;

    LinkBuffer chain(2, 2);
    chain.cat("abcdef", 6);
    chain.prepend("0", 1);
    released = chain.release(&length, &capacity, 1);
    EXPECT_EQ(std::string(released, length), "0abcdef");
    EXPECT_EQ(capacity, 8);
    delete[] released;
}
