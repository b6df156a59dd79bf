#pragma once
#include <memory>
#include <optional>
#include <vector>

#include "kerf/core/internal/cached.h"
#include "kerf/core/value_vector.h"
#include "kerf/curves/bounded_curve.h"
#include "kerf/curves/spline/foot_polynomial.h"
#include "kerf/curves/spline/knot_vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"
#include "kerf/values/polynomial.h"

// Curves given by poles: what Bézier and NURBS curves share.
namespace kerf {

/// A trimmed curve whose data are poles. The poles define it on the natural domain; what is seen is
/// the trim interval.
///
/// Spans:      the pieces that are one polynomial each, or one quotient of polynomials. Bézier curves
///             have one; of a NURBS curve some may be empty.
/// Degenerate: without poles every point is the origin, the box is reset, length and degree are 0.
///             A trim interval or a natural domain of length 0 is legal.
/// Threads:    boxes and polynomials are kept from the first time they are asked for until the
///             curve changes: one thread at a time for a curve, reading included.
/// Storage:    the domains, then the poles (and knots); nothing of what is kept.
template <class Space>
class KERF_EXPORT PoleCurve : public Space::TrimmedCurve {
public:
    using Point = typename Space::Point;
    using Box = typename Space::Box;
    using Self = typename Space::PoleCurve;

    using Space::Curve::operator();
    using Space::Curve::approxime;
    using Space::Curve::splitAt;

    virtual Point operator[](int i) const = 0;  ///< the Cartesian pole i
    virtual ERKnotVector knotVector() const = 0;
    virtual unsigned int degree() const = 0;
    virtual unsigned int nbPoles() const = 0;
    virtual int isBezier() const = 0;
    virtual int isRational() const = 0;
    virtual void incrDegree(unsigned int k) = 0;  ///< raises the degree by k; the curve stays
    /// Lowers the degree by one. Returns 1 when the curve stayed, 0 when it could not: it has
    /// changed all the same.
    virtual int decrDegree() = 0;
    /// The polynomials of a span in t, 0 to 1 over the span: one for each coordinate, weighted, and
    /// then the weight of a rational curve.
    virtual ERTValVector<ERPolynome> getSpanPower(int span) const = 0;
    /// How far the inner poles lie from the line through the first and the last; where these
    /// coincide, the longest side of the polygon. 0 for two poles.
    virtual double cordalHeight() const = 0;
    /// Two new curves of this class, owned by the caller: the parts before and after u, cut, with
    /// their parameters kept. At an end one of them is a point. Returns 1, or 0 with both pointers
    /// as they were for u outside the trim interval.
    virtual int splitAt(Self*& left, Self*& right, double u) const = 0;
    /// splitAt in the middle of the trim interval.
    virtual int split(Self*& left, Self*& right) const;

    virtual unsigned int nbSpans() const { return 1; }

    static double cordalHeight(const ERVec<Point>& poles);

    int splitAt(t_SmartPtr<typename Space::Curve>& left, t_SmartPtr<typename Space::Curve>& right,
                double u) const override;
    /// The box of the poles; of a trimmed curve that of the poles of the cut one. It holds the
    /// curve where no weight is negative.
    Box getBox() const override;
    /// One point for one pole, two for a straight curve of two poles.
    ERVec<Point> approxime(int n) const override;
    /// By halving: the mean of chord and polygon where they differ by tol or less.
    /// Tolerance: half of it goes to each half. Below 1e-8, and after 60 halvings, the mean is taken
    ///            at once.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// The length of the polygon of the Cartesian poles, hidden parts included.
    double upperEstimate() const override;
    /// Appends the parameters of the feet of p; a point that lies farther than tol from the boxes of
    /// curve and span has none. -1 when every point is one.
    int ProjectPoint(const Point& p, ERVec<double>& parameters, double tol) const override;
    ERLimites setBound(const ERLimites& trim) override;
    void reparametrize(const ERLimites& domain) override;
    void printOn(std::ostream& os) const override;

protected:
    using Space::TrimmedCurve::TrimmedCurve;
    PoleCurve() = default;
    PoleCurve(const PoleCurve&) = default;
    PoleCurve& operator=(const PoleCurve&) = default;

    using SpanPolynomials = ERTValVector<ERPolynome>;

    /// Null when the polynomials of that span are not kept.
    const SpanPolynomials* getCachedSpan(unsigned int span) const;
    /// Keeps the polynomials, which the curve owns from then on.
    void insertSpanInCache(unsigned int span, SpanPolynomials* polynomials) const;
    /// Drops all that is kept; called before every change.
    virtual void ResetCachedInfo();

    /// Drops what is kept, makes the change and marks the object: the one gate of every change.
    template <class Edit>
    void change(Edit edit) {
        ResetCachedInfo();
        edit();
        this->setDirty();
    }

    void seedSpan(typename Space::PointList& list, const ERLimites& limits) const;
    void prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                       double tol) const override;

    /// The parameters of a span, empty where it has no length, and the box of its poles.
    virtual ERLimites spanLimites(unsigned int span) const = 0;
    virtual Box spanBox(unsigned int span) const = 0;
    /// Writes the degree + 1 Bézier poles of a span with a length, with their weights.
    virtual void spanPoles(unsigned int span, typename Space::Pole* poles) const = 0;
    /// Whether the poles are those of just that interval.
    virtual bool isCutTo(const ERLimites& limits) const = 0;
    /// The length of such a curve.
    virtual double lengthOfPoles(double tol) const = 0;

    /// Appends the parameters at which the coordinate `axis` is `value`; -1 (all ones) when it is
    /// that everywhere.
    unsigned int crossings(unsigned int axis, double value, ERVec<double>& parameters) const;

    /// How a parameter found twice, at the end of a span and the start of the next, is known.
    bool sameAsLast(const ERVec<double>& parameters, unsigned int first, double u) const;

private:
    struct SpanReach {
        Box box;
        std::optional<BezierFootPolynomial> feet;
    };
    struct Kept {
        std::vector<std::unique_ptr<SpanPolynomials>> spans;
        std::vector<SpanReach> reaches;
        std::optional<Box> box;
    };
    const BezierFootPolynomial& feetOf(SpanReach& reach, unsigned int span) const;

    mutable Cached<Kept> kept_;
};

/// A curve of poles in the plane.
class KERF_EXPORT ERCpoleRep2D : public PoleCurve<Space2D> {
    ER_OBJECT_CLASS(ERCpoleRep2D);
    ER_STORED_FIELDS(ERCpoleRep2D);

public:
    unsigned int intersectWithAxeY(double x, ERVec<double>& parameters) const override;

protected:
    using PoleCurve::PoleCurve;
    ERCpoleRep2D() = default;
    ERCpoleRep2D(const ERCpoleRep2D&) = default;
    ERCpoleRep2D& operator=(const ERCpoleRep2D&) = default;
};

/// A curve of poles in space.
class KERF_EXPORT ERCpoleRep3D : public PoleCurve<Space3D> {
    ER_OBJECT_CLASS(ERCpoleRep3D);
    ER_STORED_FIELDS(ERCpoleRep3D);

public:
    unsigned int intersectWithPlanZ(double z, ERVec<double>& parameters) const override;

protected:
    using PoleCurve::PoleCurve;
    ERCpoleRep3D() = default;
    ERCpoleRep3D(const ERCpoleRep3D&) = default;
    ERCpoleRep3D& operator=(const ERCpoleRep3D&) = default;
};

extern template class PoleCurve<Space2D>;
extern template class PoleCurve<Space3D>;

}  // namespace kerf
