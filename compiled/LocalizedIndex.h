// Localization index of one language: key texts (as dictionary indexes) to 32-bit values, hashed
// by key and written as that language's own section.
#ifndef TARN_COMPILED_LOCALIZEDINDEX_H
#define TARN_COMPILED_LOCALIZEDINDEX_H

#include "compiled/TableSupport.h"
#include "foundation/String.h"

class Dictionary;
class TaggedFile;

// The entry and chain arrays grow by this many entries when full.
constexpr int LOCALIZED_INDEX_GROWTH = 128;

// One key of the index.
struct _LI_Entry {
    int key;    // dictionary index of the key text
    int value;  // what the key stands for; the assembler stores the first piece of a localized text
};

class LocalizedIndex {
  public:
    // 'language' is the language's position in the language table.
    LocalizedIndex(Dictionary* dictionary, int bucket_bits, int capacity, int language);
    LocalizedIndex(const LocalizedIndex&) = delete;
    LocalizedIndex& operator=(const LocalizedIndex&) = delete;

    // The virtual operations are in the order the loader's class shares; do not reorder them.
    virtual ~LocalizedIndex();
    virtual int Entries();
    virtual const String& error();
    virtual void Error(const String& text);

    // Adds the pair and returns its entry index, or -1 when 'key' has no text in the dictionary
    // (the pair then sits in the array uncounted and unlinked, and the next add takes its place).
    int Add_Entry(int key, int value);
    // The entry whose key text equals that of dictionary entry 'key' (any case), or null.
    const _LI_Entry* Get_Entry(int key);
    // The entry for the key text 'text' (any case), or null. 'length' -1: NUL-terminated.
    const _LI_Entry* Get_Entry(const char* text, int length);

    bool Write(TaggedFile* file, int tag);
    // The bytes Write sends.
    int64_t WrittenSize() const;
    // Replaces the index with the section 'tag' of 'file'; on failure nothing changes.
    bool Read(TaggedFile* file, int tag);

    // ---- for listings ----
    int language() const { return language_; }
    int bucket_bits() const { return bucket_bits_; }
    // Entry 'i' in entry order, or null when 'i' is negative or not below the count.
    const _LI_Entry* entry(int i) const;

  private:
    void Allocate(int needed);
    int RunEnd(int entry, int added) const;

    // 'i' is a link a walk may follow: links read from a file are not checked.
    bool IsEntry(int i) const { return i >= 0 && i < count_; }

    int language_;
    BucketArray buckets_;
    int bucket_bits_;
    int bucket_count_;
    int bucket_entries_;
    int* next_;
    // For the first entry of a run of twins (equal keys, next to each other in their chain), the
    // last of the run; -1 for any other entry. Links read from a file start with none.
    int* run_last_;
    _LI_Entry* entries_;
    int count_;
    int capacity_;
    // Entries behind 'next_' and 'entries_', allocated as they fill.
    int allocated_;
    Dictionary* dictionary_;  // not owned
    String error_;
};

#endif
