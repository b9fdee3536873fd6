// A structure whose members are supplied by its owner when they are first read, so that a
// large outside record is turned into variables one member at a time.
#include "value/CallbackStructVariable.h"

#include "value/AggregateIndex.h"

CallbackStructVariable::CallbackStructVariable(const char* name, int length,
                                               CallbackVariableCallback* callback)
    : CallbackVariable(name, length, callback) {
    MakeAggregate(AGGREGATE_STRUCTURE);
}

Variable* CallbackStructVariable::Element(const AggregateIndex& index, int create) {
    if (index.type() != AGGREGATE_STRUCTURE) return nullptr;
    if (aggregate_type_ == AGGREGATE_STRUCTURE) {
        Variable* held = CallbackVariable::Element(index, 0);
        if (held != nullptr) return held;
    }
    if (callback_ != nullptr) {
        Variable* supplied = callback_->StructElement(this, index, create);
        if (supplied != nullptr) {
            // Kept without a notice: the owner gave the member, it knows of it.
            if (supplied->RealIdentity() == this) {
                Release(supplied);
                return nullptr;
            }
            StoreElement(index, supplied);
            return supplied;
        }
    }
    return CallbackVariable::Element(index, create);
}

Variable* CallbackStructVariable::Make_CallbackStruct(CallbackVariableCallback* callback) {
    callback_ = callback;
    IncRefCount();
    return this;
}
