// A variable table over a private dictionary.
#include "compiled/UserVariableHash.h"

#include "compiled/Dictionary.h"

namespace {

// Sizes of the user table: those of the global and system tables.
constexpr int USER_BUCKET_BITS = 12;
constexpr int USER_CAPACITY = 512;

}  // namespace

UserVariableHash::UserVariableHash()
    : VariableHash(new Dictionary(), USER_BUCKET_BITS, USER_CAPACITY, 0),
      own_dictionary_(dictionary()) {}

UserVariableHash::~UserVariableHash() {
    delete own_dictionary_;
}
