// A variable that stands for another one: every value and element operation goes to the
// target, so a parameter passed by reference changes the caller's variable.
#include "value/ReferenceVariable.h"

ReferenceVariable::ReferenceVariable(const char* name, int length, Variable* target)
    : Variable(name, length), target_(target) {
    if (target_ == nullptr) {
        target_ = new Variable();
    } else {
        target_->IncRefCount();
    }
}

ReferenceVariable::~ReferenceVariable() {
    Release(target_);
}

Variable* ReferenceVariable::Clone(TarnApplication* application) {
    return target_->Clone(application);
}

Variable* ReferenceVariable::NextIdentity() {
    return target_;
}

Variable* ReferenceVariable::RealIdentity() {
    return target_->RealIdentity();
}

const String& ReferenceVariable::value() {
    return target_->value();
}

int ReferenceVariable::value_integer() {
    return target_->value_integer();
}

const mpd_t* ReferenceVariable::value_mpd() {
    return target_->value_mpd();
}

int ReferenceVariable::value_compare(int* integer) {
    return target_->value_compare(integer);
}

int ReferenceVariable::type() {
    return target_->type();
}

int ReferenceVariable::primary_type() {
    return target_->primary_type();
}

int ReferenceVariable::preferred_type() {
    return target_->preferred_type();
}

bool ReferenceVariable::IsTrue() {
    return target_->IsTrue();
}

bool ReferenceVariable::IsNULL() {
    return target_->IsNULL();
}

bool ReferenceVariable::SetNULL() {
    return target_->SetNULL();
}

AggregateElementTree* ReferenceVariable::aggregateelements() {
    return target_->aggregateelements();
}

AggregateType ReferenceVariable::aggregatetype() {
    return target_->aggregatetype();
}

bool ReferenceVariable::SetValue(const char* text, int length) {
    return target_->SetValue(text, length);
}

bool ReferenceVariable::SetValue(Variable& other) {
    return target_->SetValue(other);
}

bool ReferenceVariable::SetValue_Nocopy(char* buffer, int length, int size) {
    return target_->SetValue_Nocopy(buffer, length, size);
}

bool ReferenceVariable::SetValue_Integer(int value) {
    return target_->SetValue_Integer(value);
}

bool ReferenceVariable::SetValue_mpd(const mpd_t* value) {
    return target_->SetValue_mpd(value);
}

bool ReferenceVariable::SetValue_mpd_Nocopy(mpd_t* value) {
    return target_->SetValue_mpd_Nocopy(value);
}

Variable* ReferenceVariable::Element(const AggregateIndex& index, int create) {
    return target_->Element(index, create);
}

bool ReferenceVariable::SetElement(const AggregateIndex& index, Variable* variable) {
    return target_->SetElement(index, variable);
}

bool ReferenceVariable::InsertElement(int position, Variable* variable) {
    return target_->InsertElement(position, variable);
}

bool ReferenceVariable::DeleteElement(const AggregateIndex& index, bool renumber) {
    return target_->DeleteElement(index, renumber);
}

bool ReferenceVariable::DeleteElements(int first, int last, bool renumber) {
    return target_->DeleteElements(first, last, renumber);
}

bool ReferenceVariable::MergeElements(Variable* source, int first, int last, int position,
                                      bool renumber) {
    return target_->MergeElements(source, first, last, position, renumber);
}

bool ReferenceVariable::CopyElements(Variable* source, int first, int last, int position,
                                     bool renumber) {
    return target_->CopyElements(source, first, last, position, renumber);
}

int ReferenceVariable::CollapseElements() {
    return target_->CollapseElements();
}

int ReferenceVariable::Max() {
    return target_->Max();
}

int ReferenceVariable::Min() {
    return target_->Min();
}

int ReferenceVariable::Next(int index) {
    return target_->Next(index);
}

int ReferenceVariable::Previous(int index) {
    return target_->Previous(index);
}

int ReferenceVariable::ElementsUsed() {
    return target_->ElementsUsed();
}

bool ReferenceVariable::Convert_String() {
    return target_->Convert_String();
}

bool ReferenceVariable::Convert_Integer() {
    return target_->Convert_Integer();
}

bool ReferenceVariable::Convert_mpd() {
    return target_->Convert_mpd();
}

bool ReferenceVariable::Convert_Aggregate(AggregateType type) {
    return target_->Convert_Aggregate(type);
}
