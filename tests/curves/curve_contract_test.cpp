#include "tests/curves/curve_contract.h"

#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/object_checks.h"

namespace kerf::test {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PlaneCurveContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SpaceCurveContract);

namespace {

template <class Space>
class Contract {
public:
    using Curve = typename Space::Curve;
    using Point = typename Space::Point;
    using Vector = typename Space::Vector;
    using Held = t_SmartPtr<Curve>;

    explicit Contract(const CurveSample<Space>& sample)
        : curve_(sample.make()), exceptions_(sample.exceptions), size_(1.0) {
        for (int i = 0; i <= 16; ++i) {
            const Point p = at(i / 16.0);
            for (const double c : Space::coordinates(p)) size_ = std::max(size_, std::fabs(c));
        }
    }

    void ends() const {
        EXPECT_EQ(curve_->firstPt(), (*curve_)(curve_->udeb()));
        EXPECT_EQ(curve_->lastPt(), (*curve_)(curve_->ufin()));
        const ERLimites bound = curve_->getBound();
        EXPECT_EQ(bound.start(), std::min(curve_->udeb(), curve_->ufin()));
        EXPECT_EQ(bound.end(), std::max(curve_->udeb(), curve_->ufin()));
        const ERVec<Point> sampled = curve_->approxime(2);
        ASSERT_EQ(sampled.length(), 2u);
        near(sampled[0], curve_->firstPt(), 1e-12);
        near(sampled[1], curve_->lastPt(), 1e-12);
    }

    // Oracle: central differences, whose error is of the step squared.
    void derivatives() const {
        const double extent = std::fabs(curve_->ufin() - curve_->udeb()), step = 1e-4 * extent;
        for (const double s : {0.13, 0.37, 0.61, 0.87}) {
            SCOPED_TRACE(s);
            const double u = parameter(s);
            const auto info = curve_->PtCur(u);
            EXPECT_EQ(info.parameter(), u);
            near(info.point(), (*curve_)(u), 1e-12);
            if (exceptions_ & (DerivativesJump | FirstDerivativeDiffers)) continue;
            const Vector before((*curve_)(u - step), (*curve_)(u));
            const Vector after((*curve_)(u), (*curve_)(u + step));
            nearVector(info.tangente(), (before + after) * (0.5 / step), 1e-5 * size_ / extent);
            if (exceptions_ & SecondDerivativeDiffers) continue;
            nearVector(info.secondDerivative(), (after - before) * (1.0 / (step * step)),
                       1e-4 * size_ / (extent * extent));
        }
    }

    void reversed() const {
        if (exceptions_ & ReversingDoesNothing) return;
        const Held other = copy();
        other->reverse();
        for (int i = 0; i <= 8; ++i) near(at(*other, i / 8.0), at(1.0 - i / 8.0), 1e-11);
        other->reverse();
        for (int i = 0; i <= 8; ++i) near(at(*other, i / 8.0), at(i / 8.0), 1e-11);
    }

    void split() const {
        for (const double s : {0.21, 0.5, 0.83}) {
            SCOPED_TRACE(s);
            const double u = parameter(s);
            Held left, right;
            ASSERT_EQ(curve_->splitAt(left, right, u), 1);
            near(left->firstPt(), at(0.0), 1e-11);
            near(left->lastPt(), (*curve_)(u), 1e-11);
            near(right->firstPt(), (*curve_)(u), 1e-11);
            near(right->lastPt(), at(1.0), 1e-11);
            EXPECT_NEAR(left->arcLength(lengthTol) + right->arcLength(lengthTol),
                        curve_->arcLength(lengthTol), 2.0 * lengthTol);
            if (exceptions_ & SplitKeepsNoParameters) continue;
            near((*left)(parameter(0.5 * s)), at(0.5 * s), 1e-11);
            near((*right)(parameter(0.5 + 0.5 * s)), at(0.5 + 0.5 * s), 1e-11);
        }
    }

    void box() const {
        const auto box = curve_->getBox();
        typename Space::Box sampled;
        for (int i = 0; i <= 400; ++i) sampled.Update(at(i / 400.0));
        const double out = (exceptions_ & BoxIsOfPoints ? 1e-3 : 1e-12) * size_;
        for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
            EXPECT_LE(box.lower(axis), sampled.lower(axis) + out);
            EXPECT_GE(box.upper(axis), sampled.upper(axis) - out);
            if (exceptions_ & BoxIsLoose) continue;
            EXPECT_NEAR(box.lower(axis), sampled.lower(axis), 1e-3 * size_);
            EXPECT_NEAR(box.upper(axis), sampled.upper(axis), 1e-3 * size_);
        }
    }

    // Oracle: the sum of many chords, which is short of the length by the square of their number.
    void length() const {
        const double chords = chordLength(0.0, 1.0);
        const double tol = exceptions_ & LengthErrorsAddUp ? 4.0 * lengthTol : lengthTol;
        EXPECT_NEAR(curve_->arcLength(lengthTol), chords, tol + 1e-5 * chords);
        EXPECT_GE(curve_->upperEstimate(), chords - 1e-6 * size_);
        if (exceptions_ & LengthIsParts) return;
        const double a = parameter(0.25), b = parameter(0.75);
        const ERLimites part(std::min(a, b), std::max(a, b));
        EXPECT_NEAR(curve_->arcLength(part, lengthTol), chordLength(0.25, 0.75),
                    tol + 1e-5 * chords);
    }

    void approximation() const {
        const double tol = 1e-3 * size_;
        const ERVec<Point> points = curve_->approxime(curve_->getBound(), tol);
        ASSERT_GE(points.length(), 2u);
        near(points[0], at(0.0), 1e-12);
        near(points[points.length() - 1], at(1.0), 1e-12);
        if (exceptions_ & ApproximationIsCoarse) return;
        // The deviation is tested at the middle parameter alone, so a little more is allowed.
        for (int i = 0; i <= 300; ++i) EXPECT_LE(distanceTo(points, at(i / 300.0)), 2.0 * tol);
    }

    void unusualArguments() const {
        const unsigned int none = exceptions_ & CountIsIgnored ? 2 : 0;
        EXPECT_EQ(curve_->approxime(0).length(), none);
        EXPECT_EQ(curve_->approxime(-3).length(), none);
        curve_->approxime(1);
        for (const double u : {nan, infinity, -infinity, 1e300, -1e300, 1e10, -7.5}) {
            curve_->PtCur(u);
            (*curve_)(u);
            Held left, right;
            curve_->splitAt(left, right, u);
            ERVec<double> parameters;
            Point p;
            p *= u;
            curve_->ProjectPoint(p, parameters, 1.0);
            curve_->arcLength(ERLimites(0.0, 0.0), u);
        }
        ERVec<double> jumps(3, 7.0);
        EXPECT_EQ(curve_->GetDiscontinuities(0, jumps), 1);
    }

    template <class Transformation>
    void carried(const std::vector<Transformation>& transformations) const {
        for (std::size_t i = 0; i < transformations.size(); ++i) {
            SCOPED_TRACE(i);
            const Transformation& t = transformations[i];
            const Held from = copy(), to = copy();
            from->transformFrom(t);
            to->transformTo(t);
            for (int k = 0; k <= 8; ++k) {
                SCOPED_TRACE(k);
                near(at(*from, k / 8.0), t >> at(k / 8.0), 1e-10);
                near(at(*to, k / 8.0), t << at(k / 8.0), 1e-10);
            }
        }
    }

    void scaledAndTranslated(const Point& by) const {
        for (const double factor : {2.5, 0.5, -1.5}) {
            SCOPED_TRACE(factor);
            const Held other = copy();
            other->scale(factor);
            for (int k = 0; k <= 8; ++k) near(at(*other, k / 8.0), at(k / 8.0) * factor, 1e-11);
        }
        const Held other = copy();
        other->translate(by);
        for (int k = 0; k <= 8; ++k) near(at(*other, k / 8.0), at(k / 8.0) + by, 1e-11);
    }

    // Oracle: a copy, which starts with nothing kept.
    void cachesDropped(const Point& by) const {
        const Held changed = copy();
        ERVec<double> feet, fresh;
        changed->getBox();
        changed->ProjectPoint(at(0.5), feet, 1.0);
        changed->translate(by);
        const Held other(Curve::castdown(changed->getCopy()));
        EXPECT_EQ(changed->getBox(), other->getBox());
        const Point p = at(0.5) + by;
        feet.clear();
        EXPECT_EQ(changed->ProjectPoint(p, feet, 1.0), other->ProjectPoint(p, fresh, 1.0));
        EXPECT_EQ(feet, fresh);
        EXPECT_EQ(changed->isDirty(), 1);
    }

    void stored() const {
        if (exceptions_ & NotStored) GTEST_SKIP();
        const CurrentDatabase forPatches;
        const std::string bytes = recordOf(*curve_);
        EXPECT_EQ(bytes.size(), curve_->binaryStoreSize());
        ASSERT_NE(ERClassRegistration::findCreator(curve_->className()), nullptr);
        const Held restored = restoredFrom(bytes);
        for (int i = 0; i <= 10; ++i) EXPECT_EQ(at(*restored, i / 10.0), at(i / 10.0));
        EXPECT_EQ(restored->getBox(), curve_->getBox());
        EXPECT_EQ(recordOf(*restored), bytes);
        EXPECT_EQ(text(*restored), text(*curve_));
    }

    // Cut short anywhere, or with any byte turned over, a record restores to something that can be
    // used.
    void damaged() const {
        if (exceptions_ & NotStored) GTEST_SKIP();
        const CurrentDatabase forPatches;
        forDamaged(recordOf(*curve_), [&](const std::string& broken) {
            const Held restored = restoredFrom(broken);
            restored->PtCur(0.5);
            restored->getBox();
            ERVec<double> parameters;
            restored->ProjectPoint(Point(), parameters, 1.0);
            text(*restored);
        });
    }

    void copied() const {
        const Held other = copy();
        EXPECT_STREQ(other->className(), curve_->className());
        EXPECT_EQ(text(*other), text(*curve_));
        EXPECT_EQ(other->getObjectID(), -1);
        const Point before = at(0.25);
        other->scale(3.0);
        EXPECT_EQ(at(0.25), before);
        near(at(*other, 0.25), before * 3.0, 1e-11);
    }

    // The same points, whatever the parameter: every sample of one lies on the other.
    void nurbs() const {
        if (exceptions_ & NoNurbs) GTEST_SKIP();
        const auto nurbs = curve_->ConvertToNurbs();
        near(nurbs.firstPt(), at(0.0), 1e-12);
        near(nurbs.lastPt(), at(1.0), 1e-12);
        ERVec<Point> dense(2001), denseNurbs(2001);
        const ERLimites bound = nurbs.getBound();
        double longest = 0.0;
        for (unsigned int i = 0; i <= 2000; ++i) {
            dense[i] = at(i / 2000.0);
            denseNurbs[i] = nurbs(bound(i / 2000.0));
            if (i > 0) longest = std::max(longest, distance(dense[i], dense[i - 1]));
        }
        for (unsigned int i = 0; i <= 2000; i += 37) {
            EXPECT_LE(distanceTo(dense, denseNurbs[i]), longest * longest + 1e-11 * size_);
            EXPECT_LE(distanceTo(denseNurbs, dense[i]), 4.0 * longest * longest + 1e-11 * size_);
        }
    }

    Held copy() const { return Held(Curve::castdown(curve_->getCopy())); }
    Point at(double s) const { return at(*curve_, s); }
    const Curve& curve() const { return *curve_; }
    unsigned int exceptions() const { return exceptions_; }

    void near(const Point& a, const Point& b, double relative) const {
        EXPECT_LE(distance(a, b), relative * size_) << a << " " << b;
    }

private:
    // Curves of poles stop halving at 1e-8, so a finer tolerance gives a coarser length.
    static constexpr double lengthTol = 1e-3;

    static Point at(const Curve& curve, double s) { return curve(parameter(curve, s)); }
    static double parameter(const Curve& curve, double s) {
        if (s == 1.0) return curve.ufin();
        return curve.udeb() + s * (curve.ufin() - curve.udeb());
    }
    double parameter(double s) const { return parameter(*curve_, s); }

    // What was kept before is to be dropped.
    Held restoredFrom(const std::string& bytes) const {
        Held curve(Curve::castdown(ERClassRegistration::findCreator(curve_->className())()));
        curve->getBox();
        restoreFrom(bytes, *curve);
        return curve;
    }

    static void nearVector(const Vector& a, const Vector& b, double tol) {
        EXPECT_LE((a - b).norme(), tol) << a << " " << b;
    }

    double chordLength(double from, double to) const {
        double sum = 0.0;
        Point before = at(from);
        for (int i = 1; i <= 5000; ++i) {
            const Point here = at(from + (to - from) * i / 5000);
            sum += distance(before, here);
            before = here;
        }
        return sum;
    }

    static double distanceTo(const ERVec<Point>& polygon, const Point& p) {
        double nearest = std::numeric_limits<double>::max();
        for (unsigned int i = 0; i + 1 < polygon.length(); ++i) {
            const Point a = polygon[i];
            const Vector chord(a, polygon[i + 1]);
            const double t = chord.norme2() == 0.0 ? 0.0 : (Vector(a, p) * chord) / chord.norme2();
            nearest = std::min(nearest, distance(p, a + chord * std::min(1.0, std::max(0.0, t))));
        }
        return nearest;
    }

    static std::string text(const Curve& curve) {
        const std::string all = printed(curve);
        EXPECT_FALSE(all.empty());
        return all;
    }

    Held curve_;
    unsigned int exceptions_;
    double size_;
};

std::vector<ERTransfo2D> planeTransformations() {
    return {ERTransfo2D(ERVector2D(3, -2)),
            ERTransfo2D::rotation(0.7),
            ERTransfo2D(ERVector2D(1, 2), ERPoint2D(5, 1)) * ERTransfo2D::Scaling(1.75),
            ERTransfo2D(Coord2D::CoordX),
            ERTransfo2D(Coord2D::CoordY) * ERTransfo2D::rotation(2.2),
            ERTransfo2D::Symmetry(ERVector2D(2, 1)) * ERTransfo2D(0.5, ERPoint2D(1, 1))};
}

using OnPlane = Contract<Space2D>;
using OnSpace = Contract<Space3D>;

}  // namespace

TEST_P(PlaneCurveContract, EndsAreThoseOfTheDomain) { OnPlane(GetParam()).ends(); }
TEST_P(SpaceCurveContract, EndsAreThoseOfTheDomain) { OnSpace(GetParam()).ends(); }

TEST_P(PlaneCurveContract, DerivativesAreThoseOfDifferences) { OnPlane(GetParam()).derivatives(); }
TEST_P(SpaceCurveContract, DerivativesAreThoseOfDifferences) { OnSpace(GetParam()).derivatives(); }

TEST_P(PlaneCurveContract, ReversingRunsBackwards) { OnPlane(GetParam()).reversed(); }
TEST_P(SpaceCurveContract, ReversingRunsBackwards) { OnSpace(GetParam()).reversed(); }

TEST_P(PlaneCurveContract, PartsOfASplitMakeTheWhole) { OnPlane(GetParam()).split(); }
TEST_P(SpaceCurveContract, PartsOfASplitMakeTheWhole) { OnSpace(GetParam()).split(); }

TEST_P(PlaneCurveContract, BoxHoldsTheCurve) { OnPlane(GetParam()).box(); }
TEST_P(SpaceCurveContract, BoxHoldsTheCurve) { OnSpace(GetParam()).box(); }

TEST_P(PlaneCurveContract, LengthIsThatOfManyChords) { OnPlane(GetParam()).length(); }
TEST_P(SpaceCurveContract, LengthIsThatOfManyChords) { OnSpace(GetParam()).length(); }

TEST_P(PlaneCurveContract, ApproximationStaysNear) { OnPlane(GetParam()).approximation(); }
TEST_P(SpaceCurveContract, ApproximationStaysNear) { OnSpace(GetParam()).approximation(); }

TEST_P(PlaneCurveContract, UnusualArgumentsAreSurvived) { OnPlane(GetParam()).unusualArguments(); }
TEST_P(SpaceCurveContract, UnusualArgumentsAreSurvived) { OnSpace(GetParam()).unusualArguments(); }

TEST_P(PlaneCurveContract, IsCarriedPointByPoint) {
    OnPlane(GetParam()).carried(planeTransformations());
}
TEST_P(SpaceCurveContract, IsCarriedPointByPointByIsometries) {
    OnSpace(GetParam()).carried(isometries());
}
TEST_P(SpaceCurveContract, IsCarriedPointByPointBySimilitudes) {
    OnSpace(GetParam()).carried(similitudes());
}

TEST_P(PlaneCurveContract, IsScaledAndTranslatedPointByPoint) {
    OnPlane(GetParam()).scaledAndTranslated(ERPoint2D(-3, 7));
}
TEST_P(SpaceCurveContract, IsScaledAndTranslatedPointByPoint) {
    OnSpace(GetParam()).scaledAndTranslated(ERPoint3D(-3, 7, 2));
}

TEST_P(PlaneCurveContract, ChangesReachWhatIsKeptInMemory) {
    OnPlane(GetParam()).cachesDropped(ERPoint2D(1000, 1000));
}
TEST_P(SpaceCurveContract, ChangesReachWhatIsKeptInMemory) {
    OnSpace(GetParam()).cachesDropped(ERPoint3D(1000, 1000, 1000));
}

TEST_P(PlaneCurveContract, IsRestoredToTheLastBit) { OnPlane(GetParam()).stored(); }
TEST_P(SpaceCurveContract, IsRestoredToTheLastBit) { OnSpace(GetParam()).stored(); }

TEST_P(PlaneCurveContract, DamagedRecordsAreSurvived) { OnPlane(GetParam()).damaged(); }
TEST_P(SpaceCurveContract, DamagedRecordsAreSurvived) { OnSpace(GetParam()).damaged(); }

TEST_P(PlaneCurveContract, CopiesAreIndependent) { OnPlane(GetParam()).copied(); }
TEST_P(SpaceCurveContract, CopiesAreIndependent) { OnSpace(GetParam()).copied(); }

TEST_P(PlaneCurveContract, NurbsFormTracesTheSamePoints) { OnPlane(GetParam()).nurbs(); }
TEST_P(SpaceCurveContract, NurbsFormTracesTheSamePoints) { OnSpace(GetParam()).nurbs(); }

// Oracle: the frame's own map of points.
TEST_P(PlaneCurveContract, EquivalentInSpaceLiesInTheFramesPlane) {
    const OnPlane contract(GetParam());
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -1, 2), ERPoint3D(3, 1, 4));
    const t_SmartPtr<EREntity3DWF> equivalent = contract.curve().get3DEquiv(frame);
    ASSERT_TRUE(equivalent.getObject() != nullptr);
    const ERFiniteEntity3DWF* const curve = ERFiniteEntity3DWF::castdown(equivalent.getObject());
    ASSERT_NE(curve, nullptr);
    for (int k = 0; k <= 8; ++k) {
        const double u = curve->udeb() + k / 8.0 * (curve->ufin() - curve->udeb());
        const ERPoint3D expected =
            frame >> contract.at(k / 8.0).castToPoint3D(Coord3D::CoordZ, 0.0);
        EXPECT_LE(distance((*curve)(u), expected), 1e-10);
    }
}

TEST_P(SpaceCurveContract, ProjectionDropsTheHeight) {
    const OnSpace contract(GetParam());
    if (contract.exceptions() & ProjectionIsAnotherKind) GTEST_SKIP();
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(0.3, -0.2, 2), ERPoint3D(3, 1, 4));
    const t_SmartPtr<EREntity2DWF> projected = contract.curve().get2DEntProjectedOn(frame);
    ASSERT_TRUE(projected.getObject() != nullptr);
    const ERFiniteEntity2DWF* const curve = ERFiniteEntity2DWF::castdown(projected.getObject());
    ASSERT_NE(curve, nullptr);
    for (int k = 0; k <= 8; ++k) {
        const double u = curve->udeb() + k / 8.0 * (curve->ufin() - curve->udeb());
        const ERPoint2D expected = (frame << contract.at(k / 8.0)).castToPoint2D(Coord3D::CoordZ);
        EXPECT_LE(distance((*curve)(u), expected), 1e-9);
    }
}

}  // namespace kerf::test
