// The tokenizer's rules read literally, for the fuzz targets: '-' and '.' read the token behind
// them by a nested call, as the rules state it. The tokenizer counts the prefixes instead of
// nesting, so that no run of them can exhaust the stack; on every source this reading can take
// (its nesting is bounded by the source's length) both must give the same tokens.
#ifndef TARN_FUZZ_REFERENCETOKENIZER_H
#define TARN_FUZZ_REFERENCETOKENIZER_H

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "assembler/Parser.h"

struct ReferenceToken {
    TokenType type;
    long text;  // offset of the token's text in the source
    int length;
    std::string value;

    bool operator==(const ReferenceToken& other) const {
        return type == other.type && text == other.text && length == other.length &&
               value == other.value;
    }
};

inline std::string describe(const std::vector<ReferenceToken>& tokens) {
    std::string out;
    for (const ReferenceToken& token : tokens) {
        out += "[" + std::to_string(static_cast<int>(token.type)) + " @" +
               std::to_string(token.text) + " len " + std::to_string(token.length);
        if (token.type == TOKEN_QUOTED_STRING) out += " \"" + token.value + "\"";
        out += "] ";
    }
    return out;
}

// The rules read literally, recursion included. Only for short sources.
class ReferenceTokenizer {
  public:
    explicit ReferenceTokenizer(const std::string& source) : s_(source) {}

    // Every token up to the end of the source (a zero byte ends the input only where it
    // stands: reading goes on behind it).
    std::vector<ReferenceToken> All() {
        std::vector<ReferenceToken> tokens;
        long text = 0;
        int length = 0;
        for (;;) {
            const TokenType type = Next(text, length);
            tokens.push_back({type, text, length, type == TOKEN_QUOTED_STRING ? value_ : ""});
            if (type == TOKEN_END_OF_INPUT && pos_ == s_.size()) return tokens;
        }
    }

  private:
    // The byte at 'i', with the zero byte the view keeps behind the source.
    char At(size_t i) const { return i < s_.size() ? s_[i] : '\0'; }

    TokenType Next(long& text, int& length) {
        if (pos_ == s_.size()) return TOKEN_END_OF_INPUT;
        while (pos_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[pos_]))) {
            if (s_[pos_++] == '\n') return TOKEN_END_OF_LINE;
        }
        if (pos_ == s_.size()) return TOKEN_END_OF_INPUT;
        text = static_cast<long>(pos_);
        const char c = s_[pos_];
        if (std::isalpha(static_cast<unsigned char>(c)) || c == '_') {
            length = 1;
            ++pos_;
            while (std::isalnum(static_cast<unsigned char>(At(pos_))) || At(pos_) == '_') {
                ++pos_;
                ++length;
            }
            if (pos_ < s_.size() && s_[pos_] == ':') {
                ++pos_;
                return TOKEN_LABEL;
            }
            return TOKEN_IDENTIFIER;
        }
        if (c >= '0' && c <= '9') {
            length = 1;
            ++pos_;
            bool hex = false;
            if (c == '0' && s_.size() - pos_ >= 2 && (s_[pos_] == 'x' || s_[pos_] == 'X') &&
                std::isxdigit(static_cast<unsigned char>(s_[pos_ + 1]))) {
                hex = true;
                ++pos_;
                ++length;
            }
            int dots = 0;
            while (pos_ < s_.size()) {
                const unsigned char d = static_cast<unsigned char>(s_[pos_]);
                if (d == '.') {
                    ++dots;
                } else if (!(hex ? std::isxdigit(d) : std::isdigit(d))) {
                    break;
                }
                ++pos_;
                ++length;
            }
            return dots >= 2 ? TOKEN_ERROR : TOKEN_NUMBER;
        }
        ++pos_;
        switch (c) {
            case '\0':
                return TOKEN_END_OF_INPUT;
            case '"':
                return QuotedString(length);
            case ',':
                return TOKEN_COMMA;
            case '-':
                if (Next(text, length) != TOKEN_NUMBER) return TOKEN_ERROR;
                --text;
                ++length;
                return TOKEN_NUMBER;
            case '.': {
                if (Next(text, length) != TOKEN_IDENTIFIER) return TOKEN_ERROR;
                static const struct {
                    const char* name;
                    TokenType kind;
                } names[] = {{"local", TOKEN_LOCAL},
                             {"ident", TOKEN_IDENT},
                             {"global", TOKEN_GLOBAL},
                             {"string", TOKEN_STRING},
                             {"system", TOKEN_SYSTEM},
                             {"version", TOKEN_VERSION},
                             {"function", TOKEN_FUNCTION},
                             {"parameter", TOKEN_PARAMETER},
                             {"localized", TOKEN_LOCALIZED},
                             {"endfunction", TOKEN_ENDFUNCTION},
                             {"disable_logging", TOKEN_DISABLE_LOGGING}};
                for (const auto& name : names) {
                    if (static_cast<size_t>(length) == std::strlen(name.name) &&
                        s_.compare(static_cast<size_t>(text), static_cast<size_t>(length),
                                   name.name) == 0) {
                        return name.kind;
                    }
                }
                return TOKEN_ERROR;
            }
            case ';':
                while (pos_ < s_.size() && s_[pos_] != '\n' && s_[pos_] != '\0') ++pos_;
                return Next(text, length);
            default:
                length = -1;
                return TOKEN_ERROR;
        }
    }

    TokenType QuotedString(int& length) {
        length = 0;
        value_.clear();
        if (pos_ == s_.size()) return TOKEN_END_OF_INPUT;
        for (;;) {
            const char c = s_[pos_];
            if (c == '"') {
                ++pos_;
                return TOKEN_QUOTED_STRING;
            }
            if (c == '\\') {
                if (s_.size() - pos_ <= 2) {
                    pos_ = s_.size();
                    return TOKEN_END_OF_INPUT;
                }
                const int high = Digit(s_[pos_ + 1]);
                const int low = Digit(s_[pos_ + 2]);
                if (high < 0 || low < 0) {
                    pos_ += 3;
                    return TOKEN_ERROR;
                }
                value_ += static_cast<char>(high * 16 + low);
                pos_ += 2;
            } else {
                value_ += c;
            }
            if (++pos_ == s_.size()) return TOKEN_END_OF_INPUT;
        }
    }

    static int Digit(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return -1;
    }

    std::string s_;
    size_t pos_ = 0;
    std::string value_;
};

#endif
