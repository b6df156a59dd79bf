#include "kerf/values/orthonormal_frame.h"

#include <cmath>

namespace kerf {

void GetOrthogonalDirections(const ERVector3D& dir, ERVector3D& first, ERVector3D& second) {
    const ERVector3D u = dir.getnormalized();
    const double i = std::fabs(u.i()), j = std::fabs(u.j()), k = std::fabs(u.k());
    // The seed only has to be far from parallel to u.
    ERVector3D seed;
    if (i <= k && j <= k) {
        seed = ERVector3D(1.0, 0.0, u.j() / u.k());
    } else if (j >= i && j >= k) {
        seed = ERVector3D(0.0, u.i() / u.j(), 1.0);
    } else if (u.i() == 0.0) {
        seed = ERVector3D(1.0, 1.0, 1.0);
    } else {
        seed = ERVector3D(u.k() / u.i(), 1.0, 0.0);
    }
    seed.normalize();
    second = (u ^ seed).getnormalized();
    first = second ^ u;
}

ERVector3D perpendicularTo(const ERVector3D& dir) {
    ERVector3D first, second;
    GetOrthogonalDirections(dir, first, second);
    return first;
}

LinearMap orthonormalFrame(const ERVector3D& z) {
    ERVector3D first, second;
    GetOrthogonalDirections(z, first, second);
    return LinearMap::fromColumns(first, second, z.getnormalized());
}

LinearMap orthonormalFrame(const ERVector3D& x, const ERVector3D& y) {
    const ERVector3D first = x.getnormalized();
    const ERVector3D third = (x ^ y).getnormalized();
    return LinearMap::fromColumns(first, third ^ first, third);
}

}  // namespace kerf
