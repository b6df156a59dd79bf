#pragma once

// The array types: vector, slice, matrix and cube.
#include "kerf/numerics/cube.h"
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/slice.h"
#include "kerf/numerics/vector.h"
