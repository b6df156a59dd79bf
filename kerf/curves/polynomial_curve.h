#pragma once
#include "kerf/core/value_vector.h"
#include "kerf/curves/carried_points.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/pole_curve.h"
#include "kerf/platform/config.h"
#include "kerf/values/polynomial.h"

// Curves whose coordinates are polynomials of the parameter, and chains of them.
namespace kerf {

class ERCpoleBezier2D;
class ERCpoleBezier2DR;
class ERCpoleBezier3D;
class ERCpoleBezier3DR;

/// The polynomials of a patch: x, y, in space z, then the weight of a rational one. What they give
/// is weighted. The mix-in of patches; no entity.
/// Storage: the polynomials as ERTValVector.
class KERF_EXPORT ERPatchCPoly {
public:
    virtual ~ERPatchCPoly() = default;

    const ERTValVector<ERPolynome>& polynomials() const { return polynomials_; }

    /// The value of each polynomial at u; and its first two derivatives.
    virtual ERVec<double> calculate(double u) const;
    virtual void calculate(double u, ERVec<double>& values, ERVec<double>& first,
                           ERVec<double>& second) const;
    /// Multiplies every polynomial, the weight too; a curve overrides this to be scaled itself.
    virtual void scale(double factor);
    /// Makes each polynomial p(inner(u)). No domain is changed along.
    virtual void apply(const ERPolynome& inner);

    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);
    virtual ERULong binaryStoreSize() const;

protected:
    ERPatchCPoly() = default;
    explicit ERPatchCPoly(const ERTValVector<ERPolynome>& polynomials)
        : polynomials_(polynomials) {}
    ERPatchCPoly(const ERPatchCPoly&) = default;
    ERPatchCPoly& operator=(const ERPatchCPoly&) = default;

    ERTValVector<ERPolynome> polynomials_;
};

/// What both polynomial patches share. The polynomials are in u itself, not in a ratio of the domain:
/// whoever replaces the domain by redefineDomain sees another part of the same curve.
///
/// Parameter:  u in the natural domain; outside, the polynomials go on.
/// Degenerate: without polynomials every point is the origin, the box is reset, the length is 0. A
///             number of polynomials that fits no curve is none. In a domain of length 0 every u is
///             its start, with null derivatives.
/// Threads:    the Bézier form is kept from the first time it is needed until the patch changes: one
///             thread at a time for a patch, reading included.
/// Storage:    the domain, then the polynomials.
template <class Space>
class KERF_EXPORT PolynomialPatch
    : public CarriedByPoints<PolynomialPatch<Space>, typename Space::LimitedCurve, Space>,
      public ERPatchCPoly {
    using Carried = CarriedByPoints<PolynomialPatch, typename Space::LimitedCurve, Space>;

public:
    using Point = typename Space::Point;
    using Curve = typename Space::Curve;
    using Bezier = typename Space::PoleCurve;

    using Curve::approxime;

    int isRational() const { return polynomials_.entries() > Space::dimension; }
    unsigned int degree() const;  ///< the highest one; 0 without polynomials

    Point operator()(double u) const override;
    typename Space::InfoPoint PtCur(double u) const override;
    /// The Bézier curve over the same domain, rational when the patch is: a new one, of as many poles
    /// as the highest degree and one more.
    t_SmartPtr<Bezier> castToCpole() const;
    // As the Bézier form has them.
    typename Space::Box getBox() const override;
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    int ProjectPoint(const Point& p, ERVec<double>& parameters, double tol) const override;
    typename Space::Nurbs ConvertToNurbs() const override;
    /// The same polynomials over the parts of the domain before and after u. Returns 1, or 0 with
    /// both as they were for u outside the domain.
    int splitAt(t_SmartPtr<Curve>& left, t_SmartPtr<Curve>& right, double u) const override;
    /// Over the same domain.
    void reverse() override;
    /// The same points over another domain. One of length 0 leaves the first point alone.
    void reparametrize(const ERLimites& domain) override;
    void redefineDomain(const ERLimites& domain) override;
    /// About the origin; the weight stays.
    void scale(double factor) override { Carried::scale(factor); }
    void apply(const ERPolynome& inner) override;
    void printOn(std::ostream& os) const override;

protected:
    PolynomialPatch() = default;
    PolynomialPatch(const ERTValVector<ERPolynome>& polynomials, const ERLimites& natural);
    explicit PolynomialPatch(const ERVec<Point>& poles);
    explicit PolynomialPatch(const ERVec<typename Space::Pole>& poles);
    /// Over the trim interval of the curve.
    explicit PolynomialPatch(const Bezier& curve);
    PolynomialPatch(const PolynomialPatch&) = default;
    PolynomialPatch& operator=(const PolynomialPatch&) = default;

    void restored();
    void prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                       double tol) const override;

private:
    friend Carried;
    template <class Edit>
    void changePoints(Edit edit) {
        ERVec<typename Space::Pole> poles = coefficients();
        edit(poles);
        setCoefficients(poles);
    }
    template <class Edit>
    void change(Edit edit);
    /// The coefficients of each power of u as a pole, which moves as the curve does; none without
    /// polynomials.
    ERVec<typename Space::Pole> coefficients() const;
    void setCoefficients(const ERVec<typename Space::Pole>& poles);
    void dropUnfit();
    const Bezier& bezier() const;

    mutable Cached<t_SmartPtr<Bezier>> bezier_;
};

/// A polynomial or rational curve of the plane.
class KERF_EXPORT ERPatchCPoly2D : public PolynomialPatch<Space2D> {
    ER_OBJECT_CLASS(ERPatchCPoly2D);
    ER_STORED_CLASS(ERPatchCPoly2D);

public:
    ERPatchCPoly2D() = default;  ///< no polynomial, on [0, 1]
    /// From Bézier poles, on [0, 1].
    explicit ERPatchCPoly2D(const ERVec<ERPoint2D>& poles) : PolynomialPatch(poles) {}
    explicit ERPatchCPoly2D(const ERVec<ERPole2DH>& poles) : PolynomialPatch(poles) {}
    explicit ERPatchCPoly2D(const ERCpoleBezier2D& curve);
    explicit ERPatchCPoly2D(const ERCpoleBezier2DR& curve);
    /// Two polynomials, or three with the weight.
    ERPatchCPoly2D(const ERTValVector<ERPolynome>& polynomials, const ERLimites& natural)
        : PolynomialPatch(polynomials, natural) {}

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
};

/// A polynomial or rational curve of space.
class KERF_EXPORT ERPatchCPoly3D : public PolynomialPatch<Space3D> {
    ER_OBJECT_CLASS(ERPatchCPoly3D);
    ER_STORED_CLASS(ERPatchCPoly3D);

public:
    ERPatchCPoly3D() = default;
    explicit ERPatchCPoly3D(const ERVec<ERPoint3D>& poles) : PolynomialPatch(poles) {}
    explicit ERPatchCPoly3D(const ERVec<ERPole3DH>& poles) : PolynomialPatch(poles) {}
    explicit ERPatchCPoly3D(const ERCpoleBezier3D& curve);
    explicit ERPatchCPoly3D(const ERCpoleBezier3DR& curve);
    /// Three polynomials, or four with the weight.
    ERPatchCPoly3D(const ERTValVector<ERPolynome>& polynomials, const ERLimites& natural)
        : PolynomialPatch(polynomials, natural) {}

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
};

/// A chain of polynomial patches in the plane.
class KERF_EXPORT ERCrvCompPoly2D : public Chain<detail::PolynomialChain2D> {
    ER_OBJECT_CLASS(ERCrvCompPoly2D);
    ER_STORED_CLASS(ERCrvCompPoly2D);

public:
    ERCrvCompPoly2D() = default;  ///< no patch, on [0, 1]
    explicit ERCrvCompPoly2D(const ERPatchCPoly2D& patch) { append(patch, 0.0); }

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(self.patches_); }
};

/// A chain of polynomial patches in space.
class KERF_EXPORT ERCrvCompPoly3D : public Chain<detail::PolynomialChain3D> {
    ER_OBJECT_CLASS(ERCrvCompPoly3D);
    ER_STORED_CLASS(ERCrvCompPoly3D);

public:
    ERCrvCompPoly3D() = default;
    explicit ERCrvCompPoly3D(const ERPatchCPoly3D& patch) { append(patch, 0.0); }

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(self.patches_); }
};

/// Appends the parameters in the limits, ends included, of the feet of p on the curve of these
/// polynomials, a last one being the weight: where the vector from p to the curve is perpendicular
/// to the tangent. Tolerances as FootPolynomial has them.
/// Returns: the number of feet; -1, with nothing appended, when every point of the curve is one.
KERF_EXPORT int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polynomials,
                                       ERLimites limits, const ERPoint2D& p,
                                       ERVec<double>& parameters);
KERF_EXPORT int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polynomials,
                                       ERLimites limits, const ERPoint3D& p,
                                       ERVec<double>& parameters);

extern template class PolynomialPatch<Space2D>;
extern template class PolynomialPatch<Space3D>;
extern template class Chain<detail::PolynomialChain2D>;
extern template class Chain<detail::PolynomialChain3D>;

}  // namespace kerf
