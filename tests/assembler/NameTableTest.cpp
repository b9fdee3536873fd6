// The name table against a plain map, through growth, clearing and reuse.
#include "assembler/NameTable.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

TEST(NameTable, AgreesWithAMapThroughGrowthAndClearing) {
    std::mt19937 random(7);
    NameTable table;
    std::map<std::string, int> model;
    for (int step = 0; step < 40000; step++) {
        // Short names, names that differ only past their first eight bytes, the empty name,
        // and bytes of every value.
        std::string name;
        switch (random() % 4) {
            case 0:
                name = "n" + std::to_string(random() % 3000);
                break;
            case 1:
                name = "a_long_common_prefix_" + std::to_string(random() % 3000);
                break;
            case 2:
                name = std::string(random() % 13, static_cast<char>(random() % 256));
                break;
            default:
                name = std::string(8 + random() % 9, 'x') + static_cast<char>(random());
                break;
        }
        if (step % 9000 == 8999) {
            table.Clear();
            model.clear();
        }
        auto expected = model.find(name);
        const int length = static_cast<int>(name.size());
        if (step % 2 == 0) {
            int value = -1;
            const bool found = table.Find(name.data(), length, &value);
            ASSERT_EQ(found, expected != model.end()) << step;
            if (found) {
                ASSERT_EQ(value, expected->second) << step;
            } else {
                table.Insert(name.data(), length, step);
            }
        } else {
            bool added = false;
            int* value = table.Add(name.data(), length, &added);
            ASSERT_EQ(added, expected == model.end()) << step;
            if (added) {
                *value = step;
            } else {
                ASSERT_EQ(*value, expected->second) << step;
            }
        }
        model.emplace(name, step);
        ASSERT_EQ(table.Entries(), static_cast<int>(model.size()));
    }
}
