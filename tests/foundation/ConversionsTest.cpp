// Text, integer, double and decimal conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "foundation/Conversions.h"

namespace {

std::string Take(char* text) {
    std::string s(text);
    delete[] text;
    return s;
}

std::string DecimalText(mpd_t* value) {
    std::string s = Take(mpdtos(value));
    mpd_del(value);
    return s;
}

}  // namespace

TEST(Conversions, StoiTable) {
    struct Row {
        const char* text;
        int length;
        int expected;
        int error;
    } rows[] = {
        {"0x1F", -1, 31, 0},
        {"0x", -1, 0, 1},
        {"-12", -1, -12, 0},
        {"12a", -1, 0, 1},
        {"-0x10", -1, 0, 1},
        {"", -1, 0, 1},
        {"+5", -1, 0, 1},
        {"-2147483648", -1, INT32_MIN, 0},
        {"2147483648", -1, INT32_MIN, 0},  // wraps in 32 bits
        {"0xFFFFFFFF", -1, -1, 0},
        {"123", 2, 12, 0},
        {"0x1", 2, 0, 1},  // "0x" by its length
        {"5", 0, 0, 1},
    };
    for (const Row& row : rows) {
        int error = -1;
        EXPECT_EQ(stoi(row.text, row.length, &error), row.expected) << row.text;
        EXPECT_EQ(error, row.error) << "'" << row.text << "' length " << row.length;
    }
}

TEST(Conversions, StodTable) {
    const double inf = std::numeric_limits<double>::infinity();
    std::string long_text = "1" + std::string(120, '0') + ".5";
    struct Row {
        const char* text;
        int length;
        int buffer_size;
        double expected;
        int error;
    } rows[] = {
        {"inf", 3, -1, inf, 0},
        {"-Inf", 4, -1, -inf, 0},
        {"inf", -1, -1, inf, 0},  // strtod's own reading
        {"1.5x", 4, -1, 0, 1},
        {"1.5x", -1, -1, 0, 1},
        {"0x10", 4, -1, 16, 0},
        {"1e999", -1, -1, inf, 1},
        {"12345", 2, 5, 12, 0},   // the byte behind is readable and not NUL: copied
        {"1.5", 3, 4, 1.5, 0},    // NUL behind the text: read in place
        {"7.5 ", 3, -1, 7.5, 0},  // unknown buffer: always copied
        {"", 1, -1, 0, 1},        // the NUL stops strtod before the length
        {long_text.c_str(), static_cast<int>(long_text.size()), -1, 1e120, 0},
    };
    for (const Row& row : rows) {
        int error = -1;
        double value = stod(row.text, row.length, row.buffer_size, &error);
        EXPECT_EQ(value, row.expected) << row.text << " length " << row.length;
        EXPECT_EQ(error, row.error) << row.text << " length " << row.length;
    }
    double nan = stod("NaN", 3);
    EXPECT_TRUE(std::isnan(nan));
    EXPECT_FALSE(std::signbit(nan));
    double negative_nan = stod("-nan", 4);
    EXPECT_TRUE(std::isnan(negative_nan));
    EXPECT_TRUE(std::signbit(negative_nan));
}

TEST(Conversions, DtosLayout) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Row {
        double value;
        const char* text;
    } rows[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {123456789.125, "123456789.125"},
        {1e21, "1000000000000000000000"},
        {1.5e-7, "0.00000015"},
        // Mode 1 never takes a rounding bound: these shortest decimals lie exactly on one.
        {1e23, "99999999999999990000000"},
        {5e22, "49999999999999996000000"},
        {7e22, "70000000000000004000000"},
        {9.5e21, "9500000000000001000000"},
        {inf, "NaN"},
        {std::nan(""), "NaN"},
    };
    for (const Row& row : rows) {
        int length = 0, size = 0;
        char* text = dtos(row.value, &length, &size);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(length, static_cast<int>(std::strlen(row.text)));
        EXPECT_EQ(size, std::isfinite(row.value) ? length + 2 : 4) << row.text;
        delete[] text;
    }
}

TEST(Conversions, DtosReadsBackBitForBit) {
    std::mt19937_64 random(20240601);
    const double edges[] = {5e-324,
                            2.2250738585072014e-308,
                            1.7976931348623157e308,
                            0.30000000000000004,
                            9007199254740993.0,
                            -1e-300};
    for (int i = 0; i < 3000; ++i) {
        double value;
        if (i < 6) {
            value = edges[i];
        } else {
            uint64_t bits = random();
            std::memcpy(&value, &bits, sizeof value);
            if (!std::isfinite(value)) continue;
        }
        int length = 0;
        char* text = dtos(value, &length);
        int error = -1;
        double back = stod(text, length, length + 1, &error);
        EXPECT_EQ(error, 0) << text;
        EXPECT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
        delete[] text;
    }
}

TEST(Conversions, DecimalsFromText) {
    struct Row {
        const char* text;
        int length;
        const char* printed;
        int error;
    } rows[] = {
        {"1.50", -1, "1.5", 0},
        {"1.2345678901234567890", -1, "1.234567890123457", 0},  // 16 digits of decimal64
        {"-Infinity", -1, "-Infinity", 0},
        {"abc", -1, "0", 1},
        {"12\0"
         "3",
         4, "0", 1},  // a NUL inside the counted text
        {"12.5xyz", 4, "12.5", 0},
    };
    for (const Row& row : rows) {
        int error = -1;
        mpd_t* value = stompd(row.text, row.length, &error);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(error, row.error) << row.text;
        EXPECT_EQ(DecimalText(value), row.printed) << row.text;
    }
}

TEST(Conversions, DecimalsToAndFromNumbers) {
    EXPECT_EQ(DecimalText(itompd(INT32_MIN)), "-2147483648");
    EXPECT_EQ(DecimalText(dtompd(0.1)), "0.1");
    EXPECT_EQ(DecimalText(dtompd(std::numeric_limits<double>::infinity())), "Infinity");

    struct Row {
        const char* text;
        int expected;
        int error;
    } rows[] = {
        {"-123.9", -123, 0}, {"2147483648", 0, 1}, {"-2147483648", INT32_MIN, 0}, {"NaN", 0, 1}};
    for (const Row& row : rows) {
        mpd_t* value = stompd(row.text);
        int error = -1;
        EXPECT_EQ(mpdtoi(value, &error), row.expected) << row.text;
        EXPECT_EQ(error, row.error) << row.text;
        mpd_del(value);
    }

    mpd_t* value = stompd("2.50");
    mpd_t* copy = mpdtompd(value);
    mpd_del(value);  // the copy stands alone
    EXPECT_EQ(mpdtod(copy), 2.5);
    EXPECT_EQ(mpdsize(copy), 3);
    mpd_del(copy);
}
