#include "kerf/curves/composite_curve.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/ellipse.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"
#include "kerf/persistence/object_database.h"
#include "kerf/values/info_point.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/value_checks.h"

// Curves chained from others.
namespace kerf::test {
namespace {

using Patch = t_SmartPtr<ERFiniteEntity2DWF>;

ERCpoleBezier2D line(const ERPoint2D& from, const ERPoint2D& to,
                     const ERLimites& domain = ERLimites(0, 1)) {
    return ERCpoleBezier2D(vectorOf({from, to}), domain);
}
ERCpoleBezier2D bend(const ERPoint2D& from, const ERPoint2D& to) {
    return ERCpoleBezier2D(vectorOf({from, {from.x(), to.y()}, to}));
}
// A quarter of a circle from (r, 0) to (0, r), on a domain of its own.
ERCpoleBezier2DR quarter(double r) {
    const double w = std::sqrt(0.5);
    const ERPole2DH poles[] = {{r, 0, 1}, {r * w, r * w, w}, {0, r, 1}};
    return ERCpoleBezier2DR(ERVec<ERPole2DH>(poles, 3), ERLimites(5, 6));
}

// Three unit lines along x, the second on a domain of its own.
ERCompCurve2D threeLines() {
    ERCompCurve2D chain(line({0, 0}, {1, 0}));
    EXPECT_EQ(chain.append(line({1, 0}, {2, 0}, ERLimites(10, 14)), 1e-9), 1);
    EXPECT_EQ(chain.append(line({2, 0}, {3, 0}, ERLimites(-2, 5)), 1e-9), 1);
    return chain;
}

ERCompCurve2D outline() {
    ERCompCurve2D chain(bend({4, 0}, {3, 0}));
    EXPECT_EQ(chain.append(quarter(3), 1e-9), 1);
    ERCpoleNURBS2D spline = bend({0, 3}, {-2, 5}).ConvertToNurbs();
    spline.reparametrize(ERLimites(-1, 1));
    EXPECT_EQ(chain.append(spline, 1e-9), 1);
    return chain;
}
ERCompCurve2D nested() {
    ERCompCurve2D chain;
    EXPECT_EQ(chain.append(outline(), 1e-9), 1);
    EXPECT_EQ(chain.append(line({-2, 5}, {-6, 5}), 1e-9), 1);
    chain.reparametrize(ERLimites(-1, 5));
    return chain;
}
ERCompCurve2D straight() {
    ERCompCurve2D segments(ERSegment2D({0, 0}, {2, 1}));
    EXPECT_EQ(segments.append(ERSegment2D({2, 0}, {2, 1}), 1e-9), 1);
    ERCompCurve2D chain;
    EXPECT_EQ(chain.append(segments, 1e-9), 1);
    EXPECT_EQ(chain.append(ERPolyline2D(vectorOf({{4, 1}, {3, 4}, {2, 0}})), 1e-9), 1);
    return chain;
}
// Over the top, down and back below: both arcs are clockwise.
ERCompCurve2D arcs() {
    ERCompCurve2D chain(ERArc2D({0, 0}, 2, pi, 0));
    EXPECT_EQ(chain.append(ERSegment2D({2, -3}, {2, 0}), 1e-9), 1);
    EXPECT_EQ(chain.append(ERArcEllipse2D(2, 1, 0, {0, -3}, 0, -2), 1e-9), 1);
    return chain;
}
ERCompCurve3D inSpace(const ERCompCurve2D& chain) {
    const t_SmartPtr<EREntity3DWF> image =
        chain.get3DEquiv(ERRotation3D(ERVector3D(1, 2, -0.5), 1.1));
    return *ERCompCurve3D::castdown(image.getObject());
}

constexpr unsigned int exceptions = BoxIsLoose | SplitKeepsNoParameters | LengthErrorsAddUp;

std::vector<PlaneCurveSample> planeCurves() {
    return {sampleOf<Space2D>("Outline", outline(), exceptions),
            sampleOf<Space2D>("Straight", straight(), exceptions),
            sampleOf<Space2D>("OneQuarter", ERCompCurve2D(quarter(2)), exceptions)};
}
std::vector<SpaceCurveSample> spaceCurves() {
    return {sampleOf<Space3D>("Arcs", inSpace(arcs()), exceptions | SecondDerivativeDiffers),
            sampleOf<Space3D>("Nested", inSpace(nested()), exceptions)};
}

INSTANTIATE_TEST_SUITE_P(Composites, PlaneCurveContract, ::testing::ValuesIn(planeCurves()),
                         nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(Composites, SpaceCurveContract, ::testing::ValuesIn(spaceCurves()),
                         nameOfSample<SpaceCurveSample>);

// Growing.

TEST(CompositeCurve, PatchThatEndsHereGoesInAsAReversedCopy) {
    ERCompCurve2D chain(line({0, 0}, {1, 0}));
    const ERCpoleBezier2D given = line({2, 1}, {1, 0});
    EXPECT_EQ(chain.append(given, 1e-9), 1);
    EXPECT_EQ(chain.lastPt(), ERPoint2D(2, 1));
    EXPECT_EQ(given.firstPt(), ERPoint2D(2, 1));

    const Patch shared(new ERCpoleBezier2D(line({5, 5}, {0, 0})));
    EXPECT_EQ(chain.prepend(shared, 1e-9), 1);
    EXPECT_EQ(chain.at(0), shared);
    const Patch turned(new ERCpoleBezier2D(line({5, 5}, {7, 5})));
    EXPECT_EQ(chain.prepend(turned, 1e-9), 1);
    EXPECT_NE(chain.at(0).getObject(), turned.getObject());
    EXPECT_EQ(turned->firstPt(), ERPoint2D(5, 5));
    EXPECT_EQ(chain.firstPt(), ERPoint2D(7, 5));
    EXPECT_EQ(chain.getBound(), ERLimites(0, 4));
}

TEST(CompositeCurve, GapsAreRefusedUnlessTheToleranceIsZero) {
    ERCompCurve2D chain(line({0, 0}, {1, 0}));
    chain.setBound(ERLimites(0.2, 0.7));
    const ERCpoleBezier2D near = line({1.5, 0}, {2, 0}), far = line({90, 0}, {91, 0});
    EXPECT_EQ(chain.append(near, 0.4), 0);
    EXPECT_EQ(chain.prepend(near, 0.4), 0);
    EXPECT_EQ(chain.append(line({nan, 0}, {2, nan}), 0.4), 0);
    EXPECT_EQ(chain.append(Patch(), 0.0), 0);
    EXPECT_EQ(chain.getBound(), ERLimites(0.2, 0.7));
    // The tolerance is a distance, bound included; a former trim is gone.
    EXPECT_EQ(chain.append(near, 0.5), 1);
    EXPECT_EQ(chain.getBound(), ERLimites(0, 2));
    EXPECT_EQ(chain.append(far, 0.0), 1);
    EXPECT_EQ(chain.prepend(far, 0.0), 1);
    EXPECT_EQ(chain.entries(), 4u);
    EXPECT_EQ(chain.firstPt(), ERPoint2D(90, 0));
}

TEST(CompositeCurve, NeverHoldsAPatchTwiceNorItself) {
    const t_SmartPtr<ERCompCurve2D> inner(new ERCompCurve2D(line({0, 0}, {1, 0})));
    const t_SmartPtr<ERCompCurve2D> outer(new ERCompCurve2D);
    EXPECT_EQ(outer->append(inner, 0.0), 1);
    EXPECT_EQ(outer->append(inner, 0.0), 1);
    EXPECT_EQ(outer->at(0).getObject(), inner.getObject());
    EXPECT_NE(outer->at(1).getObject(), inner.getObject());
    EXPECT_EQ(outer->append(outer, 0.0), 1);
    EXPECT_EQ(inner->append(outer, 0.0), 1);
    EXPECT_EQ(inner->entries(), 2u);
    EXPECT_NEAR(outer->arcLength(1e-3), 8.0, 1e-12);
}

TEST(CompositeCurve, CopiesCopyThePatches) {
    ERCompCurve2D chain = threeLines(), other(chain), assigned;
    assigned = chain;
    chain.at(1)->translate(ERPoint2D(0, 5));
    EXPECT_EQ(chain(1.0), ERPoint2D(1, 5));
    EXPECT_EQ(other(1.0), ERPoint2D(1, 0));
    EXPECT_EQ(assigned(1.0), ERPoint2D(1, 0));
}

// The parameter.

struct Opened : ERCompCurve2D {
    explicit Opened(const ERCompCurve2D& chain) : ERCompCurve2D(chain) {}
    using ERCompCurve2D::findPatch;
    using ERCompCurve2D::matchParamToPatch;
};

TEST(CompositeCurve, EachPatchTakesOneUnitOfTheDomain) {
    Opened chain(threeLines());
    for (const double u : {-0.5, 0.0, 0.25, 1.0, 1.75, 2.0, 2.5, 3.0, 3.5})
        expectNear(chain(u), ERPoint2D(u, 0), 1e-14);

    chain.reparametrize(ERLimites(10, 16));
    expectNear(chain(12.5), ERPoint2D(1.25, 0), 1e-14);
    expectNear(chain.PtCur(12.5).tangente(), ERVector2D(0.5, 0), 1e-14);
    const std::tuple<double, int, double> places[] = {
        {9, 0, -0.5}, {12, 1, 0.0}, {13, 1, 0.5}, {16, 2, 1.0}, {17, 2, 1.5}};
    for (const auto& [u, patch, parameter] : places) {
        EXPECT_EQ(chain.findPatch(u), chain.at(patch)) << u;
        EXPECT_EQ(chain.matchParamToPatch(u), parameter) << u;
    }

    // The last number before the end never falls behind the last patch.
    for (const double end : {0.3, 1.0, 7.0, 1e15}) {
        chain.reparametrize(ERLimites(0, end));
        expectNear(chain(std::nextafter(end, 0.0)), ERPoint2D(3, 0), 1e-12);
    }
    chain.reparametrize(ERLimites(4, 4));
    EXPECT_EQ(chain(9.0), ERPoint2D(0, 0));
    EXPECT_EQ(chain.PtCur(9.0).tangente(), ERVector2D(0, 0));
}

TEST(CompositeCurve, EmptyOneIsHarmless) {
    Opened none{ERCompCurve2D()};
    EXPECT_EQ(none.PtCur(0.5).point(), none(0.5));
    EXPECT_EQ(none.getBox().invalid(), 1);
    EXPECT_EQ(none.arcLength(1e-3), 0.0);
    EXPECT_EQ(none.approxime(ERLimites(0, 1), 1e-3).length(), 0u);
    EXPECT_EQ(none.ConvertToNurbs().nbPoles(), 0u);
    EXPECT_TRUE(!none.findPatch(0.5));
    ERVec<double> found(2, 7.0);
    EXPECT_EQ(none.ProjectPoint(ERPoint2D(), found, 1.0), 0);
    EXPECT_EQ(found.length(), 0u);
    Patch left, right;
    EXPECT_EQ(none.splitAt(left, right, 0.0), 0);
    none.reverse();
    none.redefineDomain(ERLimites(0.2, 0.3));
}

// Splitting and cutting.

TEST(CompositeCurve, SplitsAtAnIndexCutNoPatch) {
    ERCompCurve2D chain = threeLines();
    chain.reparametrize(ERLimites(0, 30));
    Patch left, right;
    const auto entries = [](const Patch& part) {
        return ERCompCurve2D::castdown(part.getObject())->entries();
    };
    for (const double u : {-0.1, 31.0, nan, infinity})
        EXPECT_EQ(chain.splitAt(left, right, u), 0) << u;
    const std::tuple<double, unsigned int, unsigned int> cuts[] = {
        {0, 0, 3},         {10, 1, 2}, {10 + 1e-11, 1, 2}, {10 - 1e-11, 1, 2},
        {10 + 1e-9, 2, 2}, {30, 3, 0}, {15, 2, 2}};
    for (const auto& [u, before, after] : cuts) {
        ASSERT_EQ(chain.splitAt(left, right, u), 1);
        EXPECT_EQ(entries(left), before) << u;
        EXPECT_EQ(entries(right), after) << u;
    }
    expectNear(left->lastPt(), ERPoint2D(1.5, 0), 1e-14);
    left->translate(ERPoint2D(0, 9));
    EXPECT_EQ(chain(5.0), ERPoint2D(0.5, 0));
}

// Oracle: the points of the chain before it was cut, where the cut one has the same patches.
TEST(CompositeCurve, AdjustCutsAndDropsPatches) {
    for (const ERLimites& kept : {ERLimites(0.4, 1.3), ERLimites(1.2, 1.9), ERLimites(1.0, 2.0),
                                  ERLimites(0.5, 3.0), ERLimites(-1.0, 2.5)}) {
        SCOPED_TRACE(kept);
        ERCompCurve2D cut = outline();
        const Patch middle = cut.at(1);
        cut.setBound(kept);
        const double first = std::max(kept.start(), 0.0), last = std::min(kept.end(), 3.0);
        const ERPoint2D start = cut(first), end = cut(last);
        const double length = cut.arcLength(ERLimites(first, last), 1e-6);
        cut.adjust();
        EXPECT_EQ(cut.getBound(), ERLimites(0, std::ceil(last) - std::floor(first)));
        EXPECT_EQ(cut.isTrimmed(), 0);
        expectNear(cut.firstPt(), start, 1e-12);
        expectNear(cut.lastPt(), end, 1e-12);
        EXPECT_NEAR(cut.arcLength(1e-6), length, 1e-4);
        EXPECT_NEAR(middle->arcLength(1e-6), 1.5 * pi, 1e-4);
    }
    ERCompCurve2D outside = outline();
    outside.redefineDomain(ERLimites(7, 8));
    EXPECT_EQ(outside.entries(), 3u);
    ERCompCurve2D inner = nested();
    inner.redefineDomain(ERLimites(-0.75, 1.0));
    expectNear(inner.firstPt(), nested()(-0.75), 1e-12);
    expectNear(inner.lastPt(), outline()(2.0), 1e-12);
}

// Arcs keep their angles, segments spread what is left over their domain, polylines the edge that was
// cut.
TEST(CompositeCurve, AdjustCutsBothEndsOfOnePatch) {
    ERCompCurve2D chain = straight();
    chain.prepend(ERArc2D({1, 3}, 3, 2, -1), 0.0);
    chain.reparametrize(ERLimites(-1, 2));
    for (const ERLimites& kept : {ERLimites(-0.8, -0.3), ERLimites(0.1, 0.4), ERLimites(1.1, 1.2),
                                  ERLimites(1.1, 1.9), ERLimites(1.4, 1.6), ERLimites(1.5, 1.5)}) {
        SCOPED_TRACE(kept);
        ERCompCurve2D cut = chain;
        cut.redefineDomain(kept);
        EXPECT_EQ(cut.getBound(), ERLimites(0, 1));
        expectNear(cut.firstPt(), chain(kept.start()), 1e-12);
        expectNear(cut.lastPt(), chain(kept.end()), 1e-12);
        EXPECT_NEAR(cut.arcLength(1e-6), chain.arcLength(kept, 1e-6), 1e-12);
    }
}

// Queries.

TEST(CompositeCurve, LengthOfLimitsCountsTheirPartAndOfTheWholeAllPatches) {
    ERCompCurve2D chain = threeLines();
    chain.setBound(ERLimites(0.5, 1.0));
    EXPECT_NEAR(chain.arcLength(ERLimites(0.25, 2.5), 1e-3), 2.25, 1e-12);
    EXPECT_NEAR(chain.arcLength(ERLimites(2.5, 0.25), 1e-3), 2.25, 1e-12);
    EXPECT_NEAR(chain.arcLength(ERLimites(-4, 0.5), 1e-3), 0.5, 1e-12);
    EXPECT_EQ(chain.arcLength(ERLimites(7, 9), 1e-3), 0.0);
    EXPECT_EQ(chain.arcLength(ERLimites(nan, nan), 1e-3), 0.0);
    EXPECT_NEAR(chain.arcLength(1e-3), 3.0, 1e-12);
}

TEST(CompositeCurve, ApproximationHoldsSharedPointsOnceAndBothEndsOfAGap) {
    ERCompCurve2D chain = threeLines();
    chain.append(line({9, 0}, {9, 1}), 0.0);
    const auto along = [&](double from, double to) {
        return chain.approxime(ERLimites(from, to), 1e-3);
    };
    EXPECT_EQ(along(0, 3), vectorOf({{0, 0}, {1, 0}, {2, 0}, {3, 0}}));
    EXPECT_EQ(along(1, 2), vectorOf({{1, 0}, {2, 0}}));
    EXPECT_EQ(along(0.5, 1.5), vectorOf({{0.5, 0}, {1, 0}, {1.5, 0}}));
    EXPECT_EQ(along(2, 4), vectorOf({{2, 0}, {3, 0}, {9, 0}, {9, 1}}));
    EXPECT_EQ(along(5, 6).length(), 0u);
    EXPECT_EQ(along(nan, 2).length(), 0u);
}

// Oracle: no sample of the curve is nearer than the nearest foot or end.
TEST(CompositeCurve, FeetAreParametersOfTheChain) {
    const ERCompCurve2D chain = nested();
    ERVec<double> found;
    for (const ERPoint2D& p : {ERPoint2D(2, 1), ERPoint2D(-1, 4.5), ERPoint2D(-4, 6)}) {
        ASSERT_GT(chain.ProjectPoint(p, found, 10.0), 0);
        double nearest = std::min(distance(chain.firstPt(), p), distance(chain.lastPt(), p));
        for (unsigned int i = 0; i < found.length(); ++i) {
            const ERInfoPoint2D foot = chain.PtCur(found[i]);
            EXPECT_NEAR(ERVector2D(p, foot.point()) * foot.tangente(), 0.0, 1e-6);
            nearest = std::min(nearest, distance(foot.point(), p));
        }
        for (int i = 0; i <= 3000; ++i)
            EXPECT_GE(distance(chain(-1 + 6 * i / 3000.0), p), nearest - 1e-9);
    }
    EXPECT_EQ(chain.ProjectPoint(ERPoint2D(50, 50), found, 1.0), 0);
    EXPECT_EQ(found.length(), 0u);

    // The same box as that of the point, which counts as out of reach, and a larger one.
    ERCompCurve2D corner(line({0, 0}, {2, 0}));
    corner.append(line({2, 0}, {2, 2}), 1e-9);
    EXPECT_EQ(corner.ProjectPoint(ERPoint2D(1, 1), found, 1.0), 0);
    EXPECT_EQ(corner.ProjectPoint(ERPoint2D(1, 1), found, 1.25), 2);
}

TEST(CompositeCurve, PatchThatIsEquallyNearEverywhereGivesItsMiddle) {
    ERVec<double> found;
    ERCompCurve2D chain(quarter(2));
    EXPECT_EQ(chain.ProjectPoint(ERPoint2D(0, 0), found, 5.0), -1);
    EXPECT_EQ(found, ERVec<double>(1, 0.5));
    chain.append(quarter(3), 0.0);
    EXPECT_EQ(chain.ProjectPoint(ERPoint2D(0, 0), found, 5.0), 2);
    EXPECT_EQ(found[1], 1.5);
}

TEST(CompositeCurve, PrintsEachPatchWithItsEndsAndItsGap) {
    ERCompCurve2D chain(line({0, 0}, {1, 0}));
    chain.append(line({1, 2}, {3, 4}), 0.0);
    const std::string rule = "=====================================================\n";
    const std::string header = "Curve     : ---------------- \n";
    const auto ends = [](const ERPoint2D& first, const ERPoint2D& last) {
        return printed(line(first, last)) + "\nStart Point : " + printed(first) +
               "\nEnd Point   : " + printed(last);
    };
    EXPECT_EQ(printed(chain), rule + "ERCompCurve2D with 2 elements\n" + rule + header +
                                  ends({0, 0}, {1, 0}) + "\n" + header + ends({1, 2}, {3, 4}) +
                                  " Dist = 2\nEnd Curve : ---------------- \n");
}

// In the database.

class StoredComposite : public ::testing::Test {
protected:
    StoredComposite() { EXPECT_EQ(base_.Open(place_.path(), 0), 1); }
    void reopen() {
        base_.Close();
        ASSERT_EQ(base_.Open(place_.path(), 0), 1);
    }
    t_SmartPtr<ERCompCurve2D> retrieved(ERLong id) {
        return ERCompCurve2D::castdown(base_.RetrieveAndCreate(id).getObject());
    }

    TemporaryFile place_;
    ERObjectDataBase base_;
};

TEST_F(StoredComposite, PatchesAreRecordsOfTheirOwn) {
    const t_SmartPtr<ERCompCurve2D> chain(new ERCompCurve2D(nested()));
    chain->setBound(ERLimites(-0.5, 4.0));
    ASSERT_EQ(chain->Save(&base_), 1);
    EXPECT_EQ(base_.getNbObj(), 1u + 2u + 3u);
    reopen();
    const t_SmartPtr<ERCompCurve2D> back = retrieved(chain->getObjectID());
    ASSERT_TRUE(back.getObject() != nullptr);
    EXPECT_EQ(back->getBound(), chain->getBound());
    EXPECT_EQ(printed(*back), printed(*chain));

    const t_SmartPtr<ERFiniteEntity2DWF> last = back->at(1);
    last->translate(ERPoint2D(1, 1));
    back->setDirty();
    ASSERT_EQ(back->Save(nullptr), 1);
    EXPECT_EQ(base_.getNbObj(), 6u);
    EXPECT_EQ(retrieved(chain->getObjectID())->lastPt(), back->lastPt());
}

TEST_F(StoredComposite, LostPatchesAreLeftOut) {
    const t_SmartPtr<ERCompCurve2D> chain(new ERCompCurve2D(threeLines()));
    ASSERT_EQ(chain->Save(&base_), 1);
    ASSERT_EQ(base_.Delete(chain->at(1)->getObjectID()), 1);
    const t_SmartPtr<ERCompCurve2D> back = retrieved(chain->getObjectID());
    ASSERT_EQ(back->entries(), 2u);
    EXPECT_EQ(back->lastPt(), ERPoint2D(3, 0));
}

// Two records that hold each other: the object that plays the second is filled from its record, and
// given the first one as a patch.
TEST_F(StoredComposite, RecordsThatHoldEachOtherAreSurvived) {
    const t_SmartPtr<ERCompCurve2D> outer(new ERCompCurve2D(line({0, 0}, {1, 0})));
    const t_SmartPtr<ERCompCurve2D> inner(new ERCompCurve2D(line({1, 0}, {2, 0})));
    ASSERT_EQ(outer->append(inner, 0.0), 1);
    ASSERT_EQ(outer->Save(&base_), 1);
    const t_SmartPtr<ERCompCurve2D> second(new ERCompCurve2D);
    ASSERT_EQ(base_.Retrieve(inner->getObjectID(), *second), 1);
    ASSERT_EQ(second->append(retrieved(outer->getObjectID()), 0.0), 1);
    ASSERT_EQ(second->Save(nullptr), 1);
    reopen();
    for (const ERLong id : {outer->getObjectID(), inner->getObjectID()}) {
        const t_SmartPtr<ERCompCurve2D> back = retrieved(id);
        ASSERT_TRUE(back.getObject() != nullptr);
        EXPECT_NEAR(back->arcLength(1e-3), 2.0, 1e-12);
        EXPECT_FALSE(printed(*back).empty());
    }
}

// On [0, n] a foot is the patch's index and the ratio in it, to the last bit.
TEST(CompositeCurve, FeetAreNotRounded) {
    const ERCpoleBezier2D first = line({0, 0}, {1, 0});
    ERVec<double> expected, found;
    ASSERT_EQ(first.ProjectPoint(ERPoint2D(0.1, 1), expected, 2.0), 1);
    ASSERT_EQ(threeLines().ProjectPoint(ERPoint2D(0.1, 1), found, 2.0), 1);
    EXPECT_EQ(found[0], expected[0]);
}

}  // namespace
}  // namespace kerf::test
