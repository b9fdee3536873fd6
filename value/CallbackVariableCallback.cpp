// What the owner of a callback variable implements to hear about it and, for a callback
// structure, to supply its members.
#include "value/CallbackVariableCallback.h"

CallbackVariableCallback::~CallbackVariableCallback() = default;

void CallbackVariableCallback::VariableChanged(CallbackVariable* /*variable*/) {}

void CallbackVariableCallback::VariableDestroyed(CallbackVariable* /*variable*/) {}

Variable* CallbackVariableCallback::StructElement(CallbackStructVariable* /*structure*/,
                                                  const AggregateIndex& /*index*/, int /*create*/) {
    return nullptr;
}
