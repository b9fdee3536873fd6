// Localized texts: the split the assembler makes, and the text that gives pieces back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compiled/LocalizedDictionary.h"
#include "driver/LocalizedText.h"

namespace {

LocalizedPiece text(const std::string& s) {
    return LocalizedPiece{LOCALIZED_TEXT, s};
}
LocalizedPiece variable(const std::string& s) {
    return LocalizedPiece{LOCALIZED_VARIABLE, s};
}

}  // namespace

TEST(LocalizedText, SplitsAndWritesBack) {
    struct Row {
        std::string written;
        std::vector<LocalizedPiece> pieces;
        std::string written_back;  // the form Written gives for those pieces
    };
    const std::string zero("a%b\0c%%", 7);
    const Row rows[] = {
        {"Hello %name%!", {text("Hello "), variable("name"), text("!")}, "Hello %name%!"},
        {"100%%", {text("100%")}, "100%%"},
        {"50%% off", {text("50%"), text(" off")}, "50%% off"},
        {"a%b", {text("b")}, "b"},
        {"%a%%b%", {variable("a"), variable("b")}, "%a%%b%"},
        {"x%%%n%", {text("x%"), variable("n")}, "x%%%n%"},
        {"%n%%%", {variable("n"), text("%")}, "%n%%%"},
        // the scan stops at a zero byte: everything before it stays one literal
        {zero, {text(std::string("a%b\0c%", 6))}, zero},
        {"", {}, ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(LocalizedText::Split(row.written), row.pieces) << row.written;
        std::string back;
        EXPECT_TRUE(LocalizedText::Written(row.pieces, &back)) << row.written;
        EXPECT_EQ(back, row.written_back);
    }
}

TEST(LocalizedText, RefusesPiecesNoTextSplitsInto) {
    const std::vector<LocalizedPiece> impossible[] = {
        {text("a"), text("b")}, {text("a%b")}, {variable("")}, {variable("a%b")}, {text("")},
    };
    for (const auto& pieces : impossible) {
        std::string written;
        EXPECT_FALSE(LocalizedText::Written(pieces, &written)) << written;
    }
}
