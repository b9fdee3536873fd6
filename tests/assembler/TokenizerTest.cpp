// Tokenizer: token kinds with their text and length, the sign and dot prefixes, quoted strings
// and escapes, every byte value through the character classes, and sources that end anywhere.
// Ten million prefixes in a row go through the whole program in SourceEdgesTest.
#include <gtest/gtest.h>

#include <string>

#include "tests/assembler/ParserRecorder.h"

namespace {

using namespace std::string_literals;

std::string describe_token(const ParserRecorder& parser, TokenType type, const char* text,
                           int length, const String& value) {
    const std::string slice = length < 0 ? "" : std::string(text, static_cast<size_t>(length));
    switch (type) {
        case TOKEN_IDENTIFIER:
            return "id:" + slice;
        case TOKEN_NUMBER:
            return "num:" + slice;
        case TOKEN_LABEL:
            return "label:" + slice;
        case TOKEN_QUOTED_STRING:
            return "str:\"" + std::string(value.c_str(), value.length()) + "\"";
        case TOKEN_END_OF_LINE:
            return "eol";
        case TOKEN_END_OF_INPUT:
            return "end";
        case TOKEN_COMMA:
            return "comma";
        case TOKEN_ERROR:
            if (length < 0) return "err@" + std::to_string(text - parser.source());
            return "err:" + slice;
        default:
            return "dir" + std::to_string(static_cast<int>(type)) + ":" + slice;
    }
}

// Every token up to the end of input, which must then stay the end.
std::string tokens_of(const std::string& source) {
    ParserRecorder parser(source);
    const char* text = parser.source();
    int length = 0;
    std::string out;
    for (int i = 0; i < 100; ++i) {
        const TokenType type = parser.GetNextToken(&text, length, &parser.string_value());
        out += (out.empty() ? "" : " ") +
               describe_token(parser, type, text, length, parser.string_value());
        if (type == TOKEN_END_OF_INPUT) {
            // At the end of the source the end of input repeats; after a zero byte the
            // reading goes on behind it.
            const TokenType after = parser.GetNextToken(&text, length, &parser.string_value());
            if (after == TOKEN_END_OF_INPUT) break;
            out += " " + describe_token(parser, after, text, length, parser.string_value());
        }
    }
    return out;
}

struct FirstToken {
    TokenType type;
    int offset;
    int length;
};

FirstToken first_token(const std::string& source) {
    ParserRecorder parser(source);
    const char* text = parser.source();
    int length = 0;
    const TokenType type = parser.GetNextToken(&text, length, &parser.string_value());
    return {type, static_cast<int>(text - parser.source()), length};
}

bool is_letter_class(int b) {
    return (b >= 'a' && b <= 'z') || (b >= 'A' && b <= 'Z') || b == '_';
}
bool is_digit_class(int b) {
    return b >= '0' && b <= '9';
}
bool is_hex_class(int b) {
    return is_digit_class(b) || (b >= 'a' && b <= 'f') || (b >= 'A' && b <= 'F');
}

}  // namespace

TEST(Tokenizer, ReadsEachTokenKindWithItsText) {
    const struct {
        std::string source;
        std::string tokens;
    } cases[] = {
        {"abc: x:y", "label:abc label:x id:y end"},
        {"abc :", "id:abc err@4 end"},
        {"12 1.5 7. 1.2.3 12abc", "num:12 num:1.5 num:7. err:1.2.3 num:12 id:abc end"},
        {"0x1F 0X2a 0x1.8 0x1..2", "num:0x1F num:0X2a num:0x1.8 err:0x1..2 end"},
        {"0x 0xg 0x", "num:0 id:x num:0 id:xg num:0 id:x end"},
        // The sign's text reaches back one character per dash, blanks or not.
        {"-5 -  7 - -3 --4", "num:-5 num: 7 num: -3 num:--4 end"},
        {"-x -, -\n5", "err:x err:, err:- num:5 end"},
        // A prefix reads the next token wherever it is: past a comment and the newline behind
        // it, a string, a label, a zero byte.
        {"-;\n7 -\"q\" -x: -0x1 -1.2 -#", "err: num:7 err: err:x num:-0x1 num:-1.2 err@25 end"},
        {".-local . local .\"q\" .x: .; .#", "err:local dir14:local err: err:x err:; end"},
        {"- \0 7"s, "err: num:7 end"},
        {".global .system .string .function .localized .endfunction .parameter .local .version "
         ".ident .disable_logging",
         "dir7:global dir8:system dir9:string dir10:function dir11:localized dir12:endfunction "
         "dir13:parameter dir14:local dir15:version dir19:ident dir20:disable_logging end"},
        {". function f .Function .functions .disable",
         "dir10:function id:f err:Function "
         "err:functions err:disable end"},
        {".global: .5 ..global .-5 -.5", "err:global err:5 err:global err:-5 err:5 end"},
        {", ;comment, \"x\n;last", "comma eol end"},
        {"\"a\\41b\" \"\" \"\\5c\\22\\0a\"", "str:\"aAb\" str:\"\" str:\"\\\"\n\" end"},
        // After a bad escape the reading goes on three bytes past the backslash.
        {"\"\\4Ax y", "err: id:x id:y end"},
        {"\"ab\\41", "end"},
        {"\0"s, "end"},
        {"x\0y\n"s, "id:x end id:y eol end"},
        {"\"a\0b\" c"s, "str:\"a\0b\" id:c end"s},
        {"\xff\x80:", "err@0 err@1 err@2 end"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.tokens, tokens_of(c.source)) << "source: " << c.source;
    }
}

TEST(Tokenizer, ClassifiesEveryByteValue) {
    for (int b = 0; b < 256; ++b) {
        const char c = static_cast<char>(b);
        TokenType expected = TOKEN_ERROR;
        int expected_length = -1;
        if (is_letter_class(b) || is_digit_class(b)) {
            expected = is_digit_class(b) ? TOKEN_NUMBER : TOKEN_IDENTIFIER;
            expected_length = 1;
        } else if (b == 0 || b == ' ' || b == '\t' || b == '\v' || b == '\f' || b == '\r' ||
                   b == '"' || b == ';') {
            expected = TOKEN_END_OF_INPUT;
            expected_length = 0;
        } else if (b == '\n') {
            expected = TOKEN_END_OF_LINE;
            expected_length = 0;
        } else if (b == ',') {
            expected = TOKEN_COMMA;
            expected_length = 0;
        } else if (b == '-' || b == '.') {
            expected_length = 0;
        }
        const FirstToken alone = first_token(std::string(1, c));
        EXPECT_EQ(expected, alone.type) << "byte " << b;
        EXPECT_EQ(expected_length, alone.length) << "byte " << b;

        // Behind a letter, a digit and a hexadecimal number.
        const FirstToken word = first_token("a"s + c);
        EXPECT_EQ(b == ':' ? TOKEN_LABEL : TOKEN_IDENTIFIER, word.type) << "byte " << b;
        EXPECT_EQ(is_letter_class(b) || is_digit_class(b) ? 2 : 1, word.length) << "byte " << b;
        const FirstToken number = first_token("1"s + c);
        EXPECT_EQ(is_digit_class(b) || b == '.' ? 2 : 1, number.length) << "byte " << b;
        const FirstToken hex = first_token("0x1"s + c);
        EXPECT_EQ(is_hex_class(b) || b == '.' ? 4 : 3, hex.length) << "byte " << b;
    }
}

TEST(Tokenizer, AcceptsOnlyLowerCaseHexadecimalEscapes) {
    for (int b = 0; b < 256; ++b) {
        const char c = static_cast<char>(b);
        const int digit = is_digit_class(b) ? b - '0' : (b >= 'a' && b <= 'f') ? b - 'a' + 10 : -1;
        const std::string sources[2] = {"\"\\"s + c + "0\"", "\"\\1"s + c + "\""};
        for (int second = 0; second < 2; ++second) {
            ParserRecorder parser(sources[second]);
            const char* text = parser.source();
            int length = 0;
            const TokenType type = parser.GetNextToken(&text, length, &parser.string_value());
            if (digit < 0) {
                EXPECT_EQ(TOKEN_ERROR, type) << "byte " << b;
                continue;
            }
            const int expected = second ? 16 + digit : digit * 16;
            ASSERT_EQ(TOKEN_QUOTED_STRING, type) << "byte " << b;
            ASSERT_EQ(1, parser.string_value().length());
            EXPECT_EQ(expected, static_cast<unsigned char>(parser.string_value()[0]));
        }
    }
}

TEST(Tokenizer, KeepsEveryOtherByteOfAStringAndCountsItsNewlines) {
    std::string contents;
    for (int b = 0; b < 256; ++b) {
        if (b != '"' && b != '\\') contents += static_cast<char>(b);
    }
    ParserRecorder parser("\"" + contents + "\"\n\"x\n\ny");
    const char* text = parser.source();
    int length = 7;
    ASSERT_EQ(TOKEN_QUOTED_STRING, parser.GetNextToken(&text, length, &parser.string_value()));
    EXPECT_EQ(contents, std::string(parser.string_value().c_str(), parser.string_value().length()));
    EXPECT_EQ(parser.source(), text);
    EXPECT_EQ(0, length);
    EXPECT_EQ(2, parser.line());

    // Other tokens leave the value alone; an unterminated string still counts its newlines.
    ASSERT_EQ(TOKEN_END_OF_LINE, parser.GetNextToken(&text, length, &parser.string_value()));
    EXPECT_EQ(contents, std::string(parser.string_value().c_str(), parser.string_value().length()));
    EXPECT_EQ(TOKEN_END_OF_INPUT, parser.GetNextToken(&text, length, &parser.string_value()));
    EXPECT_EQ(4, parser.line());
}

TEST(Tokenizer, ReadsAnUnmappableFileAsAnEmptySource) {
    ParserRecorder parser("pop", true);
    EXPECT_FALSE(parser.mapped());
    EXPECT_EQ(0, parser.Start());
    EXPECT_EQ("", parser.Calls());
    EXPECT_TRUE(ParserRecorder("").mapped());
}
