// Localized dictionary: the pieces of localized texts, each literal text or the name of a
// variable whose value is put in when the text is shown, chained in reading order ("locd").
#ifndef TARN_COMPILED_LOCALIZEDDICTIONARY_H
#define TARN_COMPILED_LOCALIZEDDICTIONARY_H

#include <cstdint>

#include "foundation/String.h"

class TaggedFile;

// Piece types as the "locd" section stores them.
constexpr int LOCALIZED_VARIABLE = 0;
constexpr int LOCALIZED_TEXT = 1;

// Splits a localized text into its pieces, scanning from its last byte to its first so that
// each piece can point to the one on its right: literal runs and variable names between two
// '%' signs. "%%" stands for one literal '%', the last byte of the literal to its left. An
// unmatched '%' drops the text before it, and a zero byte ends the search for '%' signs; both
// are kept as the runtime's loader expects them. Calls 'piece(type, start, length)' for each
// piece, from the last to the first.
template <class PieceSink>
void split_localized(const char* text, int length, PieceSink piece) {
    int piece_end = length - 1;  // last byte of the pending piece
    bool inside = false;
    for (int i = length - 1; i >= 0 && text[i] != '\0'; --i) {
        if (text[i] != '%') continue;
        if (!inside) {
            if (piece_end > i) piece(LOCALIZED_TEXT, text + i + 1, piece_end - i);
            piece_end = i;
            inside = true;
        } else {
            if (i == piece_end - 1) {
                // "%%": this '%' joins the literal to its left.
                piece_end = i;
            } else {
                piece(LOCALIZED_VARIABLE, text + i + 1, piece_end - i - 1);
                piece_end = i - 1;
            }
            inside = false;
        }
    }
    if (!inside && piece_end >= 0) piece(LOCALIZED_TEXT, text, piece_end + 1);
}

// The entry array grows by this many pieces when full (and starts at it).
constexpr int LOCALIZED_DICTIONARY_GROWTH = 128;

// One piece of a localized text.
struct _LD_Entry {
    int type;  // LOCALIZED_VARIABLE or LOCALIZED_TEXT
    int text;  // dictionary index of the literal text or of the variable name
    int next;  // the following piece, -1 after the last
};

class LocalizedDictionary {
  public:
    LocalizedDictionary();
    LocalizedDictionary(const LocalizedDictionary&) = delete;
    LocalizedDictionary& operator=(const LocalizedDictionary&) = delete;

    // The virtual operations are in the order the loader's class shares; do not reorder them.
    virtual ~LocalizedDictionary();
    virtual const String& error();
    virtual void Error(const String& text);

    // Returns the new piece's index.
    int Entry_Add(int type, int text, int next);
    // Piece 'index', or null when 'index' is negative or not below the count.
    const _LD_Entry* Entry(int index) const;
    int Entries() const { return count_; }

    bool Write(TaggedFile* file);
    // The bytes Write sends.
    int64_t WrittenSize() const;
    // Replaces the pieces with the "locd" section of 'file'; on failure nothing changes.
    bool Read(TaggedFile* file);

  private:
    String error_;
    _LD_Entry* entries_;
    int count_;
    int capacity_;
    // Pieces behind 'entries_', at least the capacity.
    int allocated_;
};

#endif
