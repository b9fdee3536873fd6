// A copy of another variable table for one activation of the loader (a call that needs its own
// variables): names and numbers are copied at once, each variable only when it is first reached.
#ifndef TARN_COMPILED_CLONEDVARIABLEHASH_H
#define TARN_COMPILED_CLONEDVARIABLEHASH_H

#include <vector>

#include "compiled/VariableHash.h"

class ClonedVariableHash : public VariableHash {
  public:
    // Copies the table behind 'source' (its RealIdentity), which must outlive the first reach of
    // every variable it shares.
    ClonedVariableHash(TarnApplication* application, VariableHash* source);
    // Destroys every variable the clone owns: all in its entries except those still shared with
    // the source and those given by reference.
    ~ClonedVariableHash() override;

    using VariableHash::SetVariable;
    // The table takes 'variable' over; a variable of its own that was in its place is destroyed.
    int SetVariable(Variable* variable) override;
    int SetVariable_Reference(int index, Variable* variable) override;
    int Seek(int name_index, const char* name, int length, _VH_Entry** out) override;
    Variable* Index(int i, int create) override;
    int AllocatedVars(VariableList* list) override;

  private:
    // Gives entry 'i' its own copy of the source's variable if it still shares it.
    void Reach(int i);
    // Puts 'variable' in entry 'i', destroying a variable of the clone's own that was there.
    void Replace(int i, Variable* variable, bool owned);

    TarnApplication* application_;
    // Per entry, 1 while its variable is not the clone's own; entries past the end are its own.
    std::vector<unsigned char> foreign_;
};

#endif
