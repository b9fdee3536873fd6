// A variable that stands for another one: every value and element operation goes to the
// target, so a parameter passed by reference changes the caller's variable.
#ifndef TARN_VALUE_REFERENCEVARIABLE_H
#define TARN_VALUE_REFERENCEVARIABLE_H

#include "value/Variable.h"

class ReferenceVariable : public Variable {
  public:
    // Holds one counted reference to 'target' until it is destroyed. A null 'target' gets a
    // NULL variable of the reference's own, so the reference always stands for something.
    ReferenceVariable(const char* name, int length, Variable* target);
    ~ReferenceVariable() override;

    // name(), SetName() and the counts stay the reference's own: a reference parameter has
    // its own name inside its function, and its own count decides when the reference dies.
    Variable* Clone(TarnApplication* application) override;
    Variable* NextIdentity() override;
    Variable* RealIdentity() override;
    const String& value() override;
    int value_integer() override;
    const mpd_t* value_mpd() override;
    int value_compare(int* integer) override;
    int type() override;
    int primary_type() override;
    int preferred_type() override;
    bool IsTrue() override;
    bool IsNULL() override;
    bool SetNULL() override;
    AggregateElementTree* aggregateelements() override;
    AggregateType aggregatetype() override;
    bool SetValue(const char* text, int length) override;
    bool SetValue(Variable& other) override;
    bool SetValue_Nocopy(char* buffer, int length, int size) override;
    bool SetValue_Integer(int value) override;
    bool SetValue_mpd(const mpd_t* value) override;
    bool SetValue_mpd_Nocopy(mpd_t* value) override;
    Variable* Element(const AggregateIndex& index, int create) override;
    bool SetElement(const AggregateIndex& index, Variable* variable) override;
    bool InsertElement(int position, Variable* variable) override;
    bool DeleteElement(const AggregateIndex& index, bool renumber) override;
    bool DeleteElements(int first, int last, bool renumber) override;
    bool MergeElements(Variable* source, int first, int last, int position, bool renumber) override;
    bool CopyElements(Variable* source, int first, int last, int position, bool renumber) override;
    int CollapseElements() override;
    int Max() override;
    int Min() override;
    int Next(int index) override;
    int Previous(int index) override;
    int ElementsUsed() override;
    bool Convert_String() override;
    bool Convert_Integer() override;
    bool Convert_mpd() override;
    bool Convert_Aggregate(AggregateType type) override;

  private:
    Variable* target_;
};

#endif
