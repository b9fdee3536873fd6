// Localized texts between their two forms: the chain of pieces that the "locd" section holds,
// and the text with %name% variables that the .localized directive is written with.
#ifndef TARN_DRIVER_LOCALIZEDTEXT_H
#define TARN_DRIVER_LOCALIZEDTEXT_H

#include <string>
#include <vector>

class Dictionary;
class LocalizedDictionary;

struct LocalizedPiece {
    int type;  // LOCALIZED_VARIABLE or LOCALIZED_TEXT
    std::string text;
    bool operator==(const LocalizedPiece& other) const {
        return type == other.type && text == other.text;
    }
};

class LocalizedText {
  public:
    // The pieces of the chain that starts at entry 'head', in reading order (-1: no pieces).
    // False for a chain that leaves the table, comes back to an entry, or names a text the
    // dictionary does not have.
    static bool Pieces(const Dictionary& dictionary, const LocalizedDictionary& localized, int head,
                       std::vector<LocalizedPiece>* pieces);
    // A text that the assembler splits into exactly 'pieces', or false when there is none (two
    // literal pieces in a row, a '%' inside a literal, an empty or '%'-holding variable name).
    static bool Written(const std::vector<LocalizedPiece>& pieces, std::string* text);
    // The pieces the assembler makes of 'text' (split_localized), in reading order.
    static std::vector<LocalizedPiece> Split(const std::string& text);
};

#endif
