// Application base: settings with change counters, the error channel, time-outs, log filters,
// and the conversions between texts, integers, doubles and decimals.
#include "driver/TarnApplication.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <strings.h>

#include "foundation/Dtoa.h"
#include "foundation/LinkBuffer.h"
#include "platform/Output.h"

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

int digit_value(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void delete_filters(LogFilterEntry* list) {
    while (list != nullptr) {
        LogFilterEntry* next = list->next;
        delete list;
        list = next;
    }
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

TarnApplication::TarnApplication()
    : derived_object1_(nullptr),
      derived_object2_(nullptr),
      heartbeat_count_(0),
      timed_out_(0),
      post_timed_out_(0),
      global_deadline_(0),
      post_deadline_(0),
      shutting_down_(0),
      log_filter_(nullptr),
      log_exclusions_(nullptr),
      language_("en-US"),
      language_count_(1),
      default_language_("en-US"),
      default_language_count_(1),
      default_database_("xbase3"),
      default_database_count_(1),
      charset_("utf-8"),
      charset_count_(1),
      utf8_(1) {}

TarnApplication::~TarnApplication() {
    delete_filters(log_filter_);
    delete_filters(log_exclusions_);
}

// ---- time-outs ----

void TarnApplication::ResetGlobalTimeout(long seconds) {
    global_deadline_ = seconds > 0 ? std::time(nullptr) + seconds : 0;
    timed_out_ = 0;
}

void TarnApplication::ResetPOSTTimeout(long seconds) {
    post_deadline_ = seconds > 0 ? std::time(nullptr) + seconds : 0;
    post_timed_out_ = 0;
}

void TarnApplication::ClearPOSTTimeout() {
    post_deadline_ = 0;
}

int TarnApplication::cancelled() {
    return timed_out_;
}

void TarnApplication::Heartbeat(long now) {
    ++heartbeat_count_;
    if (global_deadline_ != 0 && global_deadline_ < now) timed_out_ = 1;
    if (post_deadline_ != 0 && post_deadline_ < now) post_timed_out_ = 1;
}

long TarnApplication::TimeRemaining() {
    if (global_deadline_ == 0) return -1;
    long left = static_cast<long>(global_deadline_ - std::time(nullptr));
    return left > 0 ? left : 0;
}

// ---- error channel ----

int TarnApplication::Error(const String& text) {
    return OutputError(text.c_str(), text.length());
}

int TarnApplication::Error(const char* text) {
    if (text == nullptr) return 0;
    return OutputError(text, static_cast<int>(std::strlen(text)));
}

int TarnApplication::Error(const char* text, int length) {
    return OutputError(text, length);
}

int TarnApplication::OutputError(const char* text, int length) {
    Output* channel = output(text, length);
    if (channel != nullptr && text != nullptr && length > 0) {
        (void)channel->WriteError(text, length);  // a failed report has nowhere left to go
    }
    return 0;
}

int TarnApplication::Notify_InputError(const String& text) {
    return Error(text);
}

int TarnApplication::Notify_FatalError(const String& text) {
    return Error(text);
}

int TarnApplication::Notify_TimeoutError(const String& text) {
    return Error(text);
}

int TarnApplication::Notify_RuntimeError(int code, const String& text, bool report) {
    (void)code;  // the console has no use for the number; the runtime's logger has
    return report ? Error(text) : 0;
}

// ---- inert services of this program ----

int TarnApplication::BeginAsynchronousTask(TarnVM* vm, unsigned flags) {
    (void)vm;
    (void)flags;
    return 0;
}

void TarnApplication::AsynchronousSleep(long milliseconds, Tarn_PathType type, const char* path) {
    (void)milliseconds;
    (void)type;
    (void)path;
}

bool TarnApplication::SSL_Available() {
    return false;
}

void TarnApplication::Log(unsigned code, LogParameter* parameters) {
    (void)code;
    (void)parameters;
}

void TarnApplication::ResolveErrorSyslog() {}

void TarnApplication::Notify_Syslog(const String& text) {
    (void)text;
}

const String& TarnApplication::process_name() {
    return process_name_;
}

void TarnApplication::SetProcessName(const char* text, int length) {
    (void)text;
    (void)length;
}

// ---- settings ----

const String& TarnApplication::language() {
    return language_;
}

int TarnApplication::languagecount() {
    return language_count_;
}

const String& TarnApplication::defaultlanguage() {
    return default_language_;
}

int TarnApplication::defaultlanguagecount() {
    return default_language_count_;
}

const String& TarnApplication::defaultdatabase() {
    return default_database_;
}

int TarnApplication::defaultdatabasecount() {
    return default_database_count_;
}

void TarnApplication::SetLanguage(const char* text, int length) {
    language_.assign(text, length);
    ++language_count_;
}

void TarnApplication::SetDefaultLanguage(const char* text, int length) {
    default_language_.assign(text, length);
    ++default_language_count_;
}

void TarnApplication::SetDefaultDatabase(const char* text, int length) {
    default_database_.assign(text, length);
    ++default_database_count_;
}

const String& TarnApplication::charset() {
    return charset_;
}

int TarnApplication::charsetcount() {
    return charset_count_;
}

int TarnApplication::SetCharacterSet(const char* text, int length) {
    charset_.assign(text, length);
    ++charset_count_;
    int comparison = strcasecmp(charset_.c_str(), "utf-8");
    utf8_ = comparison == 0 ? 1 : 0;
    return comparison;
}

const String& TarnApplication::GetCharacterSet() {
    return charset_;
}

bool TarnApplication::CharacterSetIsUTF8() {
    return utf8_ != 0;
}

// ---- logging ----

// A log filter is a comma-separated list of items "[!]events[:function]": 'events'
// is a number as stoi reads it (decimal or 0x hexadecimal, several event bits at once), the
// optional function name narrows the item to that function, and a leading '!' excludes what
// the item names. Blanks around items are ignored; an empty item is skipped. Items before a bad
// one stay in the filter.
int TarnApplication::ParseLogFilter(const char* filter_text) {
    if (filter_text == nullptr) return 0;
    const char* p = filter_text;
    while (*p != '\0') {
        while (*p == ' ' || *p == '\t') ++p;
        const char* item_end = std::strchr(p, ',');
        if (item_end == nullptr) item_end = p + std::strlen(p);
        const char* last = item_end;
        while (last > p && (last[-1] == ' ' || last[-1] == '\t')) --last;
        if (last > p) {
            bool exclude = *p == '!';
            const char* code = exclude ? p + 1 : p;
            const char* colon =
                static_cast<const char*>(std::memchr(code, ':', static_cast<size_t>(last - code)));
            const char* code_end = colon != nullptr ? colon : last;
            int error = 0;
            int events = stoi(code, static_cast<int>(code_end - code), &error);
            if (error != 0 || code_end == code) return 1;
            LogFilterEntry* entry =
                new LogFilterEntry{static_cast<unsigned>(events), String(), nullptr};
            if (colon != nullptr)
                entry->function_name.assign(colon + 1, static_cast<int>(last - colon - 1));
            LogFilterEntry** tail = exclude ? &log_exclusions_ : &log_filter_;
            while (*tail != nullptr) tail = &(*tail)->next;
            *tail = entry;
        }
        p = *item_end == ',' ? item_end + 1 : item_end;
    }
    return 0;
}

const char* TarnApplication::Log_Description(unsigned code) {
    switch (code) {
        case LOG_FUNCTION_CALL:
            return "Function Call";
        case LOG_FUNCTION_PARAMETER:
            return "Function Parameter";
        case LOG_FUNCTION_RETURN_VALUE:
            return "Function Return Value";
        case LOG_FUNCTION_RETURN:
            return "Function Return";
        case LOG_EXTERNAL_FUNCTION_CALL:
            return "External Function Call";
        case LOG_EXTERNAL_FUNCTION_PARAMETER:
            return "External Function Parameter";
        case LOG_EXTERNAL_FUNCTION_RETURN_VALUE:
            return "External Function Return Value";
        case LOG_EXTERNAL_FUNCTION_RETURN:
            return "External Function Return";
        case LOG_TNDO_ENTER:
            return "TnDO Enter";
        case LOG_TNDO_EXIT:
            return "TnDO Exit";
        case LOG_TNCALL:
            return "TnCALL";
        case LOG_TNSMTP:
            return "TnSMTP";
        case LOG_REQUEST_START:
            return "Request Start";
        case LOG_REQUEST_END:
            return "Request End";
        case LOG_APPLICATION_TIMED_OUT:
            return "Application Timed Out";
        case LOG_RUNTIME_ERROR:
            return "Runtime Error";
        case LOG_FATAL_ERROR:
            return "Fatal Error";
        case LOG_TRACE:
            return "Trace";
        default:
            return "Unknown";
    }
}

// ---- text to numbers ----

// Decimal, or hexadecimal after "0x"; read from the last digit back, wrapping in 32 bits. A
// minus sign allows decimal digits only, so "-0x10" is refused.
int TarnApplication::stoi(const char* text, int length, int* error) {
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

double TarnApplication::stod(const char* text, int length, int buffer_size, int* error) {
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

char* TarnApplication::itos(int value, int* length, int* size) {
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
char* TarnApplication::dtos(double value, int* length, int* size) {
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

mpd_t* TarnApplication::stompd(const char* text, int length, int* error) {
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

mpd_t* TarnApplication::itompd(int value) {
    mpd_t* result = new_decimal();
    if (result == nullptr) return nullptr;
    uint32_t status = 0;
    mpd_qset_i32(result, value, &Tarn_MPD_Context, &status);
    return result;
}

// Through the shortest text of the double, so 0.1 becomes the decimal 0.1 and not the binary
// fraction's 55 digits. Unlike dtos, infinities stay infinities.
mpd_t* TarnApplication::dtompd(double value) {
    if (std::isinf(value)) return stompd(value > 0 ? "Infinity" : "-Infinity");
    if (std::isnan(value)) return stompd("NaN");
    int length = 0;
    char* text = dtos(value, &length);
    mpd_t* result = stompd(text, length);
    delete[] text;
    return result;
}

mpd_t* TarnApplication::mpdtompd(const mpd_t* value) {
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

int TarnApplication::mpdtoi(const mpd_t* value, int* error) {
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
char* TarnApplication::mpdtos(const mpd_t* value, int* length, int* size) {
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

double TarnApplication::mpdtod(const mpd_t* value) {
    if (value == nullptr || mpd_isnan(value)) return std::nan("");
    if (mpd_isinfinite(value)) return mpd_isnegative(value) ? -HUGE_VAL : HUGE_VAL;
    char* text = mpdtos(value);
    double result = std::strtod(text, nullptr);
    delete[] text;
    return result;
}

int TarnApplication::mpdsize(const mpd_t* value) {
    int length = 0;
    delete[] mpdtos(value, &length);
    return length;
}

// ---- text encoders ----

namespace {

// Blocks of the encoders' link buffers after the first, which is sized from the input.
constexpr int ENCODER_UNIT = 512;

int measured(const char* text, int length) {
    if (text == nullptr) return 0;
    return length == -1 ? static_cast<int>(std::strlen(text)) : (length < 0 ? 0 : length);
}

char* release_terminated(LinkBuffer* buffer, int* result_length, int* result_size) {
    int length = 0;
    int size = 0;
    char* result = buffer->release(&length, &size, 1);
    result[length] = '\0';
    if (result_length != nullptr) *result_length = length;
    if (result_size != nullptr) *result_size = size;
    return result;
}

// The entity for 'byte' in HTML text, or null when the byte stands for itself.
const char* text_entity(unsigned char byte) {
    switch (byte) {
        case '"':
            return "&quot;";
        case '&':
            return "&amp;";
        case '(':
            return "&#40;";
        case ')':
            return "&#41;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return nullptr;
    }
}

// Encodes 'text' replacing each byte for which 'entity' gives a text; runs of other bytes are
// appended in one piece.
template <typename EntityOf>
char* encode(const char* text, int length, int* result_length, int* result_size, EntityOf entity) {
    length = measured(text, length);
    LinkBuffer buffer(length + ENCODER_UNIT, ENCODER_UNIT);
    int run_start = 0;
    char numeric[8];
    for (int i = 0; i < length; ++i) {
        const char* replacement = entity(static_cast<unsigned char>(text[i]), numeric);
        if (replacement == nullptr) continue;
        if (i > run_start) buffer.cat(text + run_start, i - run_start);
        buffer.cat(replacement, -1);
        run_start = i + 1;
    }
    if (length > run_start) buffer.cat(text + run_start, length - run_start);
    return release_terminated(&buffer, result_length, result_size);
}

void cat_utf8(LinkBuffer* buffer, unsigned long code_point) {
    char bytes[4];
    int n;
    if (code_point < 0x80) {
        bytes[0] = static_cast<char>(code_point);
        n = 1;
    } else if (code_point < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | (code_point >> 6));
        bytes[1] = static_cast<char>(0x80 | (code_point & 63));
        n = 2;
    } else if (code_point < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | (code_point >> 12));
        bytes[1] = static_cast<char>(0x80 | ((code_point >> 6) & 63));
        bytes[2] = static_cast<char>(0x80 | (code_point & 63));
        n = 3;
    } else {
        bytes[0] = static_cast<char>(0xF0 | (code_point >> 18));
        bytes[1] = static_cast<char>(0x80 | ((code_point >> 12) & 63));
        bytes[2] = static_cast<char>(0x80 | ((code_point >> 6) & 63));
        bytes[3] = static_cast<char>(0x80 | (code_point & 63));
        n = 4;
    }
    buffer->cat(bytes, n);
}

// Length of the entity at 'text' (which starts with '&') when it is one that decodes, with its
// bytes appended to 'buffer'; 0 when it is not.
int decode_entity(const char* text, int length, LinkBuffer* buffer) {
    static const struct {
        const char* name;
        char byte;
    } NAMED[] = {{"&quot;", '"'}, {"&amp;", '&'}, {"&apos;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}};
    for (const auto& entity : NAMED) {
        int n = static_cast<int>(std::strlen(entity.name));
        if (n <= length && std::memcmp(text, entity.name, static_cast<size_t>(n)) == 0) {
            buffer->cat(&entity.byte, 1);
            return n;
        }
    }
    if (length < 4 || text[1] != '#') return 0;
    bool hexadecimal = text[2] == 'x' || text[2] == 'X';
    int i = hexadecimal ? 3 : 2;
    unsigned long code_point = 0;
    int digits = 0;
    for (; i < length && digits <= 6; ++i, ++digits) {
        int digit = digit_value(static_cast<unsigned char>(text[i]));
        if (digit < 0 || digit >= (hexadecimal ? 16 : 10)) break;
        code_point = code_point * (hexadecimal ? 16 : 10) + static_cast<unsigned long>(digit);
    }
    if (digits == 0 || digits > 6 || i >= length || text[i] != ';' || code_point > 0x10FFFF) {
        return 0;
    }
    cat_utf8(buffer, code_point);
    return i + 1;
}

char* decode(const char* text, int length, int* result_length, int* result_size) {
    length = measured(text, length);
    LinkBuffer buffer(length + ENCODER_UNIT, ENCODER_UNIT);
    int run_start = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i] != '&') continue;
        if (i > run_start) buffer.cat(text + run_start, i - run_start);
        int used = decode_entity(text + i, length - i, &buffer);
        run_start = used > 0 ? i + used : i;
        if (used > 0) i += used - 1;
    }
    if (length > run_start) buffer.cat(text + run_start, length - run_start);
    return release_terminated(&buffer, result_length, result_size);
}

// Characters a JavaScript string takes as they are (whatever the locale says is a letter).
bool javascript_plain(unsigned char byte) {
    if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= 'a' && byte <= 'z')) {
        return true;
    }
    return byte != 0 && std::strchr(" $+,-.:@_", byte) != nullptr;
}

void cat_unicode_escape(LinkBuffer* buffer, unsigned high, unsigned low) {
    buffer->cat("\\u", 2);
    buffer->cat_hex(static_cast<unsigned char>(high & 255));
    buffer->cat_hex(static_cast<unsigned char>(low & 255));
}

}  // namespace

char* TarnApplication::EncodeEntities(const char* text, int length, int* result_length,
                                      int* result_size) {
    return encode(text, length, result_length, result_size,
                  [](unsigned char byte, char*) { return text_entity(byte); });
}

String TarnApplication::EncodeEntities(const String& text) {
    int length = 0;
    int size = 0;
    char* encoded = EncodeEntities(text.c_str(), text.length(), &length, &size);
    return String(encoded, length, size);
}

char* TarnApplication::DecodeEntities(const char* text, int length, int* result_length,
                                      int* result_size) {
    return decode(text, length, result_length, result_size);
}

char* TarnApplication::EncodeAttribute(const char* text, int length, int* result_length,
                                       int* result_size) {
    return encode(text, length, result_length, result_size,
                  [](unsigned char byte, char* numeric) -> const char* {
                      if (byte == '\'') return "&#39;";
                      if (byte < 32) {
                          numeric[0] = '&';
                          numeric[1] = '#';
                          int n = 2;
                          if (byte >= 10) numeric[n++] = static_cast<char>('0' + byte / 10);
                          numeric[n++] = static_cast<char>('0' + byte % 10);
                          numeric[n++] = ';';
                          numeric[n] = '\0';
                          return numeric;
                      }
                      return text_entity(byte);
                  });
}

char* TarnApplication::DecodeAttribute(const char* text, int length, int* result_length,
                                       int* result_size) {
    return decode(text, length, result_length, result_size);
}

char* TarnApplication::StripNULLs(const char* text, int length, int* result_length,
                                  int* result_size) {
    return encode(text, length, result_length, result_size,
                  [](unsigned char byte, char*) { return byte == 0 ? "" : nullptr; });
}

// UTF-8 sequences become \u escapes of their UTF-16 units. Four-byte sequences are split into a
// surrogate pair without taking 0x10000 off first; the runtime's scripts are built against these
// exact escapes, so the formula stays.
LinkBuffer* TarnApplication::EncodeJavaScriptString(const char* text, int length,
                                                    LinkBuffer* buffer) {
    length = measured(text, length);
    if (buffer == nullptr) buffer = new LinkBuffer(length + ENCODER_UNIT, ENCODER_UNIT);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    for (int i = 0; i < length; ++i) {
        unsigned byte = bytes[i];
        int after = length - i - 1;  // bytes that follow this one
        if (javascript_plain(static_cast<unsigned char>(byte))) {
            buffer->cat(text + i, 1);
            continue;
        }
        switch (byte) {
            case '\b':
                buffer->cat("\\b", 2);
                continue;
            case '\t':
                buffer->cat("\\t", 2);
                continue;
            case '\n':
                buffer->cat("\\n", 2);
                continue;
            case '\f':
                buffer->cat("\\f", 2);
                continue;
            case '\r':
                buffer->cat("\\r", 2);
                continue;
            case '"':
                buffer->cat("\\\"", 2);
                continue;
            case '/':
                buffer->cat("\\/", 2);
                continue;
            case '\\':
                buffer->cat("\\\\", 2);
                continue;
            default:
                break;
        }
        if (utf8_ != 0) {
            if (byte >= 0xC2 && byte <= 0xDF && after >= 1) {
                unsigned next = bytes[i + 1];
                cat_unicode_escape(buffer, (byte >> 2) & 7, (byte << 6) | (next & 63));
                i += 1;
                continue;
            }
            if (byte >= 0xE0 && byte <= 0xEF && after >= 2) {
                unsigned b1 = bytes[i + 1];
                unsigned b2 = bytes[i + 2];
                cat_unicode_escape(buffer, ((b1 >> 2) & 15) | (byte << 4), (b1 << 6) | (b2 & 63));
                i += 2;
                continue;
            }
            if (byte >= 0xF0 && byte <= 0xF7 && after >= 3) {
                unsigned b1 = bytes[i + 1];
                unsigned b2 = bytes[i + 2];
                unsigned b3 = bytes[i + 3];
                cat_unicode_escape(buffer, 0xD8 | (byte & 3), ((b1 << 2) & 60) | ((b2 >> 4) & 3));
                cat_unicode_escape(buffer, 0xDC | ((b2 >> 2) & 3), (b2 << 6) | (b3 & 63));
                i += 3;
                continue;
            }
        }
        cat_unicode_escape(buffer, 0, byte);
    }
    return buffer;
}
