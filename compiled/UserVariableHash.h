// A variable table that brings its own dictionary, for variables that exist apart from any
// compiled file.
#ifndef TARN_COMPILED_USERVARIABLEHASH_H
#define TARN_COMPILED_USERVARIABLEHASH_H

#include "compiled/VariableHash.h"

class UserVariableHash : public VariableHash {
  public:
    UserVariableHash();
    ~UserVariableHash() override;

  private:
    // Made before the table and handed to it; deleted after the table is done with it.
    Dictionary* own_dictionary_;
};

#endif
