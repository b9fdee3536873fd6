// The assembler's state: carries out each directive, label, operation code and operand that
// the grammar recognises, resolves function references after the last line and writes the
// compiled file.
#ifndef TARN_ASSEMBLER_ASSEMBLERPARSER_H
#define TARN_ASSEMBLER_ASSEMBLERPARSER_H

#include <vector>

#include "assembler/FunctionContext.h"
#include "assembler/NameTable.h"
#include "assembler/Parser.h"
#include "compiled/Dictionary.h"
#include "compiled/FormatLimits.h"
#include "compiled/IdentList.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedLanguages.h"
#include "driver/ErrorCode.h"
#include "foundation/GrowingArray.h"
#include "foundation/Stack.h"
#include "foundation/String.h"

class AssemblerApplication;
class File;
class Function;
class FunctionManager;
class Segment;
class SegmentManager;
class VariableHash;

class AssemblerParser : public Parser {
  public:
    // 'file' is the opened source (not owned: the driver closes it after destroying the
    // parser); 'source_name' is the name printed in every assembly error report.
    AssemblerParser(AssemblerApplication* application, File* file, const char* source_name);
    ~AssemblerParser() override;

    AssemblerParser(const AssemblerParser&) = delete;
    AssemblerParser& operator=(const AssemblerParser&) = delete;

    int AssembleError(ErrorCode code, const String& message) override;
    int ProcessGlobal(const char* identifier, int identifier_length, const char* name,
                      int name_length) override;
    int ProcessSystem(const char* identifier, int identifier_length, const char* name,
                      int name_length) override;
    int ProcessLocal(const char* identifier, int identifier_length, const char* name,
                     int name_length) override;
    int ProcessOpcode(int opcode, int operand_count) override;
    int ProcessImmediate(const char* text, int length, int operands_left,
                         int resolution_type) override;
    int ProcessFunction(const char* name, int length, int flags) override;
    int ProcessEndFunction() override;
    int ProcessParameter(const char* identifier, int identifier_length, const char* name,
                         int name_length, int flags) override;
    int ProcessString(const char* identifier, int identifier_length, const char* text,
                      int text_length) override;
    int ProcessLabel(const char* name, int length) override;
    int ProcessLocalized(const char* text, int length, int* head) override;
    int ProcessVersion(const char* text, int length) override;
    int ProcessIdent(const char* text, int length) override;
    int ProcessDisableLogging() override;
    int ProcessLocLangEntry(const char* code, int code_length, const char* key, int key_length,
                            int value) override;

    // Reports a file error without a line number; returns 1.
    virtual int ArgumentError(const String& message);
    // Called once after the last line: no function may be open, and every function reference
    // is patched with the function's number.
    virtual int Resolve();

    // Writes the compiled file to 'path'; 'identifier' is the 16-byte block of the container
    // header.
    int Write(const char* path, const unsigned char* identifier);

    // The counts of the compiled file as it stands, and its size as its sections reckon it,
    // for the format's limits (the dictionary as compressed by Write).
    FormatCounts Counts();

    // ---- read access for callers that inspect the assembled state ----
    int file_version() const { return file_version_; }
    Dictionary& dictionary() { return dictionary_; }
    LocalizedDictionary& localized_dictionary() { return localized_dictionary_; }
    FunctionManager* function_manager() const { return function_manager_; }
    SegmentManager* segment_manager() const { return segment_manager_; }

  private:
    // Frees every name table and pending reference; called once the code is resolved.
    void ReleaseSymbols();
    int AddLocalizedPiece(int kind, const char* text, int length, int next);

    // Constructed in this order: the function table, the hashes and the localized languages
    // are made with the address of the dictionary, which they keep but do not use until later.
    AssemblerApplication* application_;
    SegmentManager* segment_manager_;
    // An operand that names a function, patched by Resolve: its segment and place, and the
    // name, kept in 'function_reference_names_' at 'name_offset'.
    struct FunctionReference {
        Segment* segment;
        size_t name_offset;
        int length;
        int position;
    };
    std::vector<FunctionReference> function_references_;
    GrowingArray<char> function_reference_names_;
    NameTable global_identifiers_;
    NameTable system_identifiers_;
    NameTable function_names_;
    NameTable string_identifiers_;
    FunctionManager* function_manager_;
    Function* current_function_;
    // The top level's context, and the one context that every internal function takes up in
    // turn (made at the first); while a function is open, 'saved_context_' holds the top
    // level's.
    FunctionContext* current_context_;
    bool external_declaration_open_;
    FunctionContext* top_context_;
    FunctionContext* function_context_;
    FunctionContext* saved_context_;
    Stack<Function> function_stack_;
    VariableHash* global_hash_;
    VariableHash* system_hash_;
    Dictionary dictionary_;
    LocalizedDictionary localized_dictionary_;
    LocalizedLanguages localized_languages_;
    IdentList ident_list_;
    int current_opcode_;
    int operand_count_;
    const char* source_name_;
    int file_version_;
};

#endif
