// A compiled file read the way the runtime's loader reads it.
#include "driver/CompiledImage.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include "compiled/IdentList.h"
#include "compiled/TableSupport.h"
#include "platform/FileManager.h"

namespace {

// Whole-file reads go in pieces of this size.
constexpr int READ_PIECE = 65536;

}  // namespace

CompiledImage::CompiledImage(TarnApplication* application, FileManager* files)
    : files_(files),
      file_(files),
      globals_(&dictionary_, VARIABLE_TABLE_BUCKET_BITS, VARIABLE_TABLE_CAPACITY, 0),
      systems_(&dictionary_, VARIABLE_TABLE_BUCKET_BITS, VARIABLE_TABLE_CAPACITY, 0),
      functions_(&dictionary_, FUNCTION_TABLE_BUCKET_BITS),
      languages_(application, &dictionary_, &file_, LANGUAGE_TABLE_BUCKET_BITS,
                 LANGUAGE_TABLE_CAPACITY) {}

CompiledImage::~CompiledImage() {}

bool CompiledImage::Load(const char* path) {
    if (!Open(path)) return false;
    for (int tag : LOAD_ORDER) {
        if (!ReadSection(tag)) return false;
    }
    return true;
}

bool CompiledImage::Open(const char* path) {
    File* opened = files_->Open(path, FILE_MODE_READ);
    if (opened == nullptr) {
        String message("Unable to open '");
        message.cat(path);
        message.cat("': ");
        message.cat(files_->error().c_str(), files_->error().length());
        return Fail(message);
    }
    // The container's offsets are 32-bit, so no compiled file is larger; reading one whole would
    // cost its size in memory before the header is even looked at.
    const bool too_large = opened->Length() > INT_MAX;
    if (too_large || !ReadBytes(opened)) {
        String message("Unable to read '");
        message.cat(path);
        message.cat("': ");
        if (too_large) {
            message.cat(std::strerror(EFBIG));
        } else {
            message.cat(opened->error().c_str(), opened->error().length());
        }
        delete opened;
        return Fail(message);
    }
    // From here on the container owns the file; a failed open leaves it with us.
    if (!file_.Open(path, opened)) {
        delete opened;
        return Fail(file_.error());
    }
    return true;
}

// A section type the image does not read yet fails with an empty message.
bool CompiledImage::ReadSection(int tag) {
    error_ = String();
    switch (tag) {
        case TAG_DICT:
            return dictionary_.Read(&file_) || Fail(dictionary_.error());
        case TAG_GLBL:
            return globals_.Read(&file_, TAG_GLBL) || Fail(globals_.error());
        case TAG_SYST:
            return systems_.Read(&file_, TAG_SYST) || Fail(systems_.error());
        case TAG_FUNC:
            return functions_.Read(&file_) || Fail(functions_.error());
        case TAG_SEGS:
            return ReadSegments();
        case TAG_IDNT:
            return ReadIdents();
        case TAG_LOCL:
            return LoadLanguages();
        case TAG_LOCD:
            return localized_.Read(&file_) || Fail(localized_.error());
        default:
            return false;
    }
}

bool CompiledImage::ReadSegments() {
    if (!segments_.Read(&file_)) return Fail(segments_.error());
    // The first function with a body in a segment owns it; segment 0 is the top level's.
    segment_functions_.assign(static_cast<size_t>(segments_.count()), nullptr);
    for (int f = functions_.Functions() - 1; f >= 0; --f) {
        Function* function = functions_.Function_Index(f);
        int segment = function->segment();
        if ((function->flags() & FUNCTION_EXTERNAL) == 0 && segment > 0 &&
            segment < segments_.count())
            segment_functions_[static_cast<size_t>(segment)] = function;
    }
    return true;
}

bool CompiledImage::ReadIdents() {
    IdentList idents;
    if (!idents.Read(&file_)) return Fail(idents.error());
    int length = 0;
    for (const char* text = idents.Entry(&length); text != nullptr; text = idents.Entry(&length))
        idents_.emplace_back(text, static_cast<size_t>(length));
    return true;
}

LocalizedIndex* CompiledImage::language_index(int i) const {
    if (i < 0 || i >= static_cast<int>(language_indexes_.size())) return nullptr;
    return language_indexes_[static_cast<size_t>(i)];
}

Function* CompiledImage::segment_function(int segment) {
    if (segment <= 0 || segment >= static_cast<int>(segment_functions_.size())) return nullptr;
    return segment_functions_[static_cast<size_t>(segment)];
}

bool CompiledImage::Fail(const String& message) {
    error_ = message;
    return false;
}

bool CompiledImage::ReadBytes(File* file) {
    if (file->Seek(0) != 0) return false;
    std::vector<unsigned char> piece(READ_PIECE);
    for (;;) {
        int n = file->Read(piece.data(), READ_PIECE);
        if (n < 0) return false;
        if (n == 0) return true;
        bytes_.insert(bytes_.end(), piece.begin(), piece.begin() + n);
    }
}

// The loader loads each language's index on its first lookup by the language's code; this
// looks every language up in turn, so each index is read exactly as the loader would read it.
bool CompiledImage::LoadLanguages() {
    if (!languages_.Read()) return Fail(languages_.error());
    for (int i = 0; i < languages_.Entries(); ++i) {
        _LL_Entry* found = languages_.Get_Language_Entry(languages_.language(i)->code);
        if (found == nullptr && languages_.error().length() > 0) return Fail(languages_.error());
        language_indexes_.push_back(found == languages_.language(i) ? found->index : nullptr);
    }
    return true;
}
