// Key of one aggregate element: a name for a structure member, a number for an array slot.
#include "value/AggregateIndex.h"

#include "foundation/Hash.h"
#include "value/Variable.h"

AggregateIndex::AggregateIndex() : index_(0) {}

AggregateIndex::AggregateIndex(int index) : index_(index < 0 ? 0 : index) {}

AggregateIndex::AggregateIndex(const char* name, int length)
    : name_(name != nullptr ? name : "", name != nullptr ? length : 0), index_(-1) {}

AggregateIndex::AggregateIndex(const String& name) : name_(name), index_(-1) {}

int AggregateIndex::Compare(const AggregateIndex& other) const {
    if (index_ >= 0 && other.index_ >= 0) {
        if (index_ > other.index_) return -1;
        return index_ < other.index_ ? 1 : 0;
    }
    if (index_ >= 0) return 1;
    if (other.index_ >= 0) return -1;

    int common = name_.length() < other.name_.length() ? name_.length() : other.name_.length();
    int order = memcmpi(other.name_.c_str(), name_.c_str(), common);
    if (order != 0) return order;
    if (name_.length() == other.name_.length()) return 0;
    return name_.length() < other.name_.length() ? 1 : -1;
}

void AggregateIndex::Displace(int delta) {
    index_ += delta;
    serialized_.destroy();
}

const String& AggregateIndex::serialized() const {
    if (serialized_.length() == 0) {
        if (index_ >= 0) {
            String digits;
            Variable::SerializeInteger(digits, index_);
            Variable::SerializeText(serialized_, digits.c_str(), digits.length());
        } else {
            Variable::SerializeText(serialized_, name_.c_str(), name_.length());
        }
    }
    return serialized_;
}
