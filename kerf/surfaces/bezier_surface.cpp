#include "kerf/surfaces/bezier_surface.h"

#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/spline/bernstein.h"
#include "kerf/curves/spline/degree_elevation.h"
#include "kerf/curves/spline/pole_grid.h"
#include "kerf/surfaces/internal/nurbs_projection.h"
#include "kerf/surfaces/internal/ray_recursion.h"
#include "kerf/surfaces/surface_projection.h"

namespace kerf {

ER_DEFINE_CLASS(ERSpoleBezier3D, ERSpoleRep)
ER_DEFINE_CLASS(ERSpoleBezier3DR, ERSpoleRep)
ER_DEFINE_STORED_CLASS(ERSpoleBezier3D, ERSpoleRep)
ER_DEFINE_STORED_CLASS(ERSpoleBezier3DR, ERSpoleRep)

namespace {

double ratioIn(const ERLimites& range, double x) {
    return range.amplitude() == 0.0 ? 0.0 : range.ratio(x);
}

// Raises the degree along the rows' direction: a row of poles is one pole of a curve.
template <class Pole>
void raiseAlongU(ERMatrix<Pole>& poles, unsigned int by) {
    const unsigned int rows = poles.rows(), cols = poles.cols();
    if (by == 0) return;
    poles.insertRow(rows, ERVec<Pole>(poles.row(rows - 1)));
    for (unsigned int i = 1; i < by; ++i) poles.insertRow(rows, ERVec<Pole>(poles.row(rows)));
    BezierIncreaseDegree(spline::doubles(poles.data()), rows, by, cols * spline::dimensionOf<Pole>);
}

ERPole3DH weighted(const ERPoint3D& p) { return ERPole3DH(p, 1.0); }
const ERPole3DH& weighted(const ERPole3DH& pole) { return pole; }

// The derivative of the ratio.
double slopeOf(const ERLimites& range) {
    return range.amplitude() == 0.0 ? 0.0 : 1.0 / range.amplitude();
}

}  // namespace

template <class Surface, class Pole>
unsigned int BezierSurface<Surface, Pole>::degreeU() const {
    return this->isDummy() != 0 ? 0 : this->poles_.rows() - 1;
}

template <class Surface, class Pole>
unsigned int BezierSurface<Surface, Pole>::degreeV() const {
    return this->isDummy() != 0 ? 0 : this->poles_.cols() - 1;
}

template <class Surface, class Pole>
void BezierSurface<Surface, Pole>::incrDegree(unsigned int byU, unsigned int byV) {
    if (this->isDummy() != 0) return;
    this->change([&] {
        raiseAlongU(this->poles_, byU);
        if (byV == 0) return;
        ERMatrix<Pole> across = this->poles_.transposed();
        raiseAlongU(across, byV);
        this->poles_ = across.transposed();
    });
}

template <class Surface, class Pole>
ERInfoPoint3DSurf BezierSurface<Surface, Pole>::PtCur(double u, double v) const {
    if (this->isDummy() != 0) return ERInfoPoint3DSurf(ERPoint2D(u, v), ERMatrix<ERPoint3D>(3, 3));
    const auto whole = [](const ERLimites& range) {
        return range.amplitude() == 0.0 ? ERLimites(0.0, 1.0) : range;
    };
    const bool noU = this->naturalU_.amplitude() == 0.0, noV = this->naturalV_.amplitude() == 0.0;
    ERInfoPoint3DSurf info = CasteljauAll(this->poles_, noU ? 0.0 : u, noV ? 0.0 : v,
                                          whole(this->naturalU_), whole(this->naturalV_));
    info.parameter() = ERPoint2D(u, v);
    if (noU || noV) {
        ERMatrix<ERPoint3D>& table = info.derivatives();
        for (unsigned int j = 0; j < table.rows(); ++j)
            for (unsigned int i = 0; i < table.cols(); ++i)
                if ((noU && i > 0) || (noV && j > 0)) table(j, i) = ERPoint3D();
    }
    return info;
}

template <class Surface, class Pole>
ERPoint3D BezierSurface<Surface, Pole>::operator()(double u, double v) const {
    if (this->isDummy() != 0) return ERPoint3D();
    return Horner(this->poles_, ratioIn(this->currentU_, u), ratioIn(this->currentV_, v))
        .castToPoint();
}

template <class Surface, class Pole>
auto BezierSurface<Surface, Pole>::getIsoU(double u) const -> IsoCurve {
    if (this->isDummy() != 0) return IsoCurve();
    return IsoCurve(HornerIsoU(this->poles_, ratioIn(this->currentU_, u)), this->naturalV_,
                    this->currentV_);
}

template <class Surface, class Pole>
auto BezierSurface<Surface, Pole>::getIsoV(double v) const -> IsoCurve {
    if (this->isDummy() != 0) return IsoCurve();
    return IsoCurve(HornerIsoV(this->poles_, ratioIn(this->currentV_, v)), this->naturalU_,
                    this->currentU_);
}

template <class Surface, class Pole>
t_SmartPtr<ERFiniteEntity3DWF> BezierSurface<Surface, Pole>::getEntityIsoU(double u) const {
    if (this->isDummy() != 0) return nullptr;
    return new IsoCurve(getIsoU(u));
}

template <class Surface, class Pole>
t_SmartPtr<ERFiniteEntity3DWF> BezierSurface<Surface, Pole>::getEntityIsoV(double v) const {
    if (this->isDummy() != 0) return nullptr;
    return new IsoCurve(getIsoV(v));
}

template <class Surface, class Pole>
const ERMatrix<ERPoint3D>& BezierSurface<Surface, Pole>::getMatricePoint(unsigned int nU,
                                                                         unsigned int nV) {
    if (this->grid_.rows() == nU && this->grid_.cols() == nV) return this->grid_;
    ERMatrix<ERPoint3D> grid(nU, nV);
    if (this->isDummy() == 0) {
        ERPoint3D* point = grid.data();
        const double stepsU = nU - 1.0, stepsV = nV - 1.0;
        for (unsigned int i = 0; i < nU; ++i) {
            const ERVec<Pole> row = HornerIsoU(this->poles_, i / stepsU);
            for (unsigned int j = 0; j < nV; ++j)
                *point++ = Horner(row.data(), row.length(), j / stepsV).castToPoint();
        }
    }
    this->grid_ = grid;
    return this->grid_;
}

template <class Surface, class Pole>
void BezierSurface<Surface, Pole>::adjust() {
    constexpr unsigned int dim = spline::dimensionOf<Pole>;
    this->change([&] {
        const bool changedU = !(this->currentU_ == this->naturalU_);
        const bool changedV = !(this->currentV_ == this->naturalV_);
        if (changedU || changedV) this->resetUpperEstimates();
        const unsigned int cols = this->poles_.cols(), rows = this->poles_.rows();
        if (changedU && this->isDummy() == 0)
            RedefineDomainU(spline::doubles(this->poles_.data()), cols, rows, dim,
                            ratioIn(this->naturalU_, this->udeb()),
                            ratioIn(this->naturalU_, this->ufin()));
        if (changedV && this->isDummy() == 0)
            RedefineDomainV(spline::doubles(this->poles_.data()), cols, rows, dim,
                            ratioIn(this->naturalV_, this->vdeb()),
                            ratioIn(this->naturalV_, this->vfin()));
        Base::adjust();
    });
}

template <class Surface, class Pole>
auto BezierSurface<Surface, Pole>::cutInU(double u) const -> Halves {
    const Surface& whole = static_cast<const Surface&>(*this);
    Halves halves(new Surface(whole), new Surface(whole));
    halves.first->redefineDomainU(ERLimites(this->udeb(), u));
    halves.second->redefineDomainU(ERLimites(u, this->ufin()));
    return halves;
}

template <class Surface, class Pole>
auto BezierSurface<Surface, Pole>::cutInV(double v) const -> Halves {
    const Surface& whole = static_cast<const Surface&>(*this);
    Halves halves(new Surface(whole), new Surface(whole));
    halves.first->redefineDomainV(ERLimites(this->vdeb(), v));
    halves.second->redefineDomainV(ERLimites(v, this->vfin()));
    return halves;
}

// Feet and rays. Seeds and derivatives are those of the NURBS surface of the same poles.

template <class Surface, class Pole>
const ERSpoleNURBS3D& BezierSurface<Surface, Pole>::unitForm() const {
    std::shared_ptr<PoleSurfaceProjectionData>& data = this->projectionData();
    if (data == nullptr) data = std::make_shared<PoleSurfaceProjectionData>();
    if (data->unitForm == nullptr) {
        ERMatrix<ERPole3DH> poles(this->nbPolesU(), this->nbPolesV());
        ERPole3DH* const to = poles.data();
        const Pole* const from = this->poles_.data();
        for (unsigned int i = 0; i < poles.length(); ++i) to[i] = weighted(from[i]);
        const ERLimites unit(0.0, 1.0);
        data->unitForm = std::make_unique<ERSpoleNURBS3D>(poles, ERKnotVector(degreeU(), unit),
                                                          ERKnotVector(degreeV(), unit));
    }
    return *data->unitForm;
}

template <class Surface, class Pole>
int BezierSurface<Surface, Pole>::ProjectionNormale(const ERPoint3D& p, double tolerance,
                                                    ERPoint2D& uv, int flag) const {
    ERPoint2D st;
    if (this->isDummy() != 0 || !NurbsProjection(p, tolerance, flag).projectWhole(unitForm(), st))
        return 0;
    uv = ERPoint2D(this->currentU_(st.x()), this->currentV_(st.y()));
    return 1;
}

template <class Surface, class Pole>
int BezierSurface<Surface, Pole>::ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const {
    return this->isDummy() != 0 ? 0 : improveFoot(static_cast<const Surface&>(*this), p, uv, flag);
}

template <class Surface, class Pole>
void BezierSurface<Surface, Pole>::derivativesAt(double u, double v, SurfaceDerivatives& at) const {
    at = SurfaceDerivatives();
    if (this->isDummy() != 0) return;
    unitForm().derivativesAt(ratioIn(this->naturalU_, u), ratioIn(this->naturalV_, v), at);
    const double byU = slopeOf(this->naturalU_), byV = slopeOf(this->naturalV_);
    at.u *= byU;
    at.v *= byV;
    at.uu *= byU * byU;
    at.uv *= byU * byV;
    at.vv *= byV * byV;
}

template <class Surface, class Pole>
void BezierSurface<Surface, Pole>::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                                int) const {
    ray::Recursion(*this, p, result).add(this->poles_, this->currentU_, this->currentV_);
}

template <class Surface, class Pole>
void BezierSurface<Surface, Pole>::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                                ERRaySurfaceResult& result, int) const {
    ray::Recursion(*this, p, direction, result).add(this->poles_, this->currentU_, this->currentV_);
}

template class BezierSurface<ERSpoleBezier3D, ERPoint3D>;
template class BezierSurface<ERSpoleBezier3DR, ERPole3DH>;

}  // namespace kerf
