// tnasm_bench_gen [--lua|--gas] PRESET OUTPUT [SEED]: writes the source of a benchmark preset
// (or the same program as Lua 5.4 or GNU as x86-64 source) and prints what it holds, one
// "name value" pair a line, for the runner.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/PresetGenerator.h"

int main(int argc, char** argv) {
    PresetFlavor flavor = PresetFlavor::TNASM;
    if (argc >= 2 && (std::strcmp(argv[1], "--lua") == 0 || std::strcmp(argv[1], "--gas") == 0)) {
        flavor = argv[1][2] == 'l' ? PresetFlavor::LUA : PresetFlavor::GAS;
        argc--;
        argv++;
    }
    const PresetShape* shape = argc >= 3 ? find_preset(argv[1]) : nullptr;
    if (shape == nullptr) {
        std::fprintf(stderr, "usage: %s [--lua|--gas] PRESET OUTPUT [SEED]\npresets:", argv[0]);
        for (const PresetShape& preset : presets()) std::fprintf(stderr, " %s", preset.name);
        std::fprintf(stderr, "\n");
        return 1;
    }
    uint32_t seed = argc >= 4 ? static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10)) : 2024;
    FILE* out = std::fopen(argv[2], "wb");
    if (out == nullptr) {
        std::perror(argv[2]);
        return 1;
    }
    PresetGenerator generator(*shape, seed, flavor);
    bool written = generator.Write(out);
    if (std::fclose(out) != 0 || !written) {
        std::perror(argv[2]);
        return 1;
    }
    const PresetCounts& counts = generator.counts();
    std::printf(
        "bytes %lld\nlines %lld\ninstruction_lines %lld\nfunctions %lld\nlabels %lld\n"
        "strings %lld\n",
        static_cast<long long>(counts.bytes), static_cast<long long>(counts.lines),
        static_cast<long long>(counts.instruction_lines), static_cast<long long>(counts.functions),
        static_cast<long long>(counts.labels), static_cast<long long>(counts.strings));
    return 0;
}
