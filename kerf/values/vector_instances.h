#pragma once
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector.h"
#include "kerf/values/point.h"
#include "kerf/values/pole.h"

// Vectors and matrices of points and poles, compiled once in the library.
namespace kerf {

KERF_DECLARE_VECTOR(ERPoint2D)
KERF_DECLARE_VECTOR(ERPoint3D)
KERF_DECLARE_VECTOR(ERPole2DH)
KERF_DECLARE_VECTOR(ERPole3DH)
KERF_DECLARE_MATRIX(ERPoint2D)
KERF_DECLARE_MATRIX(ERPoint3D)
KERF_DECLARE_MATRIX(ERPole2DH)
KERF_DECLARE_MATRIX(ERPole3DH)

}  // namespace kerf
