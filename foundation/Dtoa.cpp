// The digits of a double as the runtime prints them: Gay's dtoa in mode 1, worked out on exact
// integers.
#include "foundation/Dtoa.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

// The largest number the digit loop holds is ten times the scaled value of the smallest
// subnormal, 4 x 2^52 x 10^324 x 10, below 2^1140: 40 words of 32 bits leave room.
constexpr int BIG_WORDS = 40;

// A non-negative integer of up to BIG_WORDS words, least significant word first.
struct Big {
    uint32_t word[BIG_WORDS];
    int used;

    explicit Big(uint64_t value) : word{}, used(0) {
        while (value != 0) {
            word[used++] = static_cast<uint32_t>(value);
            value >>= 32;
        }
    }

    bool zero() const { return used == 0; }

    void trim() {
        while (used > 0 && word[used - 1] == 0) --used;
    }

    void multiply(uint32_t factor) {
        uint64_t carry = 0;
        for (int i = 0; i < used; ++i) {
            uint64_t product = static_cast<uint64_t>(word[i]) * factor + carry;
            word[i] = static_cast<uint32_t>(product);
            carry = product >> 32;
        }
        if (carry != 0) word[used++] = static_cast<uint32_t>(carry);
    }

    void multiply_power_of_ten(int exponent) {
        for (; exponent >= 9; exponent -= 9) multiply(1000000000u);
        static const uint32_t small[] = {1,      10,      100,      1000,     10000,
                                         100000, 1000000, 10000000, 100000000};
        if (exponent > 0) multiply(small[exponent]);
    }

    void shift_left(int bits) {
        if (used == 0 || bits == 0) return;
        int words = bits / 32;
        int rest = bits % 32;
        int top = used + words;
        word[top] = 0;
        for (int i = used - 1; i >= 0; --i) {
            uint64_t wide = static_cast<uint64_t>(word[i]) << rest;
            word[i + words + 1] |= static_cast<uint32_t>(wide >> 32);
            word[i + words] = static_cast<uint32_t>(wide);
        }
        for (int i = 0; i < words; ++i) word[i] = 0;
        used = top + 1;
        trim();
    }

    void add(const Big& other) {
        int length = used > other.used ? used : other.used;
        uint64_t carry = 0;
        for (int i = 0; i < length; ++i) {
            uint64_t sum = carry + (i < used ? word[i] : 0) + (i < other.used ? other.word[i] : 0);
            word[i] = static_cast<uint32_t>(sum);
            carry = sum >> 32;
        }
        used = length;
        if (carry != 0) word[used++] = static_cast<uint32_t>(carry);
    }

    // this -= other; other must not be larger.
    void subtract(const Big& other) {
        int64_t borrow = 0;
        for (int i = 0; i < used; ++i) {
            int64_t difference =
                static_cast<int64_t>(word[i]) - (i < other.used ? other.word[i] : 0) - borrow;
            borrow = difference < 0 ? 1 : 0;
            word[i] = static_cast<uint32_t>(difference + (borrow << 32));
        }
        trim();
    }

    static int compare(const Big& a, const Big& b) {
        if (a.used != b.used) return a.used < b.used ? -1 : 1;
        for (int i = a.used - 1; i >= 0; --i) {
            if (a.word[i] != b.word[i]) return a.word[i] < b.word[i] ? -1 : 1;
        }
        return 0;
    }
};

// Sign of (a + b) - c.
int compare_sum(const Big& a, const Big& b, const Big& c) {
    Big sum = a;
    sum.add(b);
    return Big::compare(sum, c);
}

// The quotient of remainder / divisor when it is known to be below 10; the remainder is left.
int take_digit(Big* remainder, const Big& divisor) {
    int digit = 0;
    while (Big::compare(*remainder, divisor) >= 0) {
        remainder->subtract(divisor);
        ++digit;
    }
    return digit;
}

}  // namespace

int dtoa_digits(double value, char* digits, int* decimal_point) {
    value = std::fabs(value);
    if (value == 0) {
        digits[0] = '0';
        *decimal_point = 1;
        return 1;
    }
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int biased_exponent = static_cast<int>(bits >> 52);
    const uint64_t fraction_bits = bits & ((uint64_t{1} << 52) - 1);
    // value = mantissa x 2^exponent exactly.
    uint64_t mantissa = biased_exponent == 0 ? fraction_bits : fraction_bits | uint64_t{1} << 52;
    int exponent = (biased_exponent == 0 ? 1 : biased_exponent) - 1075;

    // Half the gap to each neighbour: at a power of two above the smallest normal exponent the
    // neighbour below is twice as near, so everything is doubled once more to keep the lower
    // half-gap whole.
    const bool closer_below = fraction_bits == 0 && biased_exponent > 1;
    const int scale_bits = closer_below ? 2 : 1;
    Big remainder(mantissa);
    Big divisor(1);
    Big high_margin(closer_below ? 2 : 1);
    Big low_margin(1);
    remainder.shift_left(scale_bits);
    if (exponent >= 0) {
        remainder.shift_left(exponent);
        high_margin.shift_left(exponent);
        low_margin.shift_left(exponent);
        divisor.shift_left(scale_bits);
    } else {
        divisor.shift_left(scale_bits - exponent);
    }

    // k with 10^k <= value < 10^(k+1): estimated, then put right on the exact numbers.
    int k = static_cast<int>(std::floor(std::log10(value)));
    if (k >= 0) {
        divisor.multiply_power_of_ten(k);
    } else {
        remainder.multiply_power_of_ten(-k);
        high_margin.multiply_power_of_ten(-k);
        low_margin.multiply_power_of_ten(-k);
    }
    while (Big::compare(remainder, divisor) < 0) {
        --k;
        remainder.multiply(10);
        high_margin.multiply(10);
        low_margin.multiply(10);
    }
    for (;;) {
        Big tenfold = divisor;
        tenfold.multiply(10);
        if (Big::compare(remainder, tenfold) < 0) break;
        ++k;
        divisor = tenfold;
    }

    int count = 0;
    for (;;) {
        int digit = take_digit(&remainder, divisor);
        // Stopping here and keeping the digit stays above the lower bound; raising it stays
        // below the upper bound. Both strictly: a bound itself never counts.
        bool low = Big::compare(remainder, low_margin) < 0;
        bool high = compare_sum(remainder, high_margin, divisor) > 0;
        if (low) {
            if (high && !remainder.zero()) {
                // Both would do: the nearer one, the even digit when exactly halfway.
                Big twice = remainder;
                twice.shift_left(1);
                int side = Big::compare(twice, divisor);
                if (side > 0 || (side == 0 && (digit & 1) != 0)) ++digit;
            }
        } else if (high) {
            ++digit;
        } else {
            digits[count++] = static_cast<char>('0' + digit);
            remainder.multiply(10);
            high_margin.multiply(10);
            low_margin.multiply(10);
            continue;
        }
        if (digit == 10) {
            // Rounding up a 9 carries into the digits before it; a carry past the first digit
            // leaves a single 1 one place higher.
            while (count > 0 && digits[count - 1] == '9') --count;
            if (count == 0) {
                digits[count++] = '1';
                ++k;
            } else {
                ++digits[count - 1];
            }
        } else {
            digits[count++] = static_cast<char>('0' + digit);
        }
        break;
    }
    *decimal_point = k + 1;
    return count;
}
