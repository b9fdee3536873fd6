// Variable hash table: variable names (as dictionary indexes) to their numbers and, at run time,
// to their Variable objects. Written as the "glbl" and "syst" sections and inside "func".
#ifndef TARN_COMPILED_VARIABLEHASH_H
#define TARN_COMPILED_VARIABLEHASH_H

#include "compiled/TableSupport.h"
#include "foundation/String.h"

class Dictionary;
class TaggedFile;
class TarnApplication;
class Variable;
class VariableList;

// The arrays grow by this many entries when full; the loader's tables grow the same way.
constexpr int VARIABLE_HASH_GROWTH = 512;

// One variable of the table; the position of the entry in the table is the variable's number.
struct _VH_Entry {
    int name_index;      // the name's entry in the dictionary
    int version;         // Version() of the table when the entry or its variable was made
    Variable* variable;  // null until made; owned by the table's user (see Dump)
};

class VariableHash {
  public:
    // 2^'bucket_bits' empty buckets and room for 'capacity' entries; 'count' entries are taken as
    // already in use (0 in every use).
    VariableHash(Dictionary* dictionary, int bucket_bits, int capacity, int count);
    // Copies the arrays and counts of 'other' over 'dictionary'; with 'clone' set every variable
    // is replaced by its own copy, made for 'application'.
    VariableHash(TarnApplication* application, Dictionary* dictionary, VariableHash& other,
                 bool clone);
    VariableHash(const VariableHash&) = delete;
    VariableHash& operator=(const VariableHash&) = delete;

    // The virtual operations below are in the order the loader's class tree shares with this one;
    // do not reorder them.
    virtual ~VariableHash();
    virtual int Insert(Variable* variable);
    virtual int Insert(const char* name, int length);
    virtual int Insert(int name_index);
    virtual int SetVariable(const char* name, int length, const char* value, int value_length);
    virtual int SetVariable(Variable* variable);
    virtual int SetVariable_Reference(int index, Variable* variable);
    virtual int SetVariable_Fancy(const char* name, int length, const char* value, int value_length,
                                  int create);
    virtual int Seek(int name_index, const char* name, int length, _VH_Entry** out);
    virtual int Insert(int name_index, const char* name, int length, Variable* variable);
    virtual int Version();
    virtual int ClearVariable(const char* name, int length);
    virtual int Find(Variable** out, const char* name, int length, int create);
    virtual int LookupVariable_Fancy(Variable** out, const char* name, int length, int create);
    virtual Variable* Index(int i, int create);
    virtual int Size();
    virtual int Entries();
    virtual int AllocatedVars(VariableList* list);
    virtual int Read(TaggedFile* file, int tag);
    virtual int Write(TaggedFile* file, int tag);
    virtual int Read(TaggedFile* file);
    virtual int Write(TaggedFile* file);
    // The bytes Write(file) sends: what the table adds to the size of a compiled file.
    int64_t WrittenSize() const;
    virtual const String& error();
    virtual void Error(const String& text);
    virtual void Push();
    virtual int Pop();
    virtual VariableHash* RealIdentity();

    // Gives back the table's reference to every entry's variable (destroying those that nobody
    // else holds) and clears the pointers.
    void Dump();

    // ---- for listings ----
    Dictionary* dictionary() const { return dictionary_; }
    int bucket_bits() const { return bucket_bits_; }
    int bucket_entries() const { return bucket_entries_; }
    // Entry 'i', or null when 'i' is negative or not below the count.
    const _VH_Entry* entry(int i) const;

  protected:
    // Makes the variable of entry 'i' (which must exist) with the entry's name.
    Variable* MakeVariable(int i);
    // Entry 'i' for changing, or null when 'i' is negative or not below the count.
    _VH_Entry* EntryAt(int i) { return IsEntry(i) ? &entries_[i] : nullptr; }

    // Entry 'i' is a link a walk may follow: links read from a file are not checked.
    bool IsEntry(int i) const { return i >= 0 && i < count_; }

  private:
    friend class ReferenceVariableHash;

    // The one block that holds a table's entries and links, and its three arrays.
    struct Arrays {
        char* block;
        _VH_Entry* entries;
        int* next;
        int* run_last;
    };
    static Arrays NewArrays(int size);
    // Frees the table's block and takes 'arrays' in its place.
    void Adopt(const Arrays& arrays);

    int BucketOf(const char* name, int length) const;
    int RunEnd(int entry, int added) const;
    void Grow();
    void Allocate(int needed);

    BucketArray buckets_;
    int bucket_bits_;
    int bucket_count_;
    int bucket_entries_;
    // Holds 'entries_', 'next_' and 'run_last_'.
    char* block_;
    int* next_;
    // For the first entry of a run of twins (equal names, next to each other in their chain),
    // the last of the run; -1 for any other entry. Links read from a file start with none.
    int* run_last_;
    // 'capacity_' is the table's size as it grows in fixed steps; only the first 'allocated_'
    // entries (and links) are in memory, doubling as entries are added, so that the many small
    // tables of a program (one per function) cost what they hold.
    int capacity_;
    int allocated_;
    _VH_Entry* entries_;
    int count_;
    Dictionary* dictionary_;
    String error_;
};

#endif
