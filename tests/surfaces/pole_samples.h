#pragma once
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "tests/curves/spline/spline_checks.h"
#include "tests/surfaces/surface_contract.h"

// Grids of poles, and what the definitions of their surfaces say, in long double.
namespace kerf::test {

// Poles over a rectangle, off it by random heights, as no symmetry would leave a wrong row unseen.
template <class E>
ERMatrix<E> randomGrid(unsigned int rows, unsigned int cols, Random& random) {
    ERMatrix<E> poles(rows, cols);
    for (unsigned int i = 0; i < rows; ++i) {
        for (unsigned int j = 0; j < cols; ++j) {
            const ERPoint3D p(i + drawn(random, -0.2, 0.2), 1.5 * j + drawn(random, -0.2, 0.2),
                              drawn(random, -1, 1));
            if constexpr (E::isRational() != 0) {
                const double w = drawn(random, 0.5, 2);
                poles(i, j) = E(p * w, w);
            } else {
                poles(i, j) = p;
            }
        }
    }
    return poles;
}

inline ERPoint3D cartesian(const ERPoint3D& p) { return p; }
inline ERPoint3D cartesian(const ERPole3DH& p) { return p.castToPoint(); }

// The sum of B_i(s) B_j(t) P_ij: first the lines along v, then the line of what they give.
template <class E>
E tensorSum(const ERMatrix<E>& poles, double s, double t) {
    ERVec<E> column;
    for (unsigned int i = 0; i < poles.rows(); ++i)
        column.append(bernsteinSum(ERVec<E>(poles.row(i)), t));
    return bernsteinSum(column, s);
}

struct RandomNurbs {
    ERMatrix<ERPole3DH> poles;
    Spline<ERPole3DH> alongU, alongV;  // of which the knots and degrees count

    RandomNurbs(unsigned int degreeU, unsigned int degreeV, Random& random, bool clamped = true)
        : alongU(randomSpline<ERPole3DH>(degreeU, random, clamped)),
          alongV(randomSpline<ERPole3DH>(degreeV, random, clamped)) {
        poles = randomGrid<ERPole3DH>(alongU.poles.length(), alongV.poles.length(), random);
    }
    ERSpoleNURBS3D surface() const { return ERSpoleNURBS3D(poles, alongU.knots, alongV.knots); }

    // The homogeneous derivative of these orders, in the spans that hold the sides.
    ERPole3DH at(double u, double v, unsigned int inU = 0, unsigned int inV = 0) const {
        const auto functions = [](const Spline<ERPole3DH>& spline, double x, unsigned int order) {
            const std::vector<double> all(spline.knots.data(),
                                          spline.knots.data() + spline.knots.length());
            unsigned int span = spline.degree;
            for (unsigned int i = spline.degree; i < spline.poles.length(); ++i)
                if (all[i] < all[i + 1] && all[i] <= x) span = i;
            std::vector<long double> values(spline.poles.length());
            for (unsigned int i = span - spline.degree; i <= span; ++i)
                values[i] = basis(all, i, spline.degree, span, x, order);
            return values;
        };
        const std::vector<long double> f = functions(alongU, u, inU), g = functions(alongV, v, inV);
        const unsigned int cols = poles.cols();
        return combination(poles.data(), poles.length(),
                           [&](unsigned int k) { return f[k / cols] * g[k % cols]; });
    }
};

}  // namespace kerf::test
