// One parameter of a function: its name, whether it is passed by reference, and its variable in
// the function's local table.
#ifndef TARN_COMPILED_FUNCTIONPARAMETER_H
#define TARN_COMPILED_FUNCTIONPARAMETER_H

#include "foundation/String.h"

// Parameter flags as the function table stores them.
constexpr int PARAMETER_BY_VALUE = 0;
constexpr int PARAMETER_BY_REFERENCE = 1;

class FunctionParameter {
  public:
    FunctionParameter(int name_index, const char* name, int length, int flags, int variable);
    virtual ~FunctionParameter();

    int name_index() const { return name_index_; }
    const String& name() const { return name_; }
    int flags() const { return flags_; }
    int variable() const { return variable_; }

  private:
    int name_index_;  // the name's entry in the dictionary
    String name_;
    int flags_;
    int variable_;  // the parameter's variable number in the function's local table
};

#endif
