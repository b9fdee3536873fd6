// What the hashed tables of a compiled file share: the bucket of a name and the order of a
// bucket's chain. The loader probes the written tables the same way, so both are file format.
#ifndef TARN_COMPILED_TABLESUPPORT_H
#define TARN_COMPILED_TABLESUPPORT_H

#include <cstdint>

#include "foundation/Hash.h"

// Bucket of a name in a table of 2^'bucket_bits' buckets, from the case-folded hash.
inline int name_bucket(const char* name, int length, int bucket_bits) {
    return static_cast<int>(
        hash_bucket(hashi(name, static_cast<uint32_t>(length), 0), bucket_bits));
}

// Order of a hash chain: shorter names first, names of equal length by memcmpi. Negative when
// 'a' goes before 'b', 0 for names that are the same ignoring case.
inline int name_order(const char* a, int a_length, const char* b, int b_length) {
    if (a_length != b_length) return a_length < b_length ? -1 : 1;
    return memcmpi(a, b, a_length);
}

#endif
