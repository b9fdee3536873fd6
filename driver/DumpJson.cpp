// The JSON dump of a compiled file.
#include "driver/DumpJson.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "compiled/Function.h"
#include "compiled/FunctionParameter.h"
#include "driver/CompiledImage.h"
#include "driver/Disassembly.h"
#include "driver/DumpText.h"
#include "driver/DumpWriter.h"
#include "driver/LocalizedText.h"

namespace {

// Objects keep their members in the order written, so the document reads like the readable
// dump: header first, pieces last.
using Json = nlohmann::ordered_json;

// Operand kinds by their number, in step with the OPERAND_ constants of the mnemonic table;
// kind 6 belongs to no mnemonic.
const char* const OPERAND_KINDS[] = {
    "integer", "number", "string", "system", "global", "local", "unknown", "label", "function",
};
static_assert(sizeof OPERAND_KINDS / sizeof OPERAND_KINDS[0] == OPERAND_FUNCTION + 1,
              "one name per operand kind");

// Members are indented by this many blanks per level.
constexpr size_t INDENT = 2;

// The length of the UTF-8 sequence at 'text', or 0 when it is not a well-formed one: no
// overlong forms, no surrogates, nothing above U+10FFFF.
int utf8_sequence(const unsigned char* text, int left) {
    unsigned char first = text[0];
    if (first < 0x80) return 1;
    int length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (length == 0 || first > 0xF4 || length > left) return 0;
    // The second byte's range is narrowed for the leads that could start an overlong form,
    // a surrogate or a code point past U+10FFFF.
    unsigned char low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    unsigned char high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (text[1] < low || text[1] > high) return 0;
    for (int i = 2; i < length; ++i) {
        if (text[i] < 0x80 || text[i] > 0xBF) return 0;
    }
    return length;
}

Json text_json(const char* text, int length) {
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    for (int i = 0; i < length;) {
        int sequence = utf8_sequence(bytes + i, length - i);
        if (sequence == 0) {
            std::string hex;
            for (int k = 0; k < length; ++k) DumpText::Append(&hex, "%02x", bytes[k]);
            return Json{{"bytes", hex}};
        }
        i += sequence;
    }
    return Json(std::string(text, static_cast<size_t>(length)));
}

Json label_json(int label) {
    if (label == 0) return nullptr;
    return "L" + std::to_string(label);
}

// ---- layout ----

// Records that hold a list of records of their own are spread over lines, each of theirs on a
// line: a function (its parameters and locals), a present segment (its instructions), a
// language (its entries). Any other record of a list stays on one line.
const char* const SPREAD_RECORDS[] = {"parameters", "instructions", "entries"};

bool spread(const Json& value, bool item) {
    if (!value.is_structured() || value.empty()) return false;
    if (value.is_array()) {
        for (const Json& element : value) {
            if (element.is_structured()) return true;
        }
        return false;  // a list of plain values, such as the qualifiers, stays on one line
    }
    if (!item) return true;
    for (const char* key : SPREAD_RECORDS) {
        if (value.contains(key)) return true;
    }
    return false;
}

void append_compact(const Json& value, std::string* out) {
    // Every text went through text_json, so the strict handler could never fire; replacing
    // keeps a broken byte from ever ending the program all the same.
    out->append(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

// Writes a document member by member, so that only one section (one segment of the code) is
// held as a JSON value at a time: the document of a large file is many times its size.
class Layout {
  public:
    explicit Layout(std::string* out) : out_(out) {}

    // Opens a member object or list ('key' non-null) or an item of a list (null).
    void Open(const char* key, char bracket) {
        Start(key);
        out_->push_back(bracket);
        first_.push_back(true);
    }
    void Close(char bracket) {
        first_.pop_back();
        out_->push_back('\n');
        out_->append(INDENT * first_.size(), ' ');
        out_->push_back(bracket);
    }
    void Put(const char* key, const Json& value) {
        Start(key);
        Value(value, key == nullptr);
    }
    // Closes the document.
    void End() {
        Close('}');
        out_->push_back('\n');
    }

  private:
    void Start(const char* key) {
        if (!first_.empty()) {
            out_->append(first_.back() ? "\n" : ",\n");
            first_.back() = false;
            out_->append(INDENT * first_.size(), ' ');
        }
        if (key != nullptr) {
            append_compact(Json(key), out_);
            out_->append(": ");
        }
    }
    void Value(const Json& value, bool item) {
        if (!spread(value, item)) {
            append_compact(value, out_);
            return;
        }
        bool object = value.is_object();
        out_->push_back(object ? '{' : '[');
        first_.push_back(true);
        for (auto member = value.begin(); member != value.end(); ++member) {
            Start(object ? member.key().c_str() : nullptr);
            Value(*member, !object);
        }
        Close(object ? '}' : ']');
    }

    std::string* out_;
    std::vector<bool> first_;  // per open container: nothing written in it yet
};

class Builder {
  public:
    Builder(CompiledImage* image, const char* name) : image_(image), name_(name) {}

    void Document(std::string* out);

  private:
    Json Header();
    Json Directory();
    Json Dictionary();
    Json Variables(VariableHash* table);
    Json Functions();
    Json FunctionEntry(int number, Function* function);
    Json SegmentEntry(int number);
    Json Instruction(const DecodedInstruction& instruction, Function* function,
                     const Disassembly& code, DumpWriter* shown);
    Json Operand(const DecodedOperand& operand, Function* function, const Disassembly& code);
    Json Identifiers();
    Json Languages();
    Json LanguageEntries(LocalizedIndex* index);
    Json Pieces();

    // Dictionary entry 'index' as a text value, null when the dictionary has no such entry.
    Json Text(int index);
    // The name of variable 'slot' of 'table', null when there is none.
    Json VariableName(VariableHash* table, int slot);

    CompiledImage* image_;
    const char* name_;
};

void Builder::Document(std::string* out) {
    Layout layout(out);
    layout.Open(nullptr, '{');
    layout.Put("file", text_json(name_, static_cast<int>(std::char_traits<char>::length(name_))));
    layout.Put("size", image_->bytes().size());
    layout.Put("header", Header());
    layout.Put("directory", Directory());
    layout.Put("dictionary", Dictionary());
    layout.Put("globals", Variables(&image_->globals()));
    layout.Put("systems", Variables(&image_->systems()));
    layout.Put("functions", Functions());
    const SegmentManager& segments = image_->segments();
    layout.Open("code", '{');
    layout.Put("start", segments.start());
    layout.Open("segments", '[');
    for (int s = 0; s < segments.count(); ++s) layout.Put(nullptr, SegmentEntry(s));
    layout.Close(']');
    layout.Close('}');
    layout.Put("identifiers", Identifiers());
    layout.Put("languages", Languages());
    layout.Put("pieces", Pieces());
    layout.End();
}

// ---- sections ----

Json Builder::Header() {
    TaggedFile& file = image_->file();
    std::string identifier;
    for (int i = 0; i < TF_IDENTIFIER_SIZE; ++i)
        DumpText::Append(&identifier, "%02x", file.identifier()[i]);
    return Json{{"version", DumpText::Version(file.version())},
                {"identifier", identifier},
                {"directory_entries", file.directory_entries()},
                {"directory_offset", file.directory_offset()}};
}

Json Builder::Directory() {
    TaggedFile& file = image_->file();
    Json entries = Json::array();
    for (int i = 0; i < file.directory_entries(); ++i) {
        const TaggedFileEntry* entry = file.directory_entry(i);
        entries.push_back(Json{{"tag", DumpText::Tag(entry->tag)},
                               {"offset", entry->offset},
                               {"size", entry->size}});
    }
    return entries;
}

Json Builder::Dictionary() {
    const ::Dictionary& dictionary = image_->dictionary();
    const DictionaryDataBlock* block = dictionary.block(0);
    Json entries = Json::array();
    for (int i = 0; i < dictionary.entries(); ++i) {
        int size = 0;
        const char* text = dictionary.Entry(i, &size);
        entries.push_back(Json{{"index", i},
                               {"offset", dictionary.Entry_Offset(i)},
                               {"size", size},
                               {"text", text_json(text, size)}});
    }
    return Json{{"data_bytes", block != nullptr ? block->used() : 0},
                {"flags", dictionary.flags()},
                {"logging_disabled", (dictionary.flags() & DICTIONARY_FLAG_DISABLE_LOGGING) != 0},
                {"entries", entries}};
}

Json Builder::Variables(VariableHash* table) {
    Json entries = Json::array();
    for (int i = 0; i < table->Entries(); ++i) {
        int name = table->entry(i)->name_index;
        entries.push_back(Json{{"slot", i}, {"name_index", name}, {"name", Text(name)}});
    }
    return Json{{"buckets", DumpText::Buckets(table->bucket_bits())},
                {"buckets_in_use", table->bucket_entries()},
                {"entries", entries}};
}

Json Builder::Functions() {
    FunctionManager& functions = image_->functions();
    Json entries = Json::array();
    for (int f = 0; f < functions.Functions(); ++f)
        entries.push_back(FunctionEntry(f, functions.Function_Index(f)));
    return Json{{"buckets", DumpText::Buckets(functions.bucket_bits())},
                {"buckets_in_use", functions.bucket_entries()},
                {"entries", entries}};
}

Json Builder::FunctionEntry(int number, Function* function) {
    int flags = function->flags();
    Json qualifiers = Json::array();
    qualifiers.push_back((flags & FUNCTION_EXTERNAL) != 0 ? "external" : "internal");
    for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS) {
        if ((flags & qualifier.bit) != 0) qualifiers.push_back(qualifier.name);
    }
    Json parameters = Json::array();
    int position = 0;
    List<FunctionParameter>& list = function->parameters();
    for (FunctionParameter* parameter = list.First(); parameter != nullptr;
         parameter = list.Next(), ++position) {
        Json by = parameter->flags() == PARAMETER_BY_VALUE       ? Json("value")
                  : parameter->flags() == PARAMETER_BY_REFERENCE ? Json("reference")
                                                                 : Json(nullptr);
        parameters.push_back(Json{{"number", position},
                                  {"name_index", parameter->name_index()},
                                  {"name", Text(parameter->name_index())},
                                  {"by", by},
                                  {"flags", parameter->flags()},
                                  {"local", parameter->variable()}});
    }
    Json locals = Variables(function->variables())["entries"];
    return Json{{"index", number},
                {"name", text_json(function->name().c_str(), function->name().length())},
                {"flags", flags},
                {"qualifiers", qualifiers},
                {"segment", function->segment()},
                {"offset", function->segment_offset()},
                {"parameters", parameters},
                {"locals", locals}};
}

Json Builder::SegmentEntry(int number) {
    const Segment* segment = image_->segments().segment(number);
    if (segment == nullptr) return Json{{"number", number}, {"present", false}};
    Function* function = image_->segment_function(number);
    Json owner = number == 0 ? "top level" : function != nullptr ? "function" : "none";
    Json owner_name = function != nullptr && number != 0
                          ? text_json(function->name().c_str(), function->name().length())
                          : Json(nullptr);
    Disassembly code(*segment);
    DumpWriter shown(image_, name_);
    Json instructions = Json::array();
    for (int i = 0; i < code.Instructions(); ++i)
        instructions.push_back(Instruction(code.instruction(i), function, code, &shown));
    return Json{{"number", number},
                {"present", true},
                {"owner", owner},
                {"function", owner_name},
                {"length", segment->length()},
                {"instructions", instructions},
                {"end_label", label_json(code.Label(code.length()))}};
}

Json Builder::Instruction(const DecodedInstruction& instruction, Function* function,
                          const Disassembly& code, DumpWriter* shown) {
    // An instruction cut off inside its opcode word has no code to show.
    bool has_code = !instruction.truncated || instruction.length >= 2;
    Json mnemonic = nullptr;
    if (has_code && instruction.entry != nullptr)
        mnemonic = std::string(instruction.entry->name, instruction.entry->name_length);
    Json operands = Json::array();
    for (int o = 0; o < instruction.operand_count && !instruction.truncated; ++o) {
        Json operand = Operand(instruction.operands[o], function, code);
        operand["shown"] = shown->Operand(instruction.operands[o], function, code);
        operands.push_back(operand);
    }
    return Json{{"position", instruction.position},
                {"length", instruction.length},
                {"label", label_json(code.Label(instruction.position))},
                {"code", has_code ? Json(instruction.code) : Json(nullptr)},
                {"mnemonic", mnemonic},
                {"truncated", instruction.truncated},
                {"operands", operands}};
}

// The raw value and what it stands for; "shown" is added by the caller.
Json Builder::Operand(const DecodedOperand& operand, Function* function, const Disassembly& code) {
    int kind = operand.kind;
    Json json = {
        {"kind", kind >= 0 && kind <= OPERAND_FUNCTION ? OPERAND_KINDS[kind] : "unknown"},
        {"position", operand.position}};
    if (operand.is_double) {
        // JSON has no infinities or NaNs: those are null, and "shown" spells them.
        json["value"] = std::isfinite(operand.real) ? Json(operand.real) : Json(nullptr);
        return json;
    }
    json["value"] = operand.dword;
    switch (kind) {
        case OPERAND_STRING:
            json["text"] = Text(operand.dword);
            break;
        case OPERAND_SYSTEM:
            json["name"] = VariableName(&image_->systems(), operand.dword);
            break;
        case OPERAND_GLOBAL:
            json["name"] = VariableName(&image_->globals(), operand.dword);
            break;
        case OPERAND_LOCAL:
            // Top-level code names globals where functions name their locals.
            json["name"] = VariableName(
                function != nullptr ? function->variables() : &image_->globals(), operand.dword);
            break;
        case OPERAND_LABEL:
            json["target"] = operand.target;
            json["label"] = code.IsBoundary(operand.target)
                                ? label_json(code.Label(static_cast<int>(operand.target)))
                                : Json(nullptr);
            break;
        case OPERAND_FUNCTION: {
            Function* called = image_->functions().Function_Index(operand.dword);
            json["name"] = called != nullptr
                               ? text_json(called->name().c_str(), called->name().length())
                               : Json(nullptr);
            break;
        }
        default:
            break;
    }
    return json;
}

Json Builder::Identifiers() {
    Json list = Json::array();
    for (const std::string& ident : image_->idents())
        list.push_back(text_json(ident.data(), static_cast<int>(ident.size())));
    return list;
}

Json Builder::Languages() {
    LocalizedLanguages& languages = image_->languages();
    bool single = image_->file().version() <= LAST_SINGLE_INDEX_VERSION;
    Json list = Json::array();
    for (int l = 0; l < languages.Entries(); ++l) {
        LocalizedIndex* index = image_->language_index(l);
        int code = languages.language(l)->code;
        Json section = nullptr;
        if (index != nullptr) section = single ? "0" : DumpText::Tag(tag_language_index(l));
        list.push_back(Json{{"index", l},
                            {"code_index", code},
                            {"code", Text(code)},
                            {"section", section},
                            {"entries", index != nullptr ? LanguageEntries(index) : Json(nullptr)}});
    }
    return Json{{"buckets", DumpText::Buckets(languages.bucket_bits())}, {"entries", list}};
}

// Each key with its text as it was written (%name% for a variable), and the piece chain it
// stands for; both are null for a chain that is broken.
Json Builder::LanguageEntries(LocalizedIndex* index) {
    Json entries = Json::array();
    for (int e = 0; const _LI_Entry* entry = index->entry(e); ++e) {
        std::vector<LocalizedPiece> pieces;
        Json text = nullptr;
        Json chain = nullptr;
        if (LocalizedText::Pieces(image_->dictionary(), image_->localized(), entry->value,
                                  &pieces)) {
            std::string written;
            if (!LocalizedText::Written(pieces, &written)) {
                written.clear();
                for (const LocalizedPiece& piece : pieces)
                    written += piece.type == LOCALIZED_VARIABLE ? "%" + piece.text + "%" : piece.text;
            }
            text = text_json(written.data(), static_cast<int>(written.size()));
            chain = Json::array();
            for (const LocalizedPiece& piece : pieces) {
                chain.push_back(
                    Json{{"type", piece.type == LOCALIZED_VARIABLE ? "variable" : "text"},
                         {"text", text_json(piece.text.data(), static_cast<int>(piece.text.size()))}});
            }
        }
        entries.push_back(Json{{"key_index", entry->key},
                               {"key", Text(entry->key)},
                               {"piece", entry->value},
                               {"text", text},
                               {"pieces", chain}});
    }
    return entries;
}

Json Builder::Pieces() {
    const LocalizedDictionary& localized = image_->localized();
    Json list = Json::array();
    for (int i = 0; i < localized.Entries(); ++i) {
        const _LD_Entry* piece = localized.Entry(i);
        list.push_back(Json{{"index", i},
                            {"type", piece->type == LOCALIZED_VARIABLE ? "variable" : "text"},
                            {"text_index", piece->text},
                            {"text", Text(piece->text)},
                            {"next", piece->next}});
    }
    return list;
}

// ---- names ----

Json Builder::Text(int index) {
    int size = 0;
    const char* text = image_->dictionary().Entry(index, &size);
    if (text == nullptr) return nullptr;
    return text_json(text, size);
}

Json Builder::VariableName(VariableHash* table, int slot) {
    const _VH_Entry* entry = table->entry(slot);
    return entry != nullptr ? Text(entry->name_index) : Json(nullptr);
}

}  // namespace

DumpJson::DumpJson(CompiledImage* image, const char* name) : image_(image), name_(name) {}

void DumpJson::Write(std::string* out) {
    Builder(image_, name_).Document(out);
}

std::string DumpJson::TextValue(const char* text, int length) {
    return text_json(text, length).dump();
}
