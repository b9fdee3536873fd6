// The other kinds of variable: references, read-only values and callback variables.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "driver/TarnApplication.h"
#include "value/AggregateIndex.h"
#include "value/CallbackVariable.h"
#include "value/CallbackVariableCallback.h"
#include "value/ImmutableVariable.h"
#include "value/ReferenceVariable.h"

namespace {

std::string Text(const String& s) {
    return std::string(s.c_str(), s.length());
}

class Kinds : public ::testing::Test {
  protected:
    void SetUp() override { mpd_ieee_context(&Tarn_MPD_Context, 64); }
};

// Counts the notices it is given.
class Owner : public CallbackVariableCallback {
  public:
    void VariableChanged(CallbackVariable* /*variable*/) override { ++changes; }
    void VariableDestroyed(CallbackVariable* /*variable*/) override { ++destroyed; }
    Variable* StructElement(CallbackStructVariable*, const AggregateIndex&, int) override {
        return nullptr;
    }

    int changes = 0;
    int destroyed = 0;
};

}  // namespace

// ---- references ----

TEST_F(Kinds, ReferenceForwardsValuesAndElements) {
    Variable* target = new Variable("target", -1, "old", 3);
    Variable* reference = target->Make_Reference(target);
    ReferenceVariable* chained = new ReferenceVariable("outer", -1, reference);
    EXPECT_EQ(target->refcount(), 2);
    EXPECT_EQ(chained->RealIdentity(), target);

    chained->SetValue("new", 3);
    EXPECT_EQ(Text(target->value()), "new");
    chained->SetElement(2, new Variable("", 0, 6));
    EXPECT_EQ(target->Element(2, 0)->value_integer(), 6);
    // A variable is not stored inside itself through a reference either.
    reference->IncRefCount();
    EXPECT_FALSE(target->SetElement(3, reference));
    Variable::Release(reference);

    // Each reference holds its target until it goes; the last holder deletes.
    Variable::Release(target);
    EXPECT_EQ(reference->refcount(), 2);
    Variable::Release(chained);
    Variable::Release(reference);
}

// ---- read-only values ----

TEST_F(Kinds, ImmutableRefusesEveryChangeUntilUnlocked) {
    ImmutableVariable constant("pi", 2, "3.14", 4);
    constant.Unlock();
    constant.SetElement(AggregateIndex("digits"), new Variable("", 0, "314", 3));
    constant.Lock();
    Variable other("o", 1, 1);
    const std::function<bool(Variable&)> edits[] = {
        [](Variable& v) { return v.SetNULL(); },
        [](Variable& v) { return v.SetValue("x", 1); },
        [&](Variable& v) { return v.SetValue(other); },
        [](Variable& v) { return v.Convert_Aggregate(AGGREGATE_ARRAY); },
        [](Variable& v) { return v.DeleteElement(AggregateIndex("digits"), false); },
        [](Variable& v) { return v.Element(AggregateIndex("new"), 1) != nullptr; },
        [&](Variable& v) { return v.CopyElements(&other, 1, 1, 1, false); },
        [](Variable& v) { return v.Make_Reference(&v) != nullptr; },
    };
    for (const auto& edit : edits) EXPECT_FALSE(edit(constant));

    // Elements offered to a refusing variable stay the caller's.
    Variable* element = new Variable();
    EXPECT_FALSE(constant.SetElement(AggregateIndex("digits"), element));
    EXPECT_FALSE(constant.InsertElement(0, element));
    Variable::Release(element);

    // A read-only source keeps the elements a merge asks it for.
    Variable target("t", 1);
    EXPECT_FALSE(target.MergeElements(&constant, 0, 0, 0, false));
    EXPECT_EQ(Text(constant.Element(AggregateIndex("digits"), 0)->value()), "314");
}

// ---- callbacks ----

TEST_F(Kinds, CallbackVariableTellsItsOwnerUntilDetached) {
    Owner owner;
    {
        CallbackVariable watched("w", 1, &owner);
        watched.SetValue("a", 1);
        watched.SetValue_Integer(2);
        watched.Element(1, 1);                                   // the new element is one change
        watched.DeleteElement(AggregateIndex("absent"), false);  // nothing changed
        Variable source("s", 1, 7);
        watched.SetValue(source);
        EXPECT_EQ(owner.changes, 4);
        watched.value();
        EXPECT_EQ(owner.changes, 4);
    }
    EXPECT_EQ(owner.destroyed, 1);
    CallbackVariable detached("d", 1, &owner);
    detached.Detach();
    detached.SetValue_Integer(3);
    EXPECT_EQ(owner.changes, 4);
}

// ---- lists ----
