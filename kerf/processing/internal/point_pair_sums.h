#pragma once
#include "kerf/values/linear_map.h"
#include "kerf/values/point.h"

namespace kerf {

/// Sums over paired points: the barycentres of both lists, which are the origin without pairs, and
/// cross = sum of (a - first) (b - second)^T.
struct PointPairSums {
    ERPoint3D first;
    ERPoint3D second;
    LinearMap cross{0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};

    /// Reads each point from memory once.
    static PointPairSums over(const ERPoint3D* a, const ERPoint3D* b, unsigned int n);
};

/// The sum of the squared distances between linear(a) + translation and b.
double sumOfSquaredDistances(const ERPoint3D* a, const ERPoint3D* b, unsigned int n,
                             const LinearMap& linear, const ERPoint3D& translation);

}  // namespace kerf
