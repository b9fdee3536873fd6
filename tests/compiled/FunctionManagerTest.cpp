// Function table: case-insensitive sorted chains, the "func" section with the local tables inside
// it, and every read check.
#include "compiled/FunctionManager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/VariableHash.h"
#include "foundation/Hash.h"
#include "tests/compiled/TableFiles.h"

namespace {

// "func" as the manager writes it. The section is left open, so the writer closes it with the
// next section, as the assembler's "segs" does.
Bytes func_of(FunctionManager& manager, int version = 0x10001) {
    Bytes file = write_container(
        [&](TaggedFile& f) {
            bool ok = manager.Write(&f);
            EXPECT_EQ(f.directory_entries(), 0) << "func must stay open";
            f.Section_Start(TAG_SEGS);
            f.Section_End();
            return ok;
        },
        version);
    std::vector<Section> sections = sections_of(file);
    EXPECT_EQ(sections.size(), 2u);
    EXPECT_EQ(sections.empty() ? 0 : sections[0].tag, TAG_FUNC);
    return sections.empty() ? Bytes() : sections[0].bytes;
}

struct Parameter {
    std::string name;
    int flags;
    int variable;
};

std::vector<Parameter> parameters_of(Function* function) {
    std::vector<Parameter> out;
    List<FunctionParameter>& list = function->parameters();
    for (FunctionParameter* p = list.First(); p != nullptr; p = list.Next()) {
        out.push_back({std::string(p->name().c_str(), static_cast<size_t>(p->name().length())),
                       p->flags(), p->variable()});
    }
    return out;
}

bool operator==(const Parameter& a, const Parameter& b) {
    return a.name == b.name && a.flags == b.flags && a.variable == b.variable;
}

// The whole "func" section for one function f(p var) in a table of one bucket, over a
// dictionary holding "f" (0) and "p" (1).
// clang-format off
const Bytes ONE_FUNCTION = cat({
    u16(1), {0}, u32(1),           //  0 function_list_header: bucket_entries 1, bucket_bits 0, count 1
    u16(0), u32(0),                //  7 function_hash_bucket: index 0, function 0
    u32(0xFFFFFFFF),               // 13 chain: [0] last
    u32(0),                        // 17 function_header.name "f"
    u32(1),                        // 21 function_header.parameter_count
    u32(0x22),                     // 25 function_header.flags: private, compresswhitespace
    u32(3),                        // 29 function_header.segment
    u32(0),                        // 33 function_header.segment_offset
    u32(1), u32(1), u32(0),        // 37 function_parameter: name "p", by reference, variable 0
    u16(1), {8}, u32(1),           // 49 local table header: 1 bucket record, 8 bits, 1 variable
    u16(hash("p", 1, 0) & 0xFF),   // 56 the bucket of "p"
    u32(0),                        //    starts at variable 0
    u32(1), u32(0xFFFFFFFF),       // 62 variable 0: "p", last
});
// clang-format on

}  // namespace

// Thousands of functions in 256 buckets: lookups in any case find the first of equal names, as
// the sorted chains do, and a table read back (looked up through its chains) agrees.
TEST(FunctionManager, ManyFunctionsAreFoundAsTheChainsFindThem) {
    Dictionary dictionary;
    FunctionManager manager(&dictionary, 8);
    std::vector<Function*> added;
    for (int i = 0; i < 3000; i++) {
        std::string name = "fn_" + std::to_string(i % 2500);
        if (i >= 2500) name[0] = 'F';  // the same name again, in another case
        added.push_back(manager.Function_Add(i, 0, name.c_str(), -1, nullptr, 0, 0));
    }
    OpenContainer in(container_with(TAG_FUNC, func_of(manager)));
    FunctionManager loaded(&dictionary, 8);
    ASSERT_TRUE(loaded.Read(&in.file)) << loaded.error().c_str();
    for (int i = 0; i < 2500; i += 7) {
        std::string name = "FN_" + std::to_string(i);
        EXPECT_EQ(manager.Function_Get(name.c_str(), -1), added[static_cast<size_t>(i)]) << name;
        EXPECT_EQ(manager.Function_Index(i), added[static_cast<size_t>(i)]) << name;
        ASSERT_NE(loaded.Function_Get(name.c_str(), -1), nullptr) << name;
        EXPECT_EQ(loaded.Function_Get(name.c_str(), -1)->index(), i) << name;
    }
    EXPECT_EQ(manager.Function_Get("fn_2500", -1), nullptr);
    EXPECT_EQ(manager.Function_Index(3000), nullptr);
    EXPECT_EQ(loaded.Function_Get("fn_", -1), nullptr);
}

TEST(FunctionManager, ChainsAreSortedByLengthThenCaseFolded) {
    Dictionary dictionary;
    FunctionManager manager(&dictionary, 0);
    // Each added after a lookup, as the assembler adds them: of its own name, or of another.
    for (const char* name : {"bb", "a", "AA", "ab", "aa"}) {
        const bool twin = std::strcmp(name, "aa") == 0;
        EXPECT_EQ(manager.Function_Get(std::strcmp(name, "ab") == 0 ? "zz" : name, -1) != nullptr,
                  twin);
        manager.Function_Add(name, -1, 0);
    }
    // Chain a(1) -> AA(2) -> aa(4) -> ab(3) -> bb(0): a twin goes after the name it equals.
    // clang-format off
    const Bytes chain = cat({
        u16(1), {0}, u32(5),   // header
        u16(0), u32(1),        // the bucket starts at "a"
        u32(0xFFFFFFFF),       // bb, last
        u32(2), u32(4),        // a -> AA, AA -> aa
        u32(0), u32(3),        // ab -> bb, aa -> ab
    });
    // clang-format on
    Bytes func = func_of(manager);
    EXPECT_EQ(Bytes(func.begin(), func.begin() + 33), chain);
    EXPECT_EQ(manager.Function_Get("Aa", -1)->index(), 2);
    EXPECT_EQ(manager.Function_Get("BB", -1)->index(), 0);
    EXPECT_EQ(manager.Function_Get("ac", -1), nullptr);
}

// The plain case of each message is reached through tndump in DumpApplicationTest; these rows
// are the bounds of the checks and the cut-off records.
TEST(FunctionManager, ChecksEachFieldInOrderAndKeepsItsTableOnFailure) {
    struct Case {
        const char* what;
        Bytes body;
        const char* message;  // null: accepted
    };
    auto with = [](size_t at, const Bytes& value) { return patched(ONE_FUNCTION, at, value); };
    auto cut = [](size_t size) { return prefix(ONE_FUNCTION, size); };
    const Case cases[] = {
        {"32 bucket bits: one bucket", with(2, {32}), nullptr},
        {"no functions", cat({u16(0), {8}, u32(0)}), nullptr},
        {"header cut short", cut(6), "Unexpected end of file"},
        {"count past the loose bound", with(3, u32(0x20000000)),
         "function_list_header.function_count out of range"},
        {"negative bucket number", with(7, u16(0xFFFF)), "function_hash_bucket.index out of range"},
        {"function record cut short", cut(30), "Unexpected end of file"},
        {"parameter records cut short", cut(45), "Unexpected end of file"},
        {"local table cut short", cut(66), "Unexpected end of file"},
    };
    Dictionary dictionary;
    dictionary.Entry_Add("f", 1);
    dictionary.Entry_Add("p", 1);
    for (const Case& c : cases) {
        OpenContainer in(container_with(TAG_FUNC, c.body));
        ASSERT_TRUE(in.opened) << c.what;
        FunctionManager manager(&dictionary, 8);
        manager.Function_Add("kept", -1, 0);
        EXPECT_EQ(manager.Read(&in.file), c.message == nullptr) << c.what;
        if (c.message != nullptr) {
            EXPECT_STREQ(manager.error().c_str(), c.message) << c.what;
            EXPECT_NE(manager.Function_Get("KEPT", -1), nullptr) << c.what;
            continue;
        }
        EXPECT_EQ(manager.Function_Get("KEPT", -1), nullptr) << c.what;
        if (manager.Functions() == 0) continue;
        EXPECT_EQ(parameters_of(manager.Function_Get("F", -1)),
                  (std::vector<Parameter>{{"p", 1, 0}}));
    }
}
