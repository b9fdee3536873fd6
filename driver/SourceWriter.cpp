// Assembly source for a compiled file.
#include "driver/SourceWriter.h"

#include <cmath>
#include <cstring>
#include <set>

#include "compiled/Function.h"
#include "compiled/FunctionParameter.h"
#include "compiled/TableSupport.h"
#include "driver/CompiledImage.h"
#include "driver/Disassembly.h"
#include "driver/DumpText.h"
#include "driver/LocalizedText.h"
#include "driver/TarnApplication.h"

namespace {

enum RoleKind {
    ROLE_NONE,       // no section refers to it: a .string nobody pushes, or a text whose owner
                     // the file does not keep
    ROLE_STRING,     // a string constant of the code
    ROLE_GLOBAL,     // name of global 'first'
    ROLE_SYSTEM,     // name of system variable 'first'
    ROLE_FUNCTION,   // name of function 'first'
    ROLE_PARAMETER,  // name of parameter 'second' of function 'first'
    ROLE_LOCAL,      // name of local 'second' of function 'first'
    ROLE_PIECE,      // text of localized piece 'first'
    ROLE_CODE,       // code of language 'first'
    ROLE_KEY,        // key of entry 'second' in the index of language 'first'
};

// Digits of a positional number above the largest double: it reads back as infinity.
constexpr int INFINITE_DIGITS = 310;

uint64_t double_bits(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Identifiers for the variables of one identifier tree: a variable's own name where it is an
// identifier not taken yet, else 'prefix' and its slot, made unique with '_'.
std::vector<std::string> variable_identifiers(const std::vector<std::string>& names,
                                              const char* prefix) {
    std::vector<std::string> identifiers(names.size());
    std::set<std::string> taken;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string& name = names[i];
        if (DumpText::IsIdentifier(name.data(), static_cast<int>(name.size())) &&
            taken.insert(name).second)
            identifiers[i] = name;
    }
    for (size_t i = 0; i < names.size(); ++i) {
        if (!identifiers[i].empty()) continue;
        std::string identifier = prefix + std::to_string(i);
        while (!taken.insert(identifier).second) identifier += '_';
        identifiers[i] = identifier;
    }
    return identifiers;
}

}  // namespace

SourceWriter::SourceWriter(CompiledImage* image, const char* name)
    : image_(image),
      name_(name),
      next_function_(0),
      open_internal_(-1),
      open_external_(-1),
      next_global_(0),
      next_system_(0),
      languages_made_(0),
      key_written_(false) {}

SourceWriter::~SourceWriter() {
    for (Disassembly* code : segments_) delete code;
}

bool SourceWriter::Write(std::string* out) {
    out_.clear();
    roles_.assign(static_cast<size_t>(image_->dictionary().entries()), Role{ROLE_NONE, 0, 0});
    std::string name(name_);
    out_ += "; " + DumpText::Quote(name.data(), static_cast<int>(name.size())) +
            " written back as source by tndump\n";
    if (!CheckHeader() || !CheckFunctions() || !DecodeSegments() || !CollectRoles() ||
        !GroupPieces())
        return false;
    NameVariables();
    if (!Walk() || !Finish()) return false;
    out->append(out_);
    return true;
}

bool SourceWriter::Fail(const std::string& reason) {
    error_ = reason;
    return false;
}

// Each entry is made by exactly one directive; only a string constant may be named by many
// operands.
bool SourceWriter::Claim(int index, Role role, const char* what) {
    if (index < 0 || index >= static_cast<int>(roles_.size()))
        return Fail(std::string(what) + " names dictionary entry " + std::to_string(index) +
                    ", which does not exist");
    Role& held = roles_[static_cast<size_t>(index)];
    if (held.kind == ROLE_NONE || (held.kind == ROLE_STRING && role.kind == ROLE_STRING)) {
        held = role;
        return true;
    }
    return Fail("dictionary entry " + std::to_string(index) +
                " is used twice, the second time by " + what);
}

// ---- checks of what the directives can express ----

bool SourceWriter::CheckHeader() {
    int flags = image_->dictionary().flags();
    if ((flags & ~DICTIONARY_FLAG_DISABLE_LOGGING) != 0)
        return Fail("dictionary flags " + DumpText::Hex(static_cast<unsigned>(flags), 8) +
                    " hold bits that no directive sets");
    const unsigned char* identifier = image_->file().identifier();
    for (int i = 0; i < TF_IDENTIFIER_SIZE; ++i) {
        if (identifier[i] != 0)
            return Fail("header.identifier is not zero, and the assembler always writes zeros");
    }
    int version = image_->file().version();
    if (version != TF_VERSION_DEFAULT) out_ += ".version " + DumpText::Version(version) + "\n";
    if ((flags & DICTIONARY_FLAG_DISABLE_LOGGING) != 0) out_ += ".disable_logging\n";
    for (const std::string& ident : image_->idents())
        out_ += ".ident " + DumpText::Quote(ident.data(), static_cast<int>(ident.size())) + "\n";
    return true;
}

// Functions with a body take the segments 1, 2, ... in the order of their .function lines;
// external declarations have none.
bool SourceWriter::CheckFunctions() {
    FunctionManager& functions = image_->functions();
    int segment = 1;
    for (int f = 0; f < functions.Functions(); ++f) {
        Function* function = functions.Function_Index(f);
        const String& name = function->name();
        std::string which = "function " + std::to_string(f);
        if (!DumpText::IsIdentifier(name.c_str(), name.length()))
            return Fail(which + " is named " + DumpText::Quote(name.c_str(), name.length()) +
                        ", which is no identifier");
        if ((function->flags() & ~FUNCTION_KNOWN_FLAGS) != 0)
            return Fail(which + " has flags " +
                        DumpText::Hex(static_cast<unsigned>(function->flags()), 2) +
                        " that no qualifier sets");
        if ((function->flags() & FUNCTION_EXTERNAL) != 0) {
            if (function->segment() != -1 || function->segment_offset() != -1)
                return Fail(which + " is external but has a body in segment " +
                            std::to_string(function->segment()));
        } else if (function->segment() != segment++ || function->segment_offset() != 0) {
            return Fail(which + " has its body in segment " + std::to_string(function->segment()) +
                        " at offset " + std::to_string(function->segment_offset()) +
                        " instead of segment " + std::to_string(segment - 1) + " at offset 0");
        }
    }
    const SegmentManager& segments = image_->segments();
    if (segments.count() != segment || segments.start() != 0)
        return Fail("the file has " + std::to_string(segments.count()) +
                    " segments starting at segment " + std::to_string(segments.start()) +
                    ", not the top level and one per function body");
    return true;
}

bool SourceWriter::DecodeSegments() {
    const SegmentManager& segments = image_->segments();
    for (int s = 0; s < segments.count(); ++s) {
        const Segment* segment = segments.segment(s);
        if (segment == nullptr) return Fail("segment " + std::to_string(s) + " is missing");
        segments_.push_back(new Disassembly(*segment));
        const Disassembly& code = *segments_.back();
        for (int i = 0; i < code.Instructions(); ++i) {
            const DecodedInstruction& instruction = code.instruction(i);
            std::string where =
                "segment " + std::to_string(s) + " offset " + std::to_string(instruction.position);
            if (instruction.truncated)
                return Fail(where + ": the segment ends inside an instruction");
            if (instruction.entry == nullptr)
                return Fail(where + ": instruction code " + DumpText::Hex(instruction.code, 4) +
                            " has no mnemonic");
            for (int o = 0; o < instruction.operand_count; ++o) {
                const DecodedOperand& operand = instruction.operands[o];
                if (operand.kind == OPERAND_STRING && !Claim(operand.dword, Role{ROLE_STRING, 0, 0},
                                                             (where + ": an operand").c_str()))
                    return false;
            }
        }
        // Every function body ends with the return that .endfunction adds.
        if (s > 0 && (code.Instructions() == 0 ||
                      code.instruction(code.Instructions() - 1).code != OPCODE_RETN))
            return Fail("segment " + std::to_string(s) + " does not end with retn");
    }
    return true;
}

bool SourceWriter::CollectRoles() {
    VariableHash* tables[2] = {&image_->globals(), &image_->systems()};
    for (int t = 0; t < 2; ++t) {
        for (int slot = 0; slot < tables[t]->Entries(); ++slot) {
            std::string what = (t == 0 ? "global " : "system variable ") + std::to_string(slot);
            if (!Claim(tables[t]->entry(slot)->name_index,
                       Role{t == 0 ? ROLE_GLOBAL : ROLE_SYSTEM, slot, 0}, what.c_str()))
                return false;
        }
    }

    FunctionManager& functions = image_->functions();
    for (int f = 0; f < functions.Functions(); ++f) {
        Function* function = functions.Function_Index(f);
        std::string which = "function " + std::to_string(f);
        if (!Claim(function->name_index(), Role{ROLE_FUNCTION, f, 0}, which.c_str())) return false;
        VariableHash* locals = function->variables();
        std::vector<bool> is_parameter(static_cast<size_t>(locals->Entries()), false);
        int k = 0;
        List<FunctionParameter>& parameters = function->parameters();
        for (FunctionParameter* parameter = parameters.First(); parameter != nullptr;
             parameter = parameters.Next(), ++k) {
            std::string what = which + " parameter " + std::to_string(k);
            const _VH_Entry* variable = locals->entry(parameter->variable());
            // A parameter is declared as the local that carries its name.
            if (variable == nullptr || variable->name_index != parameter->name_index() ||
                is_parameter[static_cast<size_t>(parameter->variable())])
                return Fail(what + " is not its own local variable");
            if (parameter->flags() != PARAMETER_BY_VALUE &&
                parameter->flags() != PARAMETER_BY_REFERENCE)
                return Fail(what + " has flags " + std::to_string(parameter->flags()) +
                            ", neither value nor reference");
            is_parameter[static_cast<size_t>(parameter->variable())] = true;
            if (!Claim(parameter->name_index(), Role{ROLE_PARAMETER, f, k}, what.c_str()))
                return false;
        }
        for (int slot = 0; slot < locals->Entries(); ++slot) {
            if (is_parameter[static_cast<size_t>(slot)]) continue;
            std::string what = which + " local " + std::to_string(slot);
            if (!Claim(locals->entry(slot)->name_index, Role{ROLE_LOCAL, f, slot}, what.c_str()))
                return false;
        }
    }

    const LocalizedDictionary& localized = image_->localized();
    for (int j = 0; j < localized.Entries(); ++j) {
        std::string what = "localized piece " + std::to_string(j);
        if (!Claim(localized.Entry(j)->text, Role{ROLE_PIECE, j, 0}, what.c_str())) return false;
    }

    LocalizedLanguages& languages = image_->languages();
    for (int l = 0; l < languages.Entries(); ++l) {
        std::string what = "language " + std::to_string(l);
        if (!Claim(languages.language(l)->code, Role{ROLE_CODE, l, 0}, what.c_str())) return false;
        if (!Trusted(l)) continue;
        LocalizedIndex* index = image_->language_index(l);
        if (index == nullptr) return Fail(what + " is not found by its own code");
        for (int e = 0; e < index->Entries(); ++e) {
            std::string key = what + " key " + std::to_string(e);
            if (!Claim(index->entry(e)->key, Role{ROLE_KEY, l, e}, key.c_str())) return false;
        }
    }
    next_key_.assign(static_cast<size_t>(languages.Entries()), 0);
    return true;
}

// A .localized text adds its pieces last to first, each to the dictionary and then to the
// localized dictionary, each pointing to the one added before it; so the pieces of one text
// are consecutive in both, and the first one added ends its chain.
bool SourceWriter::GroupPieces() {
    const LocalizedDictionary& localized = image_->localized();
    int entries = image_->dictionary().entries();
    group_of_piece_.assign(static_cast<size_t>(localized.Entries()), -1);
    for (int j = 0; j < localized.Entries();) {
        const _LD_Entry* first = localized.Entry(j);
        if (first->next != -1)
            return Fail("localized piece " + std::to_string(j) + " is not the end of a text");
        PieceGroup group = {j, j, first->text};
        for (++j; j < localized.Entries() && localized.Entry(j)->next == j - 1; ++j) {
            if (localized.Entry(j)->text != group.text + (j - group.first))
                return Fail("localized piece " + std::to_string(j) +
                            " is not next to the other pieces of its text");
            group.last = j;
        }
        // The language code and the key follow the pieces.
        if (group.text + (group.last - group.first) + 2 >= entries)
            return Fail("localized piece " + std::to_string(group.first) +
                        " has no language code and key after it");
        group_of_piece_[static_cast<size_t>(group.first)] = static_cast<int>(groups_.size());
        groups_.push_back(group);
    }
    return true;
}

void SourceWriter::NameVariables() {
    VariableHash* tables[2] = {&image_->globals(), &image_->systems()};
    std::vector<std::string>* names[2] = {&global_names_, &system_names_};
    const char* prefixes[2] = {"g", "sys"};
    for (int t = 0; t < 2; ++t) {
        std::vector<std::string> texts;
        for (int slot = 0; slot < tables[t]->Entries(); ++slot)
            texts.push_back(Text(tables[t]->entry(slot)->name_index));
        *names[t] = variable_identifiers(texts, prefixes[t]);
    }
    FunctionManager& functions = image_->functions();
    for (int f = 0; f < functions.Functions(); ++f) {
        VariableHash* locals = functions.Function_Index(f)->variables();
        std::vector<std::string> texts;
        for (int slot = 0; slot < locals->Entries(); ++slot)
            texts.push_back(Text(locals->entry(slot)->name_index));
        local_names_.push_back(variable_identifiers(texts, "v"));
        next_parameter_.push_back(0);
        next_local_.push_back(0);
    }
}

// ---- the directives, in dictionary order ----

bool SourceWriter::Walk() {
    int entries = static_cast<int>(roles_.size());
    for (int d = 0; d < entries; ++d) {
        const Role role = roles_[static_cast<size_t>(d)];
        std::string where = "dictionary entry " + std::to_string(d);
        switch (role.kind) {
            case ROLE_FUNCTION: {
                if (role.first != next_function_)
                    return Fail(where + " names function " + std::to_string(role.first) +
                                " before function " + std::to_string(next_function_));
                if (open_external_ != -1)
                    return Fail(where + " stands between the parameters of function " +
                                std::to_string(open_external_));
                ++next_function_;
                if (!OpenFunction(role.first)) return false;
                break;
            }
            case ROLE_PARAMETER:
                if (!Parameter(d, role)) return false;
                break;
            case ROLE_LOCAL:
                if (role.first != open_internal_)
                    return Fail(where + " names a local of function " + std::to_string(role.first) +
                                " outside its body");
                if (role.second != next_local_[static_cast<size_t>(role.first)]++)
                    return Fail(where + " declares local " + std::to_string(role.second) +
                                " out of order");
                out_ += ".local " +
                        local_names_[static_cast<size_t>(role.first)]
                                    [static_cast<size_t>(role.second)] +
                        " " + Quoted(d) + "\n";
                break;
            case ROLE_GLOBAL:
                if (role.first != next_global_++)
                    return Fail(where + " declares global " + std::to_string(role.first) +
                                " out of order");
                out_ += ".global " + global_names_[static_cast<size_t>(role.first)] + " " +
                        Quoted(d) + "\n";
                break;
            case ROLE_SYSTEM:
                if (role.first != next_system_++)
                    return Fail(where + " declares system variable " + std::to_string(role.first) +
                                " out of order");
                out_ += ".system " + system_names_[static_cast<size_t>(role.first)] + " " +
                        Quoted(d) + "\n";
                break;
            case ROLE_PIECE:
            case ROLE_CODE:
                if (!Localized(&d)) return false;
                break;
            case ROLE_KEY:
                return Fail(where + " is a localization key without its language code before it");
            default: {
                // A text no section names may still be the code of a .localized line with an
                // empty text whose key follows; anything else is a .string of its own.
                const Role* after = d + 1 < entries ? &roles_[static_cast<size_t>(d + 1)] : nullptr;
                if (role.kind == ROLE_NONE && after != nullptr && after->kind == ROLE_KEY &&
                    image_->language_index(after->first)->entry(after->second)->value == -1) {
                    if (!Localized(&d)) return false;
                    break;
                }
                out_ += ".string str" + std::to_string(d) + " " + Quoted(d) + "\n";
            }
        }
    }
    return true;
}

bool SourceWriter::Trusted(int language) const {
    return index_per_language(image_->file().version()) || language == 0;
}

// One .localized line from the entry at '*index' on: its pieces (if any), the language code and
// the key. '*index' is left at the key.
bool SourceWriter::Localized(int* index) {
    int d = *index;
    std::string where = "dictionary entry " + std::to_string(d);
    int head = -1;
    std::vector<LocalizedPiece> pieces;
    if (roles_[static_cast<size_t>(d)].kind == ROLE_PIECE) {
        int j = roles_[static_cast<size_t>(d)].first;
        int g = group_of_piece_[static_cast<size_t>(j)];
        const PieceGroup* group = g == -1 ? nullptr : &groups_[static_cast<size_t>(g)];
        if (group == nullptr || group->text != d)
            return Fail(where + " is a localized piece apart from the start of its text");
        head = group->last;
        if (!LocalizedText::Pieces(image_->dictionary(), image_->localized(), head, &pieces))
            return Fail(where + " starts a broken chain of localized pieces");
        d += group->last - group->first + 1;
    }
    int code = d;
    int key = d + 1;
    if (key >= static_cast<int>(roles_.size()))
        return Fail("dictionary entry " + std::to_string(code) +
                    " is a language code without a key after it");
    const Role& code_role = roles_[static_cast<size_t>(code)];
    const Role& key_role = roles_[static_cast<size_t>(key)];
    LocalizedLanguages& languages = image_->languages();

    // The first line of a language makes it; later lines find it by their code's text.
    int language = -1;
    if (code_role.kind == ROLE_CODE) {
        if (code_role.first != languages_made_)
            return Fail(where + " makes language " + std::to_string(code_role.first) +
                        " before language " + std::to_string(languages_made_));
        language = languages_made_++;
    } else if (code_role.kind == ROLE_NONE) {
        std::string text = Text(code);
        for (int l = 0; l < languages_made_ && language == -1; ++l) {
            std::string other = Text(languages.language(l)->code);
            if (name_order(other.data(), static_cast<int>(other.size()), text.data(),
                           static_cast<int>(text.size())) == 0)
                language = l;
        }
    }
    if (language == -1)
        return Fail("dictionary entry " + std::to_string(code) +
                    " should be the language code of a localized text, but is none");

    if (Trusted(language)) {
        int& next = next_key_[static_cast<size_t>(language)];
        if (key_role.kind != ROLE_KEY || key_role.first != language || key_role.second != next ||
            image_->language_index(language)->entry(next)->value != head)
            return Fail("dictionary entry " + std::to_string(key) +
                        " should be the next key of language " + std::to_string(language));
        ++next;
    } else if (key_role.kind != ROLE_NONE) {
        return Fail("dictionary entry " + std::to_string(key) +
                    " should be a key of a language without its index");
    }

    std::string key_text = Text(key);
    // An empty key repeats the key of the line before, so it can only come first.
    if (key_text.empty() && key_written_)
        return Fail("dictionary entry " + std::to_string(key) +
                    " is an empty key after a non-empty one, which no .localized line gives");
    if (!key_text.empty()) key_written_ = true;

    std::string text;
    if (!LocalizedText::Written(pieces, &text))
        return Fail(where + " starts localized pieces that no text splits into");
    out_ += ".localized " + Quoted(code) + " " + Quoted(key) + " " +
            DumpText::Quote(text.data(), static_cast<int>(text.size())) + "\n";
    *index = key;
    return true;
}

bool SourceWriter::Parameter(int index, const Role& role) {
    Function* function = image_->functions().Function_Index(role.first);
    bool external = (function->flags() & FUNCTION_EXTERNAL) != 0;
    std::string where = "dictionary entry " + std::to_string(index);
    if (external ? open_external_ != role.first
                 : (open_internal_ != role.first || open_external_ != -1))
        return Fail(where + " names a parameter of function " + std::to_string(role.first) +
                    " outside its declaration");
    if (role.second != next_parameter_[static_cast<size_t>(role.first)]++)
        return Fail(where + " declares parameter " + std::to_string(role.second) + " out of order");
    FunctionParameter* parameter = nullptr;
    int k = 0;
    List<FunctionParameter>& parameters = function->parameters();
    for (parameter = parameters.First(); k < role.second; parameter = parameters.Next()) ++k;
    int slot = parameter->variable();
    if (slot != next_local_[static_cast<size_t>(role.first)]++)
        return Fail(where + " declares parameter " + std::to_string(role.second) + " in local " +
                    std::to_string(slot) + " out of order");
    out_ += ".parameter " +
            local_names_[static_cast<size_t>(role.first)][static_cast<size_t>(slot)] + " " +
            Quoted(index) +
            (parameter->flags() == PARAMETER_BY_REFERENCE ? " reference\n" : " value\n");
    if (external && role.second == parameters.Entries() - 1) {
        out_ += ".endfunction\n";
        open_external_ = -1;
    }
    return true;
}

// An internal function stays open until the next one begins, so that every declaration made
// inside it in the original source lands inside it again; external declarations in between
// are nested in it, which the assembler allows.
bool SourceWriter::OpenFunction(int f) {
    Function* function = image_->functions().Function_Index(f);
    bool external = (function->flags() & FUNCTION_EXTERNAL) != 0;
    if (!external && !CloseInternal()) return false;
    out_ += ".function " + std::string(function->name().c_str());
    if (external) out_ += " external";
    for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS) {
        if ((function->flags() & qualifier.bit) != 0) out_ += std::string(" ") + qualifier.name;
    }
    out_ += "\n";
    if (!external) {
        open_internal_ = f;
    } else if (function->parameters().Entries() == 0) {
        out_ += ".endfunction\n";
    } else {
        open_external_ = f;
    }
    return true;
}

bool SourceWriter::CloseInternal() {
    if (open_internal_ == -1) return true;
    Function* function = image_->functions().Function_Index(open_internal_);
    open_internal_ = -1;
    if (!Code(function->segment(), function, true)) return false;
    out_ += ".endfunction\n";
    return true;
}

// ---- code ----

// The instructions of one segment; a function's closing retn is left to .endfunction.
bool SourceWriter::Code(int segment, Function* function, bool strip_return) {
    const Disassembly& code = *segments_[static_cast<size_t>(segment)];
    int count = code.Instructions() - (strip_return ? 1 : 0);
    int end = strip_return ? code.instruction(count).position : code.length();
    for (int i = 0; i < count; ++i) {
        const DecodedInstruction& instruction = code.instruction(i);
        int label = code.Label(instruction.position);
        if (label != 0) out_ += "L" + std::to_string(label) + ":\n";
        out_ += "\t";
        out_.append(instruction.entry->name, instruction.entry->name_length);
        for (int o = 0; o < instruction.operand_count; ++o) {
            std::string text;
            if (!Operand(code, i, o, function, end, &text)) {
                return Fail("segment " + std::to_string(segment) + " offset " +
                            std::to_string(instruction.position) + ": " + error_);
            }
            out_ += (o == 0 ? " " : ", ") + text;
        }
        out_ += "\n";
    }
    int label = code.Label(end);
    if (label != 0) out_ += "L" + std::to_string(label) + ":\n";
    return true;
}

bool SourceWriter::Operand(const Disassembly& code, int i, int o, Function* function, int limit,
                           std::string* text) {
    const DecodedOperand& operand = code.instruction(i).operands[o];
    int value = operand.dword;
    switch (operand.kind) {
        case OPERAND_INTEGER:
            *text = std::to_string(value);
            return true;
        case OPERAND_NUMBER:
            return DoubleText(operand.real, text);
        case OPERAND_STRING:
            *text = "str" + std::to_string(value);
            return true;
        case OPERAND_SYSTEM:
        case OPERAND_GLOBAL:
        case OPERAND_LOCAL: {
            // Top-level code names globals where function code names its locals.
            const std::vector<std::string>& names =
                operand.kind == OPERAND_SYSTEM ? system_names_
                : operand.kind == OPERAND_LOCAL && function != nullptr
                    ? local_names_[static_cast<size_t>(function->index())]
                    : global_names_;
            if (value < 0 || value >= static_cast<int>(names.size())) {
                error_ = "variable " + std::to_string(value) + " does not exist";
                return false;
            }
            *text = names[static_cast<size_t>(value)];
            return true;
        }
        case OPERAND_LABEL:
            if (!code.IsBoundary(operand.target) || operand.target > limit) {
                error_ = "the jump lands at " + std::to_string(operand.target) +
                         ", where no label can stand";
                return false;
            }
            *text = "L" + std::to_string(code.Label(static_cast<int>(operand.target)));
            return true;
        case OPERAND_FUNCTION: {
            Function* called = image_->functions().Function_Index(value);
            if (called == nullptr) {
                error_ = "function " + std::to_string(value) + " does not exist";
                return false;
            }
            *text = called->name().c_str();
            return true;
        }
        default:
            error_ = "an operand of kind " + std::to_string(operand.kind) + " cannot be written";
            return false;
    }
}

// pushf reads its operand with stod: a number token (digits, one '.', a leading '-') or an
// identifier, of which "nan" and "inf" are the only doubles. A text is used only when stod
// gives back the very same bits, so -nan and NaN payloads are refused.
bool SourceWriter::DoubleText(double value, std::string* text) {
    if (std::isnan(value)) {
        *text = "nan";
    } else if (std::isinf(value)) {
        // There is no "-inf" token; a number too large for a double reads as infinity.
        *text = value > 0 ? "inf" : "-1" + std::string(INFINITE_DIGITS, '0');
    } else {
        *text = DumpText::FixedDouble(value);
    }
    double back = TarnApplication::stod(text->data(), static_cast<int>(text->size()), -1, nullptr);
    if (text->empty() || double_bits(back) != double_bits(value)) {
        error_ = "the double " + DumpText::Double(value) + " has no text that reads back as it";
        return false;
    }
    return true;
}

bool SourceWriter::Finish() {
    if (open_external_ != -1)
        return Fail("function " + std::to_string(open_external_) + " lacks parameters");
    if (!CloseInternal()) return false;
    // Every name, parameter, local, language and key has its own dictionary entry, so the walk
    // has declared them all; what is left is the top-level code.
    out_ += "; top level\n";
    return Code(0, nullptr, false);
}

std::string SourceWriter::Text(int index) const {
    int size = 0;
    const char* text = image_->dictionary().Entry(index, &size);
    return text == nullptr ? std::string() : std::string(text, static_cast<size_t>(size));
}

std::string SourceWriter::Quoted(int index) const {
    std::string text = Text(index);
    return DumpText::Quote(text.data(), static_cast<int>(text.size()));
}
