// The emitter of one code segment (the top-level code or one internal function): appends
// operation codes and operands, knows the identifiers that operands may name, and patches
// label operands once the segment's labels are known.
#ifndef TARN_ASSEMBLER_FUNCTIONCONTEXT_H
#define TARN_ASSEMBLER_FUNCTIONCONTEXT_H

#include "assembler/RBTree.h"
#include "assembler/ResolvablePlaceHolder.h"
#include "foundation/List.h"
#include "foundation/String.h"

class AssemblerParser;
class Dictionary;
class Function;
class Segment;
class VariableHash;

typedef RBTree<ResolvablePlaceHolder, const char*> PlaceHolderTree;

class FunctionContext {
  public:
    // 'function' is none for the top level. 'identifiers' holds the function's locals and
    // parameters (owned by this context when 'function' is set; at the top level it is the
    // parser's global identifier tree). 'variables' is the function's local hash, or the global
    // hash at the top level.
    FunctionContext(AssemblerParser* parser, Dictionary* dictionary, Function* function,
                    Segment* segment, PlaceHolderTree* identifiers, VariableHash* variables);

    // Declares a variable named 'name' in 'hash' under the assembly identifier 'identifier' in
    // 'tree'. An empty name skips the duplicate-name check.
    virtual int ProcessVariable(VariableHash* hash, PlaceHolderTree* tree, const char* identifier,
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
    // segment is resolved; the segment and the function stay. A program of many functions
    // then holds the symbols of one function at a time.
    void ReleaseSymbols();

    Segment* segment() const { return segment_; }
    Function* function() const { return function_; }
    int position() const { return position_; }

  private:
    // Takes the position a segment write returned; reports a segment that is full.
    int Emitted(int next_position);
    // 'text' as a tree key, valid until the next call.
    const char* Key(const char* text, int length);

    AssemblerParser* parser_;
    Dictionary* dictionary_;
    Function* function_;
    Segment* segment_;
    PlaceHolderTree* identifiers_;
    VariableHash* variables_;
    int position_;
    PlaceHolderTree labels_;
    List<ResolvablePlaceHolder> label_references_;
    String key_;
};

#endif
