// The loader's path through a compiled file for the fuzz targets: every section read in
// CompiledImage's load order, each followed by the lookups a loader makes on what was read:
// every name probed in its hash table, every segment listed, every localization index loaded
// and every localized chain walked.
#ifndef TARN_FUZZ_LOADCOMPILED_H
#define TARN_FUZZ_LOADCOMPILED_H

#include <cstdlib>
#include <string>
#include <vector>

#include "compiled/Function.h"
#include "driver/CompiledImage.h"
#include "foundation/ByteOrder.h"
#include "platform/FileManager.h"

// A reader that refuses its section must say why.
inline bool load_step(bool ok, const String& reason, std::string* first_failure) {
    if (!ok && reason.length() == 0) std::abort();
    if (!ok && first_failure->empty()) first_failure->assign(reason.c_str(), reason.length());
    return ok;
}

// Probes every entry's own name; in a table the assembler wrote, each must be found.
inline void load_probe_variables(VariableHash* table, const Dictionary& dictionary, bool written) {
    for (int i = 0; i < table->Entries(); ++i) {
        int size = 0;
        const char* name = dictionary.Entry(table->entry(i)->name_index, &size);
        if (name == nullptr) continue;
        Variable* variable = nullptr;
        if (table->Find(&variable, name, size, 1) != 1 && written) std::abort();
        _VH_Entry* found = nullptr;
        (void)table->Seek(table->entry(i)->name_index, nullptr, -1, &found);
    }
    (void)table->Index(table->Entries() - 1, 1);
    table->Dump();
}

// The lookups a loader makes on the section 'tag' just read into 'image'.
inline void load_probe(CompiledImage* image, int tag, bool written) {
    const Dictionary& dictionary = image->dictionary();
    switch (tag) {
        case TAG_DICT:
            for (int i = 0; i < dictionary.entries(); ++i) {
                int size = 0;
                const char* text = dictionary.Entry(i, &size);
                if (text != nullptr && size > 0) (void)std::string(text, static_cast<size_t>(size));
            }
            break;
        case TAG_GLBL:
            load_probe_variables(&image->globals(), dictionary, written);
            break;
        case TAG_SYST:
            load_probe_variables(&image->systems(), dictionary, written);
            break;
        case TAG_FUNC: {
            FunctionManager& functions = image->functions();
            for (int i = 0; i < functions.Functions(); ++i) {
                Function* function = functions.Function_Index(i);
                if (functions.Function_Get(function->name().c_str(), function->name().length()) ==
                        nullptr &&
                    written) {
                    std::abort();
                }
                load_probe_variables(function->variables(), dictionary, written);
            }
            break;
        }
        case TAG_SEGS:
            for (int i = 0; i < image->segments().count(); ++i) {
                const Segment* segment = image->segments().segment(i);
                if (segment == nullptr) continue;
                String listing;
                segment->Listing(&listing, "load", 4);
            }
            break;
        case TAG_LOCL: {
            LocalizedLanguages& languages = image->languages();
            for (int i = 0; i < languages.Entries(); ++i) {
                LocalizedIndex* index = image->language_index(i);
                if (index == nullptr) continue;
                for (int k = 0; k < index->Entries(); ++k) {
                    (void)index->Get_Entry(index->entry(k)->key);
                    (void)languages.Get_Entry(index->entry(k)->key);
                }
            }
            break;
        }
        case TAG_LOCD: {
            // Chains read from a file may loop: a walk takes at most as many steps as there are
            // pieces.
            const LocalizedDictionary& pieces = image->localized();
            for (int i = 0; i < pieces.Entries(); ++i) {
                const _LD_Entry* piece = pieces.Entry(i);
                for (int steps = 0; piece != nullptr && steps < pieces.Entries(); ++steps) {
                    int size = 0;
                    (void)dictionary.Entry(piece->text, &size);
                    piece = pieces.Entry(piece->next);
                }
            }
            break;
        }
        default:
            break;  // the identifier list is read whole; there is nothing to look up
    }
}

// Reads every section of the opened 'image' in the loader's order, even after one was refused,
// so that each reader sees the bytes. Returns the first refusal's message, or an empty text when
// every reader accepted its section. 'written' says that the assembler wrote the file: every
// name must then be found again.
inline std::string load_compiled(CompiledImage* image, bool written) {
    std::string failure;
    for (int tag : CompiledImage::LOAD_ORDER) {
        if (load_step(image->ReadSection(tag), image->error(), &failure)) {
            load_probe(image, tag, written);
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
    CompiledImage image(application, files);
    std::string refusal;
    if (!image.Open(path)) {
        refusal.assign(image.error().c_str(), image.error().length());
    } else {
        refusal = load_compiled(&image, true);
    }
    if (failure != nullptr) *failure = refusal;
    return refusal.empty() || load_refused_on_purpose(&image.file(), refusal);
}

#endif
