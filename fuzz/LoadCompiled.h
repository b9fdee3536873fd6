// The loader's path through a compiled file for the fuzz targets: every section read in the
// order a loader reads them, then the lookups it makes on what was read: every name probed in
// its hash table, every segment listed, every localization index loaded and every localized
// chain walked.
#ifndef TARN_FUZZ_LOADCOMPILED_H
#define TARN_FUZZ_LOADCOMPILED_H

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
#include "foundation/ByteOrder.h"
#include "platform/FileManager.h"

// A reader that refuses its section must say why.
inline bool load_step(bool ok, const String& reason, std::string* first_failure) {
    if (!ok && reason.length() == 0) std::abort();
    if (!ok && first_failure->empty()) first_failure->assign(reason.c_str(), reason.length());
    return ok;
}

// Probes every entry's own name; in a table the assembler wrote, each must be found.
inline void load_probe_variables(VariableHash* table, Dictionary* dictionary, bool written) {
    for (int i = 0; i < table->Entries(); ++i) {
        int size = 0;
        const char* name = dictionary->Entry(table->entry(i)->name_index, &size);
        if (name == nullptr) continue;
        Variable* variable = nullptr;
        if (table->Find(&variable, name, size, 1) != 1 && written) std::abort();
        _VH_Entry* found = nullptr;
        (void)table->Seek(table->entry(i)->name_index, nullptr, -1, &found);
    }
    (void)table->Index(table->Entries() - 1, 1);
    table->Dump();
}

// Reads every section of 'file' even after one was refused, so that each reader sees the bytes.
// Returns the first refusal's message, or an empty text when every reader accepted its section.
// 'written' says that the assembler wrote the file: every name must then be found again.
inline std::string load_compiled(TaggedFile* file, TarnApplication* application, bool written) {
    std::string failure;
    Dictionary dictionary;
    load_step(dictionary.Read(file), dictionary.error(), &failure);
    for (int i = 0; i < dictionary.entries(); ++i) {
        int size = 0;
        const char* text = dictionary.Entry(i, &size);
        if (text != nullptr && size > 0) (void)std::string(text, static_cast<size_t>(size));
    }

    VariableHash globals(&dictionary, VARIABLE_TABLE_BUCKET_BITS, VARIABLE_TABLE_CAPACITY, 0);
    if (load_step(globals.Read(file, TAG_GLBL) != 0, globals.error(), &failure)) {
        load_probe_variables(&globals, &dictionary, written);
    }
    VariableHash systems(&dictionary, VARIABLE_TABLE_BUCKET_BITS, VARIABLE_TABLE_CAPACITY, 0);
    if (load_step(systems.Read(file, TAG_SYST) != 0, systems.error(), &failure)) {
        load_probe_variables(&systems, &dictionary, written);
    }

    FunctionManager functions(&dictionary, FUNCTION_TABLE_BUCKET_BITS);
    if (load_step(functions.Read(file), functions.error(), &failure)) {
        for (int i = 0; i < functions.Functions(); ++i) {
            Function* function = functions.Function_Index(i);
            if (functions.Function_Get(function->name().c_str(), function->name().length()) ==
                    nullptr &&
                written) {
                std::abort();
            }
            load_probe_variables(function->variables(), &dictionary, written);
        }
    }

    SegmentManager segments;
    if (load_step(segments.Read(file), segments.error(), &failure)) {
        for (int i = 0; i < segments.count(); ++i) {
            const Segment* segment = segments.segment(i);
            if (segment == nullptr) continue;
            String listing;
            segment->Listing(&listing, "load", 4);
        }
    }

    IdentList idents;
    if (load_step(idents.Read(file), idents.error(), &failure)) {
        int length = 0;
        while (idents.Entry(&length) != nullptr) {
        }
    }

    LocalizedLanguages languages(application, &dictionary, file, LANGUAGE_TABLE_BUCKET_BITS,
                                 LANGUAGE_TABLE_CAPACITY);
    if (load_step(languages.Read(), languages.error(), &failure)) {
        for (int i = 0; i < languages.Entries(); ++i) {
            _LL_Entry* language = languages.Get_Language_Entry(languages.language(i)->code);
            if (language == nullptr || language->index == nullptr) continue;
            LocalizedIndex* index = language->index;
            for (int k = 0; k < index->Entries(); ++k) {
                (void)index->Get_Entry(index->entry(k)->key);
                (void)languages.Get_Entry(index->entry(k)->key);
            }
        }
    }

    LocalizedDictionary pieces;
    if (load_step(pieces.Read(file), pieces.error(), &failure)) {
        // Chains read from a file may loop: a walk takes at most as many steps as there are
        // pieces.
        for (int i = 0; i < pieces.Entries(); ++i) {
            const _LD_Entry* piece = pieces.Entry(i);
            for (int steps = 0; piece != nullptr && steps < pieces.Entries(); ++steps) {
                int size = 0;
                (void)dictionary.Entry(piece->text, &size);
                piece = pieces.Entry(piece->next);
            }
        }
    }
    return failure;
}

// A version above 1.13 fails the header check, and a dictionary whose texts are all empty (data
// size 0) fails the entry check: both refusals are the format's own.
inline bool load_refused_on_purpose(TaggedFile* file, const std::string& failure) {
    if (failure == "File was generated by an incompatible version of the Tarn Script Compiler") {
        return true;
    }
    unsigned char header[12];
    return failure == "dictionary_entry.offset out of range" &&
           file->Section_Read(TAG_DICT, 0, header, 12) == 12 && get_u32(header + 4) == 0;
}

// Loads a file the assembler wrote: true when every reader accepts it, or when the refusal is
// one of the format's own. 'failure', when given, receives the refusal's message.
inline bool load_written_file(FileManager* files, const char* path, TarnApplication* application,
                              std::string* failure = nullptr) {
    TaggedFile file(files);
    std::string refusal;
    if (!file.Open(path, FILE_MODE_READ)) {
        refusal.assign(file.error().c_str(), file.error().length());
    } else {
        refusal = load_compiled(&file, application, true);
    }
    if (failure != nullptr) *failure = refusal;
    return refusal.empty() || load_refused_on_purpose(&file, refusal);
}

#endif
