// Three-way helpers shared by the comparisons of values and of streams.
#pragma once

#include <cstddef>
#include <cstring>

#include "platform/com.h"

// -1, 0 or 1 by the sign of a difference; anything that is neither zero nor positive (NaN too) is -1.
template <class T>
inline LONG SignOf(T d) {
    return d == 0 ? 0 : (d > 0 ? 1 : -1);
}

// Bytes as unsigned numbers up to the first difference: -1, 0 or 1. A missing block sorts first.
inline LONG CompareBytes(const void *p1, const void *p2, size_t cb) {
    if (cb == 0 || p1 == p2) return 0;
    if (!p1 || !p2) return p1 ? 1 : -1;
    return SignOf(std::memcmp(p1, p2, cb));
}
