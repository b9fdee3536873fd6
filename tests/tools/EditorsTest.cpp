// The checked-in editor syntax files against the assembler's mnemonic table: every mnemonic is
// highlighted by both, and regenerating them gives the files as they are.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "assembler/OpcodeLookup.h"
#include "tools/EditorSyntax.h"

namespace {

const std::string EDITORS_DIR = std::string(TNASM_SOURCE_DIR) + "/editors/";

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::set<std::string> table_mnemonics() {
    std::set<std::string> names;
    for (const OpcodeEntry& entry : OpcodeLookup::opcodes) {
        if (entry.name_length != 0) names.emplace(entry.name, entry.name_length);
    }
    return names;
}

// The words of every "syn keyword tnasmBranch/tnasmMnemonic" line.
std::set<std::string> vim_mnemonics(const std::string& text) {
    std::set<std::string> names;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string syn, keyword, group, word;
        words >> syn >> keyword >> group;
        if (syn != "syn" || keyword != "keyword") continue;
        if (group != "tnasmBranch" && group != "tnasmMnemonic") continue;
        while (words >> word) names.insert(word);
    }
    return names;
}

// The alternatives of the mnemonic patterns, written "\\b(?:a|b|c)\\b" in the JSON text.
std::set<std::string> textmate_mnemonics(const std::string& text) {
    std::set<std::string> names;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.find("keyword.other.mnemonic.tnasm") == std::string::npos &&
            line.find("keyword.control.branch.tnasm") == std::string::npos)
            continue;
        const size_t open = line.find("(?:");
        const size_t close = line.find(")\\\\b", open);
        if (open == std::string::npos || close == std::string::npos) continue;
        std::istringstream alternatives(line.substr(open + 3, close - open - 3));
        std::string word;
        while (std::getline(alternatives, word, '|')) names.insert(word);
    }
    return names;
}

}  // namespace

TEST(Editors, EveryMnemonicIsHighlightedByBothFiles) {
    const std::set<std::string> expected = table_mnemonics();
    ASSERT_EQ(expected.size(), 149u);
    EXPECT_EQ(vim_mnemonics(read_file(EDITORS_DIR + "tnasm.vim")), expected);
    EXPECT_EQ(textmate_mnemonics(read_file(EDITORS_DIR + "tnasm.tmLanguage.json")), expected);
}

TEST(Editors, CheckedInFilesMatchTheGenerator) {
    EXPECT_EQ(read_file(EDITORS_DIR + "tnasm.vim"), editor_syntax::vim_syntax())
        << "run the tarn_editors target and commit editors/";
    EXPECT_EQ(read_file(EDITORS_DIR + "tnasm.tmLanguage.json"), editor_syntax::textmate_grammar())
        << "run the tarn_editors target and commit editors/";
}
