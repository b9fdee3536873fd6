// The checked-in editor syntax files against the assembler: regenerating them from the mnemonic
// table gives the files as they are, and the generator's directive and qualifier lists are
// exactly the ones the tokenizer and the grammar accept.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/assembler/ParserRecorder.h"
#include "tools/EditorSyntax.h"

namespace {

const std::string EDITORS_DIR = std::string(TNASM_SOURCE_DIR) + "/editors/";

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

TEST(Editors, CheckedInFilesMatchTheGenerator) {
    EXPECT_EQ(read_file(EDITORS_DIR + "tnasm.vim"), editor_syntax::vim_syntax())
        << "run the tarn_editors target and commit editors/";
    EXPECT_EQ(read_file(EDITORS_DIR + "tnasm.tmLanguage.json"), editor_syntax::textmate_grammar())
        << "run the tarn_editors target and commit editors/";
}

namespace {

// The token kind of ".name" as the tokenizer reads it.
TokenType directive_token(const std::string& name) {
    ParserRecorder parser("." + name);
    const char* text = nullptr;
    int length = 0;
    return parser.GetNextToken(&text, length, &parser.string_value());
}

}  // namespace

TEST(Editors, DirectiveListIsTheTokenizers) {
    // Every directive kind of the tokenizer, each reached by exactly one listed name.
    const std::set<int> kinds = {TOKEN_GLOBAL,    TOKEN_SYSTEM,         TOKEN_STRING,
                                 TOKEN_FUNCTION,  TOKEN_LOCALIZED,      TOKEN_ENDFUNCTION,
                                 TOKEN_PARAMETER, TOKEN_LOCAL,          TOKEN_VERSION,
                                 TOKEN_IDENT,     TOKEN_DISABLE_LOGGING};
    std::set<int> seen;
    for (const char* directive : editor_syntax::DIRECTIVES) {
        const TokenType kind = directive_token(directive);
        EXPECT_EQ(kinds.count(kind), 1u) << directive;
        EXPECT_TRUE(seen.insert(kind).second) << directive;
    }
    EXPECT_EQ(seen, kinds);
}

TEST(Editors, QualifierListIsTheGrammars) {
    ParserRecorder parser("");
    int all_bits = 0;
    int kept_bits = 0x3F;
    for (const char* qualifier : editor_syntax::QUALIFIERS) {
        const int length = static_cast<int>(strlen(qualifier));
        // A qualifier sets or clears a bit, so it changes one of the two extremes.
        int from_none = 0;
        int from_all = 0x3F;
        EXPECT_EQ(parser.FunctionFlags(&from_none, qualifier, length), 0) << qualifier;
        EXPECT_EQ(parser.FunctionFlags(&from_all, qualifier, length), 0) << qualifier;
        EXPECT_TRUE(from_none != 0 || from_all != 0x3F) << qualifier << " changes nothing";
        all_bits |= from_none;
        kept_bits &= from_all;
    }
    // Every qualifier bit is set by some word, and "internal" clears the external bit.
    EXPECT_EQ(all_bits, 0x3F);
    EXPECT_EQ(kept_bits, 0x3E);
    for (const char* type : editor_syntax::PARAMETER_TYPES) {
        int flags = -1;
        EXPECT_EQ(parser.ParameterFlags(&flags, type, static_cast<int>(strlen(type))), 0) << type;
    }
}
