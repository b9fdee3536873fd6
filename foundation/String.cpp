// The system's owned byte string: growth in 24-byte steps, a NUL kept behind the bytes.
#include "foundation/String.h"

#include <cctype>
#include <climits>
#include <cstring>

#include "foundation/Base64.h"

namespace {

// Smallest multiple of the capacity step that holds 'need' bytes (need already counts the
// NUL). Growth never doubles: the assembler keeps many small strings alive at once.
int rounded_capacity(int need) {
    if (need < 1) {
        need = 1;
    }
    return ((need + STRING_CAPACITY_STEP - 1) / STRING_CAPACITY_STEP) * STRING_CAPACITY_STEP;
}

// Length of 's' as the callers give it: -1 means measure it; null text has no bytes.
int text_length(const char* s, int n) {
    if (s == nullptr) {
        return 0;
    }
    if (n == -1) {
        // Counts are 32-bit; a longer text is taken only up to what a count can hold.
        size_t measured = std::strlen(s);
        return measured > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<int>(measured);
    }
    return n < 0 ? 0 : n;
}

bool is_whitespace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Empty results of the substring operations own a buffer, as an assigned empty text does.
String empty_result() {
    return String("", -1);
}

}  // namespace

// ---- construction and assignment ----

String::String() : buffer_(nullptr), capacity_(0), length_(0) {}

String::String(const char* s, int n) : String() {
    assign(s, n);
}

String::String(const String& other) : String() {
    assign(other.buffer_, other.length_);
}

String::String(char* buf, int len, int cap) : String() {
    assign_nocopy(buf, len, cap);
}

String::~String() {
    delete[] buffer_;
}

String& String::operator=(const String& other) {
    assign(other.buffer_, other.length_);
    return *this;
}

void String::assign(const char* s, int n) {
    n = text_length(s, n);
    if (n == 0) {
        if (buffer_ == nullptr) {
            buffer_ = new char[STRING_CAPACITY_STEP];
            capacity_ = STRING_CAPACITY_STEP;
        }
        length_ = 0;
        buffer_[0] = 0;
        return;
    }
    // A capacity of n + 1 or more is reused; otherwise the old bytes are not kept. The old
    // buffer is freed only after the copy, since 's' may point into it.
    if (capacity_ <= n) {
        int capacity = rounded_capacity(n + 1);
        char* fresh = new char[capacity];
        std::memcpy(fresh, s, n);
        delete[] buffer_;
        buffer_ = fresh;
        capacity_ = capacity;
    } else {
        std::memmove(buffer_, s, n);
    }
    length_ = n;
    buffer_[n] = 0;
}

void String::assign(char c) {
    if (buffer_ == nullptr || capacity_ < 2) {
        delete[] buffer_;
        buffer_ = new char[STRING_CAPACITY_STEP];
        capacity_ = STRING_CAPACITY_STEP;
    }
    length_ = 1;
    buffer_[0] = c;
    buffer_[1] = 0;
}

void String::assign_nocopy(char* buf, int len, int cap) {
    if (buf == buffer_ && buf != nullptr) {
        // Handing a string its own buffer again changes nothing but the counts.
        if (len >= 0 && cap > len && cap <= capacity_) {
            length_ = len;
            buffer_[len] = 0;
        }
        return;
    }
    delete[] buffer_;
    buffer_ = nullptr;
    capacity_ = 0;
    length_ = 0;
    if (buf == nullptr) {
        assign(nullptr, 0);
        return;
    }
    if (len < 0) {
        len = 0;
    }
    if (cap > len) {
        buffer_ = buf;
        capacity_ = cap;
    } else {
        // The caller's buffer has no room for the NUL: copy into a buffer that has.
        capacity_ = rounded_capacity(len + 1);
        buffer_ = new char[capacity_];
        std::memcpy(buffer_, buf, len);
        delete[] buf;
    }
    length_ = len;
    buffer_[len] = 0;
}

char* String::release(int* len, int* cap) {
    if (len != nullptr) {
        *len = length_;
    }
    if (cap != nullptr) {
        *cap = capacity_;
    }
    char* released = buffer_;
    buffer_ = nullptr;
    capacity_ = 0;
    length_ = 0;
    return released;
}

void String::destroy() {
    delete[] buffer_;
    buffer_ = nullptr;
    capacity_ = 0;
    length_ = 0;
}

// ---- appending and prepending ----

void String::cat(const char* s, int n) {
    if (buffer_ == nullptr) {
        assign(s, n);
        return;
    }
    n = text_length(s, n);
    int new_length = length_ + n;
    if (capacity_ > new_length) {
        if (n > 0) {
            std::memmove(buffer_ + length_, s, n);
        }
    } else {
        int capacity = rounded_capacity(new_length + 1);
        char* fresh = new char[capacity];
        std::memcpy(fresh, buffer_, length_);
        std::memcpy(fresh + length_, s, n);
        delete[] buffer_;
        buffer_ = fresh;
        capacity_ = capacity;
    }
    length_ = new_length;
    buffer_[length_] = 0;
}

void String::cat(char c) {
    if (buffer_ == nullptr) {
        assign(c);
        return;
    }
    // Deliberately one byte more cautious than needed: a 22-byte string in 24 bytes grows.
    if (length_ + 2 < capacity_) {
        buffer_[length_++] = c;
        buffer_[length_] = 0;
        return;
    }
    int capacity = rounded_capacity(capacity_ + 1);
    char* fresh = new char[capacity];
    std::memcpy(fresh, buffer_, length_);
    fresh[length_] = c;
    fresh[length_ + 1] = 0;
    delete[] buffer_;
    buffer_ = fresh;
    capacity_ = capacity;
    length_++;
}

void String::prepend(const char* s, int n) {
    if (s == nullptr) {
        return;
    }
    n = text_length(s, n);
    int capacity = length_ + n < capacity_ ? capacity_ : rounded_capacity(length_ + n + 1);
    char* fresh = new char[capacity];
    std::memcpy(fresh, s, n);
    if (length_ > 0) {
        std::memcpy(fresh + n, buffer_, length_);
    }
    fresh[length_ + n] = 0;
    delete[] buffer_;
    buffer_ = fresh;
    capacity_ = capacity;
    length_ += n;
}

void String::prepend(char c) {
    const char text[2] = {c, 0};
    prepend(text, -1);
}

// ---- queries ----

int String::search(const char* s, int start) const {
    if (s == nullptr || buffer_ == nullptr) {
        return -1;
    }
    int pattern_length = static_cast<int>(std::strlen(s));
    if (pattern_length == 0 || length_ < pattern_length || length_ == 0 || start >= length_) {
        return -1;
    }
    if (start < 0) {
        start = 0;
    }
    for (int i = start; i <= length_ - pattern_length; i++) {
        if (std::memcmp(buffer_ + i, s, pattern_length) == 0) {
            return i;
        }
    }
    return -1;
}

int String::index(const char* s) const {
    return search(s, 0);
}

bool String::contains(const char* s, int start) const {
    return search(s, start) != -1;
}

bool String::contains(char c, int start) const {
    if (start >= length_ || buffer_ == nullptr) {
        return false;
    }
    if (start < 0) {
        start = 0;
    }
    return std::memchr(buffer_ + start, c, length_ - start) != nullptr;
}

int String::freq(const char* s) const {
    int count = 0;
    for (int i = search(s, 0); i != -1; i = search(s, i + 1)) {
        count++;
    }
    return count;
}

bool String::matches(char c, int pos) const {
    if (pos > length_ || pos < 0) {
        return false;
    }
    // Deliberately pos == length is allowed: it compares against the terminating NUL.
    if (buffer_ == nullptr) {
        return c == 0;
    }
    return buffer_[pos] == c;
}

bool String::matches(const char* s, int pos) const {
    if (s == nullptr || pos < 0) {
        return false;
    }
    int pattern_length = static_cast<int>(std::strlen(s));
    int remainder = length_ - pos;
    if (remainder < pattern_length) {
        return false;
    }
    if (remainder <= 0) {
        return true;
    }
    // A test of the whole remainder, not of a prefix: s's NUL must meet the string's end.
    if (remainder != pattern_length) {
        return false;
    }
    for (int k = 0; k < remainder; k++) {
        if (std::toupper(static_cast<unsigned char>(buffer_[pos + k])) !=
            std::toupper(static_cast<unsigned char>(s[k]))) {
            return false;
        }
    }
    return true;
}

// ---- substrings ----

String String::at(int start, int end) const {
    if (start >= length_) {
        return empty_result();
    }
    if (start < 0) {
        start = 0;
    }
    if (end >= length_) {
        end = length_;
    }
    if (end <= start) {
        return empty_result();
    }
    return String(buffer_ + start, end - start);
}

String String::from(int pos) const {
    return at(pos, length_);
}

String String::after(int pos) const {
    if (pos >= length_) {
        return empty_result();
    }
    return at(pos + 1, length_);
}

String String::before(int pos) const {
    if (pos >= length_) {
        return *this;
    }
    if (pos < 0) {
        return String();
    }
    return String(buffer_, pos);
}

String String::before(const char* s) const {
    int i = search(s, 0);
    if (i == -1) {
        return *this;
    }
    return before(i);
}

String String::after(const char* s, int start) const {
    int i = search(s, start);
    if (i == -1) {
        return empty_result();
    }
    return from(i + static_cast<int>(std::strlen(s)));
}

String String::from(const char* s, int start) const {
    int i = search(s, start);
    if (i == -1) {
        return empty_result();
    }
    return from(i);
}

String String::upper() const {
    String copy(*this);
    copy.upcase();
    return copy;
}

String String::lower() const {
    String copy(*this);
    copy.lowcase();
    return copy;
}

String String::padr(int width, char c) const {
    String copy(*this);
    while (copy.length_ < width) {
        copy.cat(c);
    }
    return copy;
}

String String::padl(int width, char c) const {
    String copy(*this);
    // One byte at a time, each a fresh buffer; the byte is passed counted so that padding
    // with NUL bytes still makes progress.
    while (copy.length_ < width) {
        copy.prepend(&c, 1);
    }
    return copy;
}

String String::Base64_Encode() const {
    if (length_ == 0 || buffer_ == nullptr) {
        return empty_result();
    }
    int size = (length_ / 3) * 4 + 5;
    unsigned char* out = new unsigned char[size];
    int written = tn_base64_encode(reinterpret_cast<const unsigned char*>(buffer_), out, length_);
    return String(reinterpret_cast<char*>(out), written, size);
}

String String::Base64_Decode() const {
    if (length_ == 0 || buffer_ == nullptr) {
        return empty_result();
    }
    int size = length_ + 1;
    unsigned char* out = new unsigned char[size];
    int written = tn_base64_decode(reinterpret_cast<const unsigned char*>(buffer_), out, length_);
    return String(reinterpret_cast<char*>(out), written, size);
}

// ---- in-place edits ----

void String::upcase() {
    if (buffer_ == nullptr) {
        return;
    }
    for (int i = 0; i < length_; i++) {
        buffer_[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(buffer_[i])));
    }
}

void String::lowcase() {
    if (buffer_ == nullptr) {
        return;
    }
    for (int i = 0; i < length_; i++) {
        buffer_[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(buffer_[i])));
    }
}

void String::ltrim() {
    if (buffer_ == nullptr) {
        return;
    }
    int start = 0;
    while (start < length_ && is_whitespace(buffer_[start])) {
        start++;
    }
    char* fresh = new char[capacity_];
    std::memcpy(fresh, buffer_ + start, length_ - start);
    fresh[length_ - start] = 0;
    delete[] buffer_;
    buffer_ = fresh;
    length_ = static_cast<int>(std::strlen(fresh));
}

void String::StripWhitespace() {
    if (buffer_ == nullptr) {
        return;
    }
    int start = 0;
    while (start < length_ && is_whitespace(buffer_[start])) {
        start++;
    }
    int end = length_;
    while (end > start && is_whitespace(buffer_[end - 1])) {
        end--;
    }
    char* fresh = new char[capacity_];
    std::memcpy(fresh, buffer_ + start, end - start);
    fresh[end - start] = 0;
    delete[] buffer_;
    buffer_ = fresh;
    length_ = static_cast<int>(std::strlen(fresh));
}

void String::CompressWhitespace() {
    if (buffer_ == nullptr) {
        return;
    }
    char* fresh = new char[capacity_];
    int out = 0;
    for (int i = 0; i < length_; i++) {
        // A run keeps only its first byte.
        if (i > 0 && is_whitespace(buffer_[i]) && is_whitespace(buffer_[i - 1])) {
            continue;
        }
        fresh[out++] = buffer_[i];
    }
    fresh[out] = 0;
    delete[] buffer_;
    buffer_ = fresh;
    length_ = static_cast<int>(std::strlen(fresh));
}

void String::gsub(const char* pattern, const char* replacement) {
    String result;
    int p = 0;
    for (int i = search(pattern, p); i != -1; i = search(pattern, p)) {
        result.cat(buffer_ + p, i - p);
        if (replacement != nullptr) {
            result.cat(replacement, -1);
        }
        p = i + static_cast<int>(std::strlen(pattern));
    }
    if (p == 0) {
        return;
    }
    result.cat(buffer_ + p, length_ - p);
    // Up to the result's first NUL, as the replacement texts are NUL-terminated.
    assign(result.buffer_, -1);
}

int String::chop(int n) {
    int remaining = length_ - n;
    // Only the length changes: no NUL is written at the new end.
    if (remaining >= 0 && n >= 0) {
        length_ = remaining;
    }
    return remaining;
}

void String::truncate(unsigned n) {
    if (static_cast<unsigned>(length_) > n) {
        length_ = static_cast<int>(n);
    }
}

// ---- free functions ----

char* tarn_strdup(const char* s) {
    if (s == nullptr) {
        s = "";
    }
    size_t size = std::strlen(s) + 1;
    char* copy = new char[size];
    std::memcpy(copy, s, size);
    return copy;
}

int split(const String& s, String* out, int max, const char* sep) {
    if (sep == nullptr || sep[0] == 0) {
        if (max < 1 || out == nullptr) {
            return 0;
        }
        if (s.buffer() != nullptr) {
            out[0] = s;
        }
        return 1;
    }
    if (max < 1 || out == nullptr) {
        return 0;
    }
    int separator_length = static_cast<int>(std::strlen(sep));
    const char* bytes = s.c_str();
    int count = 0;
    int p = 0;
    for (int i = s.search(sep, p); i != -1; i = s.search(sep, p)) {
        out[count++].assign(bytes + p, i - p);
        if (count == max) {
            return max;
        }
        p = i + separator_length;
    }
    int rest = s.length() - p;
    out[count].assign(bytes + p, rest);
    // A last piece of length 0 is assigned but not counted.
    return rest > 0 ? count + 1 : count;
}
