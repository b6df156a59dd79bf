#include "kerf/processing/internal/point_pair_sums.h"

#include <algorithm>

namespace kerf {

namespace {

constexpr unsigned int blockLength = 1024;

// Two doubles that are computed together, in one vector register where the compiler can be told so.
#if defined(__GNUC__)
using Pair = double __attribute__((vector_size(16)));
#else
struct Pair {
    double elements[2];
    double operator[](int i) const { return elements[i]; }
    Pair& operator+=(const Pair& b) {
        elements[0] += b[0];
        elements[1] += b[1];
        return *this;
    }
    friend Pair operator-(const Pair& a, const Pair& b) { return {a[0] - b[0], a[1] - b[1]}; }
    friend Pair operator*(const Pair& a, const Pair& b) { return {a[0] * b[0], a[1] * b[1]}; }
};
#endif

Pair twice(double value) { return Pair{value, value}; }

// cross += factor u v^T.
void addProduct(LinearMap& cross, const ERPoint3D& u, const ERPoint3D& v, double factor) {
    const ERPoint3D f = u * factor;
    cross.xx += f.x() * v.x();
    cross.xy += f.x() * v.y();
    cross.xz += f.x() * v.z();
    cross.yx += f.y() * v.x();
    cross.yy += f.y() * v.y();
    cross.yz += f.y() * v.z();
    cross.zx += f.z() * v.x();
    cross.zy += f.z() * v.y();
    cross.zz += f.z() * v.z();
}

// The sums over these n > 0 pairs about their own barycentres, from sums about the first pair. The x
// and y of a point share a register, and so do the z of a and of b: nine registers hold all sums.
PointPairSums ofBlock(const ERPoint3D* a, const ERPoint3D* b, unsigned int n) {
    const ERPoint3D a0 = a[0], b0 = b[0];
    const Pair originA{a0.x(), a0.y()}, originB{b0.x(), b0.y()}, originZ{a0.z(), b0.z()};
    Pair sumA{}, sumB{}, sumZ{};
    Pair rowX{}, rowY{}, rowZ{}, columnZ{};
    double zz = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        const Pair p = Pair{a[i].x(), a[i].y()} - originA;
        const Pair q = Pair{b[i].x(), b[i].y()} - originB;
        const Pair z = Pair{a[i].z(), b[i].z()} - originZ;
        sumA += p;
        sumB += q;
        sumZ += z;
        rowX += twice(p[0]) * q;
        rowY += twice(p[1]) * q;
        rowZ += twice(z[0]) * q;
        columnZ += p * twice(z[1]);
        zz += z[0] * z[1];
    }

    const ERPoint3D toFirst = ERPoint3D(sumA[0], sumA[1], sumZ[0]) / n;
    const ERPoint3D toSecond = ERPoint3D(sumB[0], sumB[1], sumZ[1]) / n;
    PointPairSums sums;
    sums.first = a0 + toFirst;
    sums.second = b0 + toSecond;
    sums.cross = {rowX[0], rowX[1], columnZ[0], rowY[0], rowY[1], columnZ[1], rowZ[0], rowZ[1], zz};
    addProduct(sums.cross, toFirst, toSecond, -static_cast<double>(n));
    return sums;
}

}  // namespace

// Blocks are summed about their first pair, so that a large distance from the origin costs no digits,
// and merged by the pairwise update (Chan, Golub, LeVeque, Updating formulae and a pairwise algorithm
// for computing sample variances, 1979).
PointPairSums PointPairSums::over(const ERPoint3D* a, const ERPoint3D* b, unsigned int n) {
    PointPairSums sums;
    for (unsigned int done = 0; done < n;) {
        const unsigned int count = std::min(blockLength, n - done);
        const PointPairSums block = ofBlock(a + done, b + done, count);
        if (done == 0) {
            sums = block;
        } else {
            const double share = static_cast<double>(count) / (static_cast<double>(done) + count);
            const ERPoint3D u = block.first - sums.first;
            const ERPoint3D v = block.second - sums.second;
            LinearMap& c = sums.cross;
            const LinearMap& d = block.cross;
            c = {c.xx + d.xx, c.xy + d.xy, c.xz + d.xz, c.yx + d.yx, c.yy + d.yy,
                 c.yz + d.yz, c.zx + d.zx, c.zy + d.zy, c.zz + d.zz};
            addProduct(c, u, v, share * done);
            sums.first += u * share;
            sums.second += v * share;
        }
        done += count;
    }
    return sums;
}

double sumOfSquaredDistances(const ERPoint3D* a, const ERPoint3D* b, unsigned int n,
                             const LinearMap& linear, const ERPoint3D& translation) {
    const LinearMap m = linear;
    const ERPoint3D t = translation;
    double sumX = 0.0, sumY = 0.0, sumZ = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        const ERPoint3D residual = m(a[i]) + t - b[i];
        sumX += residual.x() * residual.x();
        sumY += residual.y() * residual.y();
        sumZ += residual.z() * residual.z();
    }
    return sumX + sumY + sumZ;
}

}  // namespace kerf
