#pragma once

// The containers: lists, vectors of pointers and of values, the dictionary, the bit vector.
#include "kerf/core/bit_vector.h"
#include "kerf/core/hash_dictionary.h"
#include "kerf/core/list.h"
#include "kerf/core/pointer_vector.h"
#include "kerf/core/search.h"
#include "kerf/core/value_vector.h"
