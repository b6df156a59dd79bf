#include "kerf/processing/point_pair_sums.h"

#include <algorithm>

namespace kerf {

namespace {

constexpr unsigned int blockLength = 1024;

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

// The sums over these n > 0 pairs about their own barycentres, from sums about the first pair.
PointPairSums ofBlock(const ERPoint3D* a, const ERPoint3D* b, unsigned int n) {
    const ERPoint3D a0 = a[0], b0 = b[0];
    double ax = 0.0, ay = 0.0, az = 0.0, bx = 0.0, by = 0.0, bz = 0.0;
    double xx = 0.0, xy = 0.0, xz = 0.0, yx = 0.0, yy = 0.0, yz = 0.0, zx = 0.0, zy = 0.0, zz = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        const double u = a[i].x() - a0.x(), v = a[i].y() - a0.y(), w = a[i].z() - a0.z();
        const double x = b[i].x() - b0.x(), y = b[i].y() - b0.y(), z = b[i].z() - b0.z();
        ax += u;
        ay += v;
        az += w;
        bx += x;
        by += y;
        bz += z;
        xx += u * x;
        xy += u * y;
        xz += u * z;
        yx += v * x;
        yy += v * y;
        yz += v * z;
        zx += w * x;
        zy += w * y;
        zz += w * z;
    }

    const ERPoint3D toFirst = ERPoint3D(ax, ay, az) / n;
    const ERPoint3D toSecond = ERPoint3D(bx, by, bz) / n;
    PointPairSums sums;
    sums.first = a0 + toFirst;
    sums.second = b0 + toSecond;
    sums.cross = {xx, xy, xz, yx, yy, yz, zx, zy, zz};
    addProduct(sums.cross, toFirst, toSecond, -static_cast<double>(n));
    return sums;
}

}  // namespace

// Blocks are summed about their first pair and merged by the pairwise update (Chan, Golub, LeVeque,
// Updating formulae and a pairwise algorithm for computing sample variances, 1979): the distance of
// the points from the origin costs no digits.
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
                             const LinearMap& linear, const ERPoint3D& shift) {
    const LinearMap m = linear;
    const ERPoint3D t = shift;
    double sumX = 0.0, sumY = 0.0, sumZ = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        const ERPoint3D gap = m(a[i]) + t - b[i];
        sumX += gap.x() * gap.x();
        sumY += gap.y() * gap.y();
        sumZ += gap.z() * gap.z();
    }
    return sumX + sumY + sumZ;
}

}  // namespace kerf
