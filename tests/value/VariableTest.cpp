// Value cells: constructors, conversions between the representations, truth, elements and
// reference counting.
#include "value/Variable.h"

#include <gtest/gtest.h>

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

    static std::string Text(const String& s) { return std::string(s.c_str(), s.length()); }
    static std::string Text(Variable& v) { return Text(v.value()); }

    // The array's slots and texts in order, as "1=a 2=b".
    static std::string Slots(Variable& v) {
        std::string out;
        for (int slot = v.Next(-1); slot >= 0; slot = v.Next(slot)) {
            if (!out.empty()) out += ' ';
            out += std::to_string(slot) + "=" + Text(*v.Element(slot, 0));
        }
        return out;
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

TEST_F(VariableTest, ConversionsGoThroughEveryRepresentation) {
    struct Row {
        const char* text;
        int integer;
        bool integer_exact;
        const char* decimal;
        bool decimal_exact;
    } rows[] = {
        {"-2147483648", -2147483647 - 1, true, "-2147483648", true},
        {"3.7", 3, true, "3.7", true},
        {"0x1F", 31, true, "0", false},  // the integer reader takes hexadecimal, decimals do not
        {"abc", 0, false, "0", false},
    };
    for (const Row& row : rows) {
        Variable v("v", 1, row.text, -1);
        EXPECT_EQ(v.Convert_Integer(), row.integer_exact) << row.text;
        EXPECT_EQ(v.value_integer(), row.integer) << row.text;
        Variable d("d", 1, row.text, -1);
        EXPECT_EQ(d.Convert_mpd(), row.decimal_exact) << row.text;
        mpd_t* expected = TarnApplication::stompd(row.decimal, -1);
        EXPECT_EQ(mpd_cmp(d.value_mpd(), expected, &Tarn_MPD_Context), 0) << row.text;
        mpd_del(expected);
        // Conversions add representations; the text read back is still the one set.
        EXPECT_EQ(Text(v), row.text);
        EXPECT_EQ(v.primary_type(), VARIABLE_PRIMARY_TEXT);
    }
    Variable decimal("d", 1, 4294967295u);
    EXPECT_EQ(Text(decimal), "4294967295");
}

TEST_F(VariableTest, TruthFollowsTheValidRepresentation) {
    struct Row {
        const char* text;
        bool truth;
    } texts[] = {
        {"", false},    {"+0.", false}, {"FaLsE", false},
        {"0.01", true}, {" 0", true},   {"falsey", true},
    };
    for (const Row& row : texts) {
        Variable v("v", 1, row.text, -1);
        EXPECT_EQ(v.IsTrue(), row.truth) << '"' << row.text << '"';
    }
    EXPECT_FALSE(Variable("null", 4).IsTrue());
    EXPECT_TRUE(Variable("i", 1, -1).IsTrue());
    // A text holds the truth even once its number is known.
    Variable zero_text("z", 1, "0.0", 3);
    zero_text.Convert_mpd();
    EXPECT_FALSE(zero_text.IsTrue());
    Variable array("a", 1);
    array.InsertElement(0, new Variable("", 0, 1));
    EXPECT_FALSE(array.IsTrue());
}

TEST_F(VariableTest, SettingFromItsOwnTextOrElementIsSafe) {
    Variable v("v", 1, "abcdef", 6);
    v.SetValue(v.value().c_str() + 2, 3);
    EXPECT_EQ(Text(v), "cde");

    Variable array("a", 1);
    array.InsertElement(0, new Variable("", 0, "inner", 5));
    array.SetValue(*array.Element(1, 0));
    EXPECT_EQ(array.aggregatetype(), AGGREGATE_NONE);
    EXPECT_EQ(Text(array), "inner");
}

// ---- elements ----

TEST_F(VariableTest, SetElementConvertsToTheKindOfTheIndex) {
    int live = 0;
    Variable v("v", 1);
    v.SetElement(1, new CountedVariable(&live, "one"));
    v.SetElement(2, new CountedVariable(&live, "two"));
    v.SetElement(1, new CountedVariable(&live, "uno"));
    EXPECT_EQ(live, 2);
    EXPECT_EQ(Slots(v), "1=uno 2=two");

    v.SetElement(AggregateIndex("Name"), new CountedVariable(&live, "x"));
    EXPECT_EQ(live, 1);
    EXPECT_EQ(Text(*v.Element(AggregateIndex("NAME"), 0)), "x");
    EXPECT_FALSE(v.SetElement(1, &v));
    v.SetNULL();
    EXPECT_EQ(live, 0);
}

TEST_F(VariableTest, DeleteElementAndRangesRenumber) {
    const char* letters[] = {"a", "b", "c", "d", "e"};
    struct Row {
        const char* what;
        bool renumber;
        int first;
        int last;  // below 1: delete only 'first' through DeleteElement
        bool removed;
        const char* slots;
    } rows[] = {
        {"one, renumbered", true, 2, 0, true, "1=a 2=c 3=d 4=e"},
        {"range, gap kept", false, 2, 3, true, "1=a 4=d 5=e"},
        {"range past the end", false, 4, 100, true, "1=a 2=b 3=c"},
        {"empty range", true, 3, 2, false, "1=a 2=b 3=c 4=d 5=e"},
    };
    for (const Row& row : rows) {
        Variable* array = Array(letters, 5);
        bool removed = row.last < 1 ? array->DeleteElement(row.first, row.renumber)
                                    : array->DeleteElements(row.first, row.last, row.renumber);
        EXPECT_EQ(removed, row.removed) << row.what;
        EXPECT_EQ(Slots(*array), row.slots) << row.what;
        Variable::Release(array);
    }

    // A range closes up by its width, even across gaps.
    Variable* sparse = new Variable("s", 1);
    for (int slot : {1, 2, 5, 6}) sparse->SetElement(slot, new Variable("", 0, slot));
    sparse->DeleteElements(2, 4, true);
    EXPECT_EQ(Slots(*sparse), "1=1 2=5 3=6");
    Variable::Release(sparse);
}

// ---- counting and ownership ----

TEST_F(VariableTest, ElementsGiveBackTheirReferences) {
    int live = 0;
    {
        Variable outer("outer", -1);
        Variable* shared = new CountedVariable(&live, "shared");
        outer.SetElement(1, shared);
        shared->IncRefCount();
        outer.Element(2, 1)->SetElement(AggregateIndex("again"), shared);
        EXPECT_EQ(shared->refcount(), 2);
        outer.DeleteElement(1, true);
        EXPECT_EQ(live, 1);
        EXPECT_EQ(shared->refcount(), 1);
        // Storing the same variable again at its own slot keeps one reference, not two.
        shared->IncRefCount();
        outer.Element(1, 0)->SetElement(AggregateIndex("again"), shared);
        EXPECT_EQ(shared->refcount(), 1);
    }
    EXPECT_EQ(live, 0);
}
