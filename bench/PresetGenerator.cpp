// Benchmark presets: realistic programs of a given size, seeded so that every run measures
// the same source. Every name is declared before use and every jump and call has its target,
// so each preset assembles.
#include "bench/PresetGenerator.h"

#include <cstring>

#include "driver/DumpText.h"

namespace {

// Sizes of real sources: about 1 MB, 20 MB and 100 MB of code (the last also with a run-time
// name for every variable, so that its dictionary holds about 700,000 entries), and two pools
// of distinct string constants with a little code around them.
// clang-format off
const std::vector<PresetShape> PRESETS = {
    //  name            functions  per fn  labels  strings  distinct  globals  localized  own names
    {"small",               450,    131,    5,       4000,   false,    100,     200,   false},
    {"medium",             8000,    150,    5,      60000,   false,    400,    2000,   false},
    {"large",             40000,    152,    5,     250000,   false,   1000,   10000,   false},
    {"large-names",       40000,    150,    5,     400000,   false,   1000,   10000,   true},
    {"strings-200k",        200,     50,    3,     200000,   true,      50,     100,   false},
    {"strings-1m",         1000,     50,    3,    1000000,   true,      50,     100,   false},
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

PresetGenerator::PresetGenerator(const PresetShape& shape, uint32_t seed, PresetFlavor flavor)
    : shape_(shape),
      flavor_(flavor),
      random_(seed),
      corpus_(seed ^ 0x5bd1e995u, 5, 60, shape.distinct_strings) {}

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

// A string literal as the flavor writes it: Lua and GNU as take three-digit octal escapes.
std::string PresetGenerator::Quoted(const std::string& text) const {
    if (flavor_ == PresetFlavor::TNASM) return Quote(text);
    std::string quoted = "\"";
    for (unsigned char c : text) {
        if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
            quoted += static_cast<char>(c);
        } else {
            char escape[6];
            std::snprintf(escape, sizeof escape, "\\%03o", c);
            quoted += escape;
        }
    }
    return quoted + "\"";
}

std::string PresetGenerator::Text(int index) const {
    return (flavor_ == PresetFlavor::LUA ? "S[" : "text") + std::to_string(index) +
           (flavor_ == PresetFlavor::LUA ? "]" : "");
}

// Locals live in the frame for GNU as: the n-th at -8(n+1) from the frame pointer.
std::string PresetGenerator::Local(const std::string& id) const {
    if (flavor_ != PresetFlavor::GAS) return id;
    size_t digits = id.find_first_of("0123456789");
    return std::to_string(-8 * (std::stoi(id.substr(digits)) + 1)) + "(%rbp)";
}

std::string PresetGenerator::Global(int index) const {
    return "global" + std::to_string(index) + (flavor_ == PresetFlavor::GAS ? "(%rip)" : "");
}

std::string PresetGenerator::Label(int function, const std::string& label) const {
    return ".L" + std::to_string(function) + "_" + label;
}

void PresetGenerator::Emit(const std::string& text) {
    Line("\t" + text);
    counts_.instruction_lines++;
}

void PresetGenerator::Strings(int count) {
    for (int i = 0; i < count && strings_declared_ < shape_.strings; i++) {
        std::string text = Quoted(corpus_.Next());
        int index = strings_declared_++;
        if (flavor_ == PresetFlavor::TNASM) {
            Line(".string " + Text(index) + " " + text);
        } else if (flavor_ == PresetFlavor::LUA) {
            Line(Text(index) + " = " + text);
        } else {
            Line(Text(index) + ": .asciz " + text);
        }
        counts_.strings++;
    }
}

// One statement of a body: straight-line arithmetic on locals and globals, string output, a
// call, a loop that jumps back to its head, or a test that jumps forward past a few lines. Every
// flavor draws the same numbers in the same order.
void PresetGenerator::Statement(int function, const std::vector<std::string>& locals,
                                std::vector<std::string>* open_forward, int* label_number) {
    auto local = [&]() {
        return Local(locals[static_cast<size_t>(Pick(static_cast<int>(locals.size())))]);
    };
    auto label = [&]() { return "label" + std::to_string((*label_number)++); };
    const bool lua = flavor_ == PresetFlavor::LUA;
    const bool gas = flavor_ == PresetFlavor::GAS;
    switch (Pick(10)) {
        case 0:
        case 1: {
            std::string from = local();
            std::string number = std::to_string(Pick(1000));
            bool add = Chance(50);
            std::string to = local();
            if (lua) {
                Emit(to + " = " + from + (add ? " + " : " * ") + number);
            } else if (gas) {
                Emit("mov " + from + ", %rax");
                Emit((add ? "add $" : "imul $") + number + ", %rax");
                Emit("mov %rax, " + to);
            } else {
                Emit("pushl " + from);
                Emit("pushi " + number);
                Emit(add ? "add" : "mul");
                Emit("popl " + to);
            }
            break;
        }
        case 2: {
            std::string from = Global(Pick(shape_.globals));
            std::string with = local();
            std::string to = Global(Pick(shape_.globals));
            if (lua) {
                Emit(to + " = " + from + " .. " + with);
            } else if (gas) {
                Emit("mov " + from + ", %rax");
                Emit("add " + with + ", %rax");
                Emit("mov %rax, " + to);
            } else {
                Emit("pushg " + from);
                Emit("pushl " + with);
                Emit("cat");
                Emit("popg " + to);
            }
            break;
        }
        case 3:
            if (strings_declared_ > 0) {
                std::string text = Text(Pick(strings_declared_));
                if (lua) {
                    Emit("io.write(" + text + ")");
                } else if (gas) {
                    Emit("lea " + text + "(%rip), %rdi");
                    Emit("call puts");
                } else {
                    Emit("pushc " + text);
                    Emit("out");
                }
            } else {
                Emit(lua ? "io.write()" : gas ? "call puts" : "out");
            }
            break;
        case 4: {
            int callee = Pick(shape_.functions);
            if (callee == function) callee = (callee + 1) % shape_.functions;
            std::string name = "function" + std::to_string(callee);
            std::string argument = local();
            std::string result = local();
            if (lua) {
                Emit(result + " = " + name + "(" + argument + ")");
            } else if (gas) {
                Emit("mov " + argument + ", %rdi");
                Emit("call " + name);
                Emit("mov %rax, " + result);
            } else {
                Emit("pushl " + argument);
                Emit("call " + name);
                Emit("popl " + result);
            }
            break;
        }
        case 5: {
            if (*label_number >= shape_.labels_per_function * 2) break;
            std::string head = label();
            std::string tested = local();
            std::string bound = std::to_string(1 + Pick(100));
            std::string counter = local();
            std::string to = local();
            if (lua) {
                Line("::" + head + "::");
                Emit(to + " = " + counter + " + 1");
                Emit("if " + tested + " < " + bound + " then goto " + head + " end");
            } else if (gas) {
                Line(Label(function, head) + ":");
                Emit("mov " + counter + ", %rax");
                Emit("add $1, %rax");
                Emit("mov %rax, " + to);
                Emit("cmpq $" + bound + ", " + tested);
                Emit("jl " + Label(function, head));
            } else {
                Line(head + ":");
                Emit("pushl " + tested);
                Emit("pushi " + bound);
                Emit("lt");
                Emit("pushl " + counter);
                Emit("pushi 1");
                Emit("add");
                Emit("popl " + to);
                Emit("jmp_lt " + head);
            }
            counts_.labels++;
            break;
        }
        case 6: {
            if (*label_number >= shape_.labels_per_function * 2) break;
            open_forward->push_back(label());
            std::string tested = local();
            std::string fraction = std::to_string(Pick(100));
            std::string whole = std::to_string(Pick(100));
            if (lua) {
                Emit("if " + tested + " == " + whole + "." + fraction + " then goto " +
                     open_forward->back() + " end");
            } else if (gas) {
                Emit("cmpq $" + whole + ", " + tested);
                Emit("je " + Label(function, open_forward->back()));
            } else {
                Emit("pushl " + tested);
                Emit("pushf " + whole + "." + fraction);
                Emit("cmp");
                Emit("jmp_eq " + open_forward->back());
            }
            break;
        }
        case 7: {
            if (!open_forward->empty()) {
                const std::string& target = open_forward->back();
                Line(lua ? "::" + target + "::" : gas ? Label(function, target) + ":" : target + ":");
                open_forward->pop_back();
                counts_.labels++;
            }
            std::string line = std::to_string(Pick(5000));
            Emit(lua ? "line = " + line : gas ? ".loc 1 " + line : "lineno " + line);
            break;
        }
        default: {
            std::string first = local();
            std::string second = local();
            std::string to = local();
            if (lua) {
                Emit(to + " = " + first + " == " + second);
            } else if (gas) {
                Emit("mov " + first + ", %rax");
                Emit("cmp " + second + ", %rax");
                Emit("sete %al");
                Emit("movzbq %al, %rax");
                Emit("mov %rax, " + to);
            } else {
                Emit("pushl " + first);
                Emit("dup");
                Emit("pushl " + second);
                Emit("eq");
                Emit("popl " + to);
            }
        }
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
        const std::string& target_label = open_forward.back();
        Line(flavor_ == PresetFlavor::LUA   ? "::" + target_label + "::"
             : flavor_ == PresetFlavor::GAS ? Label(index, target_label) + ":"
                                            : target_label + ":");
        open_forward.pop_back();
        counts_.labels++;
    }
    if (flavor_ == PresetFlavor::LUA) {
        Emit("do return " + locals[0] + " end");
    } else if (flavor_ == PresetFlavor::GAS) {
        Emit("mov " + Local(locals[0]) + ", %rax");
        Emit("leave");
        Emit("ret");
    } else {
        Emit("pushl " + locals[0]);
        Emit("retn");
    }
}

// A run-time name: shared by many variables (as short names are in real programs), or with
// 'own_names' made from the function's index so that every one is distinct.
void PresetGenerator::Function(int index) {
    std::string name = "function" + std::to_string(index);
    bool is_private = Chance(10);
    bool compress = Chance(5);
    std::vector<std::string> locals;
    std::vector<std::string> lines;
    std::string suffix = shape_.own_names ? "_" + std::to_string(index) : "";
    for (int p = Pick(4); p > 0; p--) {
        std::string id = "param" + std::to_string(locals.size());
        bool reference = Chance(20);
        lines.push_back(".parameter " + id + " \"" + id + suffix + "\"" +
                        (reference ? " reference" : ""));
        locals.push_back(id);
    }
    size_t parameters = locals.size();
    for (int l = 1 + Pick(6); l > 0; l--) {
        std::string id = "local" + std::to_string(locals.size());
        lines.push_back(".local " + id + " \"" + (Chance(50) ? "count" : "item_") +
                        std::to_string(l) + suffix + "\"");
        locals.push_back(id);
    }
    counts_.functions++;
    if (flavor_ == PresetFlavor::TNASM) {
        std::string header = ".function " + name;
        if (is_private) header += " private";
        if (compress) header += " compresswhitespace";
        Line(header);
        for (const std::string& line : lines) Line(line);
    } else if (flavor_ == PresetFlavor::LUA) {
        std::string header = "function " + name + "(";
        for (size_t p = 0; p < parameters; p++) header += (p > 0 ? ", " : "") + locals[p];
        Line(header + ")");
        if (locals.size() > parameters) {
            std::string declared = "local ";
            for (size_t l = parameters; l < locals.size(); l++) {
                declared += (l > parameters ? ", " : "") + locals[l];
            }
            Line(declared);
        }
        // A local used before any assignment is nil; the arithmetic never runs, only compiles.
    } else {
        if (!is_private) Line(".globl " + name);
        Line(name + ":");
        Emit("push %rbp");
        Emit("mov %rsp, %rbp");
        Emit("sub $" + std::to_string(8 * (locals.size() + 1)) + ", %rsp");
    }
    Body(index, locals);
    if (flavor_ == PresetFlavor::TNASM) Line(".endfunction");
    if (flavor_ == PresetFlavor::LUA) Line("end");
}

bool PresetGenerator::Write(FILE* out) {
    out_ = out;
    const bool lua = flavor_ == PresetFlavor::LUA;
    const bool gas = flavor_ == PresetFlavor::GAS;
    Line(std::string(lua ? "-- " : gas ? "# " : "; ") + "benchmark preset " + shape_.name);
    if (lua) {
        Line("S = {}");
        Line("L = {}");
    } else if (gas) {
        Line(".file 1 \"" + std::string(shape_.name) + ".c\"");
        Line(".data");
    } else {
        Line(".version 1.8");
    }
    for (int g = 0; g < shape_.globals; g++) {
        std::string name = "global" + std::to_string(g);
        std::string value = "\"G_" + std::to_string(g) + "\"";
        Line(lua ? name + " = " + value : gas ? name + ": .quad 0" : ".global " + name + " " + value);
    }
    if (!lua && !gas) Line(".system y0 \"SYS_PATH\"");
    int chunks = shape_.functions + 1;
    for (int f = 0; f < shape_.functions; f++) {
        int count = shape_.strings / chunks + (Pick(chunks) < shape_.strings % chunks ? 1 : 0);
        if (gas) Line(".section .rodata");
        Strings(count);
        if (gas) Line(".text");
        Function(f);
    }
    if (gas) Line(".section .rodata");
    Strings(shape_.strings);
    for (int i = 0; i < shape_.localized; i++) {
        std::string text = corpus_.Next();
        if (Chance(40)) text += " %name%";
        const char* language = LANGUAGES[Pick(3)];
        std::string key = "key" + std::to_string(i);
        if (lua) {
            Line("L[\"" + std::string(language) + "\"] = {" + key + " = " + Quoted(text) + "}");
        } else if (gas) {
            Line(".L" + key + ": .asciz " + Quoted(text));
        } else {
            Line(std::string(".localized \"") + language + "\" \"" + key + "\" " + Quoted(text));
        }
    }
    return ok_;
}
