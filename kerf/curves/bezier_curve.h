#pragma once
#include "kerf/curves/carried_points.h"
#include "kerf/curves/pole_curve.h"
#include "kerf/platform/config.h"

// Bézier curves, integral and rational.
namespace kerf {

class KERF_EXPORT ERCpoleBezier2D;
class KERF_EXPORT ERCpoleBezier2DR;
class KERF_EXPORT ERCpoleBezier3D;
class KERF_EXPORT ERCpoleBezier3DR;

namespace detail {

/// The poles of a curve of the plane.
template <class Pole>
class KERF_EXPORT OwnPoles {
public:
    const ERVec<Pole>& poles() const { return poles_; }

protected:
    OwnPoles() = default;
    explicit OwnPoles(const ERVec<Pole>& poles) : poles_(poles) {}
    ERVec<Pole>& polesToChange() { return poles_; }

private:
    ERVec<Pole> poles_;
};

/// The poles of a curve of space, which is a vector of them. Whoever changes the vector through a
/// reference to the base leaves the curve with a box and polynomials of before.
template <class Pole>
class KERF_EXPORT PublicPoles : public ERVec<Pole> {
public:
    const ERVec<Pole>& poles() const { return *this; }

protected:
    PublicPoles() = default;
    explicit PublicPoles(const ERVec<Pole>& poles) : ERVec<Pole>(poles) {}
    ERVec<Pole>& polesToChange() { return *this; }
};

// One Bézier curve: the class, its space, its poles and where these are.
template <class CurveClass, class CurveSpace, class PoleType, class PoleStore>
struct KERF_EXPORT BezierKind {
    using Curve = CurveClass;
    using Space = CurveSpace;
    using Pole = PoleType;
    using Poles = PoleStore;
};
using Bezier2D = BezierKind<ERCpoleBezier2D, Space2D, ERPoint2D, OwnPoles<ERPoint2D>>;
using Bezier2DR = BezierKind<ERCpoleBezier2DR, Space2D, ERPole2DH, OwnPoles<ERPole2DH>>;
using Bezier3D = BezierKind<ERCpoleBezier3D, Space3D, ERPoint3D, PublicPoles<ERPoint3D>>;
using Bezier3DR = BezierKind<ERCpoleBezier3DR, Space3D, ERPole3DH, PublicPoles<ERPole3DH>>;

}  // namespace detail

/// What the four Bézier curves share. With p = degree() and t = (u - Ndeb) / (Nfin - Ndeb) the curve
/// is the sum of C(p, i) t^i (1 - t)^(p - i) P_i, divided by its weight where poles have one.
///
/// Parameter: u in the trim interval; outside, the polynomial goes on.
/// Kept:      the second derivative of PtCur carries the length of the natural domain once where the
///            true one has its square.
template <class Kind>
class KERF_EXPORT BezierCurve
    : public CarriedByPoints<BezierCurve<Kind>, typename Kind::Space::PoleCurve,
                             typename Kind::Space>,
      public Kind::Poles {
    using Space = typename Kind::Space;
    using Pole = typename Kind::Pole;
    using Poles = typename Kind::Poles;
    using Carried = CarriedByPoints<BezierCurve, typename Space::PoleCurve, Space>;

public:
    using Point = typename Space::Point;
    using Self = typename Space::PoleCurve;
    using Poles::poles;

    using Space::PoleCurve::approxime;
    using Space::PoleCurve::splitAt;

    typename Space::InfoPoint PtCur(double u) const override;
    Point operator()(double u) const override;
    typename Space::Nurbs ConvertToNurbs() const override;
    void reverse() override;
    /// Cuts the poles to the trim interval, which becomes the natural domain.
    void adjust() override;

    Point operator[](int i) const override;
    ERKnotVector knotVector() const override;
    unsigned int degree() const override;
    unsigned int nbPoles() const override { return poles().length(); }
    int isBezier() const override { return 1; }
    int isRational() const override { return Pole::isRational(); }
    void incrDegree(unsigned int k) override;
    int decrDegree() override;
    ERTValVector<ERPolynome> getSpanPower(int span) const override;
    using Space::PoleCurve::cordalHeight;
    double cordalHeight() const override;
    int splitAt(Self*& left, Self*& right, double u) const override;
    void printOn(std::ostream& os) const override;

protected:
    BezierCurve() = default;
    explicit BezierCurve(const ERVec<Pole>& given) : Poles(given) {}
    BezierCurve(const ERVec<Pole>& given, const ERLimites& natural)
        : Carried(natural), Poles(given) {}
    BezierCurve(const ERVec<Pole>& given, const ERLimites& natural, const ERLimites& trim)
        : Carried(natural, trim), Poles(given) {}
    BezierCurve(const BezierCurve&) = default;
    BezierCurve& operator=(const BezierCurve&) = default;

    void restored() { this->ResetCachedInfo(); }
    using Poles::polesToChange;
    ERLimites spanLimites(unsigned int) const override;
    typename Space::Box spanBox(unsigned int) const override;
    void spanPoles(unsigned int, typename Space::Pole* weighted) const override;
    bool isCutTo(const ERLimites& limits) const override;
    double lengthOfPoles(double tol) const override;

private:
    friend Carried;
    template <class Edit>
    void changePoints(Edit edit) {
        this->ResetCachedInfo();
        edit(polesToChange());
    }
    double ratio(double u) const;
};

/// An integral Bézier curve in the plane.
class KERF_EXPORT ERCpoleBezier2D : public BezierCurve<detail::Bezier2D> {
    ER_OBJECT_CLASS(ERCpoleBezier2D);
    ER_STORED_CLASS(ERCpoleBezier2D);

public:
    ERCpoleBezier2D() = default;  ///< no pole, on [0, 1]
    explicit ERCpoleBezier2D(const ERVec<ERPoint2D>& poles) : BezierCurve(poles) {}
    ERCpoleBezier2D(const ERVec<ERPoint2D>& poles, const ERLimites& natural)
        : BezierCurve(poles, natural) {}
    ERCpoleBezier2D(const ERVec<ERPoint2D>& poles, const ERLimites& natural, const ERLimites& trim)
        : BezierCurve(poles, natural, trim) {}

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(polesOf(self)); }
    static const ERVec<ERPoint2D>& polesOf(const ERCpoleBezier2D& c) { return c.poles(); }
    static ERVec<ERPoint2D>& polesOf(ERCpoleBezier2D& c) { return c.polesToChange(); }
};

/// A rational Bézier curve in the plane.
class KERF_EXPORT ERCpoleBezier2DR : public BezierCurve<detail::Bezier2DR> {
    ER_OBJECT_CLASS(ERCpoleBezier2DR);
    ER_STORED_CLASS(ERCpoleBezier2DR);

public:
    ERCpoleBezier2DR() = default;
    explicit ERCpoleBezier2DR(const ERVec<ERPole2DH>& poles) : BezierCurve(poles) {}
    ERCpoleBezier2DR(const ERVec<ERPole2DH>& poles, const ERLimites& natural)
        : BezierCurve(poles, natural) {}
    ERCpoleBezier2DR(const ERVec<ERPole2DH>& poles, const ERLimites& natural, const ERLimites& trim)
        : BezierCurve(poles, natural, trim) {}

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(polesOf(self)); }
    static const ERVec<ERPole2DH>& polesOf(const ERCpoleBezier2DR& c) { return c.poles(); }
    static ERVec<ERPole2DH>& polesOf(ERCpoleBezier2DR& c) { return c.polesToChange(); }
};

/// An integral Bézier curve in space.
class KERF_EXPORT ERCpoleBezier3D : public BezierCurve<detail::Bezier3D> {
    ER_OBJECT_CLASS(ERCpoleBezier3D);
    ER_STORED_CLASS(ERCpoleBezier3D);

public:
    ERCpoleBezier3D() = default;
    explicit ERCpoleBezier3D(const ERVec<ERPoint3D>& poles) : BezierCurve(poles) {}
    ERCpoleBezier3D(const ERVec<ERPoint3D>& poles, const ERLimites& natural)
        : BezierCurve(poles, natural) {}
    ERCpoleBezier3D(const ERVec<ERPoint3D>& poles, const ERLimites& natural, const ERLimites& trim)
        : BezierCurve(poles, natural, trim) {}

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(polesOf(self)); }
    static const ERVec<ERPoint3D>& polesOf(const ERCpoleBezier3D& c) { return c.poles(); }
    static ERVec<ERPoint3D>& polesOf(ERCpoleBezier3D& c) { return c.polesToChange(); }
};

/// A rational Bézier curve in space.
class KERF_EXPORT ERCpoleBezier3DR : public BezierCurve<detail::Bezier3DR> {
    ER_OBJECT_CLASS(ERCpoleBezier3DR);
    ER_STORED_CLASS(ERCpoleBezier3DR);

public:
    ERCpoleBezier3DR() = default;
    explicit ERCpoleBezier3DR(const ERVec<ERPole3DH>& poles) : BezierCurve(poles) {}
    ERCpoleBezier3DR(const ERVec<ERPole3DH>& poles, const ERLimites& natural)
        : BezierCurve(poles, natural) {}
    ERCpoleBezier3DR(const ERVec<ERPole3DH>& poles, const ERLimites& natural, const ERLimites& trim)
        : BezierCurve(poles, natural, trim) {}

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(polesOf(self)); }
    static const ERVec<ERPole3DH>& polesOf(const ERCpoleBezier3DR& c) { return c.poles(); }
    static ERVec<ERPole3DH>& polesOf(ERCpoleBezier3DR& c) { return c.polesToChange(); }
};

extern template class BezierCurve<detail::Bezier2D>;
extern template class BezierCurve<detail::Bezier2DR>;
extern template class BezierCurve<detail::Bezier3D>;
extern template class BezierCurve<detail::Bezier3DR>;

}  // namespace kerf
