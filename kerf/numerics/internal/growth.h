#pragma once
#include "kerf/core/internal/growth.h"
#include "kerf/numerics/vector.h"

namespace kerf {

/// Makes room in a full vector for as many elements again. Vectors grow by a few elements at a time;
/// with this before each append any number of elements takes linear time.
template <class T>
void doubleWhenFull(ERSimpleVec<T>& list) {
    constexpr unsigned int most = 0xFFFFF000u / sizeof(T);  // whose bytes 32 bits count
    if (list.length() == list.capacity()) list.capacity(doubledRoom(list.length(), most));
}

}  // namespace kerf
