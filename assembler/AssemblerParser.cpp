// Directive processing: the assembler's state behind the grammar, resolution of function
// references and the writing of the compiled file.
#include "assembler/AssemblerParser.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "compiled/FormatLimits.h"
#include "compiled/FunctionManager.h"
#include "compiled/Function.h"
#include "compiled/Segment.h"
#include "compiled/SegmentManager.h"
#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "compiled/VariableHash.h"
#include "driver/AssemblerApplication.h"

namespace {

// An empty quoted string may come with no buffer at all.
const char* text_or_empty(const char* text) {
    return text != nullptr ? text : "";
}

String message_with(const char* prefix, const char* text, int length,
                    const char* suffix = nullptr) {
    String message(prefix);
    message.cat(text, length);
    if (suffix != nullptr) message.cat(suffix);
    return message;
}

}  // namespace

AssemblerParser::AssemblerParser(AssemblerApplication* application, File* file,
                                 const char* source_name)
    : Parser(file),
      application_(application),
      segment_manager_(new SegmentManager()),
      function_references_(),
      function_reference_names_(),
      global_identifiers_(),
      system_identifiers_(),
      function_names_(),
      string_identifiers_(),
      function_manager_(new FunctionManager(&dictionary_, FUNCTION_TABLE_BUCKET_BITS)),
      current_function_(nullptr),
      current_context_(nullptr),
      external_declaration_open_(false),
      top_context_(nullptr),
      function_context_(nullptr),
      saved_context_(nullptr),
      function_stack_(0),
      global_hash_(
          new VariableHash(&dictionary_, VARIABLE_TABLE_BUCKET_BITS, VARIABLE_TABLE_CAPACITY, 0)),
      system_hash_(
          new VariableHash(&dictionary_, VARIABLE_TABLE_BUCKET_BITS, VARIABLE_TABLE_CAPACITY, 0)),
      dictionary_(),
      localized_dictionary_(),
      localized_languages_(application, &dictionary_, nullptr, LANGUAGE_TABLE_BUCKET_BITS,
                           LANGUAGE_TABLE_CAPACITY),
      ident_list_(),
      current_opcode_(0),
      operand_count_(0),
      source_name_(source_name),
      file_version_(TF_VERSION_DEFAULT) {
    // Code and `.local` declarations outside any function go to segment 0 and to the global
    // tables.
    top_context_ = new FunctionContext(this, &dictionary_, nullptr, segment_manager_->Start(),
                                       &global_identifiers_, global_hash_);
    current_context_ = top_context_;
    string_identifier_table_ = &string_identifiers_;
}

AssemblerParser::~AssemblerParser() {
    delete function_context_;
    delete top_context_;
    delete segment_manager_;
    delete global_hash_;
    delete system_hash_;
    delete function_manager_;
}

// ---- errors ----

int AssemblerParser::AssembleError(ErrorCode code, const String& message) {
    (void)application_->AssembleError(code, source_name_, line(), message);
    return 1;
}

int AssemblerParser::ArgumentError(const String& message) {
    (void)application_->ArgumentError(message);
    return 1;
}

// ---- variables ----

int AssemblerParser::ProcessGlobal(const char* identifier, int identifier_length, const char* name,
                                   int name_length) {
    return current_context_->ProcessVariable(global_hash_, &global_identifiers_, identifier,
                                             identifier_length, text_or_empty(name), name_length);
}

int AssemblerParser::ProcessSystem(const char* identifier, int identifier_length, const char* name,
                                   int name_length) {
    return current_context_->ProcessVariable(system_hash_, &system_identifiers_, identifier,
                                             identifier_length, text_or_empty(name), name_length);
}

int AssemblerParser::ProcessLocal(const char* identifier, int identifier_length, const char* name,
                                  int name_length) {
    return current_context_->InsertLocal(identifier, identifier_length, text_or_empty(name),
                                         name_length);
}

// ---- instructions ----

int AssemblerParser::ProcessOpcode(int opcode, int operand_count) {
    (void)operand_count;  // the grammar hands the operands over one by one
    current_opcode_ = opcode;
    operand_count_ = 0;
    if (external_declaration_open_) {
        return AssembleError(
            AE_OPCODE_IN_EXTERNAL_DECLARATION,
            String("Only parameter directives are valid inside an external function declaration"));
    }
    return current_context_->InsertOperator(opcode);
}

// String constants, system and global variables are looked up at once, so they must be
// declared above their first use; labels and functions may come later.
int AssemblerParser::ProcessImmediate(const char* text, int length, int operands_left,
                                      int resolution_type) {
    (void)operands_left;  // the operand number is counted here instead
    ++operand_count_;
    switch (resolution_type) {
        case OPERAND_INTEGER:
            // A text that is no integer (an identifier, "1.5") is deliberately emitted as 0.
            return current_context_->StoreImmediate(application_->stoi(text, length, nullptr));
        case OPERAND_NUMBER:
            return current_context_->StoreImmediate(application_->stod(text, length, -1, nullptr));
        case OPERAND_STRING: {
            int index;
            if (!string_identifiers_.Find(text, length, &index)) {
                return AssembleError(
                    AE_STRING_IDENTIFIER_NOT_FOUND,
                    message_with("String constant identifier ", text, length, " not found"));
            }
            return current_context_->StoreImmediate(index);
        }
        case OPERAND_SYSTEM: {
            int slot;
            if (!system_identifiers_.Find(text, length, &slot)) {
                return AssembleError(
                    AE_SYSTEM_IDENTIFIER_NOT_FOUND,
                    message_with("System variable identifier ", text, length, " not found"));
            }
            return current_context_->StoreImmediate(slot);
        }
        case OPERAND_GLOBAL: {
            int slot;
            if (!global_identifiers_.Find(text, length, &slot)) {
                return AssembleError(
                    AE_GLOBAL_IDENTIFIER_NOT_FOUND,
                    message_with("Global variable identifier ", text, length, " not found"));
            }
            return current_context_->StoreImmediate(slot);
        }
        case OPERAND_LOCAL:
            return current_context_->InsertLocalReference(text, length);
        case OPERAND_LABEL:
            return current_context_->InsertLabelReference(text, length, current_opcode_,
                                                          operand_count_);
        case OPERAND_FUNCTION:
            // Patched by Resolve once every function of the file is known.
            function_references_.push_back(FunctionReference{current_context_->segment(),
                                                             function_reference_names_.size(),
                                                             length, current_context_->position()});
            function_reference_names_.append(text, static_cast<size_t>(length));
            return current_context_->StoreImmediate(-1);
        default: {
            // Kind 6 is deliberately refused, as is any kind outside the table.
            char number[16];
            std::snprintf(number, sizeof number, "%d", resolution_type);
            String message("Internal error:  Unrecognized resolution type - ");
            message.cat(number);
            return AssembleError(AE_INTERNAL_ERROR, message);
        }
    }
}

int AssemblerParser::ProcessLabel(const char* name, int length) {
    return current_context_->InsertLabel(name, length);
}

// ---- functions ----

int AssemblerParser::ProcessFunction(const char* name, int length, int flags) {
    bool external = (flags & FUNCTION_EXTERNAL) != 0;
    if (external_declaration_open_) {
        return AssembleError(
            AE_FUNCTION_IN_EXTERNAL_DECLARATION,
            String("Only parameter directives are valid inside an external function declaration"));
    }
    if (saved_context_ != nullptr && !external) {
        return AssembleError(AE_NESTED_FUNCTION,
                             String("Nested internal function declarations are not allowed"));
    }
    // Function names are unique regardless of case.
    if (function_manager_->Function_Get(name, length) != nullptr) {
        return AssembleError(AE_DUPLICATE_FUNCTION,
                             message_with("Duplicate function: ", name, length));
    }
    if (external) {
        external_declaration_open_ = true;
        current_function_ = function_manager_->Function_Add(name, length, flags);
    } else {
        Segment* segment = segment_manager_->Segment_Add();
        current_function_ =
            function_manager_->Function_Add(segment->number(), 0, name, length, nullptr, 0, flags);
        saved_context_ = current_context_;
        if (function_context_ == nullptr) {
            function_context_ = new FunctionContext(this, &dictionary_, current_function_, segment,
                                                    nullptr, current_function_->variables());
        } else {
            function_context_->Restart(current_function_, segment, current_function_->variables());
        }
        current_context_ = function_context_;
    }
    function_stack_.Push(current_function_);
    function_names_.Insert(name, length, current_function_->index());
    return 0;
}

int AssemblerParser::ProcessParameter(const char* identifier, int identifier_length,
                                      const char* name, int name_length, int flags) {
    if (saved_context_ == nullptr && !external_declaration_open_) {
        return AssembleError(
            AE_PARAMETER_OUTSIDE_FUNCTION,
            String("Parameter directive must be between .function and .endfunction directives"));
    }
    // Parameter names are not checked for duplicates; a later `.local` of the same variable
    // name is refused by the function's variable table.
    int slot = current_function_->AddParameter(flags, text_or_empty(name), name_length);
    if ((current_function_->flags() & FUNCTION_EXTERNAL) != 0) return 0;
    return current_context_->InsertParameterPlaceHolder(identifier, identifier_length, slot);
}

int AssemblerParser::ProcessEndFunction() {
    if (saved_context_ == nullptr && !external_declaration_open_) {
        return AssembleError(AE_UNMATCHED_ENDFUNCTION,
                             String("Found .endfunction without matching .function"));
    }
    int result = 0;
    if ((current_function_->flags() & FUNCTION_EXTERNAL) != 0) {
        external_declaration_open_ = false;
    } else {
        result = current_context_->InsertOperator(static_cast<int>(OPCODE_RETN));
        if (result == 0) result = current_context_->Resolve();
        current_context_->segment()->Trim();
        current_context_ = saved_context_;
        saved_context_ = nullptr;
    }
    // After a nested external declaration the enclosing internal function is current again.
    function_stack_.Pop();
    current_function_ = function_stack_.Top();
    return result;
}

// ---- texts ----

int AssemblerParser::ProcessString(const char* identifier, int identifier_length, const char* text,
                                   int text_length) {
    bool added;
    int* index = string_identifiers_.Add(identifier, identifier_length, &added);
    if (!added) {
        return AssembleError(
            AE_DUPLICATE_STRING_IDENTIFIER,
            message_with("Duplicate string identifier \"", identifier, identifier_length, "\""));
    }
    *index = dictionary_.Entry_Add(text_or_empty(text), text_length);
    return 0;
}

// The pieces are added from the last to the first, so that each can point to the one on its
// right.
int AssemblerParser::ProcessLocalized(const char* text, int length, int* head) {
    int next = -1;
    split_localized(text, length, [&](int type, const char* piece, int piece_length) {
        next = AddLocalizedPiece(type, piece, piece_length, next);
    });
    *head = next;
    return 0;
}

int AssemblerParser::ProcessLocLangEntry(const char* code, int code_length, const char* key,
                                         int key_length, int value) {
    return localized_languages_.Add_Entry(text_or_empty(code), code_length, text_or_empty(key),
                                          key_length, value);
}

// "major.minor"; the file version only ever rises.
int AssemblerParser::ProcessVersion(const char* text, int length) {
    int dot = 0;
    while (dot < length && text[dot] != '.') ++dot;
    int major = dot > 0 ? application_->stoi(text, dot, nullptr) : 0;
    int minor_length = dot < length ? length - dot - 1 : 0;
    int minor = minor_length > 0 ? application_->stoi(text + dot + 1, minor_length, nullptr) : 0;
    int version = static_cast<int>((static_cast<unsigned int>(major) << 16) |
                                   static_cast<unsigned int>(minor));
    if (version > file_version_) file_version_ = version;
    return 0;
}

int AssemblerParser::ProcessIdent(const char* text, int length) {
    ident_list_.Entry_Add(text_or_empty(text), length);
    return 0;
}

int AssemblerParser::ProcessDisableLogging() {
    dictionary_.SetFlags(dictionary_.flags() | DICTIONARY_FLAG_DISABLE_LOGGING);
    return 0;
}

// ---- end of file ----

int AssemblerParser::Resolve() {
    if (saved_context_ != nullptr) {
        return AssembleError(AE_UNRESOLVED_AT_END,
                             String("Found end of file inside a .function declaration"));
    }
    // An external declaration left open at the end is accepted as it is.
    if (current_context_->Resolve() != 0) return 1;
    for (const FunctionReference& reference : function_references_) {
        const char* name = function_reference_names_.data() + reference.name_offset;
        // Case-sensitive, unlike the duplicate check: `call Main` does not find `main`.
        int function;
        if (!function_names_.Find(name, reference.length, &function)) {
            return AssembleError(AE_UNRESOLVED_AT_END, message_with("Unable to resolve function \"",
                                                                    name, reference.length, "\""));
        }
        reference.segment->Write_Dword(reference.position, static_cast<unsigned int>(function));
    }
    return 0;
}

// A section that fails to write has kept its reason in its own error text; nothing more is
// reported here.
int AssemblerParser::Write(const char* path, const unsigned char* identifier) {
    // The code is resolved: the names are no longer needed, and their memory serves the
    // dictionary's repacking and the writing.
    ReleaseSymbols();
    // Compressed first, for the dictionary's size; nothing of it shows outside until written.
    dictionary_.Compress();
    // A file the loader would refuse, or whose 32-bit counts and offsets would wrap, is not
    // begun at all.
    const char* too_large = format_limit_exceeded(Counts());
    TaggedFile file(application_->filemanager());
    if (too_large != nullptr || !file.Create(path, identifier, file_version_)) {
        String message("Unable to create '");
        message.cat(path);
        message.cat("': ");
        if (too_large != nullptr) {
            message.cat(too_large);
        } else {
            message.cat(file.error().c_str(), file.error().length());
        }
        return ArgumentError(message);
    }
    file.Gather_Writes();
    bool written = dictionary_.Write(&file) && global_hash_->Write(&file, TAG_GLBL) != 0 &&
                   system_hash_->Write(&file, TAG_SYST) != 0 && function_manager_->Write(&file) &&
                   segment_manager_->Write(&file) && ident_list_.Write(&file) &&
                   localized_languages_.Write(&file) && localized_dictionary_.Write(&file);
    if (!written) return 1;
    // A file whose directory or header could not be written keeps the placeholder header of
    // Create, which names no section, so every loader refuses it; the run fails as it does
    // when a section cannot be written, without a report of its own.
    return file.Section_Flush() ? 0 : 1;
}

// ---- helpers ----

void AssemblerParser::ReleaseSymbols() {
    std::vector<FunctionReference>().swap(function_references_);
    GrowingArray<char>().swap(function_reference_names_);
    global_identifiers_.Clear();
    system_identifiers_.Clear();
    function_names_.Clear();
    string_identifiers_.Clear();
    top_context_->ReleaseSymbols();
    if (function_context_ != nullptr) function_context_->ReleaseSymbols();
}

// The counts of the file Write is about to write, and its size at most: bucket records are
// counted as if every variable, language or key had a bucket of its own.
FormatCounts AssemblerParser::Counts() {
    FormatCounts counts;
    counts.dictionary_entries = dictionary_.entries();
    counts.dictionary_bytes = dictionary_.data_size();
    counts.globals = global_hash_->Entries();
    counts.systems = system_hash_->Entries();
    counts.functions = function_manager_->Functions();
    for (int f = 0; f < function_manager_->Functions(); ++f) {
        Function* function = function_manager_->Function_Index(f);
        counts.most_parameters = std::max(counts.most_parameters,
                                          static_cast<int64_t>(function->parameters().Entries()));
        counts.most_locals =
            std::max(counts.most_locals, static_cast<int64_t>(function->variables()->Entries()));
    }
    counts.segments = segment_manager_->count();
    counts.languages = localized_languages_.Entries();
    counts.index_per_language = index_per_language(file_version_);
    for (int i = 0; i < localized_languages_.Entries(); ++i) {
        LocalizedIndex* index = localized_languages_.language(i)->index;
        const int64_t entries = index != nullptr ? index->Entries() : 0;
        counts.most_index_entries = std::max(counts.most_index_entries, entries);
    }
    counts.pieces = localized_dictionary_.Entries();
    // The file's size as each section reckons its own; "dict", "glbl", "syst", "func", "segs",
    // "idnt" and "locd" make seven sections, "locl" and its indexes the rest.
    int language_sections = 0;
    const int64_t language_bytes =
        localized_languages_.WrittenSize(file_version_, &language_sections);
    counts.file_bytes = TF_HEADER_SIZE + dictionary_.WrittenSize() + global_hash_->WrittenSize() +
                        system_hash_->WrittenSize() + function_manager_->WrittenSize() +
                        segment_manager_->WrittenSize() + ident_list_.WrittenSize() +
                        language_bytes + localized_dictionary_.WrittenSize() +
                        TF_DIRECTORY_ENTRY_SIZE * static_cast<int64_t>(7 + language_sections);
    return counts;
}

int AssemblerParser::AddLocalizedPiece(int kind, const char* text, int length, int next) {
    int index = dictionary_.Entry_Add(text, length);
    return localized_dictionary_.Entry_Add(kind, index, next);
}
