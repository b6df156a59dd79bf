#include "kerf/surfaces/surface_projection.h"

#include <algorithm>
#include <cmath>

#include "kerf/numerics/internal/newton_iteration.h"
#include "kerf/values/box.h"

namespace kerf {

namespace {

constexpr double increment = 1e-8;
constexpr double flatness = 1e-11;
constexpr int mostSteps = 10;
constexpr double precision = 1e-10;
constexpr double nearlyConverged = 1e-5;
constexpr double nearEnd = 1.1920928955078125e-07;
constexpr double noNormal = std::numeric_limits<double>::max();

void clampToUnit(double& x) {
    if (x < 0.0) x = 0.0;
    if (x > 1.0) x = 1.0;
}

// A pair that is written back to the vector that it came from.
class Pair {
public:
    explicit Pair(const ERVec<double>& x) : vector_(x), values_{x[0], x[1]} {}
    ~Pair() {
        for (unsigned int i = 0; i < 2; ++i)
            if (values_[i] != vector_[i]) const_cast<ERVec<double>&>(vector_)[i] = values_[i];
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    operator double*() { return values_; }

private:
    const ERVec<double>& vector_;
    double values_[2];
};

}  // namespace

SurfaceDerivatives::SurfaceDerivatives(const ERInfoPoint3DSurf& info) {
    const ERMatrix<ERPoint3D>& table = info.derivatives();
    point = table(0, 0);
    u = table(0, 1);
    v = table(1, 0);
    uu = table(0, 2);
    uv = table(1, 1);
    vv = table(2, 0);
}

SurfaceFootFunction::SurfaceFootFunction(const ERAnyBoundedSurface& surface,
                                         const ERPoint3D& target, double tolerance)
    : ERCNewtonH(increment),
      target_(target),
      tolerance_(tolerance),
      rangeU_(surface.getBoundU()),
      rangeV_(surface.getBoundV()),
      widthU_(rangeU_.amplitude()),
      widthV_(rangeV_.amplitude()) {
    const ERMinimax3D box = surface.getBox();
    inverseDiagonal_ = 1.0 / box.diagonal();
}

void SurfaceFootFunction::evaluateAt(double* x) {
    clampToUnit(x[0]);
    clampToUnit(x[1]);
    if (x[0] == s_ && x[1] == t_) return;
    evaluate(rangeU_.start() + x[0] * widthU_, rangeV_.start() + x[1] * widthV_, at_);
    gap_ = ERVector3D(target_, at_.point);
    s_ = x[0];
    t_ = x[1];
}

void SurfaceFootFunction::f(double* x, double* gradient) {
    evaluateAt(x);
    gradient[0] = (at_.u * gap_) * widthU_;
    gradient[1] = (at_.v * gap_) * widthV_;
}

void SurfaceFootFunction::fprime(double* x, double* hessian) {
    evaluateAt(x);
    hessian[0] = (at_.u * at_.u + at_.uu * gap_) * (widthU_ * widthU_);
    hessian[1] = hessian[2] = (at_.u * at_.v + at_.uv * gap_) * (widthU_ * widthV_);
    hessian[3] = (at_.v * at_.v + at_.vv * gap_) * (widthV_ * widthV_);
}

ERVec<double> SurfaceFootFunction::f(const ERVec<double>& x) {
    ERVec<double> gradient(2);
    f(Pair(x), gradient.data());
    return gradient;
}

ERMatrix<double> SurfaceFootFunction::fprime(const ERVec<double>& x) {
    ERMatrix<double> hessian(2, 2);
    fprime(Pair(x), hessian.data());
    return hessian;
}

double SurfaceFootFunction::H(const ERVec<double>& x) {
    evaluateAt(Pair(x));
    return 0.5 * (gap_ * gap_);
}

// The sine of the angle between the direction to P and the normal at the last evaluation.
double SurfaceFootFunction::sine() const {
    const ERVector3D normal = surfaceNormal(at_.u, at_.v, at_.uu, at_.vv);
    if (normal.norme() == 0.0) return noNormal;
    const double length = gap_.norme();
    return length == 0.0 ? 0.0 : (gap_ ^ normal).norme() / length;
}

int SurfaceFootFunction::settle(ERPoint2D& uv, int flag) {
    double x[2] = {(uv.x() - rangeU_.start()) / widthU_, (uv.y() - rangeV_.start()) / widthV_};
    const newton::Result result = newton::solveOnStack<2>(
        *this, x, flatness, mostSteps, std::max(precision, inverseDiagonal_ * precision));
    evaluateAt(x);
    switch (result.status) {
        case newton::converged:
        case newton::convergedOnFunction:
            break;
        case newton::running:
            if (result.residualNorm < nearlyConverged || sine() < nearlyConverged) break;
            return 0;
        default:
            return 0;
    }
    const double u = rangeU_.start() + widthU_ * x[0], v = rangeV_.start() + widthV_ * x[1];
    if (flag != 0) {
        const auto within = [](const ERLimites& range, double at, double margin) {
            return range.start() + margin <= at && at <= range.end() - margin;
        };
        const bool inside = within(rangeU_, u, nearEnd) && within(rangeV_, v, nearEnd);
        const bool inBounds = within(rangeU_, u, 0.0) && within(rangeV_, v, 0.0);
        if (!inside && !(inBounds && sine() <= nearlyConverged)) return 0;
    }
    uv = ERPoint2D(u, v);
    return 1;
}

}  // namespace kerf
