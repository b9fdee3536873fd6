// The other kinds of variable: references and read-only values.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "driver/TarnApplication.h"
#include "value/AggregateIndex.h"
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

// ---- lists ----
