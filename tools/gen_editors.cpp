// Writes the editor syntax files of editors/ from the assembler's mnemonic table. Run through the
// CMake target tarn_editors after the table or the directive list changes; never part of the
// normal build.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/EditorSyntax.h"

namespace {

bool write_file(const std::string& path, const std::string& text) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        std::fprintf(stderr, "tarn_gen_editors: Unable to create '%s': %s\n", path.c_str(),
                     std::strerror(errno));
        return false;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        std::fprintf(stderr, "tarn_gen_editors: Unable to write '%s'\n", path.c_str());
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s editors-directory\n", argv[0]);
        return 1;
    }
    const std::string directory = argv[1];
    if (!write_file(directory + "/tnasm.vim", editor_syntax::vim_syntax())) return 1;
    if (!write_file(directory + "/tnasm.tmLanguage.json", editor_syntax::textmate_grammar()))
        return 1;
    return 0;
}
