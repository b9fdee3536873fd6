// Source front end of the assembler: the tokenizer over the mapped source and the statement
// grammar that calls one Process operation per label, directive, mnemonic and operand.
#ifndef TARN_ASSEMBLER_PARSER_H
#define TARN_ASSEMBLER_PARSER_H

#include "assembler/OpcodeLookup.h"
#include "assembler/ReadAhead.h"
#include "compiled/Function.h"  // the function qualifier bits FUNCTION_EXTERNAL ... FUNCTION_PRIVATE
#include "driver/ErrorCode.h"
#include "foundation/String.h"
#include "platform/File.h"

class NameTable;

// The numbers are fixed: the grammar keeps a pending directive in a TokenType and takes
// TOKEN_ERROR to mean that none is pending.
enum TokenType {
    TOKEN_IDENTIFIER = 0,
    TOKEN_NUMBER = 1,
    // Never produced by the tokenizer (a lone ':' is an error token); the grammar answers it.
    TOKEN_COLON = 2,
    TOKEN_QUOTED_STRING = 3,
    // Never produced either; the grammar answers it by skipping to the end of the line.
    TOKEN_REST_OF_LINE = 4,
    TOKEN_END_OF_LINE = 5,
    TOKEN_LABEL = 6,
    TOKEN_GLOBAL = 7,
    TOKEN_SYSTEM = 8,
    TOKEN_STRING = 9,
    TOKEN_FUNCTION = 10,
    TOKEN_LOCALIZED = 11,
    TOKEN_ENDFUNCTION = 12,
    TOKEN_PARAMETER = 13,
    TOKEN_LOCAL = 14,
    TOKEN_VERSION = 15,
    TOKEN_ERROR = 16,
    TOKEN_COMMA = 17,
    TOKEN_END_OF_INPUT = 18,
    TOKEN_IDENT = 19,
    TOKEN_DISABLE_LOGGING = 20
};

// States of the statement grammar, numbered as the grammar's description numbers them.
enum GrammarStateKind {
    STATE_STATEMENT = 1,
    STATE_SKIP_LINE = 2,
    STATE_OPERAND = 3,
    STATE_DIRECTIVE_NAME = 4,
    STATE_DIRECTIVE_STRING = 5,
    STATE_PARAMETER_TYPE = 6,
    STATE_QUALIFIERS = 7,
    STATE_SECOND_LOCALIZED = 8,
    STATE_THIRD_LOCALIZED = 9,
    STATE_VERSION = 10,
    STATE_COMMA = 11
};

// Parameter passing, as the function table stores it.
constexpr int PARAMETER_VALUE = 0;
constexpr int PARAMETER_REFERENCE = 1;

class Parser {
  public:
    // Working state of Start from one token to the next; it lives for the whole run.
    struct GrammarState {
        explicit GrammarState(const char* source_start) : text(source_start) {}

        int state = STATE_STATEMENT;
        // TOKEN_ERROR: no directive pending.
        TokenType pending = TOKEN_ERROR;
        int result = 0;
        const OpcodeEntry* operand_entry = nullptr;
        int operands_left = 0;
        int parameter_flags = 0;
        int function_flags = 0;
        int localized_index = 0;
        // Kept from one .localized statement to the next on purpose: an empty second string
        // reuses the previous one.
        String second_localized;
        // The latest token's text and length. Tokens without text of their own leave them as
        // they were, and several messages quote what they still hold.
        const char* text;
        int length = 0;
        // Whether the tokenizing thread looked the latest token up as a mnemonic already, and
        // what it found (null: no mnemonic).
        bool looked_up = false;
        const OpcodeEntry* mnemonic = nullptr;
    };

    // Maps the whole of 'file' (not owned: the caller destroys it after the parser).
    explicit Parser(File* file);
    // Ends the mapped view; the file itself stays open.
    virtual ~Parser();

    // ---- operations of the assembler, in slot order ----
    // Reports an assembly error at the current line; returns 1.
    virtual int AssembleError(ErrorCode code, const String& message) = 0;
    virtual int ProcessGlobal(const char* name, int nameLength, const char* text,
                              int textLength) = 0;
    virtual int ProcessSystem(const char* name, int nameLength, const char* text,
                              int textLength) = 0;
    virtual int ProcessLocal(const char* name, int nameLength, const char* text,
                             int textLength) = 0;
    virtual int ProcessOpcode(int code, int operandCount) = 0;
    // 'operandKind' is the operand kind of the mnemonic's table entry for this operand.
    virtual int ProcessImmediate(const char* text, int length, int operandsLeft,
                                 int operandKind) = 0;
    virtual int ProcessFunction(const char* name, int nameLength, int flags) = 0;
    virtual int ProcessEndFunction() = 0;
    virtual int ProcessParameter(const char* name, int nameLength, const char* text, int textLength,
                                 int flags) = 0;
    virtual int ProcessString(const char* name, int nameLength, const char* text,
                              int textLength) = 0;
    virtual int ProcessLabel(const char* name, int length) = 0;
    virtual int ProcessLocalized(const char* text, int length, int* index) = 0;
    virtual int ProcessVersion(const char* text, int length) = 0;
    virtual int ProcessIdent(const char* text, int length) = 0;
    virtual int ProcessDisableLogging() = 0;
    // Sets '*flags' from a parameter type: "value" or nothing 0, "reference" 1; anything else
    // is reported (327) and leaves -1.
    virtual int ParameterFlags(int* flags, const char* text, int length);
    // Applies one function qualifier to '*flags'; an empty text changes nothing, an unknown
    // qualifier is reported (328).
    virtual int FunctionFlags(int* flags, const char* text, int length);
    // Returns -1 on failure, otherwise the entry's language position (any other value).
    virtual int ProcessLocLangEntry(const char* first, int firstLength, const char* second,
                                    int secondLength, int index) = 0;

    // ---- tokenizer and grammar ----
    // Reads the next token. 'text' and 'length' describe its characters in the source and
    // are left as they were by tokens without text of their own; 'value' receives the
    // contents of a quoted string. A 'length' of -1 means the text runs to the next zero byte.
    TokenType GetNextToken(const char** text, int& length, String* value);
    // Runs the grammar over the whole source: 0 at the end of input at a statement start,
    // otherwise the first non-zero result of an operation.
    int Start();

    // Sources of at least 'source_length' bytes are tokenized on a second thread from now on.
    void ReadAheadFrom(int source_length) { read_ahead_from_ = source_length; }
    // The current line, counted from 1, for error reports.
    int line() const { return line_; }
    // False when the source could not be measured or mapped; the parser then reads an empty
    // source, so the owner reports the failure.
    bool mapped() const;

  protected:
    // Takes one token into the grammar. Returns true when the run has ended, with its result
    // in 'grammar.result'.
    bool Step(GrammarState& grammar, TokenType type);

    // How many bytes of 'text' a message quotes or an operation receives: a 'length' of -1
    // is measured up to the first zero byte, and a token that kept an earlier token's length
    // is cut at the end of the source. Texts outside the source are taken as they are.
    int TokenLength(const char* text, int length) const;

    File* file_;
    int source_length_;
    const char* source_text_;
    int position_;
    int line_;
    String string_value_;
    String saved_string_;
    const char* saved_name_;
    int saved_name_length_;
    OpcodeLookup opcode_lookup_;
    // The table that a `.string` identifier goes into, when the operations keep one: the grammar
    // starts loading the identifier's place while it reads the string behind it.
    const NameTable* string_identifier_table_ = nullptr;

    // Sources of this many bytes or more are tokenized on a second thread, ahead of the
    // grammar (see ReadAhead). A smaller one is read in a few milliseconds, and would only
    // take the thread's ring of a megabyte more memory.
    int read_ahead_from_ = 4 << 20;

  private:
    friend class ReadAhead;

    // Where a quoted string's contents lie and what they decode to; the decoding itself is
    // left to TakeString, so that the tokenizing thread only finds the string's end.
    struct StringScan {
        bool found = false;
        int start = 0;  // the first byte behind the opening quote
        int decoded = 0;
        int newlines = 0;
        bool escaped = false;
    };

    // The tokenizer over an explicit source and position: everything GetNextToken does but for
    // counting a string's newlines into the line and decoding its contents, which go to
    // 'string'. It touches nothing of the parser's, which the grammar changes at every token
    // while the tokenizing thread runs this.
    static TokenType Scan(const char* source, int source_length, int& position_at,
                          const char** text, int& length, StringScan& string);
    static TokenType ScanInline(const char* source, int source_length, int& position_at,
                                const char** text, int& length, StringScan& string);
    // A token read by the helpers below: its kind and the position behind it.
    struct Scanned {
        int position;
        TokenType type;
    };
    static Scanned ScanNumber(const char* source, int source_length, int position, int& length);
    // Reads a quoted string from 'string.start', behind its opening quote.
    static Scanned ScanQuotedString(const char* source, int source_length, StringScan& string);
    // Takes a quoted string's contents into 'value' and its newlines into the line.
    void TakeString(const StringScan& string, String* value);
    // Takes one token of the tokenizing thread as GetNextToken would have read it.
    TokenType Take(const ReadAhead::Token& token, GrammarState& grammar);
    // Hands one token to the grammar, and the source read behind it back to the system; true
    // when the run has ended.
    bool Advance(GrammarState& grammar, TokenType type, int& discarded);
    // Reports 'message' followed by the quoted token text; returns the report's result.
    int Report(ErrorCode code, const char* message, const char* text = nullptr, int length = 0);
    int ReportExpectedString();
};

#endif
