// Language table of the localization: language codes (as dictionary indexes), each with its own
// localization index, written as "locl" followed by the index sections.
#ifndef TARN_COMPILED_LOCALIZEDLANGUAGES_H
#define TARN_COMPILED_LOCALIZEDLANGUAGES_H

#include "compiled/LocalizedIndex.h"
#include "compiled/TableSupport.h"
#include "foundation/String.h"

class Dictionary;
class TaggedFile;
class TarnApplication;

// The language and chain arrays grow by this many languages when full.
constexpr int LOCALIZED_LANGUAGES_GROWTH = 8;

// One language of the table.
struct _LL_Entry {
    int code;               // dictionary index of the language code
    LocalizedIndex* index;  // owned; null in a table read from a file until first use
};

class LocalizedLanguages {
  public:
    // 'file' is the compiled file a loader reads the table and its indexes from; null in the
    // assembler, which only writes.
    LocalizedLanguages(TarnApplication* application, Dictionary* dictionary, TaggedFile* file,
                       int bucket_bits, int capacity);
    LocalizedLanguages(const LocalizedLanguages&) = delete;
    LocalizedLanguages& operator=(const LocalizedLanguages&) = delete;

    // The virtual operations are in the order the loader's class shares; do not reorder them.
    virtual ~LocalizedLanguages();
    virtual int Entries();
    virtual const String& error();
    virtual void Error(const String& text);

    // Adds a language with a new empty index; returns its position, or -1 when 'code' has no
    // text (the record then sits in the array uncounted and unlinked).
    int Add_Entry(int code);
    // Adds both texts to the dictionary and the pair (key, value) to the language 'code_text',
    // adding the language if missing. Returns the pair's entry index, or -1.
    int Add_Entry(const char* code_text, int code_length, const char* key_text, int key_length,
                  int value);
    int Add_Entry(int code, int key, int value);

    // The language record, or null. In a table read from a file the first lookup of a language
    // loads its index; a language whose index cannot be loaded is not found.
    _LL_Entry* Get_Language_Entry(const char* code_text, int length);
    _LL_Entry* Get_Language_Entry(int code);
    // The entry for dictionary text 'key' in the application's current language, else in its
    // default language, else null.
    const _LI_Entry* Get_Entry(int key);
    // The entry for 'key' in language 'code', which is added, empty, when missing.
    const _LI_Entry* Get_Entry(int code, int key);

    // Writes "locl" and the index sections; the file's header version selects their tags.
    bool Write(TaggedFile* file);
    // The bytes Write sends for a file of 'version', its index sections included, and in
    // 'sections' how many sections they make.
    int64_t WrittenSize(int version, int* sections) const;
    // Replaces the table with the "locl" section of its own file; indexes load on first use.
    bool Read();

    // ---- for listings ----
    int bucket_bits() const { return bucket_bits_; }
    // Language 'i' in position order (its index not loaded), or null when out of range.
    const _LL_Entry* language(int i) const;

  private:
    void Allocate(int needed);

    // 'i' is a link a walk may follow: links read from a file are not checked.
    bool IsLanguage(int i) const { return i >= 0 && i < count_; }
    // Position of the language 'code_text', or -1; loads nothing.
    int Find(const char* code_text, int length);
    // The index of language 'position', loaded from the file if need be; null on failure.
    LocalizedIndex* Load(int position);

    BucketArray buckets_;
    int bucket_bits_;
    int bucket_count_;
    int bucket_entries_;
    int* next_;
    _LL_Entry* languages_;
    int count_;
    int capacity_;
    // Records behind 'languages_' and 'next_', allocated as they fill.
    int allocated_;
    TarnApplication* application_;
    Dictionary* dictionary_;  // not owned
    TaggedFile* file_;        // not owned
    // The last lookups of the current and the default language: the position found (-1 for
    // none) and the application's language counter it was made for (0: never, as the
    // application's counters start at 1).
    int current_language_;
    int current_count_;
    int default_language_;
    int default_count_;
    String error_;
};

#endif
