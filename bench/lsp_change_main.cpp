// tnasm_lsp_bench [PRESET] [CHANGES]: how long tnasm-lsp takes from a change to a document to
// its diagnostics. Opens the preset's source (default "small", about 1 MB) and sends changes
// one at a time, as an editor does while someone types: a one-character edit inside an
// instruction that keeps the source correct, and one that makes a mnemonic unknown, so that
// the analysis also goes on after an error. Prints the median and the slowest of each kind.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <mpdecimal.h>

#include "bench/PresetGenerator.h"
#include "driver/TarnApplication.h"
#include "driver/lsp/LanguageServer.h"

namespace {

std::string frame(const std::string& body) {
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else {
            out += c;
        }
    }
    return out;
}

std::string change(int line, int from, int to, const std::string& text) {
    return frame(R"({"jsonrpc":"2.0","method":"textDocument/didChange","params":{"textDocument":{"uri":"file:///bench.s","version":1},"contentChanges":[{"range":{"start":{"line":)" +
                 std::to_string(line) + R"(,"character":)" + std::to_string(from) +
                 R"(},"end":{"line":)" + std::to_string(line) + R"(,"character":)" +
                 std::to_string(to) + R"(}},"text":")" + text + R"("}]}})");
}

// Wall time, and the process's processor time beside it: on a shared machine the wall time
// also counts the waits for a core, which the processor time leaves out.
struct Timing {
    double wall = 0;
    double processor = 0;
};

Timing milliseconds(tarn_lsp::LanguageServer& server, const std::string& message,
                    std::string* answer) {
    const auto start = std::chrono::steady_clock::now();
    const std::clock_t processor_start = std::clock();
    server.Receive(message.data(), message.size());
    *answer = server.TakeOutput();
    Timing timing;
    timing.processor = static_cast<double>(std::clock() - processor_start) * 1000.0 /
                       static_cast<double>(CLOCKS_PER_SEC);
    timing.wall =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    return timing;
}

void report(const char* what, const std::vector<Timing>& timings) {
    std::vector<double> wall;
    std::vector<double> processor;
    for (const Timing& timing : timings) {
        wall.push_back(timing.wall);
        processor.push_back(timing.processor);
    }
    std::sort(wall.begin(), wall.end());
    std::sort(processor.begin(), processor.end());
    std::printf("%-37s wall median %6.2f ms, slowest %6.2f ms; processor median %6.2f ms, "
                "slowest %6.2f ms (%zu changes)\n",
                what, wall[wall.size() / 2], wall.back(), processor[processor.size() / 2],
                processor.back(), wall.size());
}

}  // namespace

int main(int argc, char** argv) {
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    const char* preset_name = argc >= 2 ? argv[1] : "small";
    const int changes = argc >= 3 ? std::atoi(argv[2]) : 40;
    const PresetShape* shape = find_preset(preset_name);
    if (shape == nullptr || changes < 1) {
        std::fprintf(stderr, "usage: %s [PRESET] [CHANGES]\n", argv[0]);
        return 1;
    }
    FILE* file = std::tmpfile();
    PresetGenerator generator(*shape, 2024);
    if (file == nullptr || !generator.Write(file)) return 1;
    std::string source(static_cast<size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    if (std::fread(&source[0], 1, source.size(), file) != source.size()) return 1;
    std::fclose(file);

    // Lines of one-operand instructions far into the source, where an edit makes the whole
    // source before them be read again.
    std::vector<int> lines;
    int line = 0;
    for (size_t at = 0; at < source.size(); ++line) {
        const size_t end = std::min(source.find('\n', at), source.size());
        if (source.compare(at, 7, "\tpushl ") == 0 && line > 100) lines.push_back(line);
        at = end + 1;
    }
    if (lines.empty()) return 1;

    tarn_lsp::LanguageServer server;
    std::string answer;
    milliseconds(server, frame(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{}})"),
                 &answer);
    const Timing open = milliseconds(
        server,
        frame(R"({"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":{"uri":"file:///bench.s","languageId":"tnasm","version":1,"text":")" +
              escaped(source) + "\"}}}"),
        &answer);
    std::printf("source %s: %zu bytes, %d lines; open %.2f ms (processor %.2f ms)\n", preset_name,
                source.size(), line, open.wall, open.processor);

    std::vector<Timing> correct;
    std::vector<Timing> failing;
    for (int i = 0; i < changes; ++i) {
        const int at = lines[lines.size() - 1 - (static_cast<size_t>(i) * 7919) % lines.size()];
        // "pushl" -> "popl" and back keeps the source correct; "pushq" is no mnemonic.
        correct.push_back(milliseconds(server, change(at, 1, 6, "popl"), &answer));
        correct.push_back(milliseconds(server, change(at, 1, 5, "pushl"), &answer));
        failing.push_back(milliseconds(server, change(at, 1, 6, "pushq"), &answer));
        if (answer.find("AE_315") == std::string::npos) {
            std::fprintf(stderr, "the failing change was not diagnosed\n");
            return 1;
        }
        failing.push_back(milliseconds(server, change(at, 1, 6, "pushl"), &answer));
    }
    report("change, source stays correct:", correct);
    report("change that adds or clears an error:", failing);
    return 0;
}
