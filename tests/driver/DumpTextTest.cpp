// Texts and numbers as tndump writes them: quoted texts the tokenizer reads back, and doubles
// in the only form the tokenizer knows.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "driver/DumpText.h"
#include "driver/TarnApplication.h"

namespace {

uint64_t bits_of(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double from_bits(uint64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

}  // namespace

// Random bit patterns cover every exponent, subnormals included: each finite double is
// written with digits, one point and an optional sign, and stod gives back the same bits.
TEST(DumpText, FixedDoublesReadBackBitForBit) {
    std::mt19937_64 random(20240601);
    for (int i = 0; i < 20000; ++i) {
        double value = from_bits(random());
        if (!std::isfinite(value)) continue;
        std::string text = DumpText::FixedDouble(value);
        ASSERT_FALSE(text.empty());
        EXPECT_EQ(text.find_first_not_of("-0123456789."), std::string::npos) << text;
        double back =
            TarnApplication::stod(text.data(), static_cast<int>(text.size()), -1, nullptr);
        ASSERT_EQ(bits_of(back), bits_of(value)) << text;
    }
}

TEST(DumpText, QuotesWithTheTokenizersEscapes) {
    const std::string all_bytes("a\"\\\n\0\x7f\xff~ ", 9);
    EXPECT_EQ(DumpText::Quote(all_bytes.data(), static_cast<int>(all_bytes.size())),
              "\"a\\22\\5c\\0a\\00\\7f\\ff~ \"");
    EXPECT_EQ(DumpText::Name("count_2", 7), "count_2");
    EXPECT_EQ(DumpText::Name("2nd", 3), "\"2nd\"");
    EXPECT_EQ(DumpText::Name("", 0), "\"\"");
    EXPECT_EQ(DumpText::Tag(0x74636964), "dict");
    EXPECT_EQ(DumpText::Tag(0x584C + (3 << 16)), "LX 3");
    EXPECT_EQ(DumpText::Tag(0), "0x00000000");
}
