// Variable hash tables: numbering, case-insensitive sorted chains, growth, the section body with
// every read check, and the run-time subclasses.
#include "compiled/VariableHash.h"

#include <gtest/gtest.h>

#include <string>

#include "compiled/ClonedVariableHash.h"
#include "compiled/Dictionary.h"
#include "compiled/ReferenceVariableHash.h"
#include "compiled/SystemVariableHash.h"
#include "compiled/UserVariableHash.h"
#include "foundation/Hash.h"
#include "tests/compiled/TableFiles.h"
#include "value/AggregateIndex.h"
#include "value/Variable.h"
#include "value/VariableList.h"

namespace {

// Declares 'name' as the assembler does: dictionary first, then the table.
int declare(VariableHash& table, Dictionary& dictionary, const char* name) {
    return table.Insert(dictionary.Entry_Add(name, -1));
}

int find(VariableHash& table, const char* name) {
    _VH_Entry* entry = nullptr;
    return table.Seek(-1, name, -1, &entry);
}

Bytes body_of(VariableHash& table, int tag = TAG_GLBL) {
    Bytes file = write_container([&](TaggedFile& f) { return table.Write(&f, tag) == 1; });
    std::vector<Section> sections = sections_of(file);
    EXPECT_EQ(sections.size(), 1u);
    EXPECT_EQ(sections.empty() ? 0 : sections[0].tag, tag);
    return sections.empty() ? Bytes() : sections[0].bytes;
}

// One bucket (0 bucket bits) holding "bb", "a" and "ab", added in that order: the chain reads
// a, ab, bb.
// clang-format off
const Bytes ONE_BUCKET = cat({
    u16(1), {0}, u32(3),           // bucket_entries 1, bucket_bits 0, variable_count 3
    u16(0), u32(1),                // variable_hash_bucket.index 0, first entry 1 ("a")
    u32(0), u32(0xFFFFFFFF),       // [0] "bb" (dictionary 0), last
    u32(1), u32(2),                // [1] "a"  (dictionary 1), then [2]
    u32(2), u32(0),                // [2] "ab" (dictionary 2), then [0]
});
// clang-format on

const Bytes EMPTY_HEADER = cat({u16(0), {12}, u32(0)});

}  // namespace

TEST(VariableHash, NamesMatchRegardlessOfCase) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 12, 512, 0);
    EXPECT_EQ(declare(table, dictionary, "Count"), 0);
    EXPECT_EQ(declare(table, dictionary, "total"), 1);
    Variable* variable = reinterpret_cast<Variable*>(1);
    EXPECT_EQ(table.Find(&variable, "COUNT", 5, 0), 1);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(find(table, "count"), 0);
    EXPECT_EQ(find(table, "TOTAL"), 1);
    EXPECT_EQ(table.Find(&variable, "counts", -1, 0), 0);
    EXPECT_EQ(find(table, "Coun"), -1);
    EXPECT_EQ(table.Entries(), 2);
}

TEST(VariableHash, ChainsAreSortedByLengthThenCaseFolded) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 0, 512, 0);
    declare(table, dictionary, "bb");
    declare(table, dictionary, "a");
    declare(table, dictionary, "ab");
    EXPECT_EQ(body_of(table), ONE_BUCKET);

    // A twin goes after the names it equals; every name is still found, first twin first.
    EXPECT_EQ(declare(table, dictionary, "AB"), 3);
    Bytes twins = body_of(table);
    EXPECT_EQ(get_s32(twins.data() + 13 + 8 * 2 + 4), 3);  // "ab" -> "AB"
    EXPECT_EQ(get_s32(twins.data() + 13 + 8 * 3 + 4), 0);  // "AB" -> "bb"
    EXPECT_EQ(find(table, "Ab"), 2);
    EXPECT_EQ(find(table, "BB"), 0);
    EXPECT_EQ(find(table, "b"), -1);
    EXPECT_EQ(find(table, "ac"), -1);
}

TEST(VariableHash, BucketsComeFromTheCaseFoldedHash) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 8, 64, 0);
    declare(table, dictionary, "Main");
    Bytes body = body_of(table);
    ASSERT_EQ(body.size(), 7u + 6 + 8);
    EXPECT_EQ(get_u16(body.data() + 7), hash("main", 4, 0) & 0xFF);
}

TEST(VariableHash, EmptyTableWritesItsHeaderOnly) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 12, 512, 0);
    EXPECT_EQ(body_of(table, TAG_SYST), EMPTY_HEADER);
}

TEST(VariableHash, GrowsByWholeStepsKeepingNumbers) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 12, 512, 0);
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(declare(table, dictionary, ("v" + std::to_string(i)).c_str()), i);
    }
    EXPECT_EQ(table.Size(), 512);
    EXPECT_EQ(declare(table, dictionary, "v512"), 512);
    EXPECT_EQ(table.Size(), 1024);
    for (int i = 0; i <= 512; ++i) {
        ASSERT_EQ(find(table, ("V" + std::to_string(i)).c_str()), i);
    }
}

TEST(VariableHash, NameWithoutTextIsNumberedButNotFound) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 8, 64, 0);
    EXPECT_EQ(table.Insert(99), 0);
    EXPECT_EQ(table.Entries(), 1);
    EXPECT_EQ(body_of(table), cat({u16(0), {8}, u32(1), u32(99), u32(0xFFFFFFFF)}));
    EXPECT_EQ(table.Seek(99, nullptr, -1, nullptr), -1);
}

TEST(VariableHash, InsertByTextAddsTheNameToTheDictionary) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 8, 64, 0);
    EXPECT_EQ(table.Insert("alpha", -1), 0);
    EXPECT_EQ(dictionary.entries(), 1);
    _VH_Entry* entry = nullptr;
    EXPECT_EQ(table.Seek(0, nullptr, -1, &entry), 0);  // by the dictionary entry's text
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->name_index, 0);
}

TEST(VariableHash, ReadsBackWhatItWrote) {
    Dictionary dictionary;
    VariableHash written(&dictionary, 12, 512, 0);
    for (const char* name : {"x", "y", "Counter", "counter2", "z"})
        declare(written, dictionary, name);
    Bytes body = body_of(written);
    OpenContainer in(container_with(TAG_GLBL, body));

    VariableHash read(&dictionary, 8, 64, 0);
    declare(read, dictionary, "old");
    ASSERT_EQ(read.Read(&in.file, TAG_GLBL), 1);
    EXPECT_EQ(read.Entries(), 5);
    EXPECT_EQ(read.Size(), 5);
    EXPECT_EQ(find(read, "COUNTER"), 2);
    EXPECT_EQ(find(read, "old"), -1);
    EXPECT_EQ(body_of(read), body);
}

TEST(VariableHash, ThirtyTwoBucketBitsReadAsOneBucket) {
    Dictionary dictionary;
    dictionary.Entry_Add("bb", -1);
    dictionary.Entry_Add("a", -1);
    dictionary.Entry_Add("ab", -1);
    Bytes body = ONE_BUCKET;
    body[2] = 32;  // variable_hash_header.bucket_bits 32: the shift wraps to a single bucket
    OpenContainer in(container_with(TAG_GLBL, body));
    VariableHash table(&dictionary, 12, 512, 0);
    ASSERT_EQ(table.Read(&in.file, TAG_GLBL), 1);
    EXPECT_EQ(find(table, "ab"), 2);
    EXPECT_EQ(find(table, "BB"), 0);
}

TEST(VariableHash, RejectsBadSectionsInCheckOrderAndKeepsItsTable) {
    struct Case {
        const char* what;
        Bytes body;
        const char* message;
    };
    auto header = [](uint32_t entries, uint32_t bits, uint32_t count) {
        return cat({u16(entries), {static_cast<unsigned char>(bits)}, u32(count)});
    };
    const Case cases[] = {
        {"header cut short", Bytes{0, 0, 8, 0, 0, 0}, "Unexpected end of file"},
        {"33 bucket bits", header(0, 33, 0), "variable_hash_header.bucket_bits out of range"},
        {"33 bucket bits before a bad count", header(0x8000, 33, 0x8000000),
         "variable_hash_header.bucket_bits out of range"},
        {"29 bucket bits", header(0, 29, 0), "read_bucket_size out of range"},
        {"count past the loose bound", header(0, 8, 0x20000000),
         "variable_hash_header.variable_count out of range"},
        {"count past the tight bound", header(0, 8, 0x8000000),
         "variable_hash_header.variable_count out of range"},
        {"count before negative bucket entries", header(0x8000, 8, 0x8000000),
         "variable_hash_header.variable_count out of range"},
        {"count at the bound, records missing", header(0, 8, 0x7FFFFFF), "Unexpected end of file"},
        {"negative bucket entries", header(0x8000, 8, 0),
         "variable_hash_header.bucket_entries out of range"},
        {"bucket records cut short", cat({header(1, 8, 0), u16(3), u16(0)}),
         "Unexpected end of file"},
        {"bucket number negative", cat({header(1, 8, 0), u16(0x8000), u32(0)}),
         "variable_hash_bucket.index out of range"},
        {"bucket number equal to the bucket count", cat({header(1, 8, 0), u16(256), u32(0)}),
         "variable_hash_bucket.index out of range"},
        {"variable records cut short", cat({header(0, 8, 2), u32(0), u32(0xFFFFFFFF), u32(1)}),
         "Unexpected end of file"},
    };
    for (const Case& c : cases) {
        OpenContainer in(container_with(TAG_GLBL, c.body));
        ASSERT_TRUE(in.opened) << c.what;
        Dictionary dictionary;
        VariableHash table(&dictionary, 8, 64, 0);
        declare(table, dictionary, "kept");
        EXPECT_EQ(table.Read(&in.file, TAG_GLBL), 0) << c.what;
        EXPECT_STREQ(table.error().c_str(), c.message) << c.what;
        EXPECT_EQ(table.Entries(), 1) << c.what;
        EXPECT_EQ(find(table, "KEPT"), 0) << c.what;
    }

    Dictionary dictionary;
    VariableHash table(&dictionary, 8, 64, 0);
    OpenContainer in(container_with(TAG_SYST, EMPTY_HEADER));
    EXPECT_EQ(table.Read(&in.file, TAG_GLBL), 0);
    EXPECT_STREQ(table.error().c_str(), "Invalid section");
}

TEST(VariableHash, LinksFromAFileAreNotTrusted) {
    // A chain that leaves the table and one that loops: lookups end without a match.
    Dictionary dictionary;
    dictionary.Entry_Add("a", -1);
    dictionary.Entry_Add("b", -1);
    // clang-format off
    const Bytes looping = cat({
        u16(1), {0}, u32(2),   // one bucket, two variables
        u16(0), u32(0),        // bucket 0 starts at [0]
        u32(0), u32(1),        // [0] "a", then [1]
        u32(0), u32(0),        // [1] "a" again, back to [0]: a loop
    });
    // clang-format on
    Bytes outside = looping;
    put_u32(outside.data() + 13 + 4, 7);  // [0] links to entry 7 of a table of 2
    for (const Bytes& body : {looping, outside}) {
        OpenContainer in(container_with(TAG_GLBL, body));
        VariableHash table(&dictionary, 8, 64, 0);
        ASSERT_EQ(table.Read(&in.file, TAG_GLBL), 1);
        EXPECT_EQ(find(table, "a"), 0);
        EXPECT_EQ(find(table, "b"), -1);
        EXPECT_EQ(table.Insert(1), 2);  // "b" goes after both "a", ending the chain
        EXPECT_EQ(find(table, "b"), 2);
    }
}

TEST(VariableHash, FailingWritesReportTheFileError) {
    Dictionary dictionary;
    for (int k = 1;; ++k) {
        MemoryFileManager files;
        TaggedFile file(&files);
        ASSERT_TRUE(file.Create("out.tnc", nullptr, 0));
        VariableHash table(&dictionary, 8, 64, 0);
        declare(table, dictionary, "v");
        files.faults.fail_write_at = files.faults.writes + k;
        if (table.Write(&file, TAG_GLBL) == 1) {
            EXPECT_EQ(k, 4) << "header, bucket records and variable records";
            break;
        }
        EXPECT_STREQ(table.error().c_str(), "Injected write failure") << k;
        EXPECT_EQ(file.directory_entries(), 0) << "a failed table leaves its section open";
    }
}

// ---- variables ----

TEST(VariableHash, MakesVariablesOnDemand) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 8, 64, 0);
    declare(table, dictionary, "first");
    declare(table, dictionary, "second");
    EXPECT_EQ(table.Index(1, 0), nullptr);
    Variable* made = table.Index(1, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_STREQ(made->name().c_str(), "second");
    EXPECT_EQ(table.Index(1, 1), made);
    EXPECT_EQ(table.Index(2, 1), nullptr);
    EXPECT_EQ(table.Index(-1, 1), nullptr);

    Variable* found = nullptr;
    EXPECT_EQ(table.Find(&found, "FIRST", -1, 1), 1);
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->name().c_str(), "first");

    VariableList list;
    EXPECT_EQ(table.AllocatedVars(&list), 2);
    EXPECT_EQ(list.Entries(), 2);
    table.Dump();
    EXPECT_EQ(table.Index(0, 0), nullptr);
    EXPECT_EQ(table.Index(1, 0), nullptr);
}

TEST(VariableHash, RunTimeSettersAndArrayParts) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 8, 64, 0);
    EXPECT_EQ(table.SetVariable("name", -1, "Ann", 3), 0);
    Variable* variable = table.Index(0, 0);
    ASSERT_NE(variable, nullptr);
    EXPECT_STREQ(variable->value().c_str(), "Ann");
    EXPECT_EQ(table.ClearVariable("NAME", -1), 1);
    EXPECT_TRUE(variable->IsNULL());
    EXPECT_EQ(table.ClearVariable("other", -1), 0);

    EXPECT_EQ(table.SetVariable_Fancy("list[2]", -1, "two", 3, 1), 1);
    Variable* list = table.Index(1, 0);
    ASSERT_NE(list, nullptr);
    Variable* element = nullptr;
    EXPECT_EQ(table.LookupVariable_Fancy(&element, "LIST[2]", -1, 0), 1);
    ASSERT_NE(element, nullptr);
    EXPECT_STREQ(element->value().c_str(), "two");

    for (const char* bad : {"list[0]", "list[-1]", "list[x]", "list[]", "list[2", "list[2]x"}) {
        element = nullptr;
        EXPECT_EQ(table.LookupVariable_Fancy(&element, bad, -1, 1), 0) << bad;
        EXPECT_STREQ(table.error().c_str(), "Array index must be positive integer") << bad;
    }
    table.Dump();
}

TEST(VariableHash, CopyClonesVariablesOnRequest) {
    Dictionary dictionary;
    VariableHash original(&dictionary, 8, 64, 0);
    declare(original, dictionary, "a");
    original.Index(0, 1)->SetValue("1", 1);

    VariableHash shared(nullptr, &dictionary, original, false);
    VariableHash cloned(nullptr, &dictionary, original, true);
    EXPECT_EQ(shared.Index(0, 0), original.Index(0, 0));
    ASSERT_NE(cloned.Index(0, 0), nullptr);
    EXPECT_NE(cloned.Index(0, 0), original.Index(0, 0));
    EXPECT_STREQ(cloned.Index(0, 0)->value().c_str(), "1");
    EXPECT_EQ(find(cloned, "A"), 0);
    EXPECT_EQ(body_of(cloned), body_of(original));
    cloned.Dump();
    original.Dump();
}

TEST(SystemVariableHash, ScopesHideAndRestoreVariables) {
    Dictionary dictionary;
    SystemVariableHash table(&dictionary, 12, 512, 0);
    Variable* outer = new Variable("x", 1);
    EXPECT_EQ(table.Insert(outer), 0);
    EXPECT_EQ(table.Pop(), 0);

    table.Push();
    EXPECT_EQ(table.Version(), 1);
    Variable* inner = new Variable("X", 1);
    EXPECT_EQ(table.Insert(inner), 0);  // same name, same number
    EXPECT_EQ(table.Insert(new Variable("y", 1)), 1);
    Variable* found = nullptr;
    table.Find(&found, "x", -1, 0);
    EXPECT_EQ(found, inner);

    table.Push();
    Variable* twice_a = new Variable("x", 1);
    Variable* twice_b = new Variable("x", 1);
    table.Insert(twice_a);
    table.Insert(twice_b);  // replaced twice in one scope
    table.Find(&found, "x", -1, 0);
    EXPECT_EQ(found, twice_b);
    EXPECT_EQ(table.Pop(), 1);
    table.Find(&found, "x", -1, 0);
    EXPECT_EQ(found, inner);

    EXPECT_EQ(table.Pop(), 1);
    table.Find(&found, "x", -1, 0);
    EXPECT_EQ(found, outer);
    EXPECT_EQ(table.Index(1, 0), nullptr);  // "y" keeps its number but lost its variable
    EXPECT_EQ(table.Entries(), 2);
    EXPECT_EQ(table.Version(), 0);
    table.Dump();
}

TEST(SystemVariableHash, ChangesInsideAScopeAreUndone) {
    Dictionary dictionary;
    SystemVariableHash table(&dictionary, 12, 512, 0);
    table.SetVariable("lang", -1, "en", 2);
    Variable* before = table.Index(0, 0);
    table.Push();
    table.SetVariable("lang", -1, "de", 2);
    EXPECT_STREQ(table.Index(0, 0)->value().c_str(), "de");
    EXPECT_STREQ(before->value().c_str(), "en");
    Variable* shared = new Variable("lang", 4);
    table.SetVariable_Reference(0, shared);
    table.Pop();
    EXPECT_EQ(table.Index(0, 0), before);
    EXPECT_STREQ(before->value().c_str(), "en");
    EXPECT_EQ(shared->refcount(), 1);  // the scope gave back only its own reference
    Variable::Release(shared);
    table.Push();  // left open: the destructor leaves it
    table.Insert(new Variable("tmp", 3));
    table.Dump();
}

TEST(ReferenceVariableHash, ForwardsToTheTableBehindIt) {
    Dictionary dictionary;
    VariableHash real(&dictionary, 8, 64, 0);
    ReferenceVariableHash view(&real);
    ReferenceVariableHash view_of_view(&view);
    EXPECT_EQ(view_of_view.RealIdentity(), &real);
    EXPECT_EQ(declare(view_of_view, dictionary, "a"), 0);
    EXPECT_EQ(real.Entries(), 1);
    EXPECT_EQ(find(view, "A"), 0);
    EXPECT_EQ(body_of(view), body_of(real));

    OpenContainer in(container_with(TAG_GLBL, body_of(real)));
    ASSERT_EQ(view.Read(&in.file, TAG_GLBL), 1);
    ASSERT_NE(real.entry(0), nullptr);
    EXPECT_EQ(real.entry(0)->version, -1);
}

TEST(ClonedVariableHash, CopiesEachVariableOnFirstReach) {
    Dictionary dictionary;
    VariableHash source(&dictionary, 8, 64, 0);
    declare(source, dictionary, "a");
    declare(source, dictionary, "b");
    source.Index(0, 1)->SetValue("source", 6);
    {
        ClonedVariableHash clone(nullptr, &source);
        Variable* a = clone.Index(0, 0);
        ASSERT_NE(a, nullptr);
        EXPECT_NE(a, source.Index(0, 0));
        a->SetValue("clone", 5);
        EXPECT_STREQ(source.Index(0, 0)->value().c_str(), "source");
        Variable* b = nullptr;
        EXPECT_EQ(clone.Find(&b, "B", -1, 1), 1);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(source.Index(1, 0), nullptr);
        Variable* caller = new Variable("b", 1);
        clone.SetVariable_Reference(1, caller);  // shared, so the clone leaves it alone
        EXPECT_EQ(clone.Insert("c", -1), 2);
        clone.SetVariable(new Variable("c", 1));
        Variable::Release(caller);
    }
    source.Dump();
}

TEST(UserVariableHash, BringsItsOwnDictionary) {
    UserVariableHash table;
    EXPECT_EQ(table.Insert("session", -1), 0);
    EXPECT_EQ(table.Size(), 512);
    EXPECT_EQ(find(table, "SESSION"), 0);
    EXPECT_EQ(table.dictionary()->entries(), 1);
}
