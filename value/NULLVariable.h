// The always-empty value: what a lookup of something that does not exist reads as, at any
// depth of elements.
#ifndef TARN_VALUE_NULLVARIABLE_H
#define TARN_VALUE_NULLVARIABLE_H

#include "foundation/List.h"
#include "value/AggregateIndex.h"
#include "value/ImmutableVariable.h"

class NULLVariable : public ImmutableVariable {
  public:
    NULLVariable();
    NULLVariable(const char* name, int length);

    const String& value() override;
    int value_integer() override;
    const mpd_t* value_mpd() override;
    int value_compare(int* integer) override;
    int type() override;
    bool IsTrue() override;
    bool IsNULL() override;
    // Every element of the empty value is the empty value itself; nothing is ever made.
    Variable* Element(const AggregateIndex& index, int create) override;
    int CollapseElements() override;

    // The element at the end of 'path': again this variable.
    virtual Variable* Element(List<AggregateIndex>* path, int create);

  private:
    String empty_;
};

#endif
