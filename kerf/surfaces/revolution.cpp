#include "kerf/surfaces/revolution.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ostream>

#include "kerf/curves/arc.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/numerics/constants.h"
#include "kerf/surfaces/internal/nurbs_projection.h"
#include "kerf/surfaces/internal/ray_solve.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/surfaces/surface_projection.h"
#include "kerf/values/box.h"
#include "kerf/values/carried_frame.h"
#include "kerf/values/info_point.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

ER_DEFINE_CLASS(ERSurOfRevolution, ERAnyBoundedSurface)
ER_DEFINE_STORED_CLASS(ERSurOfRevolution, ERAnyBoundedSurface)

// Rodrigues' rotation. For the angle 0 and without a direction everything stays to the last bit.
struct ERSurOfRevolution::Turn {
    ERPoint3D origin;
    ERVector3D axis;
    double cosine = 1.0, sine = 0.0;

    ERVector3D operator()(const ERVector3D& x) const {
        return x * cosine + (axis ^ x) * sine + axis * ((axis * x) * (1.0 - cosine));
    }
    ERPoint3D operator()(const ERPoint3D& p) const {
        return origin + (*this)(ERVector3D(origin, p));
    }
};

namespace {

bool isNull(const ERVector3D& v) { return v.i() == 0.0 && v.j() == 0.0 && v.k() == 0.0; }

// The largest distance of a corner from the origin.
double reachOf(const ERMinimax2D& box) {
    if (box.invalid()) return 0.0;
    return std::hypot(std::max(std::fabs(box.xmin()), std::fabs(box.xmax())),
                      std::max(std::fabs(box.ymin()), std::fabs(box.ymax())));
}

}  // namespace

ERSurOfRevolution::ERSurOfRevolution(const t_SmartPtr<ERFiniteEntity3DWF>& generatrix,
                                     const ERInfLine3D& axis, const ERLimites& angles)
    : axis_(axis), generatrix_(generatrix), angles_(angles) {
    generatrix_.detach();
    ERPoint3D p, foot;
    double u = 0.0;
    if (getOnePointOfTheGeneratrixNotOnTheAxis(p, u, foot))
        reference_ = ERVector3D(foot, p).getnormalized();
}

int ERSurOfRevolution::getOnePointOfTheGeneratrixNotOnTheAxis(ERPoint3D& p, double& u,
                                                              ERPoint3D& foot) const {
    constexpr int steps = 64;
    constexpr double rounding = 1e-12;
    if (!generatrix_) return 0;
    const ERLimites range = getBoundU();
    for (int i = 0; i <= steps; ++i) {
        const double at = i == steps ? range.end() : range(static_cast<double>(i) / steps);
        const ERPoint3D point = (*generatrix_)(at);
        const ERPoint3D onAxis = axis_.projectPt(point);
        const double tolerance =
            std::max(comparisonTolerance, rounding * ERVector3D(point).norme());
        if (!(distance(point, onAxis) > tolerance)) continue;
        p = point;
        u = at;
        foot = onAxis;
        return 1;
    }
    return 0;
}

void ERSurOfRevolution::getVectors(ERVector3D& reference, ERVector3D& quarterTurn) const {
    reference = reference_;
    quarterTurn = axis_.dirVector() ^ reference_;
}

ERPmIsometrie3D ERSurOfRevolution::getRepere3D() const {
    return ERChgRepere3D(reference_, axis_.dirVector() ^ reference_, axis_.origine());
}

double ERSurOfRevolution::udeb() const { return !generatrix_ ? 0.0 : generatrix_->udeb(); }
double ERSurOfRevolution::ufin() const { return !generatrix_ ? 0.0 : generatrix_->ufin(); }

// The surface.

ERSurOfRevolution::Turn ERSurOfRevolution::turn(double v) const {
    Turn turn{axis_.origine(), axis_.dirVector()};
    if (!isNull(turn.axis)) {
        turn.cosine = std::cos(v);
        turn.sine = std::sin(v);
    }
    return turn;
}

ERPoint3D ERSurOfRevolution::operator()(double u, double v) const {
    return !generatrix_ ? ERPoint3D() : turn(v)((*generatrix_)(u));
}

ERInfoPoint3DSurf ERSurOfRevolution::PtCur(double u, double v) const {
    ERMatrix<ERPoint3D> table(3, 3, ERPoint3D());
    if (generatrix_ != nullptr) {
        const ERInfoPoint3DWF curve = generatrix_->PtCur(u);
        const Turn turned = turn(v);
        const ERVector3D alongU = turned(curve.tangente());
        const ERVector3D arm = turned(ERVector3D(turned.origin, curve.point()));
        const ERVector3D alongV = turned.axis ^ arm;
        table(0, 0) = turned.origin + arm;
        table(0, 1) = ERPoint3D(alongU);
        table(1, 0) = ERPoint3D(alongV);
        table(0, 2) = ERPoint3D(turned(curve.secondDerivative()));
        table(1, 1) = ERPoint3D(turned.axis ^ alongU);
        table(2, 0) = ERPoint3D(turned.axis ^ alongV);
    }
    return ERInfoPoint3DSurf(ERPoint2D(u, v), table);
}

void ERSurOfRevolution::derivativesAt(double u, double v, SurfaceDerivatives& at) const {
    constexpr double step = 1e-5;
    at = SurfaceDerivatives(PtCur(u, v));
    if (!generatrix_) return;
    const double h = step * getBoundU().amplitude();
    const ERVector3D before = generatrix_->PtCur(u - h).tangente();
    const ERVector3D after = generatrix_->PtCur(u + h).tangente();
    at.uu = turn(v)((after - before) * (0.5 / h));
}

t_SmartPtr<ERFiniteEntity3DWF> ERSurOfRevolution::getEntityIsoU(double u) const {
    if (!generatrix_) return {};
    const ERPoint3D p = (*generatrix_)(u), centre = axis_.projectPt(p);
    const double radius = distance(centre, p);
    const ERVector3D axis = axis_.dirVector(), x(centre, p);
    if (isNull(axis)) return new ERArc3D(ERTranslation3D(p), 0.0, angles_.start(), angles_.end());
    const ERPmIsometrie3D frame =
        radius > 0.0 ? ERChgRepere3D(x, axis ^ x, centre) : ERChgRepere3D(axis, centre);
    return new ERArc3D(frame, radius, angles_.start(), angles_.end());
}

t_SmartPtr<ERFiniteEntity3DWF> ERSurOfRevolution::getEntityIsoV(double v) const {
    if (!generatrix_) return {};
    const t_SmartPtr<ERFiniteEntity3DWF> curve(*generatrix_);
    if (curve != nullptr && !isNull(axis_.dirVector()))
        curve->transformFrom(ERRotation3D(axis_.dirVector(), axis_.origine(), v));
    return curve;
}

ERSpoleNURBS3D ERSurOfRevolution::ConvertToNurbs() const {
    if (!generatrix_) return ERSpoleNURBS3D();
    return CreateSurfOfRevolution(generatrix_->ConvertToNurbs(), axis_, angles_.start(),
                                  angles_.end());
}

const ERSpoleNURBS3D& ERSurOfRevolution::nurbs() const {
    if (*nurbs_ == nullptr) *nurbs_ = new ERSpoleNURBS3D(ConvertToNurbs());
    return **nurbs_;
}

ERMinimax3D ERSurOfRevolution::getBox() const { return nurbs().getBox(); }

double ERSurOfRevolution::upperEstimateInU() const {
    return std::fabs(angles_.amplitude()) * upperEstimateRadius();
}

double ERSurOfRevolution::upperEstimateInV() const {
    constexpr double tolerance = 1e-7;
    return !generatrix_ ? 0.0 : generatrix_->arcLength(tolerance);
}

double ERSurOfRevolution::upperEstimateRadius() const {
    if (!generatrix_) return 0.0;
    const ERPmIsometrie3D frame = ERChgRepere3D(axis_.dirVector(), axis_.origine());
    const t_SmartPtr<EREntity2DWF> seen = generatrix_->get2DEntProjectedOn(frame);
    const ERFiniteEntity2DWF* const curve = ERFiniteEntity2DWF::castdown(seen.getObject());
    if (curve != nullptr) return reachOf(curve->getBox());
    const ERMinimax3D box = generatrix_->getBox();
    if (box.invalid()) return 0.0;
    const ERMinimax3D local = frame << box;
    return reachOf(ERMinimax2D(local.xmin(), local.xmax(), local.ymin(), local.ymax()));
}

int ERSurOfRevolution::IsContinuous(int order) const {
    return !generatrix_ ? 0 : generatrix_->IsContinuous(order);
}

int ERSurOfRevolution::GetDiscontinuitiesV(int order, ERVec<double>& parameters) const {
    if (generatrix_ != nullptr) return generatrix_->GetDiscontinuities(order, parameters);
    parameters.clear();
    return 0;
}

// Projections.

// The parameters here of a point of the NURBS form, whose u may differ from that of the curve, and
// whose v differs from the angle between the ends of the arcs' pieces.
ERPoint2D ERSurOfRevolution::ownParameters(const ERPoint2D& inForm) const {
    constexpr double sameRatio = 1e-9;
    const ERSpoleNURBS3D& form = nurbs();
    const ERPoint3D p = form(inForm.x(), inForm.y());
    const ERPoint3D start = turn(-form.vdeb())(form(inForm.x(), form.vdeb()));
    double u = getBoundU()(form.getBoundU().ratio(inForm.x()));
    const double off = distance((*generatrix_)(u), start);
    if (off > sameRatio * distance(axis_.projectPt(start), start)) {
        ERVec<double> feet;
        generatrix_->ProjectPoint(start, feet, off);
        for (const double foot : feet)
            if (distance((*generatrix_)(foot), start) < distance((*generatrix_)(u), start))
                u = foot;
    }
    const ERPoint3D centre = axis_.projectPt(p);
    const ERVector3D from(axis_.projectPt(start), start), to(centre, p);
    const double angle = std::atan2((from ^ to) * axis_.dirVector(), from * to);
    const double turns = std::round((inForm.y() - angle) / twoPi);
    return ERPoint2D(u, angle + turns * twoPi);
}

void ERSurOfRevolution::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                     int flag) const {
    if (!generatrix_) return;
    ERRaySurfaceResult onForm;
    nurbs().ProjectPoint(p, onForm, flag);
    const auto at = [this](double u, double v) { return (*this)(u, v); };
    for (unsigned int i = 0; i < onForm.entries(); ++i) {
        const ERPoint2D start = ownParameters(onForm.at(i).parameter());
        ray::Root root{start.x(), start.y()};
        if (!ray::solve(at, getBoundU(), getBoundV(), p.x(), p.y(), root)) continue;
        ERInfoPoint3DSurf info = PtCur(root.u, root.v);
        result.AddPointSolution(info);
    }
}

int ERSurOfRevolution::ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                                         int flag) const {
    if (!generatrix_) return 0;
    ERPoint2D inForm;
    if (!NurbsProjection(p, tolerance, flag).projectWhole(nurbs(), inForm)) return 0;
    ERPoint2D found = ownParameters(inForm);
    ERPoint3D foot(p);
    if (ReajustProjection(foot, found, flag) == 0) return 0;
    uv = found;
    return 1;
}

int ERSurOfRevolution::ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const {
    return !generatrix_ ? 0 : improveFoot(*this, p, uv, flag);
}

// Parts.

int ERSurOfRevolution::SplitInU(Half& before, Half& after, double u) const {
    t_SmartPtr<ERFiniteEntity3DWF> left, right;
    if (!generatrix_ || generatrix_->splitAt(left, right, u) == 0) return 0;
    const Half one(new ERSurOfRevolution(left, axis_, angles_));
    const Half other(new ERSurOfRevolution(right, axis_, angles_));
    before = one;
    after = other;
    return 1;
}

int ERSurOfRevolution::SplitInU(Half& before, Half& after) const {
    return SplitInU(before, after, getBoundU()(0.5));
}

int ERSurOfRevolution::SplitInV(Half& before, Half& after, double v) const {
    const Half one(new ERSurOfRevolution(*this)), other(new ERSurOfRevolution(*this));
    one->angles_ = ERLimites(angles_.start(), v);
    other->angles_ = ERLimites(v, angles_.end());
    one->dropGrid();
    other->dropGrid();
    before = one;
    after = other;
    return 1;
}

int ERSurOfRevolution::SplitInV(Half& before, Half& after) const {
    return SplitInV(before, after, angles_(0.5));
}

int ERSurOfRevolution::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before,
                                t_SmartPtr<ERAnyBoundedSurface>& after, double u) const {
    Half one, other;
    if (SplitInU(one, other, u) == 0) return 0;
    before = one;
    after = other;
    return 1;
}

int ERSurOfRevolution::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before,
                                t_SmartPtr<ERAnyBoundedSurface>& after, double v) const {
    Half one, other;
    if (SplitInV(one, other, v) == 0) return 0;
    before = one;
    after = other;
    return 1;
}

// Moves.

void ERSurOfRevolution::scale(double factor) {
    *nurbs_ = {};
    ERAnyBoundedSurface::scale(factor);
    axis_.scale(factor);
    if (generatrix_ != nullptr) generatrix_->scale(factor);
    if (factor < 0.0) reference_ = -reference_;
}

void ERSurOfRevolution::translate(const ERPoint3D& t) {
    CleanUpTemporaries(-1);
    ERAnyBoundedSurface::translate(t);
    axis_.translate(t);
    if (generatrix_ != nullptr) generatrix_->translate(t);
}

template <class Transformation>
void ERSurOfRevolution::carry(const Transformation& t, bool inverse) {
    *nurbs_ = {};
    if (inverse) {
        ERAnyBoundedSurface::transformTo(t);
        axis_.transformTo(t);
        if (generatrix_ != nullptr) generatrix_->transformTo(t);
        reference_ = (t << reference_).getnormalized();
    } else {
        ERAnyBoundedSurface::transformFrom(t);
        axis_.transformFrom(t);
        if (generatrix_ != nullptr) generatrix_->transformFrom(t);
        reference_ = (t >> reference_).getnormalized();
    }
    if (mirrors(t)) axis_.reverse();
}

void ERSurOfRevolution::transformFrom(const ERPmSimilitude3D& t) { carry(t, false); }
void ERSurOfRevolution::transformFrom(const ERPmIsometrie3D& t) { carry(t, false); }
void ERSurOfRevolution::transformTo(const ERPmSimilitude3D& t) { carry(t, true); }
void ERSurOfRevolution::transformTo(const ERPmIsometrie3D& t) { carry(t, true); }

void ERSurOfRevolution::reverse() {
    CleanUpTemporaries(-1);
    ERAnyBoundedSurface::reverse();
}

void ERSurOfRevolution::CleanUpTemporaries(int level) {
    ERAnyBoundedSurface::CleanUpTemporaries(level);
    *nurbs_ = {};
    if (generatrix_ != nullptr) generatrix_->CleanUpTemporaries(level);
}

void ERSurOfRevolution::printOn(std::ostream& os) const {
    os << "SurOfRevolution : Axe        " << axis_ << std::endl;
    os << "                : Angles     " << angles_;
    os << "                : Reference  " << reference_ << std::endl;
    os << "                : Generatrix ";
    if (!generatrix_)
        os << "(NULL)" << std::endl;
    else
        os << generatrix_->className() << std::endl << *generatrix_ << std::endl;
}

// The NURBS form.

ERSpoleNURBS3D CreateSurfOfRevolutionAxeZ1(const ERCpoleNURBS3D& curve, double a, double b) {
    constexpr double mostTurns = 250.0;
    constexpr std::uint64_t mostPoles = 1u << 22;

    ERCpoleNURBS3D generatrix(curve);
    if (generatrix.isTrimmed()) generatrix.adjust();
    const ERLimites angles = b < a ? ERLimites(b, a) : ERLimites(a, b);
    if (!(angles.amplitude() <= mostTurns * twoPi)) return ERSpoleNURBS3D();
    ERCpoleNURBS3D arc =
        ERArc3D(ERPmIsometrie3D(), 1.0, angles.start(), angles.end()).ConvertToNurbs();
    const std::uint64_t rows = generatrix.nbPoles(), cols = arc.nbPoles();
    if (rows == 0 || cols == 0 || rows * cols > mostPoles) return ERSpoleNURBS3D();
    arc.reparametrize(angles);

    ERMatrix<ERPole3DH> poles(generatrix.nbPoles(), arc.nbPoles());
    ERPole3DH* pole = poles.data();
    for (const ERPole3DH& p : generatrix.poles()) {
        // As complex numbers: turned by the angle of the arc's pole, and as far off as that.
        for (const ERPole3DH& q : arc.poles()) {
            *pole++ = ERPole3DH(p.x() * q.x() - p.y() * q.y(), p.x() * q.y() + p.y() * q.x(),
                                p.z() * q.weigth(), p.weigth() * q.weigth());
        }
    }
    const auto isFinite = [](const ERPole3DH& p) {
        return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()) &&
               std::isfinite(p.weigth());
    };
    if (!std::all_of(poles.begin(), poles.end(), isFinite)) return ERSpoleNURBS3D();
    return ERSpoleNURBS3D(poles, generatrix.knotVector(), arc.knotVector());
}

ERSpoleNURBS3D CreateSurfOfRevolution(const ERCpoleNURBS3D& curve, const ERInfLine3D& axis,
                                      double a, double b) {
    const ERPmIsometrie3D frame = ERChgRepere3D(axis.dirVector(), axis.origine());
    ERCpoleNURBS3D local(curve);
    local.transformTo(frame);
    ERSpoleNURBS3D surface = CreateSurfOfRevolutionAxeZ1(local, a, b);
    surface.transformFrom(frame);
    return surface;
}

}  // namespace kerf
