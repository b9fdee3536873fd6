// A variable whose owner hears of every change to it, for values the runtime has to mirror
// somewhere else.
#include "value/CallbackVariable.h"

CallbackVariable::CallbackVariable(const char* name, int length, CallbackVariableCallback* callback)
    : Variable(name, length) {
    callback_ = callback;
}

CallbackVariable::~CallbackVariable() {
    if (callback_ != nullptr) callback_->VariableDestroyed(this);
}

bool CallbackVariable::SetNULL() {
    return Notify(Variable::SetNULL());
}

bool CallbackVariable::SetName(const String& name) {
    return Notify(Variable::SetName(name));
}

bool CallbackVariable::SetValue(const char* text, int length) {
    return Notify(Variable::SetValue(text, length));
}

bool CallbackVariable::SetValue(Variable& other) {
    return Notify(Variable::SetValue(other));
}

bool CallbackVariable::SetValue_Nocopy(char* buffer, int length, int size) {
    return Notify(Variable::SetValue_Nocopy(buffer, length, size));
}

bool CallbackVariable::SetValue_Integer(int value) {
    return Notify(Variable::SetValue_Integer(value));
}

bool CallbackVariable::SetValue_mpd(const mpd_t* value) {
    return Notify(Variable::SetValue_mpd(value));
}

bool CallbackVariable::SetValue_mpd_Nocopy(mpd_t* value) {
    return Notify(Variable::SetValue_mpd_Nocopy(value));
}

bool CallbackVariable::SetElement(const AggregateIndex& index, Variable* variable) {
    return Notify(Variable::SetElement(index, variable));
}

bool CallbackVariable::InsertElement(int position, Variable* variable) {
    return Notify(Variable::InsertElement(position, variable));
}

bool CallbackVariable::DeleteElement(const AggregateIndex& index, bool renumber) {
    return Notify(Variable::DeleteElement(index, renumber));
}

bool CallbackVariable::DeleteElements(int first, int last, bool renumber) {
    return Notify(Variable::DeleteElements(first, last, renumber));
}

bool CallbackVariable::MergeElements(Variable* source, int first, int last, int position,
                                     bool renumber) {
    return Notify(Variable::MergeElements(source, first, last, position, renumber));
}

bool CallbackVariable::CopyElements(Variable* source, int first, int last, int position,
                                    bool renumber) {
    return Notify(Variable::CopyElements(source, first, last, position, renumber));
}

int CallbackVariable::CollapseElements() {
    int count = Variable::CollapseElements();
    Notify(count > 0);
    return count;
}

bool CallbackVariable::Convert_Aggregate(AggregateType type) {
    return Notify(Variable::Convert_Aggregate(type));
}

void CallbackVariable::Detach() {
    callback_ = nullptr;
}

bool CallbackVariable::Notify(bool changed) {
    if (changed && callback_ != nullptr) callback_->VariableChanged(this);
    return changed;
}
