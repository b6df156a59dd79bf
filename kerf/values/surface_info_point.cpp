#include "kerf/values/surface_info_point.h"

#include <cmath>
#include <ostream>

#include "kerf/values/transformation_3d.h"

namespace kerf {

namespace {

bool isZero(const ERVector3D& v) { return isEqual(v, ERVector3D(), equalityTolerance) != 0; }

// The real roots of a x^2 + b x + c. False, with the results untouched, when there is none. The
// zero tests are exact; without a leading term the one root, or zero, comes twice.
bool solveQuadratic(double a, double b, double c, double& first, double& second) {
    if (a == 0.0) {
        first = second = b == 0.0 ? 0.0 : -c / b;
        return true;
    }
    const double discriminant = b * b - 4.0 * a * c;
    if (discriminant < 0.0) return false;
    const double root = std::sqrt(discriminant);
    first = (-b - root) / (2.0 * a);
    second = (-b + root) / (2.0 * a);
    return true;
}

template <class Transform>
void transformTable(ERMatrix<ERPoint3D>& table, const Transform& transform) {
    if (table.length() == 0) return;
    ERPoint3D* const entries = table.data();
    transform(entries[0]);
    for (unsigned int i = 1; i < table.length(); ++i) {
        ERVector3D v(entries[i]);
        transform(v);
        entries[i] = ERPoint3D(v);
    }
}

}  // namespace

ERVector3D surfaceNormal(const ERVector3D& su, const ERVector3D& sv, const ERVector3D& suu,
                         const ERVector3D& svv) {
    const bool zeroU = isZero(su), zeroV = isZero(sv);
    if (zeroU && zeroV) return ERVector3D();
    if (zeroU) return svv.getnormalized();
    if (zeroV) return suu.getnormalized();
    return (su ^ sv).getnormalized();
}

struct ERInfoPoint3DSurf::FundamentalForms {
    double E, F, G;
    double L, M, N;
    double determinant() const { return E * G - F * F; }
};

ERVector3D ERInfoPoint3DSurf::derivative(unsigned int i, unsigned int j) const {
    return derivatives_(j, i);
}

ERInfoPoint3DSurf::FundamentalForms ERInfoPoint3DSurf::fundamentalForms() const {
    const ERVector3D su = tangenteU(), sv = tangenteV();
    const ERVector3D cross = su ^ sv;
    FundamentalForms forms;
    forms.E = su * su;
    forms.F = su * sv;
    forms.G = sv * sv;
    const double D = std::sqrt(forms.determinant());
    forms.L = cross * derivative(2, 0) / D;
    forms.M = cross * derivative(1, 1) / D;
    forms.N = cross * derivative(0, 2) / D;
    return forms;
}

ERPoint3D ERInfoPoint3DSurf::point() const { return derivatives_(0, 0); }

ERVector3D ERInfoPoint3DSurf::tangenteU() const { return derivative(1, 0); }

ERVector3D ERInfoPoint3DSurf::tangenteV() const { return derivative(0, 1); }

ERVector3D ERInfoPoint3DSurf::normale() const {
    return surfaceNormal(tangenteU(), tangenteV(), derivative(2, 0), derivative(0, 2));
}

double ERInfoPoint3DSurf::courbureNormale(double du, double dv) const {
    const FundamentalForms f = fundamentalForms();
    return (f.L * du * du + 2.0 * f.M * du * dv + f.N * dv * dv) /
           (f.E * du * du + 2.0 * f.F * du * dv + f.G * dv * dv);
}

double ERInfoPoint3DSurf::courbureGaussienne() const {
    const FundamentalForms f = fundamentalForms();
    return (f.L * f.N - f.M * f.M) / f.determinant();
}

double ERInfoPoint3DSurf::courbureMoyenne() const {
    const FundamentalForms f = fundamentalForms();
    return (f.E * f.N - 2.0 * f.F * f.M + f.G * f.L) * 0.5 / f.determinant();
}

void ERInfoPoint3DSurf::courburesExtremes(double& k1, double& k2) const {
    const FundamentalForms f = fundamentalForms();
    solveQuadratic(f.determinant(), 2.0 * f.F * f.M - f.G * f.L - f.E * f.N, f.L * f.N - f.M * f.M,
                   k1, k2);
}

void ERInfoPoint3DSurf::directionPrincipale(ERVector3D& d1, ERVector3D& d2) const {
    const FundamentalForms f = fundamentalForms();
    // With these signs a root is -dv/du.
    double first, second;
    if (!solveQuadratic(f.F * f.N - f.G * f.M, f.L * f.G - f.E * f.N, f.E * f.M - f.L * f.F, first,
                        second))
        return;
    const ERVector3D su = tangenteU(), sv = tangenteV();
    d1 = (su - first * sv).getnormalized();
    d2 = (su - second * sv).getnormalized();
}

void ERInfoPoint3DSurf::transformFrom(const ERPmIsometrie3D& frame) {
    transformTable(derivatives_, [&frame](auto& value) { frame.TransFrom(value); });
}

void ERInfoPoint3DSurf::transformTo(const ERPmIsometrie3D& frame) {
    transformTable(derivatives_, [&frame](auto& value) { frame.TransTo(value); });
}

void ERInfoPoint3DSurf::printOn(std::ostream& os) const {
    os << "- Parametre     :  u = " << uv_ << '\n' << "- Point courant :  P = " << point() << '\n';
}

}  // namespace kerf
