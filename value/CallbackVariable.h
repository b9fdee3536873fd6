// A variable whose owner hears of every change to it, for values the runtime has to mirror
// somewhere else.
#ifndef TARN_VALUE_CALLBACKVARIABLE_H
#define TARN_VALUE_CALLBACKVARIABLE_H

#include "value/CallbackVariableCallback.h"
#include "value/Variable.h"

class CallbackVariable : public Variable {
  public:
    // 'callback' (not owned, may be null) hears of every change until Detach.
    CallbackVariable(const char* name, int length, CallbackVariableCallback* callback);
    // Tells a still attached owner that the variable goes away.
    ~CallbackVariable() override;

    // Each one, when it changed something, tells the owner afterwards.
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

    // The owner goes away before the variable: no more notices.
    virtual void Detach();

  protected:
    // Passes 'changed' through, telling the owner when it is true.
    bool Notify(bool changed);
};

#endif
