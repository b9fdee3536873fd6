// A variable table copied from another, making each variable's copy on first reach.
#include "compiled/ClonedVariableHash.h"

#include "value/Variable.h"
#include "value/VariableList.h"

ClonedVariableHash::ClonedVariableHash(TarnApplication* application, VariableHash* source)
    : VariableHash(application, source->RealIdentity()->dictionary(), *source->RealIdentity(),
                   false),
      application_(application),
      foreign_(static_cast<size_t>(source->RealIdentity()->Entries()), 1) {}

ClonedVariableHash::~ClonedVariableHash() {
    for (int i = 0; i < Entries(); ++i) {
        bool own = static_cast<size_t>(i) >= foreign_.size() || foreign_[i] == 0;
        if (own) Variable::Release(VariableHash::Index(i, 0));
    }
}

int ClonedVariableHash::SetVariable(Variable* variable) {
    const String& name = variable->name();
    int i = VariableHash::Seek(-1, name.c_str(), name.length(), nullptr);
    if (i == -1) return Insert(variable);
    Replace(i, variable, true);
    return i;
}

int ClonedVariableHash::SetVariable_Reference(int index, Variable* variable) {
    if (entry(index) == nullptr) return 0;
    Replace(index, variable, false);
    return 1;
}

// Whoever seeks an entry may change its variable, so it gets the clone's own copy first.
int ClonedVariableHash::Seek(int name_index, const char* name, int length, _VH_Entry** out) {
    int i = VariableHash::Seek(name_index, name, length, out);
    if (i != -1) Reach(i);
    return i;
}

Variable* ClonedVariableHash::Index(int i, int create) {
    Reach(i);
    return VariableHash::Index(i, create);
}

int ClonedVariableHash::AllocatedVars(VariableList* list) {
    for (int i = 0; i < Entries(); ++i) Reach(i);
    return VariableHash::AllocatedVars(list);
}

void ClonedVariableHash::Reach(int i) {
    _VH_Entry* reached = EntryAt(i);
    if (reached == nullptr || static_cast<size_t>(i) >= foreign_.size() || foreign_[i] == 0) {
        return;
    }
    if (reached->variable != nullptr) reached->variable = reached->variable->Clone(application_);
    foreign_[i] = 0;
}

void ClonedVariableHash::Replace(int i, Variable* variable, bool owned) {
    _VH_Entry* replaced = EntryAt(i);
    bool was_own = static_cast<size_t>(i) >= foreign_.size() || foreign_[i] == 0;
    if (was_own && replaced->variable != variable) Variable::Release(replaced->variable);
    replaced->variable = variable;
    replaced->version = Version();
    if (static_cast<size_t>(i) >= foreign_.size()) {
        if (owned) return;
        foreign_.resize(static_cast<size_t>(i) + 1, 0);
    }
    foreign_[i] = owned ? 0 : 1;
}
