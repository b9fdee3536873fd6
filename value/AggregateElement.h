// One element of an array or structure: its key and the variable it holds.
#ifndef TARN_VALUE_AGGREGATEELEMENT_H
#define TARN_VALUE_AGGREGATEELEMENT_H

#include "value/AggregateIndex.h"

class Variable;

class AggregateElement {
  public:
    // Adopts one counted reference to 'variable' (which must not be null); the element releases
    // it when it is destroyed or given another variable.
    AggregateElement(const AggregateIndex& index, Variable* variable);
    ~AggregateElement();

    AggregateElement(const AggregateElement&) = delete;
    AggregateElement& operator=(const AggregateElement&) = delete;

    const AggregateIndex& index() const { return index_; }
    // Renumbering goes through here; the tree's order must not change by it.
    AggregateIndex& index() { return index_; }
    Variable* variable() const { return variable_; }

    // Adopts one reference to 'variable' and releases the old one.
    void SetVariable(Variable* variable);

  private:
    AggregateIndex index_;
    Variable* variable_;
};

#endif
