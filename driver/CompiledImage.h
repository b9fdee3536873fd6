// A compiled Tarn Script file as the runtime's loader sees it: every section read through its
// own reader, in the loader's order, and kept for inspection.
#ifndef TARN_DRIVER_COMPILEDIMAGE_H
#define TARN_DRIVER_COMPILEDIMAGE_H

#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/SegmentManager.h"
#include "compiled/TaggedFile.h"
#include "compiled/VariableHash.h"
#include "foundation/String.h"

class FileManager;
class TarnApplication;

class CompiledImage {
  public:
    // 'application' and 'files' are not owned and must outlive the image.
    CompiledImage(TarnApplication* application, FileManager* files);
    ~CompiledImage();

    CompiledImage(const CompiledImage&) = delete;
    CompiledImage& operator=(const CompiledImage&) = delete;

    // The sections in the order the loader reads them; "locl" brings the index of each
    // language. Everything that reads a whole file goes through this list.
    static constexpr int LOAD_ORDER[] = {TAG_DICT, TAG_GLBL, TAG_SYST, TAG_FUNC,
                                         TAG_SEGS, TAG_IDNT, TAG_LOCL, TAG_LOCD};

    // Opens 'path' and reads it as the loader does: Open, then every section of LOAD_ORDER.
    // Stops at the first failure with that reader's own message behind error(). Meant to be
    // called once.
    bool Load(const char* path);
    // The first step of Load: the whole file, then the container's header and directory.
    bool Open(const char* path);
    // Reads section 'tag' of LOAD_ORDER through its reader; false with the reader's message
    // behind error(). The sections before it in the order must have been read first.
    bool ReadSection(int tag);
    const String& error() const { return error_; }

    // The whole file as it lies on disk, read before the readers start.
    const std::vector<unsigned char>& bytes() const { return bytes_; }

    TaggedFile& file() { return file_; }
    const Dictionary& dictionary() const { return dictionary_; }
    VariableHash& globals() { return globals_; }
    VariableHash& systems() { return systems_; }
    FunctionManager& functions() { return functions_; }
    const SegmentManager& segments() const { return segments_; }
    // The texts of the identifier list, in file order.
    const std::vector<std::string>& idents() const { return idents_; }
    LocalizedLanguages& languages() { return languages_; }
    // The index the loader finds for language 'i': null when a lookup by the language's code
    // reaches another language (the code repeats) or none.
    LocalizedIndex* language_index(int i) const;
    const LocalizedDictionary& localized() const { return localized_; }

    // The function whose body is in segment 'segment', or null (the top level, or none).
    Function* segment_function(int segment);

  private:
    bool Fail(const String& message);
    bool ReadBytes(File* file);
    bool ReadSegments();
    bool ReadIdents();
    bool LoadLanguages();

    FileManager* files_;
    String error_;
    std::vector<unsigned char> bytes_;
    TaggedFile file_;
    Dictionary dictionary_;
    VariableHash globals_;
    VariableHash systems_;
    FunctionManager functions_;
    SegmentManager segments_;
    std::vector<std::string> idents_;
    LocalizedLanguages languages_;
    std::vector<LocalizedIndex*> language_indexes_;  // owned by 'languages_'
    std::vector<Function*> segment_functions_;       // by segment; owned by 'functions_'
    LocalizedDictionary localized_;
};

#endif
