// The runtime's value cell: a named text, integer or decimal value, or an array or structure
// whose elements are further variables.
#ifndef TARN_VALUE_VARIABLE_H
#define TARN_VALUE_VARIABLE_H

#include <mpdecimal.h>

#include "foundation/String.h"
#include "value/AggregateType.h"

class AggregateIndex;
class AggregateElementTree;
class CallbackVariableCallback;
class TarnApplication;

// Bits of the valid flags: which representations hold the value. Several can be set at once
// once a value has been converted; every setter leaves only its own.
constexpr unsigned char VARIABLE_VALID_TEXT = 0x01;
constexpr unsigned char VARIABLE_VALID_INTEGER = 0x02;
constexpr unsigned char VARIABLE_VALID_DECIMAL = 0x04;

// Primary types: the kind the value was last set as.
constexpr int VARIABLE_PRIMARY_NULL = 0;
constexpr int VARIABLE_PRIMARY_TEXT = 1;
constexpr int VARIABLE_PRIMARY_INTEGER = 2;
constexpr int VARIABLE_PRIMARY_DECIMAL = 3;

// What type() reports: an ordinary cell (every kind but one), or the shared always-empty value.
constexpr int VARIABLE_TYPE_VALUE = 0;
constexpr int VARIABLE_TYPE_NULL = 1;

// Reference counting: a variable starts with one reference, held by whoever made it. Every
// holder (an aggregate element, a reference, a table) owns one reference and gives it back
// with Release, which deletes the variable when the count reaches 0. DecRefCount itself never
// deletes, so a variable on the stack may be counted as long as it outlives its holders.
// A variable is never stored inside itself, but a ring of aggregates made through references
// is not looked for: it would never be freed, and Serialize would not end.
class Variable {
  public:
    Variable();
    // 'length' of -1 means 'name' is NUL-terminated; so for every text argument below.
    Variable(const char* name, int length);
    Variable(const char* name, int length, const char* text, int text_length);
    Variable(const char* name, int length, int value);
    Variable(const char* name, int length, unsigned value);
    // Keeps its own copy of 'value' (which may be null: the decimal 0).
    Variable(const char* name, int length, const mpd_t* value);
    // Adopts 'buffer' (allocated with array new, 'size' bytes, 'buffer_length' of them used).
    Variable(const char* name, int length, char* buffer, int buffer_length, int size);
    Variable(const String& name, const String& text);
    // Copies the value deeply (elements are cloned); the copy has its own count of 1.
    Variable(const Variable& other);
    Variable& operator=(const Variable&) = delete;

    // ---- virtual operations (their order is the class's slot order) ----
    virtual ~Variable();
    // A new plain variable with this one's name and a deep copy of its value.
    virtual Variable* Clone(TarnApplication* application);
    virtual const String& name();
    // The variable this one stands for: itself, or the target of a reference.
    virtual Variable* NextIdentity();
    // The end of the chain of references.
    virtual Variable* RealIdentity();
    // The value as text (converted and kept on first use); empty for NULL and aggregates.
    virtual const String& value();
    // The value as an integer; 0 for NULL, aggregates and text that is not a number.
    virtual int value_integer();
    // The value as a decimal, never null; 0 for NULL, aggregates and text that is not a number.
    virtual const mpd_t* value_mpd();
    // The representation this value compares under, returned as a primary type: integers and
    // texts that read as integers compare as integers (stored through 'integer' when given),
    // decimals and texts that read as decimals as decimals, everything else as text.
    virtual int value_compare(int* integer);
    virtual int type();
    virtual int primary_type();
    virtual int preferred_type();
    virtual bool IsTrue();
    // NULL: no value was ever set and it is not an aggregate.
    virtual bool IsNULL();
    // Drops the value and every element. Setters return false when the variable refuses.
    virtual bool SetNULL();
    // The element tree; null while the variable is not an aggregate.
    virtual AggregateElementTree* aggregateelements();
    virtual AggregateType aggregatetype();
    virtual int refcount();
    virtual bool SetName(const String& name);
    // Scalar setters: a variable that was an aggregate drops its elements.
    virtual bool SetValue(const char* text, int length);
    // Copies the other's value (deeply for aggregates); the name stays.
    virtual bool SetValue(Variable& other);
    virtual bool SetValue_Nocopy(char* buffer, int length, int size);
    virtual bool SetValue_Integer(int value);
    virtual bool SetValue_mpd(const mpd_t* value);
    // Adopts 'value' (made with mpd_new or mpd_qnew); on refusal the caller keeps it.
    virtual bool SetValue_mpd_Nocopy(mpd_t* value);
    // The element at 'index', or null. With 'create' set a missing element is made as a NULL
    // variable (converting this variable to the index's kind first, as SetElement does).
    virtual Variable* Element(const AggregateIndex& index, int create);
    // Stores 'variable' at 'index', adopting the caller's reference; on refusal (false) the
    // caller keeps it. A variable is never stored inside itself.
    virtual bool SetElement(const AggregateIndex& index, Variable* variable);
    // Arrays count from 1; 'position' below 1 appends after the last slot. Adopts as SetElement.
    virtual bool InsertElement(int position, Variable* variable);
    // Removes one element; 'renumber' closes the gap in an array. False when nothing was removed.
    virtual bool DeleteElement(const AggregateIndex& index, bool renumber);
    // Removes the array slots 'first' to 'last'; 'renumber' moves the slots above 'last' down
    // by the width of the range, so the range closes up even where it had gaps.
    virtual bool DeleteElements(int first, int last, bool renumber);
    // As CopyElements, but the elements move out of 'source' instead of being cloned; with
    // 'renumber' set the source's array closes up behind them as well.
    virtual bool MergeElements(Variable* source, int first, int last, int position, bool renumber);
    // Clones the source array's slots 'first' to 'last' ('last' below 'first': to its end)
    // into this array from 'position' on ('position' below 1: after the last slot); with
    // 'renumber' set the slots from 'position' on move up to make room, else they are
    // replaced. A source structure has every member cloned in by name, the numbers ignored.
    virtual bool CopyElements(Variable* source, int first, int last, int position, bool renumber);
    // Renumbers an array's slots 1, 2, 3... in order, closing every gap; returns the count.
    virtual int CollapseElements();
    // The highest / lowest array slot in use, 0 when there is none.
    virtual int Max();
    virtual int Min();
    // The next slot in use above / below 'index', -1 when there is none.
    virtual int Next(int index);
    virtual int Previous(int index);
    virtual int ElementsUsed();
    // Both return the new count.
    virtual int IncRefCount();
    virtual int DecRefCount();
    // Make the representation valid from another one; false when the value has no such form
    // (NULL, aggregates) or the text is not a number (the result is then 0).
    virtual bool Convert_String();
    virtual bool Convert_Integer();
    virtual bool Convert_mpd();
    virtual bool Convert_Aggregate(AggregateType type);
    // Appends the value as JSON text: NULL is null, integers and decimals are bare numbers,
    // texts are quoted, structures are objects, arrays numbered 1..n without gaps are arrays
    // and other arrays are objects keyed by slot number.
    virtual void Serialize(String& out);
    // A new reference named as this variable that stands for 'target' (counted); null when
    // refused or when 'target' is null.
    virtual Variable* Make_Reference(Variable* target);
    // A new callback structure named as this variable whose members come from 'callback'.
    virtual Variable* Make_CallbackStruct(CallbackVariableCallback* callback);

    // ---- plain operations ----
    // The truth of a text: false for the empty text, for "false" in any case and for a plain
    // number equal to zero ("0", "-0", "0.00", ".0"); every other text is true.
    static bool IsTrue(const char* text, int length);
    // Gives back one reference to 'variable' (null is ignored), deleting it at 0.
    static void Release(Variable* variable);
    // JSON helpers shared with AggregateIndex: append a quoted text / an integer.
    static void SerializeText(String& out, const char* text, int length);
    static void SerializeInteger(String& out, int value);

  protected:
    // Forgets every representation of the scalar value (the decimal storage is kept).
    void DropScalar();
    // Destroys the element tree and makes the variable a non-aggregate.
    void DropElements();
    // Makes the variable an empty aggregate of 'type' unless it already is one.
    void MakeAggregate(AggregateType type);
    // Adds a new element to the tree without any check; the tree must exist.
    void AddElement(const AggregateIndex& index, Variable* variable);
    // SetElement without its checks and without the virtual call: adopts one reference.
    void StoreElement(const AggregateIndex& index, Variable* variable);
    // CopyElements ('clone' set) and MergeElements (the elements move out of 'source').
    bool TakeElements(Variable* source, int first, int last, int position, bool renumber,
                      bool clone);
    // The decimal storage, made on first use; null only when memory ran out.
    mpd_t* DecimalStorage();
    // Fills 'tree' with clones of the elements of 'source' (which may be null).
    static void CloneElements(AggregateElementTree* tree, AggregateElementTree* source,
                              TarnApplication* application);

    String name_;
    String text_;
    int integer_;
    mpd_t* decimal_;
    unsigned char valid_;
    int primary_type_;
    AggregateType aggregate_type_;
    AggregateElementTree* elements_;
    int refcount_;
    CallbackVariableCallback* callback_;
};

#endif
