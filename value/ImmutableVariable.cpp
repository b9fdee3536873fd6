// A variable whose value cannot be changed through the ordinary operations: constants and
// values the runtime hands out for reading only.
#include "value/ImmutableVariable.h"

bool ImmutableVariable::SetNULL() {
    return !locked_ && Variable::SetNULL();
}

bool ImmutableVariable::SetName(const String& name) {
    return !locked_ && Variable::SetName(name);
}

bool ImmutableVariable::SetValue(const char* text, int length) {
    return !locked_ && Variable::SetValue(text, length);
}

bool ImmutableVariable::SetValue(Variable& other) {
    return !locked_ && Variable::SetValue(other);
}

bool ImmutableVariable::SetValue_Nocopy(char* buffer, int length, int size) {
    return !locked_ && Variable::SetValue_Nocopy(buffer, length, size);
}

bool ImmutableVariable::SetValue_Integer(int value) {
    return !locked_ && Variable::SetValue_Integer(value);
}

bool ImmutableVariable::SetValue_mpd(const mpd_t* value) {
    return !locked_ && Variable::SetValue_mpd(value);
}

bool ImmutableVariable::SetValue_mpd_Nocopy(mpd_t* value) {
    return !locked_ && Variable::SetValue_mpd_Nocopy(value);
}

bool ImmutableVariable::SetElement(const AggregateIndex& index, Variable* variable) {
    return !locked_ && Variable::SetElement(index, variable);
}

bool ImmutableVariable::InsertElement(int position, Variable* variable) {
    return !locked_ && Variable::InsertElement(position, variable);
}

bool ImmutableVariable::DeleteElement(const AggregateIndex& index, bool renumber) {
    return !locked_ && Variable::DeleteElement(index, renumber);
}

bool ImmutableVariable::DeleteElements(int first, int last, bool renumber) {
    return !locked_ && Variable::DeleteElements(first, last, renumber);
}

bool ImmutableVariable::MergeElements(Variable* source, int first, int last, int position,
                                      bool renumber) {
    return !locked_ && Variable::MergeElements(source, first, last, position, renumber);
}

bool ImmutableVariable::CopyElements(Variable* source, int first, int last, int position,
                                     bool renumber) {
    return !locked_ && Variable::CopyElements(source, first, last, position, renumber);
}

int ImmutableVariable::CollapseElements() {
    // A locked array keeps its numbering; the count is still the answer.
    return locked_ ? ElementsUsed() : Variable::CollapseElements();
}

bool ImmutableVariable::Convert_Aggregate(AggregateType type) {
    return !locked_ && Variable::Convert_Aggregate(type);
}

Variable* ImmutableVariable::Make_Reference(Variable* target) {
    return locked_ ? nullptr : Variable::Make_Reference(target);
}

Variable* ImmutableVariable::Make_CallbackStruct(CallbackVariableCallback* callback) {
    return locked_ ? nullptr : Variable::Make_CallbackStruct(callback);
}

void ImmutableVariable::Lock() {
    locked_ = true;
}

void ImmutableVariable::Unlock() {
    locked_ = false;
}
