// The system variable table of the loader, with nested scopes: a variable set inside a scope
// hides the one before it until the scope is left.
#ifndef TARN_COMPILED_SYSTEMVARIABLEHASH_H
#define TARN_COMPILED_SYSTEMVARIABLEHASH_H

#include "compiled/VariableHash.h"
#include "foundation/List.h"
#include "foundation/Stack.h"

// What an entry held before a scope changed it; Pop puts it back.
struct _SVH_Entry {
    int index;           // the entry's number
    int version;         // its version before the change
    Variable* variable;  // its variable before the change (null for a name new in the scope)
};

class SystemVariableHash : public VariableHash {
  public:
    SystemVariableHash(Dictionary* dictionary, int bucket_bits, int capacity, int count);
    // Leaves every open scope, destroying the variables made in them.
    ~SystemVariableHash() override;

    using VariableHash::Insert;
    using VariableHash::SetVariable;
    int SetVariable(const char* name, int length, const char* value, int value_length) override;
    int SetVariable(Variable* variable) override;
    int SetVariable_Reference(int index, Variable* variable) override;
    int Insert(int name_index, const char* name, int length, Variable* variable) override;
    int Version() override;
    int Find(Variable** out, const char* name, int length, int create) override;
    void Push() override;
    int Pop() override;

    int depth() const { return depth_; }

  private:
    // Notes what entry 'index' holds now on the current scope's list.
    void Save(int index);

    int depth_;
    // One list per open scope, the innermost on top; each list holds the latest change first.
    Stack<List<_SVH_Entry>> scopes_;
};

#endif
