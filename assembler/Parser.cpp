// Tokenizer and statement grammar of the assembly source. Tokens point into the mapped view;
// only quoted strings are copied, decoded, into the parser's string value.
#include "assembler/Parser.h"

#include <climits>
#include <cstdint>
#include <cstring>

#include "assembler/NameTable.h"
#include "assembler/ReadAhead.h"

namespace {

// What the parser reads when the file could not be mapped: an empty source with the zero
// byte behind it that every view has.
const char EMPTY_SOURCE[1] = {0};

// ---- character classes ----
// Fixed to the C locale's classes, so no locale setting can change how a source reads.

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r';
}

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_hex_digit(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool is_word(char c) {
    return is_letter(c) || is_digit(c) || c == '_';
}

// Value of a digit of a '\hh' escape, or -1. Upper-case digits are refused deliberately:
// "\4A" is a bad escape, not the byte 0x4a.
int escape_digit(char c) {
    if (is_digit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

struct Directive {
    const char* name;
    int length;
    TokenType kind;
};

// Directive names after the dot, compared by exact length and case.
const Directive DIRECTIVES[] = {
    {"local", 5, TOKEN_LOCAL},
    {"ident", 5, TOKEN_IDENT},
    {"global", 6, TOKEN_GLOBAL},
    {"string", 6, TOKEN_STRING},
    {"system", 6, TOKEN_SYSTEM},
    {"version", 7, TOKEN_VERSION},
    {"function", 8, TOKEN_FUNCTION},
    {"parameter", 9, TOKEN_PARAMETER},
    {"localized", 9, TOKEN_LOCALIZED},
    {"endfunction", 11, TOKEN_ENDFUNCTION},
    {"disable_logging", 15, TOKEN_DISABLE_LOGGING},
};

TokenType directive_kind(const char* text, int length) {
    for (const Directive& directive : DIRECTIVES) {
        if (directive.length == length && std::memcmp(directive.name, text, length) == 0) {
            return directive.kind;
        }
    }
    return TOKEN_ERROR;
}

bool is_word(const char* text, int length, const char* word) {
    return static_cast<size_t>(length) == std::strlen(word) && std::memcmp(text, word, length) == 0;
}

}  // namespace

Parser::Parser(File* file)
    : file_(file),
      source_length_(0),
      source_text_(EMPTY_SOURCE),
      position_(0),
      line_(1),
      saved_name_(nullptr),
      saved_name_length_(0) {
    if (file_ == nullptr) return;
    // Positions and lengths are 32-bit counts, so a larger file cannot be read.
    const int64_t length = file_->Length();
    if (length < 0 || length > INT_MAX) return;
    const char* view = file_->Map(0, length);
    if (view == nullptr) return;
    source_text_ = view;
    source_length_ = static_cast<int>(length);
}

Parser::~Parser() {
    if (file_ != nullptr) file_->Release();
}

bool Parser::mapped() const {
    return source_text_ != EMPTY_SOURCE;
}

// ---- flag parsers ----

// parameter-type := "value" | "reference" | <nothing>
int Parser::ParameterFlags(int* flags, const char* text, int length) {
    *flags = -1;
    if (length == 5 && std::memcmp(text, "value", 5) == 0) {
        *flags = PARAMETER_VALUE;
        return 0;
    }
    if (length == 9 && std::memcmp(text, "reference", 9) == 0) {
        *flags = PARAMETER_REFERENCE;
        return 0;
    }
    if (length == 0) {
        *flags = PARAMETER_VALUE;
        return 0;
    }
    return Report(AE_UNKNOWN_PARAMETER_TYPE, "Unknown parameter call type: ", text, length);
}

// qualifier := "external" | "internal" | "compresswhitespace" | "erroroutputlevelon"
//            | "erroroutputleveloff" | "stdoutinherit" | "private" | <nothing>
int Parser::FunctionFlags(int* flags, const char* text, int length) {
    if (length == 0) return 0;
    if (is_word(text, length, "external")) {
        *flags |= FUNCTION_EXTERNAL;
        return 0;
    }
    if (is_word(text, length, "internal")) {
        *flags &= ~FUNCTION_EXTERNAL;
        return 0;
    }
    for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS) {
        if (is_word(text, length, qualifier.name)) {
            *flags |= qualifier.bit;
            return 0;
        }
    }
    String message("Unrecognized function qualifier \"");
    message.cat(text, TokenLength(text, length));
    message.cat('"');
    return AssembleError(AE_UNKNOWN_FUNCTION_QUALIFIER, message);
}

// ---- tokenizer ----

TokenType Parser::GetNextToken(const char** text, int& length, String* value) {
    StringScan string;
    const TokenType type =
        ScanInline(source_text_, source_length_, position_, text, length, string);
    if (string.found) TakeString(string, value);
    return type;
}

TokenType Parser::Scan(const char* source, int source_length, int& position_at, const char** text,
                       int& length, StringScan& string) {
    return ScanInline(source, source_length, position_at, text, length, string);
}

// Both tokenizers, the grammar's own and the one ahead of it, get the whole loop in place: a call
// per token costs the bare tokenizing pass a sixth of its time.
__attribute__((always_inline)) inline TokenType Parser::ScanInline(const char* source,
                                                                   int source_length,
                                                                   int& position_at,
                                                                   const char** text, int& length,
                                                                   StringScan& string) {
    // A '-' or '.' applies to the token behind it, which is read as if by a nested call. The
    // prefixes are counted instead of nested, so that no run of them can exhaust the stack.
    // Only the innermost ones can succeed: dashes directly in front of a number, or one dot
    // directly in front of an identifier; whatever stands outside them turns the token into
    // an error.
    // Worked on in a local, which no store through 'text' or 'length' can be taken to change.
    int position = position_at;
    int prefix_count = 0;
    int dash_count = 0;
    TokenType type;
    for (;;) {
        while (position < source_length && is_blank(source[position])) ++position;
        if (position >= source_length) {
            type = TOKEN_END_OF_INPUT;
            break;
        }
        const char c = source[position];
        if (c == '\n') {
            ++position;
            type = TOKEN_END_OF_LINE;
            break;
        }
        *text = source + position;
        if (is_letter(c) || c == '_') {
            const int start = position++;
            while (position < source_length && is_word(source[position])) ++position;
            length = position - start;
            if (position < source_length && source[position] == ':') {
                ++position;
                type = TOKEN_LABEL;
            } else {
                type = TOKEN_IDENTIFIER;
            }
            break;
        }
        if (is_digit(c)) {
            const Scanned number = ScanNumber(source, source_length, position, length);
            position = number.position;
            type = number.type;
            break;
        }
        ++position;
        if (c == 0) {
            // A zero byte reads as the end of input, but only the byte itself is consumed:
            // a grammar state that goes on after the end of input reads on behind it.
            type = TOKEN_END_OF_INPUT;
            break;
        }
        if (c == '"') {
            // The token's text stays on the opening quote with length 0.
            length = 0;
            string.start = position;
            const Scanned quoted = ScanQuotedString(source, source_length, string);
            position = quoted.position;
            type = quoted.type;
            break;
        }
        if (c == ',') {
            type = TOKEN_COMMA;
            break;
        }
        if (c == '-') {
            ++prefix_count;
            ++dash_count;
            continue;
        }
        if (c == '.') {
            ++prefix_count;
            dash_count = 0;
            continue;
        }
        if (c == ';') {
            // The comment's token is the end of line or of input that ends it.
            while (position < source_length && source[position] != '\n' && source[position] != 0) {
                ++position;
            }
            continue;
        }
        // Any other character, ':' and bytes above 127 included. The length of -1 makes the
        // message quote the source from here to its end (or to a zero byte), on purpose.
        length = -1;
        type = TOKEN_ERROR;
        break;
    }

    if (dash_count > 0) {
        if (type == TOKEN_NUMBER) {
            // The text takes in one character per dash, whether or not blanks stood between.
            *text -= dash_count;
            length += dash_count;
        } else {
            type = TOKEN_ERROR;
        }
    }
    const int outer_count = prefix_count - dash_count;
    if (outer_count > 0) {
        // The prefix just outside the dashes is a dot.
        type = (dash_count == 0 && type == TOKEN_IDENTIFIER) ? directive_kind(*text, length)
                                                             : TOKEN_ERROR;
        if (outer_count > 1) type = TOKEN_ERROR;
    }
    position_at = position;
    return type;
}

// number := digit { digit | "." } | "0" ("x" | "X") hexdigit { hexdigit | "." }
Parser::Scanned Parser::ScanNumber(const char* source, int source_length, int position,
                                   int& length) {
    const int start = position;
    const bool zero = source[position] == '0';
    ++position;
    bool hexadecimal = false;
    if (zero && source_length - position >= 2 &&
        (source[position] == 'x' || source[position] == 'X') &&
        is_hex_digit(source[position + 1])) {
        hexadecimal = true;
        ++position;
    }
    int dots = 0;
    while (position < source_length) {
        const char c = source[position];
        if (c == '.') {
            ++dots;
        } else if (!(hexadecimal ? is_hex_digit(c) : is_digit(c))) {
            break;
        }
        ++position;
    }
    length = position - start;
    return {position, dots >= 2 ? TOKEN_ERROR : TOKEN_NUMBER};
}

// quoted-string := '"' { character | "\" hexdigit hexdigit } '"'
// Only finds where the string stops and how many bytes it decodes to: TakeString then copies
// them once, as appending byte by byte would regrow the value at every step of its capacity.
Parser::Scanned Parser::ScanQuotedString(const char* source, int source_length,
                                         StringScan& string) {
    int p = string.start;
    int decoded = 0;
    int newlines = 0;
    bool escaped = false;
    TokenType type;
    for (;;) {
        if (p >= source_length) {
            // An unterminated string is dropped; what was read of it stays in the value.
            type = TOKEN_END_OF_INPUT;
            break;
        }
        const char c = source[p];
        if (c == '"') {
            ++p;
            type = TOKEN_QUOTED_STRING;
            break;
        }
        if (c == '\\') {
            if (source_length - p <= 2) {
                p = source_length;
                type = TOKEN_END_OF_INPUT;
                break;
            }
            if (escape_digit(source[p + 1]) < 0 || escape_digit(source[p + 2]) < 0) {
                // The reading goes on past the bad escape as past a good one.
                p += 3;
                type = TOKEN_ERROR;
                break;
            }
            p += 3;
            escaped = true;
        } else {
            if (c == '\n') ++newlines;
            ++p;
        }
        ++decoded;
    }
    string.found = true;
    string.decoded = decoded;
    string.newlines = newlines;
    string.escaped = escaped;
    return {p, type};
}

void Parser::TakeString(const StringScan& string, String* value) {
    line_ += string.newlines;
    if (value == nullptr) return;
    // Every decoded byte came from at least one source byte, so the copy stays in the string.
    value->assign(source_text_ + string.start, string.decoded);
    if (string.escaped) {
        char* out = value->buffer();
        int q = string.start;
        for (int k = 0; k < string.decoded; ++k) {
            if (source_text_[q] == '\\') {
                out[k] = static_cast<char>(escape_digit(source_text_[q + 1]) * 16 +
                                           escape_digit(source_text_[q + 2]));
                q += 3;
            } else {
                out[k] = source_text_[q++];
            }
        }
    }
}

// ---- statement grammar ----

int Parser::Start() {
    GrammarState grammar(source_text_);
    int discarded = 0;
    if (mapped() && source_length_ >= read_ahead_from_) {
        ReadAhead ahead(*this);
        if (ahead.Start()) {
            for (;;) {
                const ReadAhead::Token* token = ahead.Next();
                // Behind the source's last token the tokenizer only repeats the end of input,
                // which the loop below reads on its own.
                if (token == nullptr) break;
                if (Advance(grammar, Take(*token, grammar), discarded)) return grammar.result;
            }
        }
    }
    for (;;) {
        const TokenType type = GetNextToken(&grammar.text, grammar.length, &string_value_);
        if (Advance(grammar, type, discarded)) return grammar.result;
    }
}

// Leaves the tokenizer's state as GetNextToken would have left it for this token.
TokenType Parser::Take(const ReadAhead::Token& token, GrammarState& grammar) {
    grammar.text = source_text_ + token.text;
    position_ = token.position;
    if (token.string == ReadAhead::STRING_NONE) {
        grammar.length = token.length;
        grammar.looked_up = token.mnemonic != ReadAhead::NOT_LOOKED_UP;
        grammar.mnemonic = token.mnemonic > ReadAhead::NO_MNEMONIC
                               ? &OpcodeLookup::opcodes[token.mnemonic - ReadAhead::FIRST_MNEMONIC]
                               : nullptr;
        return static_cast<TokenType>(token.type);
    }
    grammar.length = 0;
    grammar.looked_up = false;
    StringScan string;
    string.found = true;
    string.start = token.text + 1;
    if (token.string == ReadAhead::STRING_OTHER) {
        (void)ScanQuotedString(source_text_, source_length_, string);
    } else {
        string.decoded = token.length;
        string.newlines = token.mnemonic;
        string.escaped = token.string == ReadAhead::STRING_ESCAPED;
    }
    TakeString(string, &string_value_);
    return static_cast<TokenType>(token.type);
}

inline bool Parser::Advance(GrammarState& grammar, TokenType type, int& discarded) {
    // Every megabyte the source behind the tokenizer is handed back, but for a margin: names
    // and texts are copied out as their statement is carried out, so a large source needs only
    // its current stretch in memory, and none of it once read. (A page handed back too early
    // is only read again.)
    constexpr int DISCARD_STEP = 1 << 20;
    constexpr int DISCARD_MARGIN = 1 << 19;
    if (position_ - discarded >= DISCARD_STEP + DISCARD_MARGIN && mapped()) {
        const int until = position_ - DISCARD_MARGIN;
        file_->Discard(discarded, until - discarded);
        discarded = until;
    }
    // The commonest token, the newline that ends a statement, needs no trip through Step.
    if (type == TOKEN_END_OF_LINE && grammar.state == STATE_STATEMENT) {
        ++line_;
        return false;
    }
    if (!Step(grammar, type)) return false;
    if (mapped() && source_length_ > discarded) {
        file_->Discard(discarded, source_length_ - discarded);
    }
    return true;
}

// statement := label | mnemonic [operand { "," operand }] | directive
// directive := ".global" name string | ".system" name string | ".local" name string
//            | ".string" name string | ".parameter" name string [parameter-type]
//            | ".function" name { qualifier } newline | ".endfunction" | ".ident" string
//            | ".version" token | ".localized" string string string | ".disable_logging"
bool Parser::Step(GrammarState& grammar, TokenType type) {
    const char* text = grammar.text;
    // Operations never see -1 nor a length that reaches past the source. Measured only where
    // used: a kept length of -1 would otherwise be measured again at every token.
    auto length = [this, &grammar] { return TokenLength(grammar.text, grammar.length); };
    int& result = grammar.result;

    switch (grammar.state) {
        case STATE_STATEMENT:
            switch (type) {
                case TOKEN_IDENTIFIER: {
                    const OpcodeEntry* entry = grammar.looked_up
                                                   ? grammar.mnemonic
                                                   : opcode_lookup_.Lookup(text, length());
                    if (entry == nullptr) {
                        result = Report(AE_UNRECOGNIZED_OPCODE,
                                        "unrecognized operation code: ", text, length());
                        return true;
                    }
                    result = ProcessOpcode(static_cast<int>(entry->code),
                                           static_cast<int>(entry->operand_count));
                    if (result != 0) return true;
                    if (entry->operand_count > 0) {
                        grammar.operand_entry = entry;
                        grammar.operands_left = static_cast<int>(entry->operand_count);
                        grammar.state = STATE_OPERAND;
                    }
                    return false;
                }
                case TOKEN_NUMBER:
                    result = Report(
                        AE_UNEXPECTED_NUMBER,
                        "Expected label, directive, or operator, found a number: ", text, length());
                    return true;
                case TOKEN_COLON:
                    result = Report(AE_UNEXPECTED_COLON, "Unexpected colon");
                    return true;
                case TOKEN_QUOTED_STRING:
                    result =
                        Report(AE_UNEXPECTED_STRING,
                               "Expected label, directive, or operator, found a quoted string");
                    return true;
                case TOKEN_REST_OF_LINE:
                    grammar.state = STATE_SKIP_LINE;
                    return false;
                case TOKEN_END_OF_LINE:
                    ++line_;
                    return false;
                case TOKEN_LABEL:
                    result = ProcessLabel(text, length());
                    return result != 0;
                case TOKEN_GLOBAL:
                case TOKEN_SYSTEM:
                case TOKEN_STRING:
                case TOKEN_FUNCTION:
                case TOKEN_PARAMETER:
                case TOKEN_LOCAL:
                    grammar.pending = type;
                    grammar.state = STATE_DIRECTIVE_NAME;
                    return false;
                case TOKEN_LOCALIZED:
                case TOKEN_IDENT:
                    grammar.pending = type;
                    grammar.state = STATE_DIRECTIVE_STRING;
                    return false;
                case TOKEN_ENDFUNCTION:
                    result = ProcessEndFunction();
                    return result != 0;
                case TOKEN_VERSION:
                    grammar.state = STATE_VERSION;
                    return false;
                case TOKEN_DISABLE_LOGGING:
                    result = ProcessDisableLogging();
                    return result != 0;
                case TOKEN_ERROR:
                    result = Report(AE_UNRECOGNIZED_DIRECTIVE,
                                    "Unrecognized directive or punctuation mark: ", text, length());
                    return true;
                case TOKEN_COMMA:
                    result = Report(AE_UNEXPECTED_COMMA, "Unexpected comma");
                    return true;
                case TOKEN_END_OF_INPUT:
                    result = 0;
                    return true;
            }
            break;

        // skip-line := { token } (newline | end)
        case STATE_SKIP_LINE:
            if (type == TOKEN_END_OF_LINE || type == TOKEN_END_OF_INPUT) {
                ++line_;
                grammar.state = STATE_STATEMENT;
            }
            return false;

        // operand := identifier | number
        case STATE_OPERAND: {
            if (type != TOKEN_IDENTIFIER && type != TOKEN_NUMBER) {
                result = Report(AE_EXPECTED_IDENTIFIER,
                                "Expected an immediate value (symbol or number)");
                return true;
            }
            const OpcodeEntry* entry = grammar.operand_entry;
            const int index = static_cast<int>(entry->operand_count) - grammar.operands_left;
            const int kind = index == 0 ? entry->operand_kind1 : entry->operand_kind2;
            result = ProcessImmediate(text, length(), grammar.operands_left - 1, kind);
            if (result != 0) return true;
            --grammar.operands_left;
            grammar.state = grammar.operands_left == 0 ? STATE_STATEMENT : STATE_COMMA;
            return false;
        }

        case STATE_COMMA:
            if (type != TOKEN_COMMA) {
                // A newline or the end has no text of its own: the last operand is quoted.
                result = Report(AE_EXPECTED_COMMA, "Expected comma, found ", text, length());
                return true;
            }
            grammar.state = STATE_OPERAND;
            return false;

        // directive-name := identifier
        case STATE_DIRECTIVE_NAME:
            if (type != TOKEN_IDENTIFIER) {
                result = Report(AE_EXPECTED_IDENTIFIER, grammar.pending == TOKEN_FUNCTION
                                                            ? "Expected underscore or letter"
                                                            : "Expected directive identifier");
                return true;
            }
            saved_name_ = text;
            saved_name_length_ = length();
            if (grammar.pending == TOKEN_STRING && string_identifier_table_ != nullptr) {
                string_identifier_table_->Prefetch(saved_name_, saved_name_length_);
            }
            if (grammar.pending == TOKEN_FUNCTION) {
                grammar.function_flags = 0;
                grammar.state = STATE_QUALIFIERS;
            } else {
                grammar.state = STATE_DIRECTIVE_STRING;
            }
            return false;

        // directive-string := string
        case STATE_DIRECTIVE_STRING: {
            if (type != TOKEN_QUOTED_STRING) {
                result = ReportExpectedString();
                return true;
            }
            const char* contents = string_value_.c_str();
            const int contents_length = string_value_.length();
            switch (grammar.pending) {
                case TOKEN_GLOBAL:
                    result =
                        ProcessGlobal(saved_name_, saved_name_length_, contents, contents_length);
                    break;
                case TOKEN_SYSTEM:
                    result =
                        ProcessSystem(saved_name_, saved_name_length_, contents, contents_length);
                    break;
                case TOKEN_STRING:
                    result =
                        ProcessString(saved_name_, saved_name_length_, contents, contents_length);
                    break;
                case TOKEN_LOCAL:
                    result =
                        ProcessLocal(saved_name_, saved_name_length_, contents, contents_length);
                    break;
                case TOKEN_IDENT:
                    result = ProcessIdent(contents, contents_length);
                    break;
                case TOKEN_PARAMETER:
                    saved_string_ = string_value_;
                    grammar.state = STATE_PARAMETER_TYPE;
                    return false;
                case TOKEN_LOCALIZED:
                    saved_string_ = string_value_;
                    grammar.state = STATE_SECOND_LOCALIZED;
                    return false;
                default:
                    result = Report(AE_INTERNAL_ERROR,
                                    "Internal error:  Illogical state for DIRECTIVE string");
                    return true;
            }
            grammar.state = STATE_STATEMENT;
            return result != 0;
        }

        // parameter-type := identifier | newline
        case STATE_PARAMETER_TYPE: {
            int type_length = 0;
            if (type == TOKEN_IDENTIFIER) {
                type_length = length();
            } else if (type == TOKEN_END_OF_LINE) {
                ++line_;
            } else {
                result = Report(
                    AE_EXPECTED_PARAMETER_TYPE,
                    "Expected symbol 'value' or 'reference' (without quotes) for parameter type");
                return true;
            }
            result = ParameterFlags(&grammar.parameter_flags, text, type_length);
            if (result != 0) return true;
            result = ProcessParameter(saved_name_, saved_name_length_, saved_string_.c_str(),
                                      saved_string_.length(), grammar.parameter_flags);
            grammar.state = STATE_STATEMENT;
            return result != 0;
        }

        // qualifiers := { qualifier } newline
        case STATE_QUALIFIERS:
            if (type == TOKEN_END_OF_LINE) {
                result = ProcessFunction(saved_name_, saved_name_length_, grammar.function_flags);
                ++line_;
                grammar.state = STATE_STATEMENT;
                return result != 0;
            }
            // The end of input keeps the previous token's text, which is checked once more as
            // a qualifier; if that passes at the end of the source, the end closes the line as
            // a newline would. After a zero byte inside the source the qualifiers go on.
            result = FunctionFlags(&grammar.function_flags, text, length());
            if (result != 0) return true;
            if (type == TOKEN_END_OF_INPUT && position_ >= source_length_) {
                result = ProcessFunction(saved_name_, saved_name_length_, grammar.function_flags);
                return true;
            }
            return false;

        // second-localized := string; an empty one keeps the previous statement's
        case STATE_SECOND_LOCALIZED:
            if (type != TOKEN_QUOTED_STRING) {
                result = ReportExpectedString();
                return true;
            }
            if (string_value_.length() > 0) grammar.second_localized = string_value_;
            grammar.state = STATE_THIRD_LOCALIZED;
            return false;

        // third-localized := string
        case STATE_THIRD_LOCALIZED: {
            if (type != TOKEN_QUOTED_STRING) {
                result = ReportExpectedString();
                return true;
            }
            const int localized_result = ProcessLocalized(
                string_value_.c_str(), string_value_.length(), &grammar.localized_index);
            if (localized_result != 0) {
                // The language entry is still made; the run ends after it.
                (void)Report(AE_LOCALIZATION_STRING, "Error in localization string");
            }
            const int entry = ProcessLocLangEntry(
                saved_string_.c_str(), saved_string_.length(), grammar.second_localized.c_str(),
                grammar.second_localized.length(), grammar.localized_index);
            if (entry == -1) {
                result = Report(AE_LOCALIZED_LANGUAGES, "Error in Localized Languages");
                return true;
            }
            grammar.state = STATE_STATEMENT;
            result = localized_result;
            return result != 0;
        }

        // version := token; a newline right behind .version is taken as its token
        case STATE_VERSION:
            result = ProcessVersion(text, length());
            grammar.state = STATE_STATEMENT;
            return result != 0;
    }
    result = Report(AE_INTERNAL_ERROR, "Internal error:  Illogical state for DIRECTIVE string");
    return true;
}

// ---- reports ----

int Parser::TokenLength(const char* text, int length) const {
    if (text == nullptr) return 0;
    const uintptr_t at = reinterpret_cast<uintptr_t>(text);
    const uintptr_t begin = reinterpret_cast<uintptr_t>(source_text_);
    const uintptr_t end = begin + static_cast<uintptr_t>(source_length_);
    if (at < begin || at > end) {
        return length < 0 ? static_cast<int>(std::strlen(text)) : length;
    }
    const int room = static_cast<int>(end - at);
    if (length < 0) {
        const void* zero = std::memchr(text, 0, static_cast<size_t>(room));
        return zero == nullptr ? room : static_cast<int>(static_cast<const char*>(zero) - text);
    }
    return length < room ? length : room;
}

int Parser::Report(ErrorCode code, const char* message, const char* text, int length) {
    String full(message);
    if (text != nullptr) full.cat(text, TokenLength(text, length));
    return AssembleError(code, full);
}

// Quotes the contents of the last string read anywhere before, not the offending token: the
// wording users know.
int Parser::ReportExpectedString() {
    String message("Expected quoted string, got ");
    message.cat(string_value_.c_str(), string_value_.length());
    return AssembleError(AE_EXPECTED_QUOTED_STRING, message);
}
