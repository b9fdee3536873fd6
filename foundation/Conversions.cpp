// Conversions between texts, integers, doubles and decimals, and the program-wide decimal
// context.
#include "foundation/Conversions.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <strings.h>

#include "foundation/Dtoa.h"

namespace {

// Texts of a counted stod argument shorter than this are terminated in a stack buffer.
constexpr int STOD_STACK_BUFFER = 106;

// dtos writes every finite double in positional notation: the longest, 2^-1074, takes 326
// characters with its sign, so this buffer always has room.
constexpr int DTOS_BUFFER = 512;

const char* const INT_MIN_TEXT = "-2147483648";

// A counted copy of 'text' with its NUL, allocated with array new.
char* new_text(const char* text, int length, int size) {
    char* buffer = new char[size];
    std::memcpy(buffer, text, static_cast<size_t>(length));
    buffer[length] = '\0';
    return buffer;
}

char* hand_out(const char* text, int length, int size, int* out_length, int* out_size) {
    if (out_length != nullptr) *out_length = length;
    if (out_size != nullptr) *out_size = size;
    return new_text(text, length, size);
}

bool equals_ignoring_case(const char* text, int length, const char* name) {
    return static_cast<int>(std::strlen(name)) == length &&
           strncasecmp(text, name, static_cast<size_t>(length)) == 0;
}

// The names of the non-finite values that a counted text may spell, in any case.
bool special_value(const char* text, int length, double* value) {
    if (equals_ignoring_case(text, length, "NAN")) {
        *value = std::nan("");
    } else if (equals_ignoring_case(text, length, "INF") ||
               equals_ignoring_case(text, length, "INFINITY")) {
        *value = HUGE_VAL;
    } else if (equals_ignoring_case(text, length, "-NAN")) {
        *value = std::copysign(std::nan(""), -1.0);
    } else if (equals_ignoring_case(text, length, "-INF") ||
               equals_ignoring_case(text, length, "-INFINITY")) {
        *value = -HUGE_VAL;
    } else {
        return false;
    }
    return true;
}

// Sets up the decimal64 context before main runs, so that code linked without main (the tests)
// finds it ready too; main sets it up again as its first step.
mpd_context_t decimal64_context() {
    mpd_context_t context;
    mpd_ieee_context(&context, 64);
    return context;
}

mpd_t* new_decimal() {
    return mpd_new(&Tarn_MPD_Context);
}

}  // namespace

mpd_context_t Tarn_MPD_Context = decimal64_context();

int digit_value(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// ---- text to numbers ----

// Decimal, or hexadecimal after "0x"; read from the last digit back, wrapping in 32 bits. A
// minus sign allows decimal digits only, so "-0x10" is refused.
int stoi(const char* text, int length, int* error) {
    if (error != nullptr) *error = 0;
    if (text != nullptr && length == -1) length = static_cast<int>(std::strlen(text));
    if (text == nullptr || length <= 0) {
        if (error != nullptr) *error = 1;
        return 0;
    }
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    unsigned place = 1;
    unsigned base = 10;
    int start = 0;
    if (bytes[0] == '-') {
        place = static_cast<unsigned>(-1);
        start = 1;
    } else if (!std::isdigit(bytes[0])) {
        if (error != nullptr) *error = 1;
        return 0;
    } else if (bytes[0] == '0' && length > 2 && std::tolower(bytes[1]) == 'x' &&
               std::isxdigit(bytes[2])) {
        base = 16;
        start = 2;
    }
    unsigned sum = 0;
    for (int i = length - 1; i >= start; --i) {
        int digit = digit_value(bytes[i]);
        if (digit < 0 || static_cast<unsigned>(digit) >= base) {
            if (error != nullptr) *error = 1;
            return 0;
        }
        sum += static_cast<unsigned>(digit) * place;
        place *= base;
    }
    return static_cast<int>(sum);
}

double stod(const char* text, int length, int buffer_size, int* error) {
    if (error != nullptr) *error = 0;
    if (text == nullptr || length < -1) {
        if (error != nullptr) *error = 1;
        return 0;
    }
    const bool counted = length != -1;
    const char* terminated = text;
    char stack_copy[STOD_STACK_BUFFER];
    char* heap_copy = nullptr;
    if (counted) {
        // The byte behind the text is read only when the caller vouches for it.
        if (length >= buffer_size || text[length] != '\0') {
            if (length < STOD_STACK_BUFFER) {
                std::memcpy(stack_copy, text, static_cast<size_t>(length));
                stack_copy[length] = '\0';
                terminated = stack_copy;
            } else {
                heap_copy = new_text(text, length, length + 1);
                terminated = heap_copy;
            }
        }
        double special = 0;
        if (special_value(terminated, length, &special)) {
            delete[] heap_copy;
            return special;
        }
    } else {
        length = static_cast<int>(std::strlen(text));
    }

    double result = 0;
    bool failed = false;
    char* end = nullptr;
    errno = 0;
    double value = std::strtod(terminated, &end);
    if (end - terminated == length) {
        result = value;
        failed = std::isinf(value) && errno == ERANGE;
    } else if (length >= 3 && terminated[0] == '0' &&
               (terminated[1] == 'x' || terminated[1] == 'X') &&
               std::isxdigit(static_cast<unsigned char>(terminated[2]))) {
        long long integer = std::strtoll(terminated, &end, 16);
        if (end - terminated == length) {
            result = static_cast<double>(integer);
        } else {
            failed = true;
        }
    } else {
        failed = true;
    }
    delete[] heap_copy;
    if (failed && error != nullptr) *error = 1;
    return result;
}

// ---- numbers to text ----

char* itos(int value, int* length, int* size) {
    if (value == INT_MIN) return hand_out(INT_MIN_TEXT, 11, 12, length, size);
    char digits[16];
    int n = 0;
    unsigned magnitude = value < 0 ? static_cast<unsigned>(-value) : static_cast<unsigned>(value);
    do {
        digits[n++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    char text[16];
    int used = 0;
    if (value < 0) text[used++] = '-';
    while (n > 0) text[used++] = digits[--n];
    return hand_out(text, used, used + 1, length, size);
}

// The digits that dtoa's mode 1 gives, written out in positional notation with the decimal
// point where the decimal exponent puts it (no exponent form). Mode 1 is not always the
// shortest text: on a value whose shortest decimal lies exactly on a rounding bound it goes one
// digit string further (1e23 prints as 99999999999999990000000), and the runtime prints so too.
// Every infinity and NaN is written "NaN": the runtime never prints "Infinity", and scripts
// depend on that.
char* dtos(double value, int* length, int* size) {
    if (!std::isfinite(value)) return hand_out("NaN", 3, 4, length, size);

    char digits[DTOA_MAX_DIGITS];
    int decimal_exponent = 0;  // place of the point: the value is 0.DIGITS x 10^decimal_exponent
    const int digit_count = dtoa_digits(value, digits, &decimal_exponent);

    char text[DTOS_BUFFER] = {};
    int used = 0;
    if (std::signbit(value)) text[used++] = '-';
    const int sign_length = used;
    if (decimal_exponent <= 0) {
        text[used++] = '0';
        text[used++] = '.';
        for (int i = 0; i < -decimal_exponent; ++i) text[used++] = '0';
        for (int i = 0; i < digit_count; ++i) text[used++] = digits[i];
    } else {
        for (int i = 0; i < digit_count || i < decimal_exponent; ++i) {
            if (i == decimal_exponent) text[used++] = '.';
            text[used++] = i < digit_count ? digits[i] : '0';
        }
    }
    const int routine_length = used;
    // Trailing zeros go while more than two characters stay behind the decimal exponent.
    while (used - sign_length - decimal_exponent > 2 && text[used - 1] == '0') --used;
    return hand_out(text, used, routine_length + 2, length, size);
}

// ---- decimals ----

mpd_t* stompd(const char* text, int length, int* error) {
    if (error != nullptr) *error = 0;
    mpd_t* result = new_decimal();
    if (result == nullptr) return nullptr;
    uint32_t status = 0;
    if (text != nullptr && length == -1) length = static_cast<int>(std::strlen(text));
    // libmpdec reads to the NUL, so a NUL inside the counted text would cut it short.
    bool readable = text != nullptr && length >= 0 &&
                    std::memchr(text, '\0', static_cast<size_t>(length)) == nullptr;
    if (readable) {
        char* terminated = new_text(text, length, length + 1);
        mpd_qset_string(result, terminated, &Tarn_MPD_Context, &status);
        delete[] terminated;
    }
    if (!readable || (status & MPD_Conversion_syntax) != 0) {
        status = 0;
        mpd_qset_i32(result, 0, &Tarn_MPD_Context, &status);
        if (error != nullptr) *error = 1;
    }
    return result;
}

mpd_t* itompd(int value) {
    mpd_t* result = new_decimal();
    if (result == nullptr) return nullptr;
    uint32_t status = 0;
    mpd_qset_i32(result, value, &Tarn_MPD_Context, &status);
    return result;
}

// Through the shortest text of the double, so 0.1 becomes the decimal 0.1 and not the binary
// fraction's 55 digits. Unlike dtos, infinities stay infinities.
mpd_t* dtompd(double value) {
    if (std::isinf(value)) return stompd(value > 0 ? "Infinity" : "-Infinity");
    if (std::isnan(value)) return stompd("NaN");
    int length = 0;
    char* text = dtos(value, &length);
    mpd_t* result = stompd(text, length);
    delete[] text;
    return result;
}

mpd_t* mpdtompd(const mpd_t* value) {
    mpd_t* result = new_decimal();
    if (result == nullptr) return nullptr;
    uint32_t status = 0;
    if (value != nullptr) {
        mpd_qcopy(result, value, &status);
    } else {
        mpd_qset_i32(result, 0, &Tarn_MPD_Context, &status);
    }
    return result;
}

int mpdtoi(const mpd_t* value, int* error) {
    if (error != nullptr) *error = 0;
    int result = 0;
    bool failed = value == nullptr || mpd_isnan(value) || mpd_isinfinite(value);
    if (!failed) {
        mpd_t* whole = new_decimal();
        uint32_t status = 0;
        mpd_qtrunc(whole, value, &Tarn_MPD_Context, &status);
        status = 0;
        result = mpd_qget_i32(whole, &status);
        mpd_del(whole);
        failed = (status & MPD_Invalid_operation) != 0;
    }
    if (failed) {
        if (error != nullptr) *error = 1;
        return 0;
    }
    return result;
}

// Positional notation without trailing zeros ("1.50" prints as "1.5"); zero prints as "0"
// whatever its sign or exponent; NaN as "NaN", infinities as "Infinity" and "-Infinity".
char* mpdtos(const mpd_t* value, int* length, int* size) {
    if (value == nullptr || mpd_isnan(value)) return hand_out("NaN", 3, 4, length, size);
    if (mpd_isinfinite(value)) {
        return mpd_isnegative(value) ? hand_out("-Infinity", 9, 10, length, size)
                                     : hand_out("Infinity", 8, 9, length, size);
    }
    if (mpd_iszero(value)) return hand_out("0", 1, 2, length, size);
    mpd_t* reduced = new_decimal();
    uint32_t status = 0;
    mpd_qreduce(reduced, value, &Tarn_MPD_Context, &status);
    char* formatted = mpd_qformat(reduced, "f", &Tarn_MPD_Context, &status);
    mpd_del(reduced);
    if (formatted == nullptr) return hand_out("NaN", 3, 4, length, size);
    int used = static_cast<int>(std::strlen(formatted));
    char* result = hand_out(formatted, used, used + 1, length, size);
    mpd_free(formatted);
    return result;
}

double mpdtod(const mpd_t* value) {
    if (value == nullptr || mpd_isnan(value)) return std::nan("");
    if (mpd_isinfinite(value)) return mpd_isnegative(value) ? -HUGE_VAL : HUGE_VAL;
    char* text = mpdtos(value);
    double result = std::strtod(text, nullptr);
    delete[] text;
    return result;
}

int mpdsize(const mpd_t* value) {
    int length = 0;
    delete[] mpdtos(value, &length);
    return length;
}
