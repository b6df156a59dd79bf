#include "kerf/surfaces/offset_surface.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <vector>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/surfaces/internal/ray_solve.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/box.h"
#include "kerf/values/carried_frame.h"
#include "kerf/values/info_point.h"
#include "kerf/values/point_list.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

ER_DEFINE_CLASS(EROffsetSurface, ERAnyBoundedSurface)
ER_DEFINE_CLASS(EROffsetSurfaceIsoParam, ERFiniteEntity3DWF)
ER_DEFINE_STORED_CLASS(EROffsetSurface, ERAnyBoundedSurface)
ER_DEFINE_STORED_CLASS(EROffsetSurfaceIsoParam, ERFiniteEntity3DWF)

namespace {

using Half = t_SmartPtr<ERAnyBoundedSurface>;

// The points of a surface on the line through p along Z, sought by halving the ranges. Nothing but
// the evaluation of the whole surface is used, so that every parameter is one of that surface.
class LineSearch {
public:
    LineSearch(const EROffsetSurface& surface, const ERPoint3D& p, ERRaySurfaceResult& result)
        : surface_(surface),
          p_(p),
          result_(result),
          whole_{increasing(surface.getBoundU()), increasing(surface.getBoundV())} {}

    void search() { search(whole_, 0); }

private:
    struct Part {
        ERLimites u, v;
    };

    static ERLimites increasing(const ERLimites& range) {
        return range.end() < range.start() ? ERLimites(range.end(), range.start()) : range;
    }

    void search(const Part& part, int depth) {
        constexpr unsigned int n = 10;
        constexpr double smallPart = 0.1, smallestPart = 1e-12, widening = 0.1;
        constexpr int deepest = 64, mostParts = 5000;

        ERPoint3D points[n][n];
        ERMinimax3D box;
        for (unsigned int i = 0; i < n; ++i) {
            for (unsigned int j = 0; j < n; ++j) {
                points[i][j] = surface_(part.u(i / (n - 1.0)), part.v(j / (n - 1.0)));
                box.Update(points[i][j]);
            }
        }
        if (box.invalid()) return;
        ERMinimax3D reach = box;
        reach.Inflate(widening * box.diagonal());
        if (!(reach.xmin() <= p_.x() && p_.x() <= reach.xmax() && reach.ymin() <= p_.y() &&
              p_.y() <= reach.ymax()))
            return;

        double largest = 0.0;
        for (const double c : {box.xmin(), box.xmax(), box.ymin(), box.ymax()})
            largest = std::max(largest, std::fabs(c));
        const double small = std::max(smallPart, smallestPart * largest);
        if ((box.xlength() < small && box.ylength() < small) || depth == deepest ||
            parts_ >= mostParts) {
            solve(part);
            return;
        }

        ++parts_;
        double alongU = 0.0, alongV = 0.0;
        for (unsigned int i = 0; i < n; ++i) {
            double lengthU = 0.0, lengthV = 0.0;
            for (unsigned int j = 1; j < n; ++j) {
                lengthU += distance(points[j - 1][i], points[j][i]);
                lengthV += distance(points[i][j - 1], points[i][j]);
            }
            alongU = std::max(alongU, lengthU);
            alongV = std::max(alongV, lengthV);
        }
        Part first = part, second = part;
        if (alongU >= alongV)
            first.u.end() = second.u.start() = part.u(0.5);
        else
            first.v.end() = second.v.start() = part.v(0.5);
        search(first, depth + 1);
        search(second, depth + 1);
    }

    void solve(const Part& part) {
        constexpr double limit = 1e-6;
        const auto evaluate = [this](double u, double v) { return surface_(u, v); };
        ray::Root root{0.0, 0.0};
        if (ray::seed(evaluate, part.u, part.v, p_.x(), p_.y(), root) &&
            ray::solve(evaluate, part.u, part.v, p_.x(), p_.y(), root, limit))
            add(improved(ERPoint2D(root.u, root.v)));
    }

    // What is between p and the surface at uv, seen along Z.
    ERVector2D gap(const ERPoint2D& uv) const {
        const ERPoint3D s = surface_(uv.x(), uv.y());
        return ERVector2D(s.x() - p_.x(), s.y() - p_.y());
    }

    // Comes nearer to the line by Newton's method on the whole surface: what two neighbours have found
    // at their seam becomes one.
    ERPoint2D improved(ERPoint2D uv) const {
        constexpr int mostRounds = 10;
        constexpr double step = 1e-7;
        const double h = step * whole_.u.amplitude(), k = step * whole_.v.amplitude();
        ERVector2D here = gap(uv);
        for (int round = 0; round < mostRounds && here.norme2() > 0.0; ++round) {
            const ERVector2D alongU = (gap(ERPoint2D(uv.x() + h, uv.y())) - here) * (1.0 / h);
            const ERVector2D alongV = (gap(ERPoint2D(uv.x(), uv.y() + k)) - here) * (1.0 / k);
            const double det = alongU ^ alongV;
            const ERPoint2D next(ray::solving::clamped(uv.x() - (here ^ alongV) / det, whole_.u),
                                 ray::solving::clamped(uv.y() - (alongU ^ here) / det, whole_.v));
            const ERVector2D there = gap(next);
            if (!(there.norme2() < here.norme2())) break;
            uv = next;
            here = there;
        }
        return uv;
    }

    void add(const ERPoint2D& uv) {
        constexpr double sameParameter = 1e-6;
        const auto isSame = [&](const ERPoint2D& known) {
            return std::fabs(known.x() - uv.x()) <= sameParameter * whole_.u.amplitude() &&
                   std::fabs(known.y() - uv.y()) <= sameParameter * whole_.v.amplitude();
        };
        if (std::any_of(found_.begin(), found_.end(), isSame)) return;
        found_.push_back(uv);
        ERInfoPoint3DSurf info = surface_.PtCur(uv);
        result_.AddPointSolution(info);
    }

    const EROffsetSurface& surface_;
    const ERPoint3D p_;
    ERRaySurfaceResult& result_;
    const Part whole_;
    int parts_ = 0;
    std::vector<ERPoint2D> found_;
};

// Points of a curve at equal steps over `limits`: 16 steps, and then twice as many until `isFine`
// says so of two such lists in turn.
template <class IsFine>
std::vector<ERPoint3D> refinedPoints(const ERFiniteEntity3DWF& curve, const ERLimites& limits,
                                     std::size_t mostSteps, IsFine isFine) {
    std::vector<ERPoint3D> coarse, fine;
    const auto point = [&](std::size_t i, std::size_t steps) {
        return i == steps ? curve(limits.end())
                          : curve(limits(static_cast<double>(i) / static_cast<double>(steps)));
    };
    constexpr std::size_t fewest = 16;
    for (std::size_t i = 0; i <= fewest; ++i) fine.push_back(point(i, fewest));
    for (std::size_t steps = 2 * fewest; steps <= mostSteps; steps *= 2) {
        coarse.swap(fine);
        fine.resize(steps + 1);
        for (std::size_t i = 0; i <= steps; ++i)
            fine[i] = i % 2 == 0 ? coarse[i / 2] : point(i, steps);
        if (isFine(coarse, fine)) break;
    }
    return fine;
}

double lengthOf(const std::vector<ERPoint3D>& points) {
    double length = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) length += distance(points[i - 1], points[i]);
    return length;
}

}  // namespace

// The surface.

EROffsetSurface::EROffsetSurface(const ERAnyBoundedSurface& base, double distance,
                                 const ERVector3D& indicator)
    : base_(Half(base)), distance_(distance), indicator_(indicator) {
    Normalize();
}

EROffsetSurface::EROffsetSurface(ERAnyBoundedSurface* base, double distance,
                                 const ERVector3D& indicator)
    : base_(Half(base)), distance_(distance), indicator_(indicator) {
    Normalize();
}

t_SmartPtr<EROffsetSurface> EROffsetSurface::over(const Half& base, const EROffsetSurface& like) {
    const t_SmartPtr<EROffsetSurface> surface(new EROffsetSurface);
    surface->base_.share(base);
    surface->distance_ = like.distance_;
    surface->indicator_ = like.indicator_;
    return surface;
}

void EROffsetSurface::Normalize() {
    if (!base_) return;
    const ERInfoPoint3DSurf middle = base_->PtCur(base_->getBoundU()(0.5), base_->getBoundV()(0.5));
    if (middle.normale() * indicator_ < 0.0) negate();
}

void EROffsetSurface::negate() {
    distance_ = -distance_;
    indicator_ = -indicator_;
}

double EROffsetSurface::udeb() const { return !base_ ? 0.0 : base_->udeb(); }
double EROffsetSurface::ufin() const { return !base_ ? 0.0 : base_->ufin(); }
double EROffsetSurface::vdeb() const { return !base_ ? 0.0 : base_->vdeb(); }
double EROffsetSurface::vfin() const { return !base_ ? 0.0 : base_->vfin(); }

ERInfoPoint3DSurf EROffsetSurface::PtCur(double u, double v) const {
    if (!base_) return ERInfoPoint3DSurf(ERPoint2D(u, v), ERMatrix<ERPoint3D>(3, 3, ERPoint3D()));
    ERInfoPoint3DSurf info = base_->PtCur(u, v);
    info.derivatives()(0, 0) += info.normale() * distance_;
    return info;
}

ERPoint3D EROffsetSurface::operator()(double u, double v) const {
    if (!base_) return ERPoint3D();
    const ERInfoPoint3DSurf info = base_->PtCur(u, v);
    return info.point() + info.normale() * distance_;
}

ERMinimax3D EROffsetSurface::getBox() const {
    constexpr unsigned int points = 10;
    return !base_ ? ERMinimax3D() : ERMinimax3D(gridOfPoints(points, points).asVector());
}

t_SmartPtr<ERFiniteEntity3DWF> EROffsetSurface::getEntityIsoU(double u) const {
    using Iso = EROffsetSurfaceIsoParam;
    if (!base_) return {};
    return new Iso(over(base_, *this), Iso::Direction::U, u);
}

t_SmartPtr<ERFiniteEntity3DWF> EROffsetSurface::getEntityIsoV(double v) const {
    using Iso = EROffsetSurfaceIsoParam;
    if (!base_) return {};
    return new Iso(over(base_, *this), Iso::Direction::V, v);
}

void EROffsetSurface::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int) const {
    if (!base_) return;
    LineSearch(*this, p, result).search();
}

void EROffsetSurface::ProjectPoint(const ERPoint3D&, const ERVector3D&, ERRaySurfaceResult&,
                                   int) const {}

int EROffsetSurface::ProjectionNormale(const ERPoint3D&, double, ERPoint2D&, int) const {
    return 0;
}

int EROffsetSurface::ReajustProjection(ERPoint3D&, ERPoint2D&, int) const { return 0; }

double EROffsetSurface::upperEstimateInU() const {
    return !base_ ? 0.0 : base_->upperEstimateInU();
}
double EROffsetSurface::upperEstimateInV() const {
    return !base_ ? 0.0 : base_->upperEstimateInV();
}

template <class Split>
int EROffsetSurface::splitBase(Half& before, Half& after, Split split) const {
    Half first, second;
    if (!base_ || split(first, second) == 0) return 0;
    // The sign is not sought anew: at the middle of a half the indicator may tell another side.
    const auto half = [this](const Half& base) {
        const bool isKept = base != nullptr && base->references() > 1;
        return over(isKept ? Half(*base) : base, *this);
    };
    const t_SmartPtr<EROffsetSurface> one = half(first), other = half(second);
    before = one;
    after = other;
    return 1;
}

int EROffsetSurface::SplitInU(Half& before, Half& after, double u) const {
    return splitBase(before, after,
                     [&](Half& one, Half& other) { return base_->SplitInU(one, other, u); });
}

int EROffsetSurface::SplitInV(Half& before, Half& after, double v) const {
    return splitBase(before, after,
                     [&](Half& one, Half& other) { return base_->SplitInV(one, other, v); });
}

int EROffsetSurface::IsContinuous(int order) const {
    return !base_ ? 0 : base_->IsContinuous(order);
}

int EROffsetSurface::GetDiscontinuitiesU(int order, ERVec<double>& parameters) const {
    if (base_ != nullptr) return base_->GetDiscontinuitiesU(order, parameters);
    parameters.clear();
    return 0;
}

int EROffsetSurface::GetDiscontinuitiesV(int order, ERVec<double>& parameters) const {
    if (base_ != nullptr) return base_->GetDiscontinuitiesV(order, parameters);
    parameters.clear();
    return 0;
}

void EROffsetSurface::scale(double factor) {
    ERAnyBoundedSurface::scale(factor);
    if (factor < 0.0) dropGrid();  // the normals of the base may turn over, or not
    if (base_ != nullptr) base_->scale(factor);
    distance_ *= factor;
}

void EROffsetSurface::translate(const ERPoint3D& t) {
    ERAnyBoundedSurface::translate(t);
    if (base_ != nullptr) base_->translate(t);
}

template <class Transformation>
void EROffsetSurface::carry(const Transformation& t, bool inverse) {
    const double factor = std::fabs(t.getFactHomo());
    if (inverse) {
        ERAnyBoundedSurface::transformTo(t);
        if (base_ != nullptr) base_->transformTo(t);
        indicator_ = t << indicator_;
        distance_ /= factor;
    } else {
        ERAnyBoundedSurface::transformFrom(t);
        if (base_ != nullptr) base_->transformFrom(t);
        indicator_ = t >> indicator_;
        distance_ *= factor;
    }
    if (mirrors(t)) negate();
}

void EROffsetSurface::transformFrom(const ERPmSimilitude3D& t) { carry(t, false); }
void EROffsetSurface::transformFrom(const ERPmIsometrie3D& t) { carry(t, false); }
void EROffsetSurface::transformTo(const ERPmSimilitude3D& t) { carry(t, true); }
void EROffsetSurface::transformTo(const ERPmIsometrie3D& t) { carry(t, true); }

void EROffsetSurface::reverse() {
    ERAnyBoundedSurface::reverse();
    dropGrid();  // the points of some bases do not follow
    if (base_ != nullptr) base_->reverse();
    negate();
}

void EROffsetSurface::CleanUpTemporaries(int level) {
    ERAnyBoundedSurface::CleanUpTemporaries(level);
    if (base_ != nullptr) base_->CleanUpTemporaries(level);
}

void EROffsetSurface::printOn(std::ostream& os) const {
    os << "OffsetSurface : Distance  " << distance_ << " Indicator  " << indicator_ << std::endl;
    os << "              : Base      ";
    if (!base_)
        os << "(NULL)" << std::endl;
    else
        os << base_->className() << std::endl << *base_ << std::endl;
}

// The curve.

double EROffsetSurfaceIsoParam::udeb() const {
    if (!surface_) return 0.0;
    return uIsConstant() ? surface_->vdeb() : surface_->udeb();
}

double EROffsetSurfaceIsoParam::ufin() const {
    if (!surface_) return 0.0;
    return uIsConstant() ? surface_->vfin() : surface_->ufin();
}

ERLimites EROffsetSurfaceIsoParam::getBound() const {
    const double start = udeb(), end = ufin();
    return end < start ? ERLimites(end, start) : ERLimites(start, end);
}

ERInfoPoint3DWF EROffsetSurfaceIsoParam::PtCur(double t) const {
    ERInfoPoint3DWF info(t, 1, ERPoint3D(), ERVector3D(), ERVector3D());
    if (!surface_) return info;
    const bool alongV = uIsConstant();
    const ERInfoPoint3DSurf on =
        alongV ? surface_->PtCur(parameter_, t) : surface_->PtCur(t, parameter_);
    const ERMatrix<ERPoint3D>& derivatives = on.derivatives();
    info.point() = on.point();
    info.tangente() = alongV ? on.tangenteV() : on.tangenteU();
    info.secondDerivative() = alongV ? derivatives(2, 0) : derivatives(0, 2);
    return info;
}

ERPoint3D EROffsetSurfaceIsoParam::operator()(double t) const {
    if (!surface_) return ERPoint3D();
    return uIsConstant() ? (*surface_)(parameter_, t) : (*surface_)(t, parameter_);
}

ERMinimax3D EROffsetSurfaceIsoParam::getBox() const {
    constexpr int points = 101;
    return !surface_ ? ERMinimax3D() : ERMinimax3D(approxime(points));
}

ERCpoleNURBS3D EROffsetSurfaceIsoParam::ConvertToNurbs() const {
    constexpr std::size_t mostChords = 4096;
    constexpr double deviation = 1e-6;
    if (!surface_) return ERCpoleNURBS3D();
    const double tol = deviation * getBox().diagonal();
    const std::vector<ERPoint3D> points = refinedPoints(
        *this, ERLimites(udeb(), ufin()), mostChords, [tol](const auto& coarse, const auto& fine) {
            double farthest = 0.0;
            for (std::size_t i = 1; i < coarse.size(); ++i) {
                farthest =
                    std::max(farthest, distance(milieu(coarse[i - 1], coarse[i]), fine[2 * i - 1]));
            }
            return !(farthest > tol);
        });
    ERVec<ERPole3DH> poles(static_cast<unsigned int>(points.size()));
    std::transform(points.begin(), points.end(), poles.data(),
                   [](const ERPoint3D& p) { return ERPole3DH(p.x(), p.y(), p.z(), 1.0); });
    ERCpoleNURBS3D polyline(poles, 1);
    const ERLimites domain = getBound();
    if (domain.amplitude() > 0.0) polyline.reparametrize(domain);
    return polyline;
}

double EROffsetSurfaceIsoParam::arcLength(ERLimites limits, double tol) const {
    constexpr std::size_t mostChords = 32768;
    if (!surface_) return 0.0;
    return lengthOf(
        refinedPoints(*this, limits, mostChords, [tol](const auto& coarse, const auto& fine) {
            return !(lengthOf(fine) - lengthOf(coarse) > tol);
        }));
}

double EROffsetSurfaceIsoParam::arcLength(double tol) const { return arcLength(getBound(), tol); }

int EROffsetSurfaceIsoParam::splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left,
                                     t_SmartPtr<ERFiniteEntity3DWF>& right, double t) const {
    Half before, after;
    if (!surface_) return 0;
    const int split =
        uIsConstant() ? surface_->SplitInV(before, after, t) : surface_->SplitInU(before, after, t);
    if (split == 0) return 0;
    const auto part = [this](const Half& half) {
        const t_SmartPtr<EROffsetSurface> surface(EROffsetSurface::castdown(half.getObject()));
        return t_SmartPtr<ERFiniteEntity3DWF>(
            new EROffsetSurfaceIsoParam(surface, static_cast<Direction>(direction_), parameter_));
    };
    const t_SmartPtr<ERFiniteEntity3DWF> one = part(before), other = part(after);
    left = one;
    right = other;
    return 1;
}

t_SmartPtr<EREntity2DWF> EROffsetSurfaceIsoParam::get2DEntProjectedOn(
    const ERPmIsometrie3D&) const {
    return {};
}

void EROffsetSurfaceIsoParam::reverse() {}

template <class Move>
void EROffsetSurfaceIsoParam::moveSurface(Move move) {
    if (!surface_) return;
    const auto range = [this] {
        return uIsConstant() ? surface_->getBoundU() : surface_->getBoundV();
    };
    surface_.detach();
    const ERLimites before = range();
    move(*surface_);
    const ERLimites after = range();
    if (!(after == before) && before.amplitude() != 0.0)
        parameter_ = after(before.ratio(parameter_));
    setDirty();
}

void EROffsetSurfaceIsoParam::scale(double factor) {
    moveSurface([&](EROffsetSurface& surface) { surface.scale(factor); });
}

void EROffsetSurfaceIsoParam::translate(const ERPoint3D& t) {
    moveSurface([&](EROffsetSurface& surface) { surface.translate(t); });
}

void EROffsetSurfaceIsoParam::transformFrom(const ERPmSimilitude3D& t) {
    moveSurface([&](EROffsetSurface& surface) { surface.transformFrom(t); });
}

void EROffsetSurfaceIsoParam::transformFrom(const ERPmIsometrie3D& t) {
    moveSurface([&](EROffsetSurface& surface) { surface.transformFrom(t); });
}

void EROffsetSurfaceIsoParam::transformTo(const ERPmSimilitude3D& t) {
    moveSurface([&](EROffsetSurface& surface) { surface.transformTo(t); });
}

void EROffsetSurfaceIsoParam::transformTo(const ERPmIsometrie3D& t) {
    moveSurface([&](EROffsetSurface& surface) { surface.transformTo(t); });
}

void EROffsetSurfaceIsoParam::prepareApprox(ERPoint13List& list, const ERLimites& limits,
                                            double) const {
    constexpr int seeds = 8;  // a bend that is symmetric does not hide between the ends
    for (int i = 0; i <= seeds; ++i) {
        const double t = i == seeds ? limits.end() : limits(static_cast<double>(i) / seeds);
        list.append((*this)(t), t);
    }
}

void EROffsetSurfaceIsoParam::printOn(std::ostream& os) const {
    os << "OffsetSurfaceIsoParam : Iso " << (uIsConstant() ? "U " : "V ") << parameter_
       << std::endl;
    os << "                      : Surface ";
    if (!surface_)
        os << "(NULL)" << std::endl;
    else
        os << std::endl << *surface_ << std::endl;
}

}  // namespace kerf
