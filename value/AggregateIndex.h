// Key of one aggregate element: a name for a structure member, a number for an array slot.
#ifndef TARN_VALUE_AGGREGATEINDEX_H
#define TARN_VALUE_AGGREGATEINDEX_H

#include "foundation/String.h"
#include "value/AggregateType.h"

class AggregateIndex {
  public:
    // Array slot 0.
    AggregateIndex();
    // Array slot 'index'; negatives become 0, so no key ever reads as a named one by accident.
    AggregateIndex(int index);
    // Structure member 'name'; 'length' of -1 means the name is NUL-terminated.
    AggregateIndex(const char* name, int length = -1);
    AggregateIndex(const String& name);

    // The order of the element tree, with the sign of 'other' minus this: numbers by value,
    // names by memcmpi over the shorter length with the shorter name first on a tie. A number
    // sorts before every name, so a mixed lookup can never meet its match on the other side.
    int Compare(const AggregateIndex& other) const;

    // Array when the index is a number, structure when it is a name.
    AggregateType type() const { return index_ >= 0 ? AGGREGATE_ARRAY : AGGREGATE_STRUCTURE; }
    const String& name() const { return name_; }
    int index() const { return index_; }

    // Moves an array slot by 'delta' (renumbering); the caller keeps the result at 0 or above.
    void Displace(int delta);

    // The key as a quoted text ("3", "name", with '"' and '\' escaped), made once and kept
    // until the slot is renumbered.
    const String& serialized() const;

  private:
    String name_;
    int index_;
    mutable String serialized_;
};

#endif
