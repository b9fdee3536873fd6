// tnasm_packer_worst [FAMILY ...]: times the dictionary repacking on the input shapes that are
// hardest for it, each at three sizes that double, and prints per size the pool bytes, the
// seconds, whether the bounded fallback took over, and how much the time grew against the
// size before. Repacking is meant to stay linear on every shape: a growth near 2 per doubling
// is what the suite shows, and a growth near 4 is a quadratic corner come back.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/PackerShapes.h"
#include "compiled/Dictionary.h"
#include "compiled/DictionaryPacker.h"

namespace {

struct Timed {
    double seconds;
    int64_t pool;
    bool fell_back;
};

Timed time_pack(const std::vector<std::string>& texts) {
    std::vector<DictionaryPacker::Text> views;
    int64_t pool = 0;
    for (const std::string& text : texts) {
        views.push_back(DictionaryPacker::Text{text.data(), static_cast<int>(text.size())});
        pool += static_cast<int64_t>(text.size());
    }
    std::vector<int> offsets(texts.size());
    double best = 1e9;
    bool fell_back = false;
    // The best of a few runs: the machine is shared, and the shortest run is the least disturbed.
    for (int round = 0; round < 3; round++) {
        DictionaryDataBlock block(dictionary_block_capacity(static_cast<int>(pool)));
        DictionaryPacker packer;
        auto start = std::chrono::steady_clock::now();
        packer.Pack(views.data(), static_cast<int>(views.size()), &block, offsets.data());
        double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (seconds < best) best = seconds;
        fell_back = packer.counters().fell_back;
        if (seconds > 2.0) break;
    }
    return Timed{best, pool, fell_back};
}

}  // namespace

int main(int argc, char** argv) {
    std::printf("| family | texts | pool MB | Compress s | fallback | x time per x2 size |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const PackerShape& shape : packer_shapes()) {
        bool wanted = argc < 2;
        for (int a = 1; a < argc; a++) wanted = wanted || std::strcmp(argv[a], shape.name) == 0;
        if (!wanted) continue;
        double before = 0;
        for (int step = 0; step < 3; step++) {
            std::vector<std::string> texts = shape.make(shape.base_size << step, shape.cycle);
            Timed timed = time_pack(texts);
            char growth[32] = "";
            if (before > 0) std::snprintf(growth, sizeof growth, "%.2f", timed.seconds / before);
            std::printf("| %s | %zu | %.1f | %.4f | %s | %s |\n", shape.name, texts.size(),
                        static_cast<double>(timed.pool) / 1e6, timed.seconds,
                        timed.fell_back ? "yes" : "no", growth);
            std::fflush(stdout);
            before = timed.seconds;
        }
    }
    return 0;
}
