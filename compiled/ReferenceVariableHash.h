// A view of another variable table: every operation goes to that table, so two owners can share
// one table of variables.
#ifndef TARN_COMPILED_REFERENCEVARIABLEHASH_H
#define TARN_COMPILED_REFERENCEVARIABLEHASH_H

#include "compiled/VariableHash.h"

class ReferenceVariableHash : public VariableHash {
  public:
    // Bound to the table behind 'other' (its RealIdentity), so views of views do not chain.
    // 'other' must outlive the view.
    explicit ReferenceVariableHash(VariableHash* other);
    ~ReferenceVariableHash() override;

    int Insert(Variable* variable) override;
    int Insert(const char* name, int length) override;
    int Insert(int name_index) override;
    int SetVariable(const char* name, int length, const char* value, int value_length) override;
    int SetVariable(Variable* variable) override;
    int SetVariable_Reference(int index, Variable* variable) override;
    int SetVariable_Fancy(const char* name, int length, const char* value, int value_length,
                          int create) override;
    int Seek(int name_index, const char* name, int length, _VH_Entry** out) override;
    int Insert(int name_index, const char* name, int length, Variable* variable) override;
    int Version() override;
    int ClearVariable(const char* name, int length) override;
    int Find(Variable** out, const char* name, int length, int create) override;
    int LookupVariable_Fancy(Variable** out, const char* name, int length, int create) override;
    Variable* Index(int i, int create) override;
    int Size() override;
    int Entries() override;
    int AllocatedVars(VariableList* list) override;
    int Read(TaggedFile* file, int tag) override;
    int Write(TaggedFile* file, int tag) override;
    int Read(TaggedFile* file) override;
    int Write(TaggedFile* file) override;
    const String& error() override;
    void Error(const String& text) override;
    void Push() override;
    int Pop() override;
    VariableHash* RealIdentity() override;

  private:
    VariableHash* target_;
};

#endif
