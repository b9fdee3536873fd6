// One element of an array or structure: its key and the variable it holds.
#include "value/AggregateElement.h"

#include "value/Variable.h"

AggregateElement::AggregateElement(const AggregateIndex& index, Variable* variable)
    : index_(index), variable_(variable) {}

AggregateElement::~AggregateElement() {
    Variable::Release(variable_);
}

void AggregateElement::SetVariable(Variable* variable) {
    if (variable == variable_) {
        // The caller handed over a reference to the variable already held: one is surplus.
        (void)variable->DecRefCount();  // the element's own reference keeps it above 0
        return;
    }
    Variable* old = variable_;
    variable_ = variable;
    Variable::Release(old);
}
