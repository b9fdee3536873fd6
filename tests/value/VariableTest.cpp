// Value cells: constructors, conversions between the representations, truth, elements and
// reference counting.
#include "value/Variable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "driver/TarnApplication.h"
#include "value/AggregateElement.h"
#include "value/AggregateElementTree.h"
#include "value/AggregateIndex.h"

namespace {

// Counts how many of its kind are alive, so each test can see that every variable it made
// was destroyed exactly once.
class CountedVariable : public Variable {
  public:
    CountedVariable(int* live, const char* text) : Variable("counted", -1, text, -1), live_(live) {
        ++*live_;
    }
    ~CountedVariable() override { --*live_; }

  private:
    int* live_;
};

class VariableTest : public ::testing::Test {
  protected:
    void SetUp() override { mpd_ieee_context(&Tarn_MPD_Context, 64); }

    static std::string Text(Variable& v) {
        return std::string(v.value().c_str(), v.value().length());
    }

    // The array's slots and texts in order, as "1=a 2=b".
    static std::string Slots(Variable& v) {
        std::string out;
        for (int slot = v.Next(-1); slot >= 0; slot = v.Next(slot)) {
            if (!out.empty()) out += ' ';
            out += std::to_string(slot) + "=" + Text(*v.Element(slot, 0));
        }
        return out;
    }

    static std::string Json(Variable& v) {
        String out;
        v.Serialize(out);
        return std::string(out.c_str(), out.length());
    }

    // An array holding the texts at slots 1, 2, 3...
    static Variable* Array(const char* const* texts, int count) {
        Variable* array = new Variable("array", -1);
        for (int i = 0; i < count; ++i) array->InsertElement(0, new Variable("", 0, texts[i], -1));
        return array;
    }
};

}  // namespace

// ---- scalars ----

TEST_F(VariableTest, NameOnlyVariableIsNullAndStaysNullAfterReads) {
    Variable v("count", 5);
    EXPECT_TRUE(v.IsNULL());
    EXPECT_EQ(v.primary_type(), VARIABLE_PRIMARY_NULL);
    EXPECT_EQ(v.aggregatetype(), AGGREGATE_NONE);
    EXPECT_EQ(v.refcount(), 1);
    EXPECT_EQ(Text(v), "");
    EXPECT_EQ(v.value_integer(), 0);
    EXPECT_TRUE(mpd_iszero(v.value_mpd()));
    EXPECT_FALSE(v.IsTrue());
    EXPECT_TRUE(v.IsNULL());
    EXPECT_EQ(Text(v), "");
    EXPECT_EQ(Json(v), "null");
}

TEST_F(VariableTest, ConstructorsSetTheirPrimaryType) {
    char* adopted = new char[24];
    std::memcpy(adopted, "abc", 4);
    Variable text("t", 1, "hello", 5);
    Variable integer("i", 1, -7);
    Variable unsigned_decimal("u", 1, 4294967295u);
    Variable adopting("b", 1, adopted, 3, 24);
    Variable from_strings(String("s"), String("xyz"));
    struct Row {
        Variable* variable;
        int primary;
        const char* text;
    } rows[] = {
        {&text, VARIABLE_PRIMARY_TEXT, "hello"},
        {&integer, VARIABLE_PRIMARY_INTEGER, "-7"},
        {&unsigned_decimal, VARIABLE_PRIMARY_DECIMAL, "4294967295"},
        {&adopting, VARIABLE_PRIMARY_TEXT, "abc"},
        {&from_strings, VARIABLE_PRIMARY_TEXT, "xyz"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.variable->primary_type(), row.primary) << row.text;
        EXPECT_EQ(Text(*row.variable), row.text);
        EXPECT_FALSE(row.variable->IsNULL());
    }
}
