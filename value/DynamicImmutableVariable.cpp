// A read-only variable whose value and elements are worked out only when first read, for
// values that cost something to produce and are often not looked at.
#include "value/DynamicImmutableVariable.h"

DynamicImmutableVariable::DynamicImmutableVariable(const char* name, int length)
    : ImmutableVariable(name, length) {}

const String& DynamicImmutableVariable::value() {
    Refresh();
    return ImmutableVariable::value();
}

int DynamicImmutableVariable::value_integer() {
    Refresh();
    return ImmutableVariable::value_integer();
}

const mpd_t* DynamicImmutableVariable::value_mpd() {
    Refresh();
    return ImmutableVariable::value_mpd();
}

int DynamicImmutableVariable::value_compare(int* integer) {
    Refresh();
    return ImmutableVariable::value_compare(integer);
}

int DynamicImmutableVariable::primary_type() {
    Refresh();
    return ImmutableVariable::primary_type();
}

bool DynamicImmutableVariable::IsTrue() {
    Refresh();
    return ImmutableVariable::IsTrue();
}

bool DynamicImmutableVariable::IsNULL() {
    Refresh();
    return ImmutableVariable::IsNULL();
}

AggregateElementTree* DynamicImmutableVariable::aggregateelements() {
    Refresh();
    return ImmutableVariable::aggregateelements();
}

AggregateType DynamicImmutableVariable::aggregatetype() {
    Refresh();
    return ImmutableVariable::aggregatetype();
}

Variable* DynamicImmutableVariable::Element(const AggregateIndex& index, int create) {
    Refresh();
    return ImmutableVariable::Element(index, create);
}

int DynamicImmutableVariable::CollapseElements() {
    Refresh();
    return ImmutableVariable::CollapseElements();
}

int DynamicImmutableVariable::Max() {
    Refresh();
    return ImmutableVariable::Max();
}

int DynamicImmutableVariable::Min() {
    Refresh();
    return ImmutableVariable::Min();
}

int DynamicImmutableVariable::Next(int index) {
    Refresh();
    return ImmutableVariable::Next(index);
}

int DynamicImmutableVariable::Previous(int index) {
    Refresh();
    return ImmutableVariable::Previous(index);
}

int DynamicImmutableVariable::ElementsUsed() {
    Refresh();
    return ImmutableVariable::ElementsUsed();
}

bool DynamicImmutableVariable::Convert_String() {
    Refresh();
    return ImmutableVariable::Convert_String();
}

bool DynamicImmutableVariable::Convert_Integer() {
    Refresh();
    return ImmutableVariable::Convert_Integer();
}

bool DynamicImmutableVariable::Convert_mpd() {
    Refresh();
    return ImmutableVariable::Convert_mpd();
}

void DynamicImmutableVariable::Compute() {}

void DynamicImmutableVariable::Invalidate() {
    computed_ = false;
}

void DynamicImmutableVariable::Refresh() {
    if (computed_) return;
    // Marked first: Compute may read its own value back through these same operations.
    computed_ = true;
    bool was_locked = locked_;
    Unlock();
    Compute();
    if (was_locked) Lock();
}
