// The system's owned byte string: every name, message, token and value text passes through it.
// Raw bytes, no character set; a NUL is kept behind the bytes whenever the buffer was written.
#ifndef TARN_FOUNDATION_STRING_H
#define TARN_FOUNDATION_STRING_H

// Every capacity is a multiple of this; growth goes to the smallest multiple that fits.
constexpr int STRING_CAPACITY_STEP = 24;

class String {
public:
    String();
    // 'n' of -1 means 's' is NUL-terminated and is measured.
    String(const char* s, int n = -1);
    String(const String& other);
    // Adopts 'buf' (allocated with array new) as assign_nocopy does.
    String(char* buf, int len, int cap);
    ~String();

    String& operator=(const String& other);

    // ---- construction and assignment ----
    void assign(const char* s, int n = -1);
    void assign(char c);
    void assign_nocopy(char* buf, int len, int cap);
    // Hands the buffer to the caller (who frees it with array delete) and empties the string.
    char* release(int* len = nullptr, int* cap = nullptr);
    void destroy();

    // ---- appending and prepending ----
    void cat(const char* s, int n = -1);
    void cat(char c);
    void prepend(const char* s, int n = -1);
    void prepend(char c);

    // ---- queries ----
    int search(const char* s, int start = 0) const;
    int index(const char* s) const;
    bool contains(const char* s, int start = 0) const;
    bool contains(char c, int start = 0) const;
    int freq(const char* s) const;
    bool matches(char c, int pos) const;
    bool matches(const char* s, int pos) const;

    // ---- substrings ----
    String at(int start, int end) const;
    String from(int pos) const;
    String after(int pos) const;
    String before(int pos) const;
    String before(const char* s) const;
    String after(const char* s, int start) const;
    String from(const char* s, int start) const;
    String upper() const;
    String lower() const;
    String padr(int width, char c) const;
    String padl(int width, char c) const;
    String Base64_Encode() const;
    String Base64_Decode() const;

    // ---- in-place edits ----
    void upcase();
    void lowcase();
    void ltrim();
    void StripWhitespace();
    void CompressWhitespace();
    void gsub(const char* pattern, const char* replacement);
    int chop(int n);
    void truncate(unsigned n);

    // ---- accessors ----
    // The buffer itself: null for a string that was never given storage.
    char* buffer() const { return buffer_; }
    // Never null: the buffer, or an empty text when there is none.
    const char* c_str() const { return buffer_ != nullptr ? buffer_ : ""; }
    int length() const { return length_; }
    int capacity() const { return capacity_; }
    bool empty() const { return length_ == 0; }
    char operator[](int i) const { return buffer_[i]; }

private:
    char* buffer_;
    int capacity_;
    int length_;
};

// Copy of 's' with its NUL, allocated with array new; 's' must not be null.
char* tarn_strdup(const char* s);

// Splits 's' at 'sep' into 'out' (at least 'max' elements); returns the count of pieces.
int split(const String& s, String* out, int max, const char* sep);

#endif
