// A variable whose value cannot be changed through the ordinary operations: constants and
// values the runtime hands out for reading only.
#ifndef TARN_VALUE_IMMUTABLEVARIABLE_H
#define TARN_VALUE_IMMUTABLEVARIABLE_H

#include "value/Variable.h"

// Made locked, with the value given to its constructor. Its owner may Unlock it, set the
// value through the ordinary setters and Lock it again. The lock covers this variable's own
// value and its set of elements; the element variables themselves are what they were given as.
class ImmutableVariable : public Variable {
  public:
    using Variable::Variable;

    // Refused (false, or null for the Make_ forms) while locked.
    bool SetNULL() override;
    bool SetName(const String& name) override;
    bool SetValue(const char* text, int length) override;
    bool SetValue(Variable& other) override;
    bool SetValue_Nocopy(char* buffer, int length, int size) override;
    bool SetValue_Integer(int value) override;
    bool SetValue_mpd(const mpd_t* value) override;
    bool SetValue_mpd_Nocopy(mpd_t* value) override;
    bool SetElement(const AggregateIndex& index, Variable* variable) override;
    bool InsertElement(int position, Variable* variable) override;
    bool DeleteElement(const AggregateIndex& index, bool renumber) override;
    bool DeleteElements(int first, int last, bool renumber) override;
    bool MergeElements(Variable* source, int first, int last, int position, bool renumber) override;
    bool CopyElements(Variable* source, int first, int last, int position, bool renumber) override;
    int CollapseElements() override;
    bool Convert_Aggregate(AggregateType type) override;
    Variable* Make_Reference(Variable* target) override;
    Variable* Make_CallbackStruct(CallbackVariableCallback* callback) override;

    virtual void Lock();
    virtual void Unlock();

  protected:
    bool locked_ = true;
};

#endif
