// The emitter of one code segment (the top-level code or one internal function): appends
// operation codes and operands, knows the identifiers that operands may name, and patches
// label operands once the segment's labels are known.
#ifndef TARN_ASSEMBLER_FUNCTIONCONTEXT_H
#define TARN_ASSEMBLER_FUNCTIONCONTEXT_H

#include <cstddef>
#include <vector>

#include "assembler/NameTable.h"
#include "foundation/GrowingArray.h"

class AssemblerParser;
class Dictionary;
class Function;
class Segment;
class VariableHash;

class FunctionContext {
  public:
    // 'function' is none for the top level. 'identifiers' is the parser's global identifier
    // table at the top level; a function's context keeps its locals and parameters in a table
    // of its own and ignores it. 'variables' is the function's local hash, or the global hash
    // at the top level.
    FunctionContext(AssemblerParser* parser, Dictionary* dictionary, Function* function,
                    Segment* segment, NameTable* identifiers, VariableHash* variables);

    // Declares a variable named 'name' in 'hash' under the assembly identifier 'identifier' in
    // 'table'. An empty name skips the duplicate-name check.
    virtual int ProcessVariable(VariableHash* hash, NameTable* table, const char* identifier,
                                int identifier_length, const char* name, int name_length);
    virtual ~FunctionContext();

    FunctionContext(const FunctionContext&) = delete;
    FunctionContext& operator=(const FunctionContext&) = delete;

    // ---- emission: little-endian, each item directly behind the previous one ----
    int InsertOperator(int opcode);
    int StoreImmediate(int value);
    int StoreImmediate(double value);

    // ---- declarations and references ----
    int InsertLocal(const char* identifier, int identifier_length, const char* name,
                    int name_length);
    int InsertParameterPlaceHolder(const char* identifier, int identifier_length, int slot);
    int InsertLocalReference(const char* identifier, int identifier_length);
    int InsertLabel(const char* name, int length);
    int InsertLabelReference(const char* name, int length, int opcode, int operand_number);

    // Patches every label operand with its displacement; stops at the first undefined label.
    int Resolve();
    // Frees the labels, the label references and (inside a function) the identifiers once the
    // segment is resolved; the segment and the function stay.
    void ReleaseSymbols();
    // Takes up the code of another function, from position 0 of 'segment'. The previous
    // function's names are forgotten, but their tables stay allocated for the new one's.
    void Restart(Function* function, Segment* segment, VariableHash* variables);

    Segment* segment() const { return segment_; }
    Function* function() const { return function_; }
    int position() const { return position_; }

  private:
    // Takes the position a segment write returned; reports a segment that is full.
    int Emitted(int next_position);

    // An operand to patch: its place, its instruction, and its label's name, kept in
    // 'reference_names_' at 'name_offset'.
    struct LabelReference {
        size_t name_offset;
        int length;
        int position;
        int opcode;
        int operand_number;
    };

    AssemblerParser* parser_;
    Dictionary* dictionary_;
    Function* function_;
    Segment* segment_;
    NameTable* identifiers_;
    VariableHash* variables_;
    int position_;
    NameTable own_identifiers_;
    NameTable labels_;
    std::vector<LabelReference> label_references_;
    GrowingArray<char> reference_names_;
};

#endif
