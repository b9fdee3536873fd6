// Fuzz target: any bytes as a compiled file, through every reader on the loader's path (header
// and directory, "dict", "glbl", "syst", "func", "segs", "idnt", "locl" with each language's
// index, "locd"), then through the lookups a loader makes on what was read: every name probed in
// its hash table, every segment listed, every localized chain walked. A reader that refuses the
// bytes must say why; nothing may crash, hang or leak.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/Function.h"
#include "compiled/FunctionManager.h"
#include "compiled/IdentList.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/SegmentManager.h"
#include "compiled/TaggedFile.h"
#include "compiled/VariableHash.h"
#include "tests/support/MemoryApplication.h"

namespace {

// Sizes the loader makes its tables with, as the assembler does.
constexpr int GLOBAL_BUCKET_BITS = 12;
constexpr int GLOBAL_CAPACITY = 512;
constexpr int FUNCTION_BUCKET_BITS = 8;
constexpr int LANGUAGE_BUCKET_BITS = 12;
constexpr int LANGUAGE_CAPACITY = 8;

void refused_with_reason(bool ok, const String& reason) {
    if (!ok && reason.length() == 0) std::abort();
}

// Every entry's own name must find an entry of the same name.
void probe_variables(VariableHash* table, Dictionary* dictionary) {
    for (int i = 0; i < table->Entries(); ++i) {
        int size = 0;
        const char* name = dictionary->Entry(table->entry(i)->name_index, &size);
        if (name == nullptr) continue;
        Variable* variable = nullptr;
        (void)table->Find(&variable, name, size, 1);
        _VH_Entry* found = nullptr;
        (void)table->Seek(table->entry(i)->name_index, nullptr, -1, &found);
    }
    (void)table->Index(table->Entries() - 1, 1);
    table->Dump();
}

void load(TaggedFile* file, TarnApplication* application) {
    Dictionary dictionary;
    refused_with_reason(dictionary.Read(file), dictionary.error());
    for (int i = 0; i < dictionary.entries(); ++i) {
        int size = 0;
        const char* text = dictionary.Entry(i, &size);
        if (text != nullptr && size > 0) (void)std::string(text, static_cast<size_t>(size));
    }

    VariableHash globals(&dictionary, GLOBAL_BUCKET_BITS, GLOBAL_CAPACITY, 0);
    refused_with_reason(globals.Read(file, TAG_GLBL) != 0, globals.error());
    probe_variables(&globals, &dictionary);
    VariableHash systems(&dictionary, GLOBAL_BUCKET_BITS, GLOBAL_CAPACITY, 0);
    refused_with_reason(systems.Read(file, TAG_SYST) != 0, systems.error());
    probe_variables(&systems, &dictionary);

    FunctionManager functions(&dictionary, FUNCTION_BUCKET_BITS);
    refused_with_reason(functions.Read(file), functions.error());
    for (int i = 0; i < functions.Functions(); ++i) {
        Function* function = functions.Function_Index(i);
        (void)functions.Function_Get(function->name().c_str(), function->name().length());
        probe_variables(function->variables(), &dictionary);
    }

    SegmentManager segments;
    refused_with_reason(segments.Read(file), segments.error());
    for (int i = 0; i < segments.count(); ++i) {
        const Segment* segment = segments.segment(i);
        if (segment == nullptr) continue;
        String listing;
        segment->Listing(&listing, "fuzz", 4);
    }

    IdentList idents;
    refused_with_reason(idents.Read(file), idents.error());
    int length = 0;
    while (idents.Entry(&length) != nullptr) {
    }

    LocalizedLanguages languages(application, &dictionary, file, LANGUAGE_BUCKET_BITS,
                                 LANGUAGE_CAPACITY);
    refused_with_reason(languages.Read(), languages.error());
    for (int i = 0; i < languages.Entries(); ++i) {
        _LL_Entry* language = languages.Get_Language_Entry(languages.language(i)->code);
        if (language == nullptr || language->index == nullptr) continue;
        LocalizedIndex* index = language->index;
        for (int k = 0; k < index->Entries(); ++k) {
            (void)index->Get_Entry(index->entry(k)->key);
            (void)languages.Get_Entry(index->entry(k)->key);
        }
    }

    LocalizedDictionary pieces;
    refused_with_reason(pieces.Read(file), pieces.error());
    // Chains read from a file may loop: a walk takes at most as many steps as there are pieces.
    for (int i = 0; i < pieces.Entries(); ++i) {
        const _LD_Entry* piece = pieces.Entry(i);
        for (int steps = 0; piece != nullptr && steps < pieces.Entries(); ++steps) {
            int size = 0;
            (void)dictionary.Entry(piece->text, &size);
            piece = pieces.Entry(piece->next);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MemoryAssemblerApplication* application =
        new MemoryAssemblerApplication({"fuzz_reader"});
    MemoryFileManager files;
    files.Put("in.tnc", std::vector<unsigned char>(data, data + size));
    TaggedFile file(&files);
    const bool opened = file.Open("in.tnc", FILE_MODE_READ);
    refused_with_reason(opened, file.error());
    if (opened) load(&file, application);
    return 0;
}
