// Scoped system variables: every change made inside a scope is noted, and leaving the scope
// destroys what the scope made and puts back what it replaced.
#include "compiled/SystemVariableHash.h"

#include "value/Variable.h"

SystemVariableHash::SystemVariableHash(Dictionary* dictionary, int bucket_bits, int capacity,
                                       int count)
    : VariableHash(dictionary, bucket_bits, capacity, count), depth_(0), scopes_(1) {}

SystemVariableHash::~SystemVariableHash() {
    while (depth_ > 0) (void)Pop();  // the result only says whether a scope was open
}

// At depth 0 an insertion is plain. Inside a scope a name that exists keeps its entry and
// number: the new variable takes the place of the old one until the scope ends.
int SystemVariableHash::Insert(int name_index, const char* name, int length, Variable* variable) {
    if (depth_ == 0) return VariableHash::Insert(name_index, name, length, variable);
    _VH_Entry* entry = nullptr;
    int i = Seek(name_index, name, length, &entry);
    if (i == -1) {
        i = VariableHash::Insert(name_index, name, length, variable);
        scopes_.Top()->Insert(new _SVH_Entry{i, 0, nullptr}, LIST_HEAD);
        return i;
    }
    Save(i);
    entry->variable = variable;
    entry->version = depth_;
    return i;
}

// A variable made by a lookup inside a scope belongs to that scope.
int SystemVariableHash::Find(Variable** out, const char* name, int length, int create) {
    _VH_Entry* entry = nullptr;
    int i = Seek(-1, name, length, &entry);
    if (i == -1) return 0;
    if (create != 0 && entry->variable == nullptr) {
        if (depth_ > 0) Save(i);
        MakeVariable(i);
    }
    if (out != nullptr) *out = entry->variable;
    return 1;
}

// Inside a scope a variable made before the scope is not changed: the scope gets its own.
int SystemVariableHash::SetVariable(const char* name, int length, const char* value,
                                    int value_length) {
    _VH_Entry* entry = nullptr;
    int i = Seek(-1, name, length, &entry);
    if (i == -1) i = Insert(name, length);
    const _VH_Entry* current = this->entry(i);
    if (depth_ > 0 && current->version < depth_ && current->variable != nullptr) {
        Save(i);
        MakeVariable(i);
    }
    Variable* variable = Index(i, 1);
    variable->SetValue(value, value_length);
    return i;
}

int SystemVariableHash::SetVariable(Variable* variable) {
    if (depth_ == 0) return VariableHash::SetVariable(variable);
    return Insert(variable);
}

// A variable shared inside a scope gets one more reference, which leaving the scope gives back.
int SystemVariableHash::SetVariable_Reference(int index, Variable* variable) {
    if (depth_ > 0 && entry(index) != nullptr) {
        Save(index);
        if (variable != nullptr) variable->IncRefCount();
    }
    return VariableHash::SetVariable_Reference(index, variable);
}

int SystemVariableHash::Version() {
    return depth_;
}

void SystemVariableHash::Push() {
    ++depth_;
    scopes_.Push(new List<_SVH_Entry>(1));
}

int SystemVariableHash::Pop() {
    if (depth_ == 0) return 0;
    List<_SVH_Entry>* changes = scopes_.Top();
    (void)scopes_.Pop();  // hands back the list just read from the top
    // Latest change first, so an entry changed twice in the scope ends in its state before it.
    for (_SVH_Entry* saved = changes->First(); saved != nullptr; saved = changes->Next()) {
        _VH_Entry* entry = EntryAt(saved->index);
        Variable::Release(entry->variable);
        entry->variable = saved->variable;
        entry->version = saved->version;
    }
    delete changes;
    --depth_;
    return 1;
}

void SystemVariableHash::Save(int index) {
    const _VH_Entry* current = entry(index);
    scopes_.Top()->Insert(new _SVH_Entry{index, current->version, current->variable}, LIST_HEAD);
}
