// A structure whose members are supplied by its owner when they are first read, so that a
// large outside record is turned into variables one member at a time.
#ifndef TARN_VALUE_CALLBACKSTRUCTVARIABLE_H
#define TARN_VALUE_CALLBACKSTRUCTVARIABLE_H

#include "value/CallbackVariable.h"

class CallbackStructVariable : public CallbackVariable {
  public:
    // Starts as an empty structure.
    CallbackStructVariable(const char* name, int length, CallbackVariableCallback* callback);

    // A member not yet held is asked of the owner and kept. Numbers name no member.
    Variable* Element(const AggregateIndex& index, int create) override;
    // Binds this structure to 'callback' instead and hands out one more reference to itself.
    Variable* Make_CallbackStruct(CallbackVariableCallback* callback) override;
};

#endif
