// Seeded generator of valid assembly sources. Every symbol is declared before the first
// operand that needs it, every label and function that an operand names exists, and names are
// distinct ignoring case, so each program assembles without an error.
#include "tests/support/ProgramGenerator.h"

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "assembler/OpcodeLookup.h"
#include "driver/DumpText.h"

namespace {

// Pieces of realistic texts: messages, markup, queries, paths and identifiers share many
// substrings, which is what the dictionary's byte sharing meets in real programs.
const char* const WORDS[] = {
    "error",  "the",    "file",   "could",    "not",   "be",     "opened", "user",   "name",
    "select", "from",   "where",  "order",    "by",    "insert", "into",   "values", "<div>",
    "</div>", "<span",  "class=", "/usr/",    "lib/",  "tarn/",  "index",  "html",   "id",
    "count",  "total",  "price",  "amount",   "%d",    "item",   "list",   "table",  "row",
    "column", "value",  "update", "set",      "login", "failed", "please", "try",    "again",
    "ok",     "cancel", "submit", "<a href=", "\"",    "\\",     "\n",     "\t",     "q=1&r=2",
};
const int WORD_COUNT = static_cast<int>(sizeof WORDS / sizeof WORDS[0]);

const char* const LANGUAGES[] = {"en-US", "de-DE", "fr-FR", "es-ES", "it-IT", "nl-NL"};
const int LANGUAGE_COUNT = static_cast<int>(sizeof LANGUAGES / sizeof LANGUAGES[0]);

const char* const QUALIFIERS[] = {"compresswhitespace",
                                  "erroroutputlevelon",
                                  "erroroutputleveloff",
                                  "stdoutinherit",
                                  "private",
                                  "internal"};
const int QUALIFIER_COUNT = static_cast<int>(sizeof QUALIFIERS / sizeof QUALIFIERS[0]);

class Generator {
  public:
    Generator(uint32_t seed, const ProgramShape& shape) : random_(seed), shape_(shape) {}

    std::string Run();

  private:
    int Pick(int n) { return n <= 0 ? 0 : static_cast<int>(random_() % static_cast<uint32_t>(n)); }
    bool Chance(int percent) { return Pick(100) < percent; }

    std::string Text(int min_length, int max_length);
    static std::string Quote(const std::string& text);
    std::string Integer();
    std::string Double();
    void DeclareStrings(int count);
    void Instruction(const std::vector<std::string>& locals,
                     const std::vector<std::string>& labels);
    void Body(int instructions, const std::vector<std::string>& locals, const std::string& prefix);
    void InternalFunction(int index);
    void ExternalFunction(int index, const char* indent);

    std::mt19937 random_;
    ProgramShape shape_;
    std::string out_;
    std::vector<std::string> strings_;
    std::vector<std::string> globals_;
    std::vector<std::string> systems_;
    std::vector<std::string> functions_;
    int strings_declared_ = 0;
};

std::string Generator::Text(int min_length, int max_length) {
    int target = min_length + Pick(max_length - min_length + 1);
    std::string text;
    while (static_cast<int>(text.size()) < target) {
        if (Chance(8)) {
            text += static_cast<char>(Pick(256));
        } else {
            text += WORDS[Pick(WORD_COUNT)];
            if (Chance(60)) text += ' ';
        }
    }
    text.resize(static_cast<size_t>(target));
    return text;
}

std::string Generator::Quote(const std::string& text) {
    return DumpText::Quote(text.data(), static_cast<int>(text.size()));
}

std::string Generator::Integer() {
    char text[32];
    switch (Pick(4)) {
        case 0:
            std::snprintf(text, sizeof text, "%d", Pick(10));
            break;
        case 1:
            std::snprintf(text, sizeof text, "-%d", Pick(100000));
            break;
        case 2:
            std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(random_()));
            break;
        default:
            std::snprintf(text, sizeof text, "%u", static_cast<unsigned>(random_() % 2000000000u));
    }
    return text;
}

std::string Generator::Double() {
    char text[48];
    std::snprintf(text, sizeof text, "%s%d.%d", Chance(30) ? "-" : "", Pick(100000), Pick(1000));
    return text;
}

void Generator::DeclareStrings(int count) {
    for (int i = 0; i < count && strings_declared_ < shape_.strings; ++i) {
        std::string id = "s" + std::to_string(strings_declared_++);
        out_ += ".string " + id + " " +
                Quote(Text(shape_.min_string_length, shape_.max_string_length)) + "\n";
        strings_.push_back(id);
    }
}

void Generator::Instruction(const std::vector<std::string>& locals,
                            const std::vector<std::string>& labels) {
    // Draw mnemonics until one has operands that this place can supply.
    for (;;) {
        const auto& entry = OpcodeLookup::opcodes[Pick(OpcodeLookup::LAST_SLOT + 1)];
        std::string line = "\t";
        line.append(entry.name, entry.name_length);
        bool usable = true;
        for (unsigned operand = 0; operand < entry.operand_count && usable; ++operand) {
            int kind = operand == 0 ? entry.operand_kind1 : entry.operand_kind2;
            line += operand == 0 ? " " : ", ";
            const std::vector<std::string>* pool = nullptr;
            switch (kind) {
                case OPERAND_INTEGER:
                    line += Integer();
                    break;
                case OPERAND_NUMBER:
                    line += Double();
                    break;
                case OPERAND_STRING:
                    pool = &strings_;
                    break;
                case OPERAND_SYSTEM:
                    pool = &systems_;
                    break;
                case OPERAND_GLOBAL:
                    pool = &globals_;
                    break;
                case OPERAND_LOCAL:
                    pool = &locals;
                    break;
                case OPERAND_LABEL:
                    pool = &labels;
                    break;
                case OPERAND_FUNCTION:
                    pool = &functions_;
                    break;
                default:
                    usable = false;
            }
            if (pool != nullptr) {
                if (pool->empty()) {
                    usable = false;
                } else {
                    line += (*pool)[static_cast<size_t>(Pick(static_cast<int>(pool->size())))];
                }
            }
        }
        if (!usable) continue;
        if (Chance(5)) line += " ; " + std::to_string(Pick(1000));
        out_ += line + "\n";
        return;
    }
}

void Generator::Body(int instructions, const std::vector<std::string>& locals,
                     const std::string& prefix) {
    std::vector<std::string> labels;
    int label_count = instructions == 0 ? 0 : shape_.labels_per_function;
    for (int i = 0; i < label_count; ++i) labels.push_back(prefix + "L" + std::to_string(i));
    // Each label is defined once, before a random instruction (or at the end).
    std::vector<int> label_at;
    for (int i = 0; i < label_count; ++i) label_at.push_back(Pick(instructions + 1));
    for (int i = 0; i <= instructions; ++i) {
        for (int l = 0; l < label_count; ++l) {
            if (label_at[static_cast<size_t>(l)] == i)
                out_ += labels[static_cast<size_t>(l)] + ":\n";
        }
        if (i < instructions) Instruction(locals, labels);
    }
}

void Generator::ExternalFunction(int index, const char* indent) {
    out_ += std::string(indent) + ".function x" + std::to_string(index) + " external";
    if (Chance(30)) out_ += " private";
    out_ += "\n";
    int parameters = Pick(shape_.max_parameters + 1);
    for (int p = 0; p < parameters; ++p) {
        out_ += std::string(indent) + ".parameter xp" + std::to_string(p) + " \"xp" +
                std::to_string(p) + "\"" + (Chance(50) ? " reference" : "") + "\n";
    }
    out_ += std::string(indent) + ".endfunction\n";
}

void Generator::InternalFunction(int index) {
    std::string name = "f" + std::to_string(index);
    out_ += ".function " + name;
    for (int q = Pick(3); q > 0; --q) out_ += std::string(" ") + QUALIFIERS[Pick(QUALIFIER_COUNT)];
    out_ += "\n";
    std::vector<std::string> locals;
    int parameters = Pick(shape_.max_parameters + 1);
    for (int p = 0; p < parameters; ++p) {
        std::string id = "p" + std::to_string(p);
        const char* kind = Chance(30) ? " reference" : (Chance(50) ? " value" : "");
        out_ += ".parameter " + id + " \"" + name + "_" + id + "\"" + kind + "\n";
        locals.push_back(id);
    }
    int local_count = Pick(shape_.max_locals + 1);
    for (int l = 0; l < local_count; ++l) {
        std::string id = "v" + std::to_string(l);
        out_ += ".local " + id + " \"" + name + "_" + id + "\"\n";
        locals.push_back(id);
    }
    Body(shape_.instructions_per_function, locals, name + "_");
    out_ += ".endfunction\n";
}

std::string Generator::Run() {
    out_ = "; generated program\n";
    if (shape_.languages > 1) out_ += ".version 1.8\n";
    if (shape_.disable_logging) out_ += ".disable_logging\n";
    for (int i = 0; i < shape_.idents; ++i) out_ += ".ident " + Quote(Text(0, 20)) + "\n";
    for (int i = 0; i < shape_.globals; ++i) {
        std::string id = "g" + std::to_string(i);
        out_ += ".global " + id + " \"G_" + std::to_string(i) + "\"\n";
        globals_.push_back(id);
    }
    for (int i = 0; i < shape_.systems; ++i) {
        std::string id = "y" + std::to_string(i);
        out_ += ".system " + id + " \"SYS_" + std::to_string(i) + "\"\n";
        systems_.push_back(id);
    }
    for (int i = 0; i < shape_.functions; ++i) functions_.push_back("f" + std::to_string(i));
    for (int i = 0; i < shape_.external_functions; ++i)
        functions_.push_back("x" + std::to_string(i));

    int chunks = shape_.functions + 1;
    DeclareStrings(shape_.strings / chunks + 1);
    Body(shape_.top_level_instructions, globals_, "top_");

    int externals_left = shape_.external_functions;
    for (int i = 0; i < shape_.functions; ++i) {
        DeclareStrings(shape_.strings / chunks + 1);
        InternalFunction(i);
        if (externals_left > 0 && Chance(50)) {
            ExternalFunction(shape_.external_functions - externals_left, "");
            --externals_left;
        }
    }
    while (externals_left > 0) {
        ExternalFunction(shape_.external_functions - externals_left, "");
        --externals_left;
    }
    DeclareStrings(shape_.strings);

    int languages = shape_.languages < 1 ? 1 : shape_.languages;
    if (languages > LANGUAGE_COUNT) languages = LANGUAGE_COUNT;
    for (int i = 0; i < shape_.localized; ++i) {
        std::string text = Text(0, 12);
        if (Chance(60)) text += "%" + std::string("var") + std::to_string(Pick(5)) + "%";
        if (Chance(30)) text += "100%% ";
        text += Text(0, 8);
        out_ += ".localized \"" + std::string(LANGUAGES[Pick(languages)]) + "\" \"key" +
                std::to_string(Pick(shape_.localized + 1)) + "\" " + Quote(text) + "\n";
    }
    return out_;
}

}  // namespace

ProgramShape random_small_shape(uint32_t seed) {
    std::mt19937 random(seed ^ 0x9E3779B9u);
    auto pick = [&random](int n) { return static_cast<int>(random() % static_cast<uint32_t>(n)); };
    ProgramShape shape;
    shape.functions = pick(5);
    shape.external_functions = pick(3);
    shape.instructions_per_function = pick(30);
    shape.top_level_instructions = pick(10);
    shape.strings = pick(20);
    shape.globals = pick(5);
    shape.systems = pick(3);
    shape.max_parameters = pick(4);
    shape.max_locals = pick(4);
    shape.labels_per_function = pick(4);
    shape.localized = pick(5);
    shape.languages = 1 + pick(3);
    shape.idents = pick(3);
    shape.max_string_length = 1 + pick(60);
    shape.disable_logging = pick(4) == 0;
    return shape;
}

std::string generate_program(uint32_t seed, const ProgramShape& shape) {
    return Generator(seed, shape).Run();
}
