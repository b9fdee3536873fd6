// Seeded sources of the benchmark presets: programs shaped like real ones (functions with
// parameters and locals, loops and forward jumps, calls, globals, string constants and
// .localized entries), written straight to a file so that the large presets never sit in memory.
// The same program can be written as Lua 5.4 source and as x86-64 assembly for GNU as, making
// the same random choices, so that the runner can time those tools on a program of the same
// shape in the same run.
#ifndef TARN_BENCH_PRESETGENERATOR_H
#define TARN_BENCH_PRESETGENERATOR_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/TextCorpus.h"

struct PresetShape {
    const char* name;
    int functions;
    int instructions_per_function;  // on average
    int labels_per_function;        // on average
    int strings;
    bool distinct_strings;  // the strings-N presets: every text different
    int globals;
    int localized;
    bool own_names;  // every parameter and local with a run-time name of its own
};

// The language a preset is written in.
enum class PresetFlavor { TNASM, LUA, GAS };

// What a generated source holds, for the runner's rates.
struct PresetCounts {
    int64_t bytes = 0;
    int64_t lines = 0;
    int64_t instruction_lines = 0;
    int64_t functions = 0;
    int64_t labels = 0;
    int64_t strings = 0;
};

// The presets, by name: small, medium, large, large-names, strings-200k, strings-1m.
const PresetShape* find_preset(const std::string& name);
const std::vector<PresetShape>& presets();

class PresetGenerator {
  public:
    PresetGenerator(const PresetShape& shape, uint32_t seed,
                    PresetFlavor flavor = PresetFlavor::TNASM);

    // Writes the source to 'out'; false when a write failed.
    bool Write(FILE* out);
    const PresetCounts& counts() const { return counts_; }

  private:
    int Pick(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
    bool Chance(int percent) { return Pick(100) < percent; }
    void Line(const std::string& text);
    void Strings(int count);
    void Function(int index);
    void Body(int index, const std::vector<std::string>& locals);
    void Statement(int function, const std::vector<std::string>& locals,
                   std::vector<std::string>* open_forward, int* label_number);
    static std::string Quote(const std::string& text);
    std::string Quoted(const std::string& text) const;
    // How the other flavors name a string constant, a local (by its tnasm identifier), a
    // global, a function's label.
    std::string Text(int index) const;
    std::string Local(const std::string& id) const;
    std::string Global(int index) const;
    std::string Label(int function, const std::string& label) const;
    void Emit(const std::string& text);

    PresetShape shape_;
    PresetFlavor flavor_;
    std::mt19937 random_;
    TextCorpus corpus_;
    FILE* out_ = nullptr;
    bool ok_ = true;
    PresetCounts counts_;
    int strings_declared_ = 0;
};

#endif
