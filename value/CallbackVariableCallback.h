// What the owner of a callback variable implements to hear about it and, for a callback
// structure, to supply its members.
#ifndef TARN_VALUE_CALLBACKVARIABLECALLBACK_H
#define TARN_VALUE_CALLBACKVARIABLECALLBACK_H

class AggregateIndex;
class CallbackStructVariable;
class CallbackVariable;
class Variable;

// Every notice has a default that does nothing, so an owner implements only what it needs.
class CallbackVariableCallback {
  public:
    virtual ~CallbackVariableCallback();

    // 'variable' has just changed its value or its elements.
    virtual void VariableChanged(CallbackVariable* variable);
    // 'variable' is being destroyed while still attached; the owner must forget it.
    virtual void VariableDestroyed(CallbackVariable* variable);
    // The member 'index' of 'structure', handed over with one reference that the structure
    // keeps, or null when there is no such member ('create' says the reader wants one made).
    virtual Variable* StructElement(CallbackStructVariable* structure, const AggregateIndex& index,
                                    int create);
};

#endif
