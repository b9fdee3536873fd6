// A view of another variable table; its own arrays stay empty.
#include "compiled/ReferenceVariableHash.h"

ReferenceVariableHash::ReferenceVariableHash(VariableHash* other)
    : VariableHash(other->dictionary(), 0, 0, 0), target_(other->RealIdentity()) {}

ReferenceVariableHash::~ReferenceVariableHash() {}

int ReferenceVariableHash::Insert(Variable* variable) {
    return target_->Insert(variable);
}

int ReferenceVariableHash::Insert(const char* name, int length) {
    return target_->Insert(name, length);
}

int ReferenceVariableHash::Insert(int name_index) {
    return target_->Insert(name_index);
}

int ReferenceVariableHash::SetVariable(const char* name, int length, const char* value,
                                       int value_length) {
    return target_->SetVariable(name, length, value, value_length);
}

int ReferenceVariableHash::SetVariable(Variable* variable) {
    return target_->SetVariable(variable);
}

int ReferenceVariableHash::SetVariable_Reference(int index, Variable* variable) {
    return target_->SetVariable_Reference(index, variable);
}

int ReferenceVariableHash::SetVariable_Fancy(const char* name, int length, const char* value,
                                             int value_length, int create) {
    return target_->SetVariable_Fancy(name, length, value, value_length, create);
}

int ReferenceVariableHash::Seek(int name_index, const char* name, int length, _VH_Entry** out) {
    return target_->Seek(name_index, name, length, out);
}

int ReferenceVariableHash::Insert(int name_index, const char* name, int length,
                                  Variable* variable) {
    return target_->Insert(name_index, name, length, variable);
}

int ReferenceVariableHash::Version() {
    return target_->Version();
}

int ReferenceVariableHash::ClearVariable(const char* name, int length) {
    return target_->ClearVariable(name, length);
}

int ReferenceVariableHash::Find(Variable** out, const char* name, int length, int create) {
    return target_->Find(out, name, length, create);
}

int ReferenceVariableHash::LookupVariable_Fancy(Variable** out, const char* name, int length,
                                                int create) {
    return target_->LookupVariable_Fancy(out, name, length, create);
}

Variable* ReferenceVariableHash::Index(int i, int create) {
    return target_->Index(i, create);
}

int ReferenceVariableHash::Size() {
    return target_->Size();
}

int ReferenceVariableHash::Entries() {
    return target_->Entries();
}

int ReferenceVariableHash::AllocatedVars(VariableList* list) {
    return target_->AllocatedVars(list);
}

// Through the view's own Read(file), so that a section read by tag is marked as below.
int ReferenceVariableHash::Read(TaggedFile* file, int tag) {
    return VariableHash::Read(file, tag);
}

int ReferenceVariableHash::Write(TaggedFile* file, int tag) {
    return target_->Write(file, tag);
}

// A table read through a view is marked with version -1 throughout: none of its entries was
// made by a scope of the table behind the view.
int ReferenceVariableHash::Read(TaggedFile* file) {
    int result = target_->Read(file);
    if (result != 0) {
        for (int i = 0; i < target_->count_; ++i) target_->entries_[i].version = -1;
    }
    return result;
}

int ReferenceVariableHash::Write(TaggedFile* file) {
    return target_->Write(file);
}

const String& ReferenceVariableHash::error() {
    return target_->error();
}

void ReferenceVariableHash::Error(const String& text) {
    target_->Error(text);
}

void ReferenceVariableHash::Push() {
    target_->Push();
}

int ReferenceVariableHash::Pop() {
    return target_->Pop();
}

VariableHash* ReferenceVariableHash::RealIdentity() {
    return target_;
}
