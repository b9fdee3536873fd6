// The language server's protocol: framing, the JSON-RPC rules for requests, notifications and
// errors, document synchronisation, and the answers of each capability. JSON goes through
// nlohmann's library with exceptions off: every message is parsed without throwing and every
// member is checked for its type before it is read, so no input can end the process.
#include "driver/lsp/LanguageServer.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#ifndef JSON_NOEXCEPTION
#define JSON_NOEXCEPTION
#endif
#include <nlohmann/json.hpp>

#include "assembler/OpcodeLookup.h"
#include "assembler/Parser.h"
#include "compiled/Function.h"
#include "driver/lsp/SourceAnalysis.h"
#include "driver/lsp/SourceDocument.h"

namespace tarn_lsp {

namespace {

using json = nlohmann::json;

// JSON-RPC and protocol error codes.
constexpr int PARSE_ERROR = -32700;
constexpr int INVALID_REQUEST = -32600;
constexpr int METHOD_NOT_FOUND = -32601;
constexpr int INVALID_PARAMS = -32602;
constexpr int SERVER_NOT_INITIALIZED = -32002;
constexpr int REQUEST_FAILED = -32803;

// A header block longer than this, or a body announced larger than this, cannot be a message
// of an editor; the bytes are refused instead of waited for.
constexpr size_t MOST_HEADER_BYTES = 64 * 1024;
constexpr size_t MOST_BODY_BYTES = 256u << 20;

// Protocol kinds of document symbols and completion items.
constexpr int SYMBOL_FUNCTION = 12;
constexpr int SYMBOL_VARIABLE = 13;
constexpr int SYMBOL_STRING = 15;
constexpr int SYMBOL_KEY = 20;
constexpr int ITEM_FUNCTION = 3;
constexpr int ITEM_VARIABLE = 6;
constexpr int ITEM_KEYWORD = 14;
constexpr int ITEM_REFERENCE = 18;
constexpr int ITEM_CONSTANT = 21;
constexpr int ITEM_OPERATOR = 24;
constexpr int INCREMENTAL_SYNC = 2;
constexpr int SEVERITY_ERROR = 1;

// The build passes the project's version on, as it does for --version.
#ifndef TNASM_VERSION
#error "TNASM_VERSION must be defined by the build"
#endif
const char* const VERSION = TNASM_VERSION;

// Directive names, with whether they may only stand inside a function.
const std::pair<const char*, bool> DIRECTIVES[] = {
    {"function", false}, {"endfunction", true}, {"parameter", true}, {"local", false},
    {"global", false},   {"system", false},     {"string", false},   {"localized", false},
    {"version", false},  {"ident", false},      {"disable_logging", false},
};

const char* kind_name(int kind) {
    switch (kind) {
        case OPERAND_INTEGER: return "integer";
        case OPERAND_NUMBER: return "number";
        case OPERAND_STRING: return "string constant";
        case OPERAND_SYSTEM: return "system variable";
        case OPERAND_GLOBAL: return "global variable";
        case OPERAND_LOCAL: return "local variable";
        case OPERAND_LABEL: return "label";
        case OPERAND_FUNCTION: return "function";
        default: return "none";
    }
}

const char* symbol_kind_name(SymbolKind kind) {
    switch (kind) {
        case SymbolKind::FUNCTION: return "function";
        case SymbolKind::PARAMETER: return "parameter";
        case SymbolKind::LOCAL: return "local variable";
        case SymbolKind::LABEL: return "label";
        case SymbolKind::GLOBAL: return "global variable";
        case SymbolKind::SYSTEM: return "system variable";
        case SymbolKind::STRING: return "string constant";
    }
    return "symbol";
}

std::string dump(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string hex(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}

bool is_word_char(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool is_identifier(const std::string& name) {
    if (name.empty() || std::isdigit(static_cast<unsigned char>(name[0])) != 0) return false;
    for (char c : name) {
        if (!is_word_char(c) || static_cast<unsigned char>(c) > 127) return false;
    }
    return true;
}

// ---- reading members without throwing ----

const json* member(const json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

bool read_string(const json& object, const char* key, std::string* out) {
    const json* value = member(object, key);
    if (value == nullptr || !value->is_string()) return false;
    *out = value->get_ref<const std::string&>();
    return true;
}

bool read_int(const json& object, const char* key, int* out) {
    const json* value = member(object, key);
    if (value == nullptr || !value->is_number_integer()) return false;
    const long long number = value->get<long long>();
    if (number < 0 || number > 0x7FFFFFFF) return false;
    *out = static_cast<int>(number);
    return true;
}

bool read_position(const json& object, const char* key, Position* out) {
    const json* value = member(object, key);
    return value != nullptr && read_int(*value, "line", &out->line) &&
           read_int(*value, "character", &out->character);
}

bool read_uri(const json& params, std::string* uri) {
    const json* document = member(params, "textDocument");
    return document != nullptr && read_string(*document, "uri", uri);
}

struct OpenDocument {
    SourceDocument document;
    SourceAnalysis analysis;
};

// Where completion stands in a statement, read from the tokens in front of the cursor.
enum class Slot { STATEMENT, OPERAND, QUALIFIER, PARAMETER_TYPE, NOTHING };

}  // namespace

struct LanguageServer::State {
    std::string input;
    std::string output;
    bool initialized = false;
    bool shut_down = false;
    bool exited = false;
    std::map<std::string, OpenDocument> documents;

    void Send(const json& message) {
        const std::string body = dump(message);
        output += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
        output += body;
    }
    void Reply(const json& id, json result) {
        Send(json{{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}});
    }
    void Fail(const json& id, int code, const std::string& message) {
        Send(json{{"jsonrpc", "2.0"},
                  {"id", id},
                  {"error", json{{"code", code}, {"message", message}}}});
    }

    void Handle(const std::string& body);
    void Dispatch(const std::string& method, const json& params, const json* id);
    void Publish(const std::string& uri);

    json RangeOf(const SourceDocument& document, Span span) const {
        const Position from = document.PositionOf(span.offset);
        const Position to = document.PositionOf(span.end());
        return json{{"start", {{"line", from.line}, {"character", from.character}}},
                    {"end", {{"line", to.line}, {"character", to.character}}}};
    }
    json LocationOf(const std::string& uri, const SourceDocument& document, Span span) const {
        return json{{"uri", uri}, {"range", RangeOf(document, span)}};
    }

    json Definition(const OpenDocument& open, const std::string& uri, int offset);
    json References(const OpenDocument& open, const std::string& uri, int offset,
                    bool declaration);
    bool Rename(const OpenDocument& open, const std::string& uri, int offset,
                const std::string& name, json* result, std::string* refusal);
    json Symbols(const OpenDocument& open);
    json SymbolOf(const OpenDocument& open, int index);
    json Hover(const OpenDocument& open, int offset);
    json Completion(const OpenDocument& open, Position position);
};

LanguageServer::LanguageServer() : state_(new State) {}
LanguageServer::~LanguageServer() = default;

bool LanguageServer::exited() const {
    return state_->exited;
}

int LanguageServer::exit_status() const {
    return state_->shut_down ? 0 : 1;
}

std::string LanguageServer::TakeOutput() {
    std::string out;
    out.swap(state_->output);
    return out;
}

// message := header-line { header-line } CRLF body; the body is Content-Length bytes.
void LanguageServer::Receive(const char* bytes, size_t count) {
    State& state = *state_;
    state.input.append(bytes, count);
    size_t at = 0;
    while (!state.exited) {
        const size_t header_end = state.input.find("\r\n\r\n", at);
        if (header_end == std::string::npos) {
            if (state.input.size() - at > MOST_HEADER_BYTES) {
                state.Fail(nullptr, PARSE_ERROR, "Header too long");
                at = state.input.size();
            }
            break;
        }
        // Header names are matched without regard to case; other headers are passed over.
        long long length = -1;
        size_t line = at;
        while (line < header_end) {
            size_t line_end = state.input.find("\r\n", line);
            if (line_end == std::string::npos || line_end > header_end) line_end = header_end;
            const std::string field = state.input.substr(line, line_end - line);
            const size_t colon = field.find(':');
            std::string name = field.substr(0, colon);
            for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (colon != std::string::npos && name == "content-length") {
                size_t k = colon + 1;
                while (k < field.size() && field[k] == ' ') ++k;
                long long value = 0;
                bool digits = k < field.size();
                for (; k < field.size() && digits; ++k) {
                    if (field[k] < '0' || field[k] > '9' ||
                        value > static_cast<long long>(MOST_BODY_BYTES)) {
                        digits = false;
                    } else {
                        value = value * 10 + (field[k] - '0');
                    }
                }
                length = digits && value <= static_cast<long long>(MOST_BODY_BYTES) ? value : -1;
            }
            line = line_end + 2;
        }
        const size_t body_start = header_end + 4;
        if (length < 0) {
            state.Fail(nullptr, PARSE_ERROR, "Missing or invalid Content-Length header");
            at = body_start;
            continue;
        }
        if (state.input.size() - body_start < static_cast<size_t>(length)) break;
        const std::string body = state.input.substr(body_start, static_cast<size_t>(length));
        at = body_start + static_cast<size_t>(length);
        state.Handle(body);
    }
    state.input.erase(0, std::min(at, state.input.size()));
}

// ---- JSON-RPC ----

void LanguageServer::State::Handle(const std::string& body) {
    const json message = json::parse(body, nullptr, false);
    if (message.is_discarded()) {
        Fail(nullptr, PARSE_ERROR, "Parse error");
        return;
    }
    if (!message.is_object()) {
        Fail(nullptr, INVALID_REQUEST, "A message must be a JSON object");
        return;
    }
    const json* id = member(message, "id");
    if (id != nullptr && !id->is_string() && !id->is_number_integer() && !id->is_null()) {
        Fail(nullptr, INVALID_REQUEST, "Invalid id");
        return;
    }
    std::string version;
    const json* method = member(message, "method");
    if (method == nullptr && id != nullptr &&
        (member(message, "result") != nullptr || member(message, "error") != nullptr)) {
        return;  // an answer to a request of ours; none is ever sent
    }
    if (!read_string(message, "jsonrpc", &version) || version != "2.0" || method == nullptr ||
        !method->is_string()) {
        Fail(id != nullptr ? *id : json(nullptr), INVALID_REQUEST, "Invalid request");
        return;
    }
    const json* params = member(message, "params");
    if (params != nullptr && !params->is_object() && !params->is_array()) {
        if (id != nullptr) Fail(*id, INVALID_PARAMS, "params must be an object or an array");
        return;
    }
    static const json NO_PARAMS = json::object();
    Dispatch(method->get_ref<const std::string&>(), params != nullptr ? *params : NO_PARAMS, id);
}

void LanguageServer::State::Dispatch(const std::string& method, const json& params,
                                     const json* id) {
    if (method == "exit") {
        exited = true;
        return;
    }
    if (method == "initialize") {
        if (id == nullptr) return;
        if (initialized) {
            Fail(*id, INVALID_REQUEST, "initialize was already received");
            return;
        }
        initialized = true;
        json capabilities = {
            {"positionEncoding", "utf-16"},
            {"textDocumentSync",
             {{"openClose", true}, {"change", INCREMENTAL_SYNC}, {"save", false}}},
            {"definitionProvider", true},
            {"referencesProvider", true},
            {"renameProvider", true},
            {"documentSymbolProvider", true},
            {"hoverProvider", true},
            {"completionProvider", {{"triggerCharacters", {".", " ", ","}}}},
        };
        Reply(*id, json{{"capabilities", capabilities},
                        {"serverInfo", {{"name", "tnasm-lsp"}, {"version", VERSION}}}});
        return;
    }
    if (!initialized) {
        if (id != nullptr) Fail(*id, SERVER_NOT_INITIALIZED, "Server not initialized");
        return;
    }
    if (shut_down && id != nullptr) {
        Fail(*id, INVALID_REQUEST, "Server is shutting down");
        return;
    }
    if (method == "shutdown") {
        shut_down = true;
        if (id != nullptr) Reply(*id, nullptr);
        return;
    }

    // ---- notifications ----
    std::string uri;
    if (method == "textDocument/didOpen") {
        const json* document = member(params, "textDocument");
        std::string text;
        if (document == nullptr || !read_string(*document, "uri", &uri) ||
            !read_string(*document, "text", &text)) {
            return;
        }
        OpenDocument& open = documents[uri];
        open.document.SetText(std::move(text));
        Publish(uri);
        return;
    }
    if (method == "textDocument/didChange") {
        const json* changes = member(params, "contentChanges");
        if (!read_uri(params, &uri) || changes == nullptr || !changes->is_array()) return;
        const auto found = documents.find(uri);
        if (found == documents.end()) return;
        SourceDocument& document = found->second.document;
        for (const json& change : *changes) {
            std::string text;
            if (!read_string(change, "text", &text)) continue;
            Position from;
            Position to;
            const json* range = member(change, "range");
            if (range == nullptr) {
                document.SetText(std::move(text));
            } else if (read_position(*range, "start", &from) &&
                       read_position(*range, "end", &to)) {
                document.Replace(from, to, text);
            }
        }
        Publish(uri);
        return;
    }
    if (method == "textDocument/didClose") {
        if (!read_uri(params, &uri) || documents.erase(uri) == 0) return;
        Send(json{{"jsonrpc", "2.0"},
                  {"method", "textDocument/publishDiagnostics"},
                  {"params", {{"uri", uri}, {"diagnostics", json::array()}}}});
        return;
    }
    if (id == nullptr) return;  // other notifications, `$/` ones included, need nothing

    // ---- requests on one position of one document ----
    const bool on_position = method == "textDocument/definition" ||
                             method == "textDocument/references" ||
                             method == "textDocument/rename" || method == "textDocument/hover" ||
                             method == "textDocument/completion";
    if (!on_position && method != "textDocument/documentSymbol") {
        Fail(*id, METHOD_NOT_FOUND, "Unhandled method " + method);
        return;
    }
    Position position;
    if (!read_uri(params, &uri) || (on_position && !read_position(params, "position", &position))) {
        Fail(*id, INVALID_PARAMS, "Invalid params for " + method);
        return;
    }
    std::string new_name;
    if (method == "textDocument/rename" && !read_string(params, "newName", &new_name)) {
        Fail(*id, INVALID_PARAMS, "Invalid params for " + method);
        return;
    }
    const auto found = documents.find(uri);
    if (found == documents.end()) {
        const bool list = method == "textDocument/references" ||
                          method == "textDocument/documentSymbol" ||
                          method == "textDocument/completion";
        Reply(*id, list ? json::array() : json(nullptr));
        return;
    }
    const OpenDocument& open = found->second;
    const int offset = open.document.OffsetOf(position);
    if (method == "textDocument/definition") {
        Reply(*id, Definition(open, uri, offset));
    } else if (method == "textDocument/references") {
        bool declaration = true;
        const json* context = member(params, "context");
        const json* include = context != nullptr ? member(*context, "includeDeclaration") : nullptr;
        if (include != nullptr && include->is_boolean()) declaration = include->get<bool>();
        Reply(*id, References(open, uri, offset, declaration));
    } else if (method == "textDocument/rename") {
        json result;
        std::string refusal;
        if (Rename(open, uri, offset, new_name, &result, &refusal)) {
            Reply(*id, std::move(result));
        } else {
            Fail(*id, REQUEST_FAILED, refusal);
        }
    } else if (method == "textDocument/hover") {
        Reply(*id, Hover(open, offset));
    } else if (method == "textDocument/completion") {
        Reply(*id, Completion(open, position));
    } else {
        Reply(*id, Symbols(open));
    }
}

// ---- diagnostics ----

void LanguageServer::State::Publish(const std::string& uri) {
    OpenDocument& open = documents[uri];
    open.analysis = analyze_source(open.document.text());
    json list = json::array();
    for (const Diagnostic& diagnostic : open.analysis.diagnostics) {
        json item = {{"range", RangeOf(open.document, diagnostic.span)},
                     {"severity", SEVERITY_ERROR},
                     {"code", "AE_" + std::to_string(diagnostic.code)},
                     {"source", "tnasm"},
                     {"message", diagnostic.message}};
        if (!diagnostic.related.empty()) {
            json related = json::array();
            for (const RelatedPlace& place : diagnostic.related) {
                related.push_back({{"location", LocationOf(uri, open.document, place.span)},
                                   {"message", place.message}});
            }
            item["relatedInformation"] = std::move(related);
        }
        list.push_back(std::move(item));
    }
    Send(json{{"jsonrpc", "2.0"},
              {"method", "textDocument/publishDiagnostics"},
              {"params", {{"uri", uri}, {"diagnostics", std::move(list)}}}});
}

// ---- navigation ----

json LanguageServer::State::Definition(const OpenDocument& open, const std::string& uri,
                                       int offset) {
    const Occurrence* occurrence = open.analysis.OccurrenceAt(offset);
    if (occurrence == nullptr || occurrence->symbol < 0) return nullptr;
    return LocationOf(uri, open.document, open.analysis.symbols[occurrence->symbol].name_span);
}

json LanguageServer::State::References(const OpenDocument& open, const std::string& uri,
                                       int offset, bool declaration) {
    json list = json::array();
    const Occurrence* occurrence = open.analysis.OccurrenceAt(offset);
    if (occurrence == nullptr || occurrence->symbol < 0) return list;
    for (const Occurrence& other : open.analysis.occurrences) {
        if (other.symbol == occurrence->symbol && (declaration || !other.declaration)) {
            list.push_back(LocationOf(uri, open.document, other.span));
        }
    }
    return list;
}

// A new name must be an identifier, and must not meet another name of the table the
// assembler keeps the symbol in: function names regardless of case, every other table with
// case.
bool LanguageServer::State::Rename(const OpenDocument& open, const std::string& uri, int offset,
                                   const std::string& name, json* result, std::string* refusal) {
    const Occurrence* occurrence = open.analysis.OccurrenceAt(offset);
    if (occurrence == nullptr || occurrence->symbol < 0) {
        *refusal = "There is no symbol to rename here";
        return false;
    }
    if (!is_identifier(name)) {
        *refusal = "'" + name + "' is not an identifier";
        return false;
    }
    const std::vector<Symbol>& symbols = open.analysis.symbols;
    const Symbol& target = symbols[occurrence->symbol];
    auto same_table = [&target](const Symbol& other) {
        auto variable_of_file = [](SymbolKind kind) { return kind == SymbolKind::GLOBAL; };
        auto variable_of_function = [](SymbolKind kind) {
            return kind == SymbolKind::PARAMETER || kind == SymbolKind::LOCAL;
        };
        if (variable_of_function(target.kind)) {
            return variable_of_function(other.kind) && other.scope == target.scope;
        }
        if (variable_of_file(target.kind)) return variable_of_file(other.kind);
        if (target.kind == SymbolKind::LABEL) {
            return other.kind == SymbolKind::LABEL && other.scope == target.scope;
        }
        return other.kind == target.kind;
    };
    for (size_t i = 0; i < symbols.size(); ++i) {
        const Symbol& other = symbols[i];
        if (static_cast<int>(i) == occurrence->symbol || !same_table(other)) continue;
        bool clash = other.name == name;
        if (target.kind == SymbolKind::FUNCTION && other.name.size() == name.size()) {
            clash = std::equal(name.begin(), name.end(), other.name.begin(), [](char a, char b) {
                return std::tolower(static_cast<unsigned char>(a)) ==
                       std::tolower(static_cast<unsigned char>(b));
            });
        }
        if (clash) {
            *refusal = "'" + name + "' is already declared as " + symbol_kind_name(other.kind) +
                       " '" + other.name + "'";
            return false;
        }
    }
    json edits = json::array();
    for (const Occurrence& other : open.analysis.occurrences) {
        if (other.symbol == occurrence->symbol) {
            edits.push_back({{"range", RangeOf(open.document, other.span)}, {"newText", name}});
        }
    }
    *result = json{{"changes", {{uri, std::move(edits)}}}};
    return true;
}

json LanguageServer::State::SymbolOf(const OpenDocument& open, int index) {
    const Symbol& symbol = open.analysis.symbols[index];
    int kind = SYMBOL_VARIABLE;
    if (symbol.kind == SymbolKind::FUNCTION) kind = SYMBOL_FUNCTION;
    if (symbol.kind == SymbolKind::STRING) kind = SYMBOL_STRING;
    if (symbol.kind == SymbolKind::LABEL) kind = SYMBOL_KEY;
    Span range = symbol.kind == SymbolKind::FUNCTION ? symbol.body : symbol.statement;
    const int start = std::min(range.offset, symbol.name_span.offset);
    const int end = std::max(range.end(), symbol.name_span.end());
    range = Span{start, end - start};
    json item = {{"name", symbol.name.empty() ? std::string("?") : symbol.name},
                 {"detail", symbol_kind_name(symbol.kind)},
                 {"kind", kind},
                 {"range", RangeOf(open.document, range)},
                 {"selectionRange", RangeOf(open.document, symbol.name_span)}};
    if (symbol.kind == SymbolKind::FUNCTION) {
        json children = json::array();
        for (int child : symbol.children) children.push_back(SymbolOf(open, child));
        item["children"] = std::move(children);
    }
    return item;
}

json LanguageServer::State::Symbols(const OpenDocument& open) {
    json list = json::array();
    for (size_t i = 0; i < open.analysis.symbols.size(); ++i) {
        if (open.analysis.symbols[i].scope < 0) {
            list.push_back(SymbolOf(open, static_cast<int>(i)));
        }
    }
    return list;
}

// ---- hover ----

json LanguageServer::State::Hover(const OpenDocument& open, int offset) {
    const std::string& text = open.document.text();
    std::string markdown;
    Span span;
    const Occurrence* occurrence = open.analysis.OccurrenceAt(offset);
    if (occurrence != nullptr && occurrence->symbol >= 0) {
        const Symbol& symbol = open.analysis.symbols[occurrence->symbol];
        span = occurrence->span;
        const size_t from = std::min(static_cast<size_t>(symbol.statement.offset), text.size());
        std::string line = text.substr(from, static_cast<size_t>(symbol.statement.length));
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) {
            line.pop_back();
        }
        markdown = "```tnasm\n" + line + "\n```\n\n" + symbol_kind_name(symbol.kind) + " `" +
                   symbol.name + "`";
        if (symbol.scope >= 0) {
            markdown += " of function `" + open.analysis.symbols[symbol.scope].name + "`";
        }
        switch (symbol.kind) {
            case SymbolKind::FUNCTION:
                markdown += "\n\nfunction number " + std::to_string(symbol.number);
                if ((symbol.flags & FUNCTION_EXTERNAL) != 0) markdown += " (external)";
                break;
            case SymbolKind::LABEL:
                markdown += "\n\nsegment position " + std::to_string(symbol.number);
                break;
            case SymbolKind::STRING:
                markdown += "\n\ndictionary index " + std::to_string(symbol.number) +
                            "\n\ntext: `" + symbol.runtime_name + "`";
                break;
            default:
                markdown += "\n\nrun-time name `" + symbol.runtime_name + "`, slot " +
                            std::to_string(symbol.number);
                if (symbol.kind == SymbolKind::PARAMETER) {
                    markdown += symbol.flags == PARAMETER_REFERENCE ? ", passed by reference"
                                                                    : ", passed by value";
                }
                break;
        }
    }
    if (markdown.empty()) {
        for (const LocalizedText& localized : open.analysis.localized) {
            if (offset < localized.span.offset || offset >= localized.span.end()) continue;
            span = localized.span;
            markdown = "localized text, " + std::to_string(localized.pieces.size()) + " pieces:";
            for (const auto& piece : localized.pieces) {
                markdown += std::string("\n- ") + (piece.first ? "variable `" : "text `") +
                            piece.second + "`";
            }
        }
    }
    if (markdown.empty()) {
        int start = std::min(offset, static_cast<int>(text.size()));
        int end = start;
        while (start > 0 && is_word_char(text[start - 1])) --start;
        while (end < static_cast<int>(text.size()) && is_word_char(text[end])) ++end;
        OpcodeLookup lookup;
        const OpcodeEntry* entry =
            end > start ? lookup.Lookup(text.c_str() + start, end - start) : nullptr;
        if (entry == nullptr || (end < static_cast<int>(text.size()) && text[end] == ':')) {
            return nullptr;
        }
        span = Span{start, end - start};
        int size = 2;
        std::string operands;
        for (unsigned k = 0; k < entry->operand_count; ++k) {
            const int kind = k == 0 ? entry->operand_kind1 : entry->operand_kind2;
            size += kind == 1 ? 8 : 4;
            operands += (k > 0 ? ", " : "") + std::string(kind_name(kind));
        }
        markdown = "instruction `" + std::string(entry->name) + "`\n\ninstruction code " +
                   hex(entry->code) + "\n\noperands: " + (operands.empty() ? "none" : operands) +
                   "\n\nencoded size: " + std::to_string(size) + " bytes";
    }
    return json{{"contents", {{"kind", "markdown"}, {"value", markdown}}},
                {"range", RangeOf(open.document, span)}};
}

// ---- completion ----

json LanguageServer::State::Completion(const OpenDocument& open, Position position) {
    const std::string& text = open.document.text();
    const int cursor = open.document.OffsetOf(position);
    const int line_start = open.document.OffsetOf(Position{position.line, 0});
    int word_start = cursor;
    while (word_start > line_start && is_word_char(text[word_start - 1])) --word_start;
    bool dotted = false;
    int replace_start = word_start;
    {
        int k = word_start;
        while (k > line_start && (text[k - 1] == ' ' || text[k - 1] == '\t')) --k;
        if (k > line_start && text[k - 1] == '.') {
            dotted = true;
            replace_start = k - 1;
        }
    }
    // Statements do not run over lines, so the line in front of the word tells the slot.
    const std::vector<LineToken> tokens =
        tokenize(text.substr(static_cast<size_t>(line_start),
                             static_cast<size_t>(replace_start - line_start)));
    Slot slot = Slot::STATEMENT;
    const OpcodeEntry* entry = nullptr;
    int operand = 0;
    int strings_left = 0;
    int names_left = 0;
    bool after_comma = true;
    TokenType directive = TOKEN_ERROR;
    OpcodeLookup lookup;
    for (const LineToken& token : tokens) {
        const TokenType type = static_cast<TokenType>(token.type);
        if (type == TOKEN_END_OF_LINE) break;
        if (names_left > 0) {
            --names_left;
            if (directive == TOKEN_FUNCTION) slot = Slot::QUALIFIER;
            continue;
        }
        if (strings_left > 0) {
            if (--strings_left == 0) {
                slot = directive == TOKEN_PARAMETER ? Slot::PARAMETER_TYPE : Slot::STATEMENT;
            }
            continue;
        }
        switch (slot) {
            case Slot::QUALIFIER:
                continue;
            case Slot::PARAMETER_TYPE:
                slot = Slot::STATEMENT;
                continue;
            case Slot::OPERAND:
                if (!after_comma) {
                    if (type == TOKEN_COMMA) {
                        after_comma = true;
                    } else {
                        slot = Slot::NOTHING;
                    }
                    continue;
                }
                after_comma = false;
                if (++operand == static_cast<int>(entry->operand_count)) slot = Slot::STATEMENT;
                continue;
            case Slot::NOTHING:
                continue;
            case Slot::STATEMENT:
                break;
        }
        directive = type;
        switch (type) {
            case TOKEN_IDENTIFIER:
                entry = lookup.Lookup(token.text.c_str(), static_cast<int>(token.text.size()));
                if (entry == nullptr) {
                    slot = Slot::NOTHING;
                } else if (entry->operand_count > 0) {
                    slot = Slot::OPERAND;
                    operand = 0;
                    after_comma = true;
                }
                break;
            case TOKEN_LABEL:
            case TOKEN_ENDFUNCTION:
            case TOKEN_DISABLE_LOGGING:
                break;
            case TOKEN_GLOBAL:
            case TOKEN_SYSTEM:
            case TOKEN_STRING:
            case TOKEN_LOCAL:
            case TOKEN_PARAMETER:
                names_left = 1;
                strings_left = 1;
                slot = Slot::NOTHING;
                break;
            case TOKEN_FUNCTION:
                names_left = 1;
                slot = Slot::NOTHING;
                break;
            case TOKEN_LOCALIZED:
                strings_left = 3;
                slot = Slot::NOTHING;
                break;
            case TOKEN_IDENT:
                strings_left = 1;
                slot = Slot::NOTHING;
                break;
            default:
                slot = Slot::NOTHING;
                break;
        }
    }
    if (names_left > 0 || strings_left > 0) slot = Slot::NOTHING;
    if (slot == Slot::OPERAND && !after_comma) slot = Slot::NOTHING;

    json items = json::array();
    const json range = RangeOf(open.document, Span{replace_start, cursor - replace_start});
    auto add = [&items, &range](const std::string& label, int kind, const std::string& detail) {
        items.push_back({{"label", label},
                         {"kind", kind},
                         {"detail", detail},
                         {"textEdit", {{"range", range}, {"newText", label}}}});
    };
    const int function = open.analysis.FunctionAt(cursor);
    if (slot == Slot::STATEMENT) {
        for (const auto& item : DIRECTIVES) {
            if (!item.second || function >= 0) {
                add(std::string(".") + item.first, ITEM_KEYWORD, "directive");
            }
        }
        if (!dotted) {
            for (int i = 0; i <= OpcodeLookup::LAST_SLOT; ++i) {
                const OpcodeEntry& mnemonic = OpcodeLookup::opcodes[i];
                std::string detail = hex(mnemonic.code);
                for (unsigned k = 0; k < mnemonic.operand_count; ++k) {
                    detail += std::string(k == 0 ? " " : ", ") +
                              kind_name(k == 0 ? mnemonic.operand_kind1 : mnemonic.operand_kind2);
                }
                add(mnemonic.name, ITEM_OPERATOR, detail);
            }
        }
    } else if (slot == Slot::QUALIFIER && !dotted) {
        add("external", ITEM_KEYWORD, "function qualifier");
        add("internal", ITEM_KEYWORD, "function qualifier");
        for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS)
            add(qualifier.name, ITEM_KEYWORD, "function qualifier");
    } else if (slot == Slot::PARAMETER_TYPE && !dotted) {
        add("value", ITEM_KEYWORD, "parameter type");
        add("reference", ITEM_KEYWORD, "parameter type");
    } else if (slot == Slot::OPERAND && !dotted) {
        const int kind = operand == 0 ? entry->operand_kind1 : entry->operand_kind2;
        for (const Symbol& symbol : open.analysis.symbols) {
            // Constants and variables must be declared above their use; labels and functions
            // may come later.
            const bool above = symbol.name_span.offset < line_start;
            bool fits = false;
            int item_kind = ITEM_VARIABLE;
            switch (kind) {
                case 2:
                    fits = symbol.kind == SymbolKind::STRING && above;
                    item_kind = ITEM_CONSTANT;
                    break;
                case 3:
                    fits = symbol.kind == SymbolKind::SYSTEM && above;
                    break;
                case 4:
                    fits = symbol.kind == SymbolKind::GLOBAL && above;
                    break;
                case 5:
                    fits = above && (function >= 0 ? (symbol.kind == SymbolKind::LOCAL ||
                                                      symbol.kind == SymbolKind::PARAMETER) &&
                                                         symbol.scope == function
                                                   : symbol.kind == SymbolKind::GLOBAL);
                    break;
                case 7:
                    fits = symbol.kind == SymbolKind::LABEL && symbol.scope == function;
                    item_kind = ITEM_REFERENCE;
                    break;
                case 8:
                    fits = symbol.kind == SymbolKind::FUNCTION;
                    item_kind = ITEM_FUNCTION;
                    break;
                default:
                    break;
            }
            if (fits) add(symbol.name, item_kind, symbol_kind_name(symbol.kind));
        }
    }
    return json{{"isIncomplete", false}, {"items", std::move(items)}};
}

}  // namespace tarn_lsp
