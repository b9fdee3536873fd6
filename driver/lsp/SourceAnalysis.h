// What the language server knows of one source: the assembler's errors, placed on the token
// they are about, and every symbol with its declaration and uses, found by running the
// assembler itself over the text in memory.
#ifndef TARN_DRIVER_LSP_SOURCEANALYSIS_H
#define TARN_DRIVER_LSP_SOURCEANALYSIS_H

#include <string>
#include <vector>

namespace tarn_lsp {

// A stretch of the source, in bytes.
struct Span {
    int offset = 0;
    int length = 0;
    int end() const { return offset + length; }
    bool Contains(int at) const { return at >= offset && at <= offset + length; }
};

enum class SymbolKind { FUNCTION, PARAMETER, LOCAL, LABEL, GLOBAL, SYSTEM, STRING };

struct Symbol {
    SymbolKind kind = SymbolKind::LABEL;
    std::string name;
    // The name where it is declared, and the whole declaring statement.
    Span name_span;
    Span statement;
    // The function symbol whose scope holds a parameter, local or label; -1 for the file
    // scope and for the labels of the top-level code.
    int scope = -1;
    // Run-time name of a variable or parameter; text of a string constant.
    std::string runtime_name;
    // What the compiled file holds for the symbol: the slot of a variable or parameter, the
    // dictionary index of a string constant, the number of a function, the segment position
    // of a label.
    int number = 0;
    // Function qualifier bits, or the parameter's passing (0 value, 1 reference).
    int flags = 0;
    // Functions: the whole declaration up to the end of `.endfunction` (or of the source).
    Span body;
    std::vector<int> children;
};

struct Occurrence {
    Span span;
    int symbol = -1;
    bool declaration = false;
};

struct RelatedPlace {
    Span span;
    std::string message;
};

struct Diagnostic {
    int code = 0;
    std::string message;
    Span span;
    std::vector<RelatedPlace> related;
};

// One `.localized` text and the pieces the assembler cuts it into.
struct LocalizedText {
    Span span;
    // Each piece: true for a variable name, false for literal text.
    std::vector<std::pair<bool, std::string>> pieces;
};

struct SourceAnalysis {
    std::vector<Diagnostic> diagnostics;
    std::vector<Symbol> symbols;
    // Sorted by offset.
    std::vector<Occurrence> occurrences;
    std::vector<LocalizedText> localized;
    // How many times the assembler ran over the text (more than once after errors).
    int passes = 0;

    // The occurrence under 'offset', or null.
    const Occurrence* OccurrenceAt(int offset) const;
    // The innermost internal function whose declaration holds 'offset', or -1.
    int FunctionAt(int offset) const;
};

// Assembles 'text' in memory and reports what was found. After an error the assembler stops;
// the analysis then blanks out the function (or the top-level line) that failed and runs
// again, so that each later function is diagnosed on its own.
SourceAnalysis analyze_source(const std::string& text);

// The tokens of 'text' as the assembler reads them, each with its kind (the parser's token
// kinds) and its text when it has one; the end of input is not listed.
struct LineToken {
    int type = 0;
    std::string text;
};
std::vector<LineToken> tokenize(const std::string& text);

}  // namespace tarn_lsp

#endif
