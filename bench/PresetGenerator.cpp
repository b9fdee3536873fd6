// Benchmark presets: realistic programs of a given size, seeded so that every run measures
// the same source. Every name is declared before use and every jump and call has its target,
// so each preset assembles.
#include "bench/PresetGenerator.h"

#include <cstring>

#include "driver/DumpText.h"

namespace {

// Sizes of the reference sources: about 1 MB, 20 MB and 100 MB of code, and two pools
// of distinct string constants with a little code around them.
// clang-format off
const std::vector<PresetShape> PRESETS = {
    //  name            functions  per fn  labels  strings  distinct  globals  localized
    {"small",               450,    131,    5,       4000,   false,    100,     200},
    {"medium",             8000,    150,    5,      60000,   false,    400,    2000},
    {"large",             40000,    152,    5,     250000,   false,   1000,   10000},
    {"strings-200k",        200,     50,    3,     200000,   true,      50,     100},
    {"strings-1m",         1000,     50,    3,    1000000,   true,      50,     100},
};
// clang-format on

const char* const LANGUAGES[] = {"en-US", "de-DE", "fr-FR"};

}  // namespace

const std::vector<PresetShape>& presets() {
    return PRESETS;
}

const PresetShape* find_preset(const std::string& name) {
    for (const PresetShape& shape : PRESETS) {
        if (name == shape.name) return &shape;
    }
    return nullptr;
}

PresetGenerator::PresetGenerator(const PresetShape& shape, uint32_t seed)
    : shape_(shape), random_(seed), corpus_(seed ^ 0x5bd1e995u, 5, 60, shape.distinct_strings) {}

void PresetGenerator::Line(const std::string& text) {
    if (!ok_) return;
    ok_ = std::fwrite(text.data(), 1, text.size(), out_) == text.size() &&
          std::fputc('\n', out_) != EOF;
    counts_.bytes += static_cast<int64_t>(text.size()) + 1;
    counts_.lines++;
}

std::string PresetGenerator::Quote(const std::string& text) {
    return DumpText::Quote(text.data(), static_cast<int>(text.size()));
}

void PresetGenerator::Strings(int count) {
    for (int i = 0; i < count && strings_declared_ < shape_.strings; i++) {
        Line(".string text" + std::to_string(strings_declared_++) + " " + Quote(corpus_.Next()));
        counts_.strings++;
    }
}

// One statement of a body: straight-line arithmetic on locals and globals, string output, a
// call, a loop that jumps back to its head, or a test that jumps forward past a few lines.
void PresetGenerator::Statement(int function, const std::vector<std::string>& locals,
                                std::vector<std::string>* open_forward, int* label_number) {
    auto local = [&]() {
        return locals[static_cast<size_t>(Pick(static_cast<int>(locals.size())))];
    };
    auto global = [&]() { return "global" + std::to_string(Pick(shape_.globals)); };
    auto emit = [&](const std::string& text) {
        Line("\t" + text);
        counts_.instruction_lines++;
    };
    auto label = [&]() { return "label" + std::to_string((*label_number)++); };
    switch (Pick(10)) {
        case 0:
        case 1:
            emit("pushl " + local());
            emit("pushi " + std::to_string(Pick(1000)));
            emit(Chance(50) ? "add" : "mul");
            emit("popl " + local());
            break;
        case 2:
            emit("pushg " + global());
            emit("pushl " + local());
            emit("cat");
            emit("popg " + global());
            break;
        case 3:
            if (strings_declared_ > 0) emit("pushc text" + std::to_string(Pick(strings_declared_)));
            emit("out");
            break;
        case 4: {
            int callee = Pick(shape_.functions);
            if (callee == function) callee = (callee + 1) % shape_.functions;
            emit("pushl " + local());
            emit("call function" + std::to_string(callee));
            emit("popl " + local());
            break;
        }
        case 5: {
            if (*label_number >= shape_.labels_per_function * 2) break;
            std::string head = label();
            Line(head + ":");
            emit("pushl " + local());
            emit("pushi " + std::to_string(1 + Pick(100)));
            emit("lt");
            emit("pushl " + local());
            emit("pushi 1");
            emit("add");
            emit("popl " + local());
            emit("jmp_lt " + head);
            counts_.labels++;
            break;
        }
        case 6:
            if (*label_number >= shape_.labels_per_function * 2) break;
            open_forward->push_back(label());
            emit("pushl " + local());
            emit("pushf " + std::to_string(Pick(100)) + "." + std::to_string(Pick(100)));
            emit("cmp");
            emit("jmp_eq " + open_forward->back());
            break;
        case 7:
            if (!open_forward->empty()) {
                Line(open_forward->back() + ":");
                open_forward->pop_back();
                counts_.labels++;
            }
            emit("lineno " + std::to_string(Pick(5000)));
            break;
        default:
            emit("pushl " + local());
            emit("dup");
            emit("pushl " + local());
            emit("eq");
            emit("popl " + local());
    }
}

void PresetGenerator::Body(int index, const std::vector<std::string>& locals) {
    int target = shape_.instructions_per_function / 2 + Pick(shape_.instructions_per_function + 1);
    int64_t start = counts_.instruction_lines;
    std::vector<std::string> open_forward;
    int label_number = 0;
    while (counts_.instruction_lines - start < target) {
        Statement(index, locals, &open_forward, &label_number);
    }
    while (!open_forward.empty()) {
        Line(open_forward.back() + ":");
        open_forward.pop_back();
        counts_.labels++;
    }
    Line("\tpushl " + locals[0]);
    Line("\tretn");
    counts_.instruction_lines += 2;
}

void PresetGenerator::Function(int index) {
    std::string name = "function" + std::to_string(index);
    std::string header = ".function " + name;
    if (Chance(10)) header += " private";
    if (Chance(5)) header += " compresswhitespace";
    Line(header);
    counts_.functions++;
    std::vector<std::string> locals;
    for (int p = Pick(4); p > 0; p--) {
        std::string id = "param" + std::to_string(locals.size());
        Line(".parameter " + id + " \"" + id + "\"" + (Chance(20) ? " reference" : ""));
        locals.push_back(id);
    }
    for (int l = 1 + Pick(6); l > 0; l--) {
        std::string id = "local" + std::to_string(locals.size());
        Line(".local " + id + " \"" + (Chance(50) ? "count" : "item_") + std::to_string(l) + "\"");
        locals.push_back(id);
    }
    Body(index, locals);
    Line(".endfunction");
}

bool PresetGenerator::Write(FILE* out) {
    out_ = out;
    Line(std::string("; benchmark preset ") + shape_.name);
    Line(".version 1.8");
    for (int g = 0; g < shape_.globals; g++) {
        Line(".global global" + std::to_string(g) + " \"G_" + std::to_string(g) + "\"");
    }
    Line(".system y0 \"SYS_PATH\"");
    int chunks = shape_.functions + 1;
    for (int f = 0; f < shape_.functions; f++) {
        Strings(shape_.strings / chunks + (Pick(chunks) < shape_.strings % chunks ? 1 : 0));
        Function(f);
    }
    Strings(shape_.strings);
    for (int i = 0; i < shape_.localized; i++) {
        std::string text = corpus_.Next();
        if (Chance(40)) text += " %name%";
        Line(std::string(".localized \"") + LANGUAGES[Pick(3)] + "\" \"key" + std::to_string(i) +
             "\" " + Quote(text));
    }
    return ok_;
}
