// The analysis behind the language server: the assembler's own parser, run over the text in
// memory, with every Process operation watched for the symbols it declares and the names it
// resolves, and every report kept instead of printed.
#include "driver/lsp/SourceAnalysis.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "assembler/AssemblerParser.h"
#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/LocalizedDictionary.h"
#include "driver/AssemblerApplication.h"
#include "platform/Output.h"
#include "platform/TextFile.h"

namespace tarn_lsp {

namespace {

// Passes over one text at most, and bytes read by all passes together at most: a source
// full of errors is diagnosed from its start as far as these allow, so that each change
// stays quick however large the source.
constexpr int MOST_PASSES = 256;
constexpr long long MOST_BYTES_READ = 16LL << 20;

constexpr int OPCODE_BYTES = 2;
constexpr int OPERAND_BYTES = 4;
constexpr int DOUBLE_OPERAND_BYTES = 8;
constexpr int KIND_DOUBLE = 1;
constexpr int KIND_STRING_CONSTANT = 2;
constexpr int KIND_SYSTEM = 3;
constexpr int KIND_GLOBAL = 4;
constexpr int KIND_LOCAL = 5;
constexpr int KIND_LABEL = 7;
constexpr int KIND_FUNCTION = 8;

class SilentOutput : public Output {
  public:
    int Write(const char*, int count) override { return count; }
    int WriteError(const char*, int count) override { return count; }
    int Flush() override { return 0; }
};

// The command line must outlive the application, which keeps pointers into it.
struct ProgramName {
    char name[10] = "tnasm-lsp";
    char* argv[2] = {name, nullptr};
};

// The application the parser reports through; its reports are never printed, because the
// parser below keeps them itself, and it never opens a file.
class QuietApplication : private ProgramName, public AssemblerApplication {
  public:
    QuietApplication() : AssemblerApplication(1, ProgramName::argv) {
        delete SetOutput(new SilentOutput);
    }
    FileManager* filemanager() override { return nullptr; }
    const char* lasterror() override { return ""; }
};

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r';
}

bool has_text(TokenType type) {
    return type != TOKEN_END_OF_LINE && type != TOKEN_END_OF_INPUT && type != TOKEN_COMMA;
}

// What one pass found, and where the next pass must blank the source to go on.
struct PassResult {
    SourceAnalysis analysis;
    bool failed = false;
    bool can_go_on = false;
    int error_offset = 0;
    Span blank;
};

// One code segment as the assembler keeps it: the top-level code or one internal function.
struct Context {
    int function = -1;
    std::unordered_map<std::string, int> identifiers;
    std::unordered_map<std::string, int> labels;
    // Label operands in their order, each with its occurrence.
    std::vector<std::pair<std::string, int>> label_uses;
    int position = 0;
};

class WatchingParser : public AssemblerParser {
  public:
    WatchingParser(AssemblerApplication* application, File* file, PassResult* result)
        : AssemblerParser(application, file, ""), result_(result), out_(result->analysis) {
        contexts_.emplace_back();
    }

    void Run();

    int AssembleError(ErrorCode code, const String& message) override;
    int ProcessGlobal(const char* identifier, int identifier_length, const char* name,
                      int name_length) override {
        const int status =
            AssemblerParser::ProcessGlobal(identifier, identifier_length, name, name_length);
        if (status == 0) DeclareFileVariable(SymbolKind::GLOBAL, name, name_length);
        return status;
    }
    int ProcessSystem(const char* identifier, int identifier_length, const char* name,
                      int name_length) override {
        const int status =
            AssemblerParser::ProcessSystem(identifier, identifier_length, name, name_length);
        if (status == 0) DeclareFileVariable(SymbolKind::SYSTEM, name, name_length);
        return status;
    }
    int ProcessLocal(const char* identifier, int identifier_length, const char* name,
                     int name_length) override;
    int ProcessOpcode(int opcode, int operand_count) override {
        const int status = AssemblerParser::ProcessOpcode(opcode, operand_count);
        if (status == 0) contexts_[current_].position += OPCODE_BYTES;
        return status;
    }
    int ProcessImmediate(const char* text, int length, int operands_left, int kind) override;
    int ProcessFunction(const char* name, int length, int flags) override;
    int ProcessEndFunction() override;
    int ProcessParameter(const char* identifier, int identifier_length, const char* name,
                         int name_length, int flags) override;
    int ProcessString(const char* identifier, int identifier_length, const char* text,
                      int text_length) override;
    int ProcessLabel(const char* name, int length) override;
    int ProcessLocalized(const char* text, int length, int* head) override;
    int Resolve() override;

  private:
    Span SpanOf(const char* text, int length) const {
        int offset = static_cast<int>(text - source_text_);
        offset = std::max(0, std::min(offset, source_length_));
        return Span{offset, std::max(0, std::min(length, source_length_ - offset))};
    }
    Span SavedName() const {
        return saved_name_ != nullptr ? SpanOf(saved_name_, saved_name_length_) : token_;
    }
    Span Statement() const { return Span{statement_start_, token_.end() - statement_start_}; }
    std::unordered_map<std::string, int>& Identifiers() {
        return current_ == 0 ? globals_ : contexts_[current_].identifiers;
    }
    int AddSymbol(Symbol symbol);
    int AddOccurrence(Span span, int symbol, bool declaration);
    void DeclareFileVariable(SymbolKind kind, const char* name, int name_length);
    // Points each label operand of the current context at its label; the first that names no
    // label is kept for the report that follows.
    void BindLabels();
    // Reads on to the 'count'-th `.endfunction` from the token under way; its offset, or the
    // end of the source. With 'stop_at_function', a `.function` met first gives -1.
    int FindEndFunction(int count, bool include_current, bool stop_at_function = false);
    void PlanNextPass(int state, TokenType pending_type);

    PassResult* result_;
    SourceAnalysis& out_;
    std::vector<Context> contexts_;
    int current_ = 0;
    int saved_ = -1;
    std::vector<int> open_functions_;
    std::unordered_map<std::string, int> globals_;
    std::unordered_map<std::string, int> systems_;
    std::unordered_map<std::string, int> strings_;
    std::unordered_map<std::string, int> functions_;
    std::unordered_map<int, int> variable_counts_;
    int global_count_ = 0;
    int system_count_ = 0;
    std::vector<std::pair<std::string, int>> function_uses_;

    Span token_;
    Span previous_;
    TokenType token_type_ = TOKEN_END_OF_INPUT;
    int statement_start_ = 0;
    Span function_keyword_;
    bool at_end_ = false;
    Span undefined_label_;
    Span unresolved_call_;
    Span open_function_;
};

void WatchingParser::Run() {
    GrammarState grammar(source_text_);
    TokenType pending = TOKEN_ERROR;
    int state = STATE_STATEMENT;
    for (;;) {
        int start = position_;
        const TokenType type = GetNextToken(&grammar.text, grammar.length, &string_value_);
        while (start < position_ && is_blank(source_text_[start])) ++start;
        if (start < position_ && source_text_[start] == ';') {
            while (start < position_ && source_text_[start] != '\n') ++start;
        }
        const bool texted = has_text(type);
        token_ = Span{start, texted ? position_ - start : 0};
        token_type_ = type;
        state = grammar.state;
        if (state == STATE_STATEMENT && texted) {
            statement_start_ = start;
            pending = type;
            if (type == TOKEN_FUNCTION) function_keyword_ = token_;
        }
        if (Step(grammar, type)) break;
        if (texted) previous_ = token_;
    }
    if (grammar.result == 0) {
        at_end_ = true;
        token_ = Span{source_length_, 0};
        grammar.result = Resolve();
    }
    if (grammar.result != 0) {
        result_->failed = true;
        result_->error_offset = token_.offset;
        if (!at_end_) PlanNextPass(state, pending);
    }
}

// ---- reports ----

int WatchingParser::AssembleError(ErrorCode code, const String& message) {
    Diagnostic diagnostic;
    diagnostic.code = code;
    diagnostic.message.assign(message.c_str(), static_cast<size_t>(message.length()));
    diagnostic.span = token_;
    switch (code) {
        case AE_NESTED_FUNCTION:
        case AE_DUPLICATE_FUNCTION:
        case AE_FUNCTION_IN_EXTERNAL_DECLARATION:
        case AE_PARAMETER_OUTSIDE_FUNCTION:
        case AE_DUPLICATE_PARAMETER_IDENTIFIER:
        case AE_DUPLICATE_STRING_IDENTIFIER:
        case AE_DUPLICATE_VARIABLE_IDENTIFIER:
            diagnostic.span = SavedName();
            break;
        case AE_EXPECTED_COMMA:
        case AE_UNKNOWN_FUNCTION_QUALIFIER:
            // Said of the token before when the one under way has no text of its own.
            if (!has_text(token_type_) && !at_end_) diagnostic.span = previous_;
            break;
        case AE_UNDEFINED_LABEL:
            diagnostic.related.push_back({undefined_label_, "the label is used here"});
            break;
        case AE_UNRESOLVED_AT_END:
            if (message.length() > 0 && message.c_str()[0] == 'F') {
                diagnostic.related.push_back({open_function_, "the function opened here"});
            } else {
                diagnostic.related.push_back({unresolved_call_, "the function is called here"});
            }
            break;
        default:
            break;
    }
    out_.diagnostics.push_back(std::move(diagnostic));
    return 1;
}

// ---- declarations ----

int WatchingParser::AddSymbol(Symbol symbol) {
    out_.symbols.push_back(std::move(symbol));
    return static_cast<int>(out_.symbols.size()) - 1;
}

int WatchingParser::AddOccurrence(Span span, int symbol, bool declaration) {
    out_.occurrences.push_back(Occurrence{span, symbol, declaration});
    return static_cast<int>(out_.occurrences.size()) - 1;
}

void WatchingParser::DeclareFileVariable(SymbolKind kind, const char* name, int name_length) {
    Symbol symbol;
    symbol.kind = kind;
    symbol.name_span = SavedName();
    symbol.name.assign(source_text_ + symbol.name_span.offset, symbol.name_span.length);
    symbol.statement = Statement();
    symbol.runtime_name.assign(name != nullptr ? name : "", static_cast<size_t>(name_length));
    symbol.number = kind == SymbolKind::SYSTEM ? system_count_++ : global_count_++;
    const Span span = symbol.name_span;
    const std::string key = symbol.name;
    const int index = AddSymbol(std::move(symbol));
    (kind == SymbolKind::SYSTEM ? systems_ : globals_)[key] = index;
    AddOccurrence(span, index, true);
}

int WatchingParser::ProcessLocal(const char* identifier, int identifier_length, const char* name,
                                 int name_length) {
    const int status =
        AssemblerParser::ProcessLocal(identifier, identifier_length, name, name_length);
    if (status != 0) return status;
    // Outside every function a local is a global: same table, same tree.
    if (current_ == 0) {
        DeclareFileVariable(SymbolKind::GLOBAL, name, name_length);
        return 0;
    }
    Symbol symbol;
    symbol.kind = SymbolKind::LOCAL;
    symbol.name_span = SavedName();
    symbol.name.assign(source_text_ + symbol.name_span.offset, symbol.name_span.length);
    symbol.statement = Statement();
    symbol.scope = contexts_[current_].function;
    symbol.runtime_name.assign(name != nullptr ? name : "", static_cast<size_t>(name_length));
    symbol.number = variable_counts_[symbol.scope]++;
    const Span span = symbol.name_span;
    const std::string key = symbol.name;
    const int index = AddSymbol(std::move(symbol));
    contexts_[current_].identifiers[key] = index;
    AddOccurrence(span, index, true);
    return 0;
}

int WatchingParser::ProcessParameter(const char* identifier, int identifier_length,
                                     const char* name, int name_length, int flags) {
    const int status = AssemblerParser::ProcessParameter(identifier, identifier_length, name,
                                                         name_length, flags);
    if (status != 0 || open_functions_.empty()) return status;
    Symbol symbol;
    symbol.kind = SymbolKind::PARAMETER;
    symbol.name_span = SavedName();
    symbol.name.assign(source_text_ + symbol.name_span.offset, symbol.name_span.length);
    symbol.statement = Statement();
    symbol.scope = open_functions_.back();
    symbol.runtime_name.assign(name != nullptr ? name : "", static_cast<size_t>(name_length));
    symbol.number = variable_counts_[symbol.scope]++;
    symbol.flags = flags;
    const Span span = symbol.name_span;
    const std::string key = symbol.name;
    const bool internal = current_ != 0 && contexts_[current_].function == symbol.scope;
    const int index = AddSymbol(std::move(symbol));
    // An external function's parameters have no identifiers that code could name.
    if (internal) contexts_[current_].identifiers[key] = index;
    AddOccurrence(span, index, true);
    return 0;
}

int WatchingParser::ProcessString(const char* identifier, int identifier_length, const char* text,
                                  int text_length) {
    const int status =
        AssemblerParser::ProcessString(identifier, identifier_length, text, text_length);
    if (status != 0) return status;
    Symbol symbol;
    symbol.kind = SymbolKind::STRING;
    symbol.name_span = SavedName();
    symbol.name.assign(source_text_ + symbol.name_span.offset, symbol.name_span.length);
    symbol.statement = Statement();
    symbol.runtime_name.assign(text != nullptr ? text : "", static_cast<size_t>(text_length));
    symbol.number = dictionary().entries() - 1;
    const Span span = symbol.name_span;
    const std::string key = symbol.name;
    const int index = AddSymbol(std::move(symbol));
    strings_[key] = index;
    AddOccurrence(span, index, true);
    return 0;
}

int WatchingParser::ProcessLabel(const char* name, int length) {
    const int status = AssemblerParser::ProcessLabel(name, length);
    if (status != 0) return status;
    Symbol symbol;
    symbol.kind = SymbolKind::LABEL;
    symbol.name_span = SpanOf(name, length);
    symbol.name.assign(name, static_cast<size_t>(length));
    symbol.statement = token_;
    symbol.scope = contexts_[current_].function;
    symbol.number = contexts_[current_].position;
    const Span span = symbol.name_span;
    const std::string key = symbol.name;
    const int index = AddSymbol(std::move(symbol));
    contexts_[current_].labels[key] = index;
    AddOccurrence(span, index, true);
    return 0;
}

int WatchingParser::ProcessFunction(const char* name, int length, int flags) {
    open_function_ = SpanOf(name, length);
    const int status = AssemblerParser::ProcessFunction(name, length, flags);
    if (status != 0) return status;
    Symbol symbol;
    symbol.kind = SymbolKind::FUNCTION;
    symbol.name_span = SpanOf(name, length);
    symbol.name.assign(name, static_cast<size_t>(length));
    symbol.statement = Span{function_keyword_.offset, token_.offset - function_keyword_.offset};
    symbol.body = Span{function_keyword_.offset, source_length_ - function_keyword_.offset};
    symbol.number = function_manager()->Functions() - 1;
    symbol.flags = flags;
    const Span span = symbol.name_span;
    const std::string key = symbol.name;
    const int index = AddSymbol(std::move(symbol));
    functions_[key] = index;
    AddOccurrence(span, index, true);
    if ((flags & FUNCTION_EXTERNAL) == 0) {
        contexts_.emplace_back();
        contexts_.back().function = index;
        saved_ = current_;
        current_ = static_cast<int>(contexts_.size()) - 1;
    }
    open_functions_.push_back(index);
    return 0;
}

int WatchingParser::ProcessEndFunction() {
    const bool internal = !open_functions_.empty() && current_ != 0 &&
                          contexts_[current_].function == open_functions_.back();
    if (internal) BindLabels();
    const int status = AssemblerParser::ProcessEndFunction();
    if (open_functions_.empty()) return status;
    Symbol& function = out_.symbols[open_functions_.back()];
    function.body.length = token_.end() - function.body.offset;
    // A failing `.endfunction` leaves its function open for the planning of the next pass.
    if (status != 0) return status;
    open_functions_.pop_back();
    if (internal) {
        current_ = saved_;
        saved_ = -1;
    }
    return status;
}

// ---- references ----

int WatchingParser::ProcessImmediate(const char* text, int length, int operands_left, int kind) {
    const int status = AssemblerParser::ProcessImmediate(text, length, operands_left, kind);
    if (status != 0) return status;
    Context& context = contexts_[current_];
    context.position += kind == KIND_DOUBLE ? DOUBLE_OPERAND_BYTES : OPERAND_BYTES;
    const Span span = SpanOf(text, length);
    const std::string name(text, static_cast<size_t>(length));
    const std::unordered_map<std::string, int>* table = nullptr;
    switch (kind) {
        case KIND_STRING_CONSTANT:
            table = &strings_;
            break;
        case KIND_SYSTEM:
            table = &systems_;
            break;
        case KIND_GLOBAL:
            table = &globals_;
            break;
        case KIND_LOCAL:
            table = &Identifiers();
            break;
        case KIND_LABEL:
            context.label_uses.emplace_back(name, AddOccurrence(span, -1, false));
            return 0;
        case KIND_FUNCTION:
            function_uses_.emplace_back(name, AddOccurrence(span, -1, false));
            return 0;
        default:
            return 0;
    }
    const auto found = table->find(name);
    if (found != table->end()) AddOccurrence(span, found->second, false);
    return 0;
}

void WatchingParser::BindLabels() {
    Context& context = contexts_[current_];
    undefined_label_ = Span{};
    bool missing = false;
    for (const auto& use : context.label_uses) {
        const auto found = context.labels.find(use.first);
        if (found != context.labels.end()) {
            out_.occurrences[use.second].symbol = found->second;
        } else if (!missing) {
            missing = true;
            undefined_label_ = out_.occurrences[use.second].span;
        }
    }
    context.label_uses.clear();
}

int WatchingParser::Resolve() {
    const int open = current_;
    current_ = 0;
    BindLabels();
    current_ = open;
    bool missing = false;
    for (const auto& use : function_uses_) {
        // Calls match function names exactly, case included, as the assembler resolves them.
        const auto found = functions_.find(use.first);
        if (found != functions_.end()) {
            out_.occurrences[use.second].symbol = found->second;
        } else if (!missing) {
            missing = true;
            unresolved_call_ = out_.occurrences[use.second].span;
        }
    }
    if (!open_functions_.empty()) open_function_ = out_.symbols[open_functions_.front()].name_span;
    return AssemblerParser::Resolve();
}

int WatchingParser::ProcessLocalized(const char* text, int length, int* head) {
    const int status = AssemblerParser::ProcessLocalized(text, length, head);
    if (status != 0) return status;
    LocalizedText localized;
    localized.span = token_;
    for (int piece = *head; piece >= 0;) {
        const _LD_Entry* entry = localized_dictionary().Entry(piece);
        if (entry == nullptr) break;
        int size = 0;
        const char* bytes = dictionary().Entry(entry->text, &size);
        localized.pieces.emplace_back(entry->type == LOCALIZED_VARIABLE,
                                      std::string(bytes != nullptr ? bytes : "", size));
        piece = entry->next;
    }
    out_.localized.push_back(std::move(localized));
    return 0;
}

// ---- going on after an error ----

int WatchingParser::FindEndFunction(int count, bool include_current, bool stop_at_function) {
    if (include_current && token_type_ == TOKEN_ENDFUNCTION && --count == 0) return token_.offset;
    const char* text = nullptr;
    int length = 0;
    while (position_ < source_length_) {
        int start = position_;
        const TokenType type = GetNextToken(&text, length, &string_value_);
        if (type == TOKEN_FUNCTION && stop_at_function) return -1;
        if (type != TOKEN_ENDFUNCTION) continue;
        while (source_text_[start] != '.') ++start;
        if (--count == 0) return start;
    }
    return source_length_;
}

// A function that failed is blanked from the line after its `.function` to its
// `.endfunction`, so that it stays declared for the calls elsewhere. A failing top-level
// `.function` statement goes with its whole function, or alone when another `.function` comes
// before any `.endfunction` (a header being written above the next function); a failing
// top-level statement goes with its line.
void WatchingParser::PlanNextPass(int state, TokenType pending) {
    Span blank;
    if (!open_functions_.empty()) {
        const Symbol& outermost = out_.symbols[open_functions_.front()];
        blank.offset = outermost.statement.end();
        while (blank.offset < source_length_ && source_text_[blank.offset] != '\n') ++blank.offset;
        const int end = FindEndFunction(static_cast<int>(open_functions_.size()), true);
        blank.length = std::max(0, end - blank.offset);
    } else if (pending == TOKEN_FUNCTION &&
               (state == STATE_DIRECTIVE_NAME || state == STATE_QUALIFIERS)) {
        blank.offset = function_keyword_.offset;
        int end = FindEndFunction(1, false, true);
        if (end < 0) {
            // The header's line only.
            end = std::max(token_.offset, blank.offset);
            while (end < source_length_ && source_text_[end] != '\n') ++end;
        } else if (end < source_length_) {
            // Through the `.endfunction` directive.
            ++end;
            while (end < source_length_ && is_blank(source_text_[end])) ++end;
            while (end < source_length_ && source_text_[end] != '\n' &&
                   !is_blank(source_text_[end])) {
                ++end;
            }
        }
        blank.length = end - blank.offset;
    } else {
        blank.offset = token_.offset;
        while (blank.offset > 0 && source_text_[blank.offset - 1] != '\n') --blank.offset;
        int end = std::max(token_.offset, token_.end() - 1);
        while (end < source_length_ && source_text_[end] != '\n') ++end;
        blank.length = end - blank.offset;
    }
    result_->blank = blank;
    result_->can_go_on = blank.Contains(result_->error_offset) && blank.length > 0;
}

// ---- putting the passes together ----

// Adds what an earlier pass found inside the stretch that later passes no longer read.
void merge_blanked(SourceAnalysis& into, const SourceAnalysis& from, Span blank) {
    std::unordered_map<int, int> by_offset;
    for (size_t i = 0; i < into.symbols.size(); ++i) {
        by_offset[into.symbols[i].name_span.offset] = static_cast<int>(i);
    }
    std::vector<int> renumber(from.symbols.size(), -1);
    std::vector<int> added;
    for (size_t i = 0; i < from.symbols.size(); ++i) {
        const Symbol& symbol = from.symbols[i];
        if (blank.Contains(symbol.name_span.offset) &&
            symbol.name_span.offset < blank.end()) {
            renumber[i] = static_cast<int>(into.symbols.size());
            into.symbols.push_back(symbol);
            added.push_back(renumber[i]);
        } else {
            const auto found = by_offset.find(symbol.name_span.offset);
            if (found != by_offset.end()) renumber[i] = found->second;
        }
    }
    for (int index : added) {
        Symbol& symbol = into.symbols[index];
        symbol.scope = symbol.scope >= 0 ? renumber[symbol.scope] : -1;
    }
    for (const Occurrence& occurrence : from.occurrences) {
        if (occurrence.span.offset < blank.offset || occurrence.span.offset >= blank.end()) {
            continue;
        }
        Occurrence copy = occurrence;
        copy.symbol = occurrence.symbol >= 0 ? renumber[occurrence.symbol] : -1;
        into.occurrences.push_back(copy);
    }
    for (const LocalizedText& text : from.localized) {
        if (text.span.offset >= blank.offset && text.span.offset < blank.end()) {
            into.localized.push_back(text);
        }
    }
}

}  // namespace

std::vector<LineToken> tokenize(const std::string& text) {
    QuietApplication application;
    TextFile file(text);
    AssemblerParser parser(&application, &file, "");
    std::vector<LineToken> tokens;
    const char* at = nullptr;
    int length = 0;
    String value;
    for (;;) {
        const TokenType type = parser.GetNextToken(&at, length, &value);
        if (type == TOKEN_END_OF_INPUT) break;
        LineToken token;
        token.type = type;
        // A '-' or '.' left in front of the end of the line or of the input makes an error
        // token that keeps the length of the token before it: the grammar measures a length
        // against the source's end, and so does this.
        if (has_text(type) && at != nullptr && length > 0) {
            const size_t room = text.size() - static_cast<size_t>(at - text.c_str());
            token.text.assign(at, std::min(static_cast<size_t>(length), room));
        }
        tokens.push_back(std::move(token));
    }
    return tokens;
}

namespace {

PassResult run_pass(QuietApplication* application, const std::string& text) {
    PassResult result;
    TextFile file(text);
    WatchingParser parser(application, &file, &result);
    parser.Run();
    return result;
}

}  // namespace

const Occurrence* SourceAnalysis::OccurrenceAt(int offset) const {
    auto after = std::upper_bound(
        occurrences.begin(), occurrences.end(), offset,
        [](int at, const Occurrence& occurrence) { return at < occurrence.span.offset; });
    if (after == occurrences.begin()) return nullptr;
    --after;
    return after->span.Contains(offset) ? &*after : nullptr;
}

int SourceAnalysis::FunctionAt(int offset) const {
    int found = -1;
    for (size_t i = 0; i < symbols.size(); ++i) {
        const Symbol& symbol = symbols[i];
        if (symbol.kind != SymbolKind::FUNCTION || (symbol.flags & FUNCTION_EXTERNAL) != 0) {
            continue;
        }
        if (offset >= symbol.body.offset && offset <= symbol.body.end()) found = static_cast<int>(i);
    }
    return found;
}

SourceAnalysis analyze_source(const std::string& text) {
    QuietApplication application;
    std::string source = text;
    std::vector<std::pair<PassResult, Span>> earlier;
    PassResult pass = run_pass(&application, source);
    int passes = 1;
    long long bytes_read = static_cast<long long>(source.size());
    std::vector<Diagnostic> diagnostics = pass.analysis.diagnostics;
    int last_error = pass.error_offset;
    while (pass.failed && pass.can_go_on && passes < MOST_PASSES &&
           bytes_read + static_cast<long long>(source.size()) <= MOST_BYTES_READ) {
        const Span blank = pass.blank;
        for (int i = blank.offset; i < blank.end(); ++i) {
            if (source[i] != '\n') source[i] = ' ';
        }
        earlier.emplace_back(std::move(pass), blank);
        pass = run_pass(&application, source);
        ++passes;
        bytes_read += static_cast<long long>(source.size());
        // Text ahead of the blanked stretch reads as before, so a later pass can only fail
        // further on; anything else would repeat a report.
        if (pass.failed && pass.error_offset <= last_error) break;
        last_error = pass.error_offset;
        diagnostics.insert(diagnostics.end(), pass.analysis.diagnostics.begin(),
                           pass.analysis.diagnostics.end());
    }
    SourceAnalysis analysis = std::move(pass.analysis);
    for (auto it = earlier.rbegin(); it != earlier.rend(); ++it) {
        merge_blanked(analysis, it->first.analysis, it->second);
    }
    analysis.diagnostics = std::move(diagnostics);
    analysis.passes = passes;
    std::sort(analysis.occurrences.begin(), analysis.occurrences.end(),
              [](const Occurrence& a, const Occurrence& b) {
                  return a.span.offset < b.span.offset;
              });
    for (Symbol& symbol : analysis.symbols) symbol.children.clear();
    for (size_t i = 0; i < analysis.symbols.size(); ++i) {
        const int scope = analysis.symbols[i].scope;
        if (scope >= 0) analysis.symbols[scope].children.push_back(static_cast<int>(i));
    }
    for (Symbol& symbol : analysis.symbols) {
        std::sort(symbol.children.begin(), symbol.children.end(), [&](int a, int b) {
            return analysis.symbols[a].name_span.offset < analysis.symbols[b].name_span.offset;
        });
    }
    return analysis;
}

}  // namespace tarn_lsp
