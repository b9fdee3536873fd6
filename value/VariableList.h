// A list of variables, as a table hands out the variables it has made.
#ifndef TARN_VALUE_VARIABLELIST_H
#define TARN_VALUE_VARIABLELIST_H

#include "foundation/List.h"
#include "value/Variable.h"

class VariableList : public List<Variable> {
  public:
    // An owning list holds one reference to each variable and gives it back when dumped.
    explicit VariableList(int owner = 0);
    ~VariableList() override;

    void Purge(Variable* variable) override;
};

#endif
