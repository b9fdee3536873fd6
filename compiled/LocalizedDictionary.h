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
