#include "kerf/surfaces/medium_plane.h"

#include <cmath>
#include <numeric>
#include <utility>

#include "kerf/numerics/linear_solvers.h"
#include "kerf/surfaces/plane.h"
#include "kerf/values/space.h"

namespace kerf {

namespace {

// The points x with normal . x + offset = 0.
template <class Space>
struct Hyperplane {
    typename Space::Vector normal;
    double offset = 0.0;
    bool isDetermined = false;  // the points do not all coincide
};

template <class Space>
struct Covariance {
    static constexpr unsigned int n = Space::dimension;
    double element[n][n] = {};

    // What is left of the variance of coordinate i when coordinate j is known.
    double remaining(unsigned int i, unsigned int j) const {
        return element[i][i] - element[i][j] * element[i][j] / element[j][j];
    }
    // The coordinates in the order in which elimination is to take them: it does not exchange rows.
    void order(unsigned int (&axes)[n]) const {
        std::iota(axes, axes + n, 0u);
        for (unsigned int i = 1; i < n; ++i) {
            if (element[axes[i]][axes[i]] > element[axes[0]][axes[0]]) std::swap(axes[0], axes[i]);
        }
        if constexpr (n == 3) {
            if (remaining(axes[2], axes[0]) > remaining(axes[1], axes[0]))
                std::swap(axes[1], axes[2]);
        }
    }
};

// From the first point, so that the digits of points far from the origin are kept.
template <class Space>
Hyperplane<Space> hyperplaneThrough(const ERVec<typename Space::Point>& points) {
    using Axis = typename Space::Axis;
    using Vector = typename Space::Vector;
    constexpr unsigned int n = Space::dimension;
    Hyperplane<Space> result;
    if (points.length() == 0) return result;

    const typename Space::Point* const p = points.data();
    Vector mean;
    Covariance<Space> covariance;
    for (unsigned int i = 0; i < points.length(); ++i) {
        const double count = i + 1.0;
        const auto include = [&](double& m, double value) { m = m * i / count + value / count; };
        const Vector v(p[0], p[i]);
        for (unsigned int r = 0; r < n; ++r) {
            include(mean[Axis(r)], v[Axis(r)]);
            for (unsigned int c = 0; c < n; ++c)
                include(covariance.element[r][c], v[Axis(r)] * v[Axis(c)]);
        }
    }
    for (unsigned int r = 0; r < n; ++r) {
        for (unsigned int c = 0; c < n; ++c)
            covariance.element[r][c] -= mean[Axis(r)] * mean[Axis(c)];
    }

    unsigned int axes[n];
    covariance.order(axes);
    ERMatrix<double> ordered(n, n);
    double* element = ordered.data();
    for (const unsigned int r : axes) {
        for (const unsigned int c : axes) *element++ = covariance.element[r][c];
    }
    const ERVec<double> solution = ResolveHyperPlan(ordered);
    for (unsigned int r = 0; r < n; ++r) result.normal[Axis(axes[r])] = solution.data()[r];
    result.normal.normalize();
    result.offset = -(result.normal * (Vector(p[0]) + mean));
    result.isDetermined = covariance.element[axes[0]][axes[0]] != 0.0;
    return result;
}

template <class Point, class Deviation>
int areWithin(const ERVec<Point>& points, double tol, Deviation deviation) {
    if (!(tol > 0.0)) return 1;
    const Point* const p = points.data();
    for (unsigned int i = 0; i < points.length(); ++i)
        if (!(std::fabs(deviation(p[i])) <= tol)) return 0;
    return 1;
}

}  // namespace

int GetMediumPlane(const ERVec<ERPoint3D>& points, ERPlane& result, double tol) {
    const auto fit = hyperplaneThrough<Space3D>(points);
    result = ERPlane(fit.normal.i(), fit.normal.j(), fit.normal.k(), fit.offset);
    if (fit.isDetermined && points.length() >= 3) {
        const ERPoint3D* const p = points.data();
        const ERVector3D triangle = ERVector3D(p[0], p[1]) ^ ERVector3D(p[0], p[2]);
        if (triangle * result.getNormale() < 1.0) result.reverse();
    }
    return areWithin(points, tol, [&](const ERPoint3D& p) { return result.distancePt(p); });
}

int GetMediumLine(const ERVec<ERPoint2D>& points, ERInfLine2D& result, double tol) {
    const auto fit = hyperplaneThrough<Space2D>(points);
    result = ERInfLine2D(fit.normal.i(), fit.normal.j(), fit.offset);
    if (points.length() >= 2) {
        const ERPoint2D* const p = points.data();
        if (ERVector2D(p[0], p[1]) * result.dirVector() < 0.0) result.reverse();
    }
    return areWithin(points, tol, [&](const ERPoint2D& p) { return distance(result, p); });
}

}  // namespace kerf
