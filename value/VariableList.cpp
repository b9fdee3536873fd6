// A list of variables, as a table hands out the variables it has made.
#include "value/VariableList.h"

VariableList::VariableList(int owner) : List<Variable>(owner) {}

// Emptied here, while Purge is still this class's own.
VariableList::~VariableList() {
    Dump();
}

void VariableList::Purge(Variable* variable) {
    Variable::Release(variable);
}
