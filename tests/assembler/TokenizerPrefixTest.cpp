// Sign and dot prefixes of the tokenizer against a reading that recurses exactly as the rules
// state them: '-' and '.' read the token behind them by a nested call. The tokenizer counts the
// prefixes instead of nesting, so that no run of them can exhaust the stack; every short source
// over the characters that matter must still give the same tokens, texts and lengths.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "tests/assembler/ParserRecorder.h"

namespace {

struct Token {
    TokenType type;
    long text;  // offset of the token's text in the source
    int length;
    std::string value;

    bool operator==(const Token& other) const {
        return type == other.type && text == other.text && length == other.length &&
               value == other.value;
    }
};

std::string describe(const std::vector<Token>& tokens) {
    std::string out;
    for (const Token& token : tokens) {
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

    std::vector<Token> All() {
        std::vector<Token> tokens;
        long text = 0;
        int length = 0;
        for (;;) {
            const TokenType type = Next(text, length);
            tokens.push_back({type, text, length, type == TOKEN_QUOTED_STRING ? value_ : ""});
            if (type == TOKEN_END_OF_INPUT) return tokens;
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

// The tokenizer's tokens up to the first end of input (the end of the source or a zero byte).
std::vector<Token> tokenize(const std::string& source) {
    ParserRecorder parser(source);
    std::vector<Token> tokens;
    const char* text = parser.source();
    int length = 0;
    for (;;) {
        const TokenType type = parser.GetNextToken(&text, length, &parser.string_value());
        const String& value = parser.string_value();
        tokens.push_back(
            {type, static_cast<long>(text - parser.source()), length,
             type == TOKEN_QUOTED_STRING ? std::string(value.c_str(), value.length()) : ""});
        if (type == TOKEN_END_OF_INPUT) return tokens;
    }
}

}  // namespace

TEST(TokenizerPrefix, EveryShortSourceReadsAsTheNestedRulesReadIt) {
    // Pieces that meet the prefixes: signs, dots, blanks, the tokens a prefix may or may not
    // take, and the ends of a line, a comment and the source.
    const std::vector<std::string> pieces = {"-",
                                             ".",
                                             " ",
                                             "\n",
                                             "7",
                                             "0x1",
                                             "1.2",
                                             "local",
                                             "x:",
                                             ";",
                                             ",",
                                             "\"q\"",
                                             std::string(1, '\0'),
                                             "#"};
    const size_t max_pieces = 5;
    std::vector<size_t> digits;
    size_t sources = 0;
    for (size_t count = 1; count <= max_pieces; ++count) {
        digits.assign(count, 0);
        for (;;) {
            std::string source;
            for (size_t d : digits) source += pieces[d];
            const std::vector<Token> expected = ReferenceTokenizer(source).All();
            const std::vector<Token> actual = tokenize(source);
            ASSERT_TRUE(expected == actual)
                << "source [" << source << "]\n  rules:     " << describe(expected)
                << "\n  tokenizer: " << describe(actual);
            ++sources;
            size_t i = 0;
            while (i < count && ++digits[i] == pieces.size()) digits[i++] = 0;
            if (i == count) break;
        }
    }
    EXPECT_GT(sources, 500000u);
}
