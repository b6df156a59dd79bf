#pragma once
#include <vector>

#include "kerf/curves/carried_points.h"
#include "kerf/curves/pole_curve.h"
#include "kerf/curves/spline/span_table.h"
#include "kerf/platform/config.h"

// Rational B-spline curves.
namespace kerf {

/// What both NURBS curves share: homogeneous poles, and a knot vector of their number + degree + 1
/// knots.
///
/// Parameter:  u in the trim interval; outside, the first or last polynomial goes on.
/// Degenerate: a curve whose knots and poles do not fit has neither.
/// Threads:    an evaluation may keep what it has worked out about the span: one thread at a time.
/// Storage:    the domains, the poles, the knot vector.
template <class Space>
class KERF_EXPORT NurbsCurve
    : public CarriedByPoints<NurbsCurve<Space>, typename Space::PoleCurve, Space> {
    using Carried = CarriedByPoints<NurbsCurve, typename Space::PoleCurve, Space>;

public:
    using Point = typename Space::Point;
    using Pole = typename Space::Pole;
    using Self = typename Space::PoleCurve;
    using Curve = typename Space::Nurbs;

    using Space::PoleCurve::approxime;
    using Space::PoleCurve::cordalHeight;
    using Space::PoleCurve::split;
    using Space::PoleCurve::splitAt;

    const ERVec<Pole>& poles() const { return poles_; }

    Point CalOnNurbs(double u) const;   ///< the position
    Pole CalOnNurbs_H(double u) const;  ///< the position before the division by its weight

    typename Space::InfoPoint PtCur(double u) const override;
    Point operator()(double u) const override;
    typename Space::Nurbs ConvertToNurbs() const override;
    void reverse() override;
    void reparametrize(const ERLimites& domain) override;
    /// Cuts poles and knots to the trim interval, which becomes the natural domain; beyond the
    /// domain the curve is carried on. A trim that decreases, or is no interval, is left.
    void adjust() override;
    int IsContinuous(int order) const override;
    int GetDiscontinuities(int order, ERVec<double>& parameters) const override;

    Point operator[](int i) const override;
    ERKnotVector knotVector() const override { return knots_; }
    unsigned int degree() const override { return poles_.length() == 0 ? 0 : knots_.degree(); }
    unsigned int nbPoles() const override { return poles_.length(); }
    unsigned int nbSpans() const override;
    int isBezier() const override { return 0; }
    int isRational() const override { return 1; }
    void incrDegree(unsigned int k) override;
    /// Kept: does nothing and returns 1.
    int decrDegree() override;
    ERTValVector<ERPolynome> getSpanPower(int span) const override;
    double cordalHeight() const override;
    int splitAt(Self*& left, Self*& right, double u) const override;
    /// The parts before and after u, cut. Returns 1, or 0 with both as they were.
    int splitAt(Curve& left, Curve& right, double u) const;
    int split(Curve& left, Curve& right) const;
    void printOn(std::ostream& os) const override;

    /// Inserts the knot u that many times; the curve stays. No knot stands more than degree + 1
    /// times.
    void insertKnot(double u, unsigned int times);
    /// Takes the knot u out that many times. The curve moves by what that costs: nothing is tested.
    void reduceKnotMultiplicity(double u, unsigned int times);

    /// Joins a copy of another curve to the end of this one, turned over where its end is the one
    /// that meets. The degrees are raised to the higher one; the domain grows by that of the other.
    /// Tolerance: in each coordinate; a negative one joins whatever the gap, and ends over 1e-9 apart
    ///            then share no pole.
    /// flag:      other than 0: the tangents must agree too, as unit vectors within 1e-11.
    /// Returns 1, or 0 with the curve as it was.
    int append(const Curve& other, double tol, int flag);
    /// The same at the start.
    int prepend(const Curve& other, double tol, int flag);
    /// append, or else prepend.
    int merge(const Curve& other, double tol, int flag);

protected:
    NurbsCurve() = default;
    explicit NurbsCurve(const ERVec<Pole>& poles);
    NurbsCurve(const ERVec<Pole>& poles, const ERKnotVector& knots);
    NurbsCurve(const ERVec<Pole>& poles, const ERKnotVector& knots, const ERLimites& trim);
    NurbsCurve(const ERVec<Pole>& poles, unsigned int degree);
    NurbsCurve(const NurbsCurve&) = default;
    NurbsCurve& operator=(const NurbsCurve&) = default;

    ERLimites spanLimites(unsigned int span) const override;
    typename Space::Box spanBox(unsigned int span) const override;
    void spanPoles(unsigned int span, Pole* poles) const override;
    bool isCutTo(const ERLimites& limits) const override;
    double lengthOfPoles(double tol) const override;
    void prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                       double tol) const override;
    void ResetCachedInfo() override;

    void restored() { this->ResetCachedInfo(); }
    bool knotsFit() const;
    void dropUnfit();

    ERVec<Pole> poles_;
    ERKnotVector knots_;

private:
    friend Carried;
    template <class Edit>
    void changePoints(Edit edit) {
        ResetCachedInfo();
        edit(poles_);
    }

    int attach(const Curve& other, double tol, int flag, bool atEnd);
    static void join(Curve& before, Curve& after, bool sharePole);

    // The spans that are not empty, each with a record: its first parameter and that of the next, one
    // over its length (0 before its poles are made), then its Bézier poles.
    struct KeptSpans {
        static constexpr unsigned int dimension = Space::dimension + 1;
        static constexpr unsigned int headOfRecord = 3;

        spline::SpanTable table;
        std::vector<double> records;
        std::size_t recordLength = 0;
        const double* last = nullptr;  // the record asked for last
    };
    KeptSpans& spans() const;
    // The record for a parameter; null for a curve without spans.
    const double* recordAt(double u) const;
    const double* findRecord(double u) const;

    mutable Cached<KeptSpans> keptSpans_;
};

/// A NURBS curve in the plane.
class KERF_EXPORT ERCpoleNURBS2D : public NurbsCurve<Space2D> {
    ER_OBJECT_CLASS(ERCpoleNURBS2D);
    ER_STORED_CLASS(ERCpoleNURBS2D);

public:
    ERCpoleNURBS2D() = default;  ///< no pole, on [0, 1]
    /// A Bézier curve on [0, 1].
    explicit ERCpoleNURBS2D(const ERVec<ERPole2DH>& poles) : NurbsCurve(poles) {}
    ERCpoleNURBS2D(const ERVec<ERPole2DH>& poles, const ERKnotVector& knots)
        : NurbsCurve(poles, knots) {}
    ERCpoleNURBS2D(const ERVec<ERPole2DH>& poles, const ERKnotVector& knots, const ERLimites& trim)
        : NurbsCurve(poles, knots, trim) {}
    /// Of that degree on [0, 1], with clamped, evenly spaced knots.
    ERCpoleNURBS2D(const ERVec<ERPole2DH>& poles, unsigned int degree)
        : NurbsCurve(poles, degree) {}

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(self.poles_, self.knots_); }
    bool fits() const { return knotsFit(); }
};

/// A NURBS curve in space.
class KERF_EXPORT ERCpoleNURBS3D : public NurbsCurve<Space3D> {
    ER_OBJECT_CLASS(ERCpoleNURBS3D);
    ER_STORED_CLASS(ERCpoleNURBS3D);

public:
    ERCpoleNURBS3D() = default;
    explicit ERCpoleNURBS3D(const ERVec<ERPole3DH>& poles) : NurbsCurve(poles) {}
    ERCpoleNURBS3D(const ERVec<ERPole3DH>& poles, const ERKnotVector& knots)
        : NurbsCurve(poles, knots) {}
    ERCpoleNURBS3D(const ERVec<ERPole3DH>& poles, const ERKnotVector& knots, const ERLimites& trim)
        : NurbsCurve(poles, knots, trim) {}
    ERCpoleNURBS3D(const ERVec<ERPole3DH>& poles, unsigned int degree)
        : NurbsCurve(poles, degree) {}

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;

private:
    static auto fields(auto& self) { return std::tie(self.poles_, self.knots_); }
    bool fits() const { return knotsFit(); }
};

extern template class NurbsCurve<Space2D>;
extern template class NurbsCurve<Space3D>;

}  // namespace kerf
