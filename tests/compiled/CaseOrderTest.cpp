// Case-insensitive order of names against the C library itself: the comparison every table
// uses, and every written name-keyed table walked as the loader walks it. The reference side
// reads the C library's case table directly and never calls the project's comparison.
#include <gtest/gtest.h>

#include <ctype.h>

#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/VariableHash.h"
#include "driver/UNIXAssemblerApplication.h"
#include "foundation/Hash.h"
#include "tests/compiled/TableFiles.h"
#include "value/AggregateIndex.h"

namespace {

// The C library's tables, indexed by the byte taken as a signed char.
int lower_of(unsigned char byte) {
    return (*__ctype_tolower_loc())[static_cast<signed char>(byte)];
}
int upper_of(unsigned char byte) {
    return (*__ctype_toupper_loc())[static_cast<signed char>(byte)];
}

int sign(int v) {
    return v < 0 ? -1 : v > 0 ? 1 : 0;
}

// Names of equal length, compared as the loader compares them.
int reference_compare(const std::string& a, const std::string& b) {
    for (size_t i = 0; i < a.size(); ++i) {
        int x = lower_of(static_cast<unsigned char>(a[i]));
        int y = lower_of(static_cast<unsigned char>(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

// A written hashed table as the loader holds it: bucket heads, a next link per entry, and the
// name of each entry.
struct WrittenTable {
    int bucket_bits = 0;
    std::map<int, int> heads;
    std::vector<int> next;
    std::vector<std::string> names;
};

// Reads the common header and bucket records at the start of 'section', then 'count' entries
// of 'stride' bytes from 'entries_at' (0: right behind the records) with the next link at
// 'next_at' and, when 'name_at' is not negative, the name's dictionary index at 'name_at'.
WrittenTable read_table(const Bytes& section, size_t records_at, size_t entries_at, size_t stride,
                        size_t next_at, int name_at, const Dictionary& dictionary) {
    WrittenTable table;
    const unsigned char* p = section.data();
    int bucket_entries = static_cast<int>(get_u16(p));
    table.bucket_bits = p[2];
    int count = static_cast<int>(get_u32(p + 3));
    for (int i = 0; i < bucket_entries; ++i) {
        const unsigned char* record = p + records_at + 6 * static_cast<size_t>(i);
        table.heads[static_cast<int>(get_u16(record))] = static_cast<int>(get_u32(record + 2));
    }
    if (entries_at == 0) entries_at = records_at + 6 * static_cast<size_t>(bucket_entries);
    for (int i = 0; i < count; ++i) {
        const unsigned char* entry = p + entries_at + stride * static_cast<size_t>(i);
        table.next.push_back(get_s32(entry + next_at));
        if (name_at >= 0) {
            int size = 0;
            const char* text = dictionary.Entry(static_cast<int>(get_u32(entry + name_at)), &size);
            table.names.emplace_back(text, static_cast<size_t>(size));
        }
    }
    return table;
}

// The loader's lookup: hash to the bucket, walk its chain, stop at a longer name or at an
// equal-length one that compares above the key.
bool loader_finds(const WrittenTable& table, const std::string& key) {
    uint32_t bucket =
        hash_bucket(hashi(key.data(), static_cast<uint32_t>(key.size()), 0), table.bucket_bits);
    auto head = table.heads.find(static_cast<int>(bucket));
    if (head == table.heads.end()) return false;
    size_t steps = 0;
    for (int e = head->second; e >= 0 && steps <= table.next.size(); e = table.next[e], ++steps) {
        const std::string& name = table.names[static_cast<size_t>(e)];
        if (name.size() > key.size()) return false;
        if (name.size() < key.size()) continue;
        int order = reference_compare(name, key);
        if (order > 0) return false;
        if (order == 0) return true;
    }
    return false;
}

// Short names from every byte value but 0, weighted toward the ones whose order is in doubt:
// letters of both cases, the signs between them, bytes above 127 and 0xFF.
std::vector<std::string> random_names(uint32_t seed, int count) {
    static const unsigned char doubtful[] = {'o',  'O',  'a',  'Z',  '_',  '[', 0x80,
                                             0x91, 0xE9, 0xC9, 0xF7, 0xFE, 0xFF};
    std::mt19937 random(seed);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        std::string name;
        int length = 1 + static_cast<int>(random() % 3);
        for (int k = 0; k < length; ++k) {
            name += random() % 2 == 0 ? static_cast<char>(doubtful[random() % sizeof doubtful])
                                      : static_cast<char>(1 + random() % 255);
        }
        names.push_back(name);
    }
    return names;
}

char program_name[] = "tnasm";
char* arguments[] = {program_name, nullptr};

Bytes section_written(int tag, const std::function<bool(TaggedFile&)>& write) {
    for (const Section& section : sections_of(write_container(write, 0x10008))) {
        if (section.tag == tag) return section.bytes;
    }
    ADD_FAILURE() << "no section " << tag;
    return Bytes();
}

}  // namespace

// The case tables of this platform, checked on the C library before anything relies on them:
// a negative index other than EOF holds itself plus 256, and EOF (the byte 0xFF) holds -1.
TEST(CaseOrder, ComparisonsAgreeWithTheCLibraryTables) {
    EXPECT_EQ(lower_of(0x91), 145);
    EXPECT_EQ(lower_of(0xE9), 233);
    EXPECT_EQ(lower_of(0xFF), -1);
    EXPECT_EQ(upper_of('a'), 'A');
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const char x = static_cast<char>(a);
            const char y = static_cast<char>(b);
            ASSERT_EQ(memcmpi(&x, &y, 1), sign(lower_of(a) - lower_of(b))) << a << " " << b;
            ASSERT_EQ(memcmpi_upper(&x, &y, 1), sign(upper_of(a) - upper_of(b))) << a << " " << b;
        }
    }
    // Structure members order by the same comparison (the shorter name first on a tie).
    EXPECT_EQ(AggregateIndex("\x80", 1).Compare(AggregateIndex("a", 1)), -1);
    EXPECT_EQ(AggregateIndex("\xFF", 1).Compare(AggregateIndex("a", 1)), 1);
}

// Every name-keyed table of the compiled file, filled with random names, written, and each name
// found again by the loader's early-stopping walk over the written chains.
TEST(CaseOrder, EveryWrittenTableIsFoundByTheLoadersWalk) {
    const std::vector<std::string> names = random_names(20261124, 600);
    auto expect_all_found = [&](const WrittenTable& table, const char* what) {
        ASSERT_EQ(table.names.size(), names.size()) << what;
        for (const std::string& name : names) {
            EXPECT_TRUE(loader_finds(table, name))
                << what << " misses a name of " << name.size() << " bytes";
        }
    };

    {  // function table, entries in the order added
        Dictionary dictionary;
        FunctionManager functions(&dictionary, 4);
        for (const std::string& name : names) {
            functions.Function_Add(name.c_str(), static_cast<int>(name.size()), 0);
        }
        Bytes func = section_written(TAG_FUNC, [&](TaggedFile& file) {
            bool ok = functions.Write(&file);
            file.Section_Start(TAG_SEGS);
            file.Section_End();
            return ok;
        });
        WrittenTable table = read_table(func, 7, 0, 4, 0, -1, dictionary);
        table.names = names;
        expect_all_found(table, "func");
    }
    {  // global, system and local tables share one layout
        Dictionary dictionary;
        VariableHash variables(&dictionary, 4, 512, 0);
        for (const std::string& name : names) {
            variables.Insert(name.c_str(), static_cast<int>(name.size()));
        }
        Bytes glbl = section_written(
            TAG_GLBL, [&](TaggedFile& file) { return variables.Write(&file, TAG_GLBL) != 0; });
        expect_all_found(read_table(glbl, 7, 0, 8, 4, 0, dictionary), "glbl");
    }
    {  // the language table
        UNIXAssemblerApplication application(1, arguments);
        Dictionary dictionary;
        LocalizedLanguages languages(&application, &dictionary, nullptr, 4, 16);
        for (const std::string& name : names) {
            languages.Add_Entry(dictionary.Entry_Add(name.c_str(), static_cast<int>(name.size())));
        }
        Bytes locl =
            section_written(TAG_LOCL, [&](TaggedFile& file) { return languages.Write(&file); });
        expect_all_found(read_table(locl, 7, 0, 8, 4, 0, dictionary), "locl");
    }
    {  // one language's index, whose chain sits between key and value
        Dictionary dictionary;
        LocalizedIndex index(&dictionary, 4, 16, 0);
        for (const std::string& name : names) {
            index.Add_Entry(dictionary.Entry_Add(name.c_str(), static_cast<int>(name.size())), 1);
        }
        Bytes lx =
            section_written(0x584C, [&](TaggedFile& file) { return index.Write(&file, 0x584C); });
        expect_all_found(read_table(lx, 11, 0, 12, 4, 0, dictionary), "index");
    }
}
