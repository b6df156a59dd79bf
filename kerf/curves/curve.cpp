#include "kerf/curves/curve.h"

#include <cmath>

#include "kerf/platform/internal/random.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"
#include "kerf/values/point_list.h"
#include "kerf/values/space.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(EREntity2DWF, EREntity2D)
ER_DEFINE_ABSTRACT_CLASS(EREntity3DWF, EREntity3D)
ER_DEFINE_ABSTRACT_CLASS(ERFiniteEntity2DWF, EREntity2DWF)
ER_DEFINE_ABSTRACT_CLASS(ERFiniteEntity3DWF, EREntity3DWF)

namespace {

// What both twins do, over their evaluation alone.
template <class Space>
struct FiniteCurve {
    using Curve = typename Space::Curve;
    using Point = typename Space::Point;

    static int isClosed(const Curve& curve, double tol) {
        return isEqual(curve(curve.udeb()), curve(curve.ufin()), tol);
    }

    static typename Space::InfoPoint randomPoint(const Curve& curve) {
        const double start = curve.udeb();
        return curve.PtCur(start + randomDraw() * (curve.ufin() - start) / largestRandomDraw);
    }

    static ERVec<Point> sample(const Curve& curve, int n) {
        if (n < 1) return ERVec<Point>();
        const ERLimites bound = curve.getBound();
        ERVec<Point> points(static_cast<unsigned int>(n));
        Point* place = points.data();
        for (int i = 0; i < n; ++i) {
            *place++ =
                curve(bound.start() + bound.amplitude() * (static_cast<double>(i) / (n - 1)));
        }
        return points;
    }

    // The kernel that takes the seeds of the curve is the caller's: it is protected there.
    static ERVec<Point> refined(const Curve& curve, typename Space::PointList& seeds, double tol) {
        seeds.Smash(curve, tol);
        return seeds.toVec();
    }

    static void seedEnds(const Curve& curve, typename Space::PointList& list,
                         const ERLimites& limits) {
        list.append(curve(limits.start()), limits.start());
        list.append(curve(limits.end()), limits.end());
    }
};

using PlaneCurve = FiniteCurve<Space2D>;
using SpaceCurve = FiniteCurve<Space3D>;

}  // namespace

void ERPoint12List::Smash(const ERFiniteEntity2DWF& curve, double tol) {
    smash([&curve](double u) { return curve(u); }, tol);
}

void ERPoint13List::Smash(const ERFiniteEntity3DWF& curve, double tol) {
    smash([&curve](double u) { return curve(u); }, tol);
}

double ERFiniteEntity2DWF::udeb() const { return 0.0; }
double ERFiniteEntity2DWF::ufin() const { return 1.0; }
int ERFiniteEntity2DWF::isTrimmed() const { return 0; }
ERLimites ERFiniteEntity2DWF::getBound() const { return ERLimites(0.0, 1.0); }
int ERFiniteEntity2DWF::isClosed(double tol) const { return PlaneCurve::isClosed(*this, tol); }
ERPoint2D ERFiniteEntity2DWF::firstPt() const { return (*this)(udeb()); }
ERPoint2D ERFiniteEntity2DWF::lastPt() const { return (*this)(ufin()); }
ERPoint2D ERFiniteEntity2DWF::operator()(double u) const { return PtCur(u).point(); }
ERInfoPoint2D ERFiniteEntity2DWF::randomPoint() const { return PlaneCurve::randomPoint(*this); }

ERVec<ERPoint2D> ERFiniteEntity2DWF::approxime(const ERLimites& limits, double tol) const {
    ERPoint12List list;
    prepareApprox(list, limits, tol);
    return PlaneCurve::refined(*this, list, tol);
}

ERVec<ERPoint2D> ERFiniteEntity2DWF::approxime(int n) const { return PlaneCurve::sample(*this, n); }

double ERFiniteEntity2DWF::upperEstimate() const { return arcLength(1e-7); }

unsigned int ERFiniteEntity2DWF::intersectWithAxeY(double, ERVec<double>&) const { return 0; }

unsigned int ERFiniteEntity2DWF::intersectWith(const ERPoint2D& p, const ERVector2D& normal,
                                               ERVec<double>& parameters) const {
    const t_SmartPtr<ERFiniteEntity2DWF> moved(castdown(getCopy()));
    if (!moved) return 0;
    moved->transformTo(ERTransfo2D(normal, p));
    return moved->intersectWithAxeY(0.0, parameters);
}

int ERFiniteEntity2DWF::ProjectPoint(const ERPoint2D&, ERVec<double>&, double) const { return 0; }

ERVector2D ERFiniteEntity2DWF::normal(double u) const {
    const ERVector2D tangent = PtCur(u).tangente();
    return ERVector2D(-tangent.j(), tangent.i()).getnormalized();
}

EREntity::DISTMINRES ERFiniteEntity2DWF::SignedMinimalDistance(const ERPoint2D& p,
                                                               double& distance) {
    double unused = 0.0;
    return SignedMinimalDistance(p, distance, unused);
}

EREntity::DISTMINRES ERFiniteEntity2DWF::SignedMinimalDistance(const ERPoint2D& p, double& distance,
                                                               double&) {
    ERVec<double> parameters;
    const int found = ProjectPoint(p, parameters, 0.0);
    if (found == 0) return NoFootPoint;
    double best = 0.0;
    for (unsigned int i = 0; i < parameters.length(); ++i) {
        const double u = parameters[i];
        const ERPoint2D foot = (*this)(u);
        const double d = kerf::distance(foot, p);
        if (std::fabs(best) > d) best = ERVector2D(foot, p) * normal(u) < 0.0 ? -d : d;
    }
    distance = best;
    return found == -1 ? NearestPointNotUnique : SingleNearestPoint;
}

int ERFiniteEntity2DWF::IsContinuous(int) const { return 1; }

int ERFiniteEntity2DWF::GetDiscontinuities(int, ERVec<double>& parameters) const {
    parameters.clear();
    return 1;
}

void ERFiniteEntity2DWF::prepareApprox(ERPoint12List& list, const ERLimites& limits, double) const {
    PlaneCurve::seedEnds(*this, list, limits);
}

double ERFiniteEntity3DWF::udeb() const { return 0.0; }
double ERFiniteEntity3DWF::ufin() const { return 1.0; }
int ERFiniteEntity3DWF::isTrimmed() const { return 0; }
ERLimites ERFiniteEntity3DWF::getBound() const { return ERLimites(0.0, 1.0); }
int ERFiniteEntity3DWF::isClosed(double tol) const { return SpaceCurve::isClosed(*this, tol); }
ERPoint3D ERFiniteEntity3DWF::firstPt() const { return (*this)(udeb()); }
ERPoint3D ERFiniteEntity3DWF::lastPt() const { return (*this)(ufin()); }
ERPoint3D ERFiniteEntity3DWF::operator()(double u) const { return PtCur(u).point(); }
ERInfoPoint3DWF ERFiniteEntity3DWF::randomPoint() const { return SpaceCurve::randomPoint(*this); }

ERVec<ERPoint3D> ERFiniteEntity3DWF::approxime(const ERLimites& limits, double tol) const {
    ERPoint13List list;
    prepareApprox(list, limits, tol);
    return SpaceCurve::refined(*this, list, tol);
}

ERVec<ERPoint3D> ERFiniteEntity3DWF::approxime(int n) const { return SpaceCurve::sample(*this, n); }

double ERFiniteEntity3DWF::upperEstimate() const { return arcLength(1e-7); }

unsigned int ERFiniteEntity3DWF::intersectWithPlanZ(double, ERVec<double>&) const { return 0; }

unsigned int ERFiniteEntity3DWF::intersectWith(const ERPoint3D& p, const ERVector3D& normal,
                                               ERVec<double>& parameters) const {
    const t_SmartPtr<ERFiniteEntity3DWF> moved(castdown(getCopy()));
    if (!moved) return 0;
    moved->transformTo(ERChgRepere3D(normal, p));
    return moved->intersectWithPlanZ(0.0, parameters);
}

int ERFiniteEntity3DWF::ProjectPoint(const ERPoint3D&, ERVec<double>&, double) const { return 0; }

int ERFiniteEntity3DWF::IsContinuous(int) const { return 1; }

int ERFiniteEntity3DWF::GetDiscontinuities(int, ERVec<double>& parameters) const {
    parameters.clear();
    return 1;
}

void ERFiniteEntity3DWF::prepareApprox(ERPoint13List& list, const ERLimites& limits, double) const {
    SpaceCurve::seedEnds(*this, list, limits);
}

}  // namespace kerf
