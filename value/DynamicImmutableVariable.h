// A read-only variable whose value and elements are worked out only when first read, for
// values that cost something to produce and are often not looked at.
#ifndef TARN_VALUE_DYNAMICIMMUTABLEVARIABLE_H
#define TARN_VALUE_DYNAMICIMMUTABLEVARIABLE_H

#include "value/ImmutableVariable.h"

class DynamicImmutableVariable : public ImmutableVariable {
  public:
    DynamicImmutableVariable(const char* name, int length);

    // Each read runs Compute first when the value is not worked out yet.
    const String& value() override;
    int value_integer() override;
    const mpd_t* value_mpd() override;
    int value_compare(int* integer) override;
    int primary_type() override;
    bool IsTrue() override;
    bool IsNULL() override;
    AggregateElementTree* aggregateelements() override;
    AggregateType aggregatetype() override;
    Variable* Element(const AggregateIndex& index, int create) override;
    int CollapseElements() override;
    int Max() override;
    int Min() override;
    int Next(int index) override;
    int Previous(int index) override;
    int ElementsUsed() override;
    bool Convert_String() override;
    bool Convert_Integer() override;
    bool Convert_mpd() override;

  protected:
    // Sets the value and elements through the ordinary setters; runs unlocked, once after
    // construction and once after every Invalidate. The default leaves the variable NULL.
    virtual void Compute();
    // The next read works the value out again.
    void Invalidate();

  private:
    void Refresh();

    bool computed_ = false;
};

#endif
