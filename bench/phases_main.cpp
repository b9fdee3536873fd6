// tnasm_phases SOURCE OUTPUT: assembles SOURCE into OUTPUT as tnasm does, and prints the time
// of each stage (reading and parsing, resolving, compressing the dictionary, writing, tearing
// down), the peak resident memory and what is resident once the source is parsed, one "name
// value" pair a line. First it times a bare tokenizing pass over the same source, the floor
// that assembling is compared with.
// tnasm_phases --tokenize SOURCE makes that pass alone, for the runner to time as a process of
// its own beside tnasm.
#include <mpdecimal.h>
#include <sys/resource.h>
#include <unistd.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <chrono>
#include <cstdio>
#include <cstring>

#include "assembler/AssemblerParser.h"
#include "driver/TarnApplication.h"
#include "driver/UNIXAssemblerApplication.h"
#include "platform/File.h"
#include "platform/FileManager.h"

namespace {

double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// What the process holds in memory now, from the kernel's count of resident pages.
long resident_kb() {
    long pages = 0;
    long resident = 0;
    FILE* statm = std::fopen("/proc/self/statm", "r");
    if (statm == nullptr) return -1;
    if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = -1;
    std::fclose(statm);
    return resident < 0 ? -1 : resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s SOURCE OUTPUT | --tokenize SOURCE\n", argv[0]);
        return 2;
    }
    bool tokenize_only = std::strcmp(argv[1], "--tokenize") == 0;
    const char* source_name = tokenize_only ? argv[2] : argv[1];
#ifdef __GLIBC__
    (void)mallopt(M_MXFAST, 0);  // as tnasm itself does
    (void)mallopt(M_MMAP_THRESHOLD, 128 * 1024);
#endif
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    UNIXAssemblerApplication application(argc, argv);
    const unsigned char identifier[16] = {};

    double tokenize = 0;
    {
        File* source = application.filemanager()->Open(source_name, FILE_MODE_READ);
        if (source == nullptr) {
            std::fprintf(stderr, "%s: cannot open\n", source_name);
            return 1;
        }
        auto mark = std::chrono::steady_clock::now();
        AssemblerParser* tokenizer = new AssemblerParser(&application, source, source_name);
        const char* text = nullptr;
        int length = 0;
        String value;
        while (tokenizer->mapped() &&
               tokenizer->GetNextToken(&text, length, &value) != TOKEN_END_OF_INPUT) {
        }
        tokenize = seconds_since(mark);
        delete tokenizer;
        delete source;
    }
    if (tokenize_only) return 0;

    auto start = std::chrono::steady_clock::now();
    File* source = application.filemanager()->Open(argv[1], FILE_MODE_READ);
    if (source == nullptr) {
        std::fprintf(stderr, "%s: cannot open\n", argv[1]);
        return 1;
    }
    AssemblerParser* parser = new AssemblerParser(&application, source, argv[1]);
    int status = parser->mapped() ? parser->Start() : 1;
    double parse = seconds_since(start);
    const long parsed_rss_kb = resident_kb();
    auto mark = std::chrono::steady_clock::now();
    if (status == 0) status = parser->Resolve();
    double resolve = seconds_since(mark);
    mark = std::chrono::steady_clock::now();
    // Write compresses again; a compressed dictionary only settles its block then.
    if (status == 0) parser->dictionary().Compress();
    double compress = seconds_since(mark);
    mark = std::chrono::steady_clock::now();
    if (status == 0) status = parser->Write(argv[2], identifier);
    double write = seconds_since(mark);
    mark = std::chrono::steady_clock::now();
    delete parser;
    delete source;
    double teardown = seconds_since(mark);

    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf(
        "tokenize %.3f\nparse %.3f\nresolve %.3f\ncompress %.3f\nwrite %.3f\nteardown %.3f\n"
        "total %.3f\nrss_kb %ld\nparsed_rss_kb %ld\nstatus %d\n",
        tokenize, parse, resolve, compress, write, teardown, seconds_since(start), usage.ru_maxrss,
        parsed_rss_kb, status);
    return status == 0 ? 0 : 1;
}
