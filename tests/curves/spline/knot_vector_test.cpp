#include "kerf/curves/spline/knot_vector.h"  // first, so that it proves it needs nothing before it

#include <gmock/gmock.h>

#include <limits>
#include <sstream>

#include "kerf/core/file.h"
#include "tests/curves/spline/spline_checks.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::Random;
using test::TemporaryFile;
using ::testing::DoubleEq;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Pointwise;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr unsigned int none = 0xFFFFFFFF;

std::vector<double> all(const ERVec<double>& values) {
    return {values.data(), values.data() + values.length()};
}
std::vector<double> all(const ERKnotVector& knots) { return all(knots.getVec()); }

ERKnotVector knotsOf(const std::vector<double>& values) {
    return ERKnotVector(values.data(), static_cast<unsigned int>(values.size()));
}
ERKnotVector knotsOf(unsigned int degree, const std::vector<double>& values) {
    return ERKnotVector(degree, values.data(), static_cast<unsigned int>(values.size()));
}

// Piegl and Tiller, The NURBS Book, pp. 68-72, as in orbingol/NURBS-Python, tests/test_helpers.py.
const std::vector<double> bookKnots = {0, 0, 0, 1, 2, 3, 4, 4, 5, 5, 5};

TEST(KnotVector, TakesTheDegreeFromTheFirstKnotUnlessGiven) {
    EXPECT_EQ(knotsOf(bookKnots).degree(), 2u);
    EXPECT_EQ(ERKnotVector().degree(), none);
    EXPECT_EQ(knotsOf({}).degree(), none);
    EXPECT_EQ(knotsOf({0, 0, 0, 1, 1}).isUnclamped(), 0);  // the end has no effect
    EXPECT_EQ(knotsOf(2, {0, 0, 0, 1, 1}).isUnclamped(), 1);
    EXPECT_EQ(knotsOf(2, bookKnots).isUnclamped(), 0);
    EXPECT_EQ(knotsOf(2, {0, 0, 0, 0, 1, 1, 1}).isUnclamped(), 1);
    // Limits go by position, even where the domain ends before.
    EXPECT_EQ(knotsOf(2, bookKnots).limites(), ERLimites(0, 5));
    EXPECT_EQ(knotsOf(2, {0, 1, 2, 3, 4, 5, 6}).limites(), ERLimites(2, 5));
    EXPECT_EQ(knotsOf(2, bookKnots).getSpanLimites(2), ERLimites(2, 3));
    EXPECT_EQ(knotsOf(2, bookKnots).nbSpans(), 6u);  // one of them empty
}

// Published: NURBS-Python, tests/test_utils.py (uniform); truck, knot_vec.rs (Bézier).
TEST(KnotVector, IsMadeForBezierAndForUniformSpans) {
    EXPECT_THAT(all(UniformeKnotVector(4, 12, ERLimites(0, 1))),
                Pointwise(DoubleEq(), {0., 0., 0., 0., 0., .125, .25, .375, .5, .625, .75, .875, 1.,
                                       1., 1., 1., 1.}));
    EXPECT_THAT(all(BezierKnotVector(3, ERLimites(0, 1))), ElementsAre(0, 0, 0, 0, 1, 1, 1, 1));
    EXPECT_THAT(all(ERKnotVector(3, 2, ERLimites(0, 1))), ElementsAre(0, 0, 1, 1, 1, 1));
    EXPECT_EQ(BezierKnotVector(none, ERLimites(0, 1)).length(), 0u);
}

TEST(KnotVector, IsEdited) {
    ERKnotVector knots = knotsOf(2, {0, 0, 0, 1, 1, 1});
    // Published: truck, knot_vec.rs.
    knots.concat(knotsOf(2, {1, 1, 1, 2, 2, 2}));
    EXPECT_THAT(all(knots), ElementsAre(0, 0, 0, 1, 1, 1, 2, 2, 2));
    knots.removeAt(3);
    knots.insertAt(6, 1.5, 2);
    EXPECT_THAT(all(knots), ElementsAre(0, 0, 0, 1, 1, 2, 1.5, 1.5, 2, 2));

    const ERKnotVector book = knotsOf(2, bookKnots);
    EXPECT_THAT(all(book.subVector(4, 100)), ElementsAre(2, 3, 4, 4, 5, 5, 5));
    EXPECT_EQ(book.subVector(4, 7).isUnclamped(), 1);
    EXPECT_EQ(book.subVector(100, 7).length(), 0u);
    EXPECT_THAT(all(book.GetPrautzsch(1)), ElementsAre(0, 0, 0, 0, 1, 2, 2, 3, 4, 4, 4, 5, 5, 5, 5))
        << "positions 1, 4, 7 and 10";
    EXPECT_EQ(book.GetPrautzsch(1).degree(), 3u);

    ERKnotVector raised = book;
    raised.incDegree(2);
    EXPECT_EQ(raised.degree(), 4u);
    EXPECT_THAT(all(raised),
                ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 5));
}

// Published: verb, testEval.js; NURBS-Python, test_utils.py.
TEST(KnotVector, IsMirroredAndScaled) {
    ERKnotVector knots = knotsOf({0, 1, 3, 5});
    knots.reverse();
    EXPECT_THAT(all(knots), Pointwise(DoubleEq(), {0., 2., 4., 5.}));
    knots = knotsOf({-5, -5, -3, -2, 2, 3, 5, 5});
    knots.reparametrize(ERLimites(0, 1));
    EXPECT_THAT(all(knots), Pointwise(DoubleNear(1e-15), {0., 0., 0.2, 0.3, 0.7, 0.8, 1., 1.}));
    knots = knotsOf({3, 3, 3});
    knots.reverse();
    knots.reparametrize(ERLimites(1, 2));
    EXPECT_THAT(all(knots), ElementsAre(1, 1, 1));
}

// Published: verb, testEval.js; ANurbs, TestNurbs.py.
TEST(KnotVector, FindsSpans) {
    const ERKnotVector book = knotsOf(2, bookKnots);
    const std::pair<double, unsigned int> published[] = {{2.5, 4}, {1, 3}, {1.5, 3}, {4.9, 7},
                                                         {10, 7},  {5, 7}, {0, 2},   {-1, 2}};
    for (const auto& [u, span] : published) EXPECT_EQ(book.FindSpan(u), span) << u;
    const ERKnotVector cubic = knotsOf(3, {0, 0, 0, 0, 1, 2, 2, 3, 3, 3, 3});
    EXPECT_EQ(cubic.FindSpan(2), 6u);
    // With the end knots standing more often than the degree asks for.
    const ERKnotVector crowded = knotsOf(1, {0, 0, 0, 0, 1, 2, 2, 2, 2});
    EXPECT_EQ(crowded.FindSpan(0), 3u);
    EXPECT_EQ(crowded.FindSpan(2), 4u);
    EXPECT_EQ(book.quicklyFind(3), 5u);
    EXPECT_EQ(book.getVec()[book.quicklyFind(4)], 4.0);
    EXPECT_EQ(book.quicklyFind(3.5), none);
}

TEST(KnotVector, EndsItsSearchesOnAnyKnots) {
    EXPECT_EQ(knotsOf(2, bookKnots).FindSpan(nan), 2u);
    EXPECT_EQ(knotsOf(2, bookKnots).quicklyFind(nan), none);
    EXPECT_EQ(knotsOf(1, {2, 2, 2, 2, 2}).FindSpan(2), 1u);
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> values = {0, 1, 2, 3, -1, nan, inf, -inf};
    Random random(7);
    for (int round = 0; round < 3000; ++round) {
        const unsigned int length = test::drawnBelow(12, random);
        std::vector<double> hostile;
        while (hostile.size() < length) hostile.push_back(values[random() % values.size()]);
        ERKnotVector knots =
            round % 2 == 0 ? knotsOf(hostile) : knotsOf(test::drawnBelow(9, random), hostile);
        ERKnot knot(knots);
        for (double u : values) {
            const unsigned int span = knots.FindSpan(u);
            const ERVec<double> functions = knots.BasisFuns(span, u);
            const ERMatrix<double> table = knots.DersBasisFuns(span, u, 3);
            EXPECT_EQ(functions.length(), table.cols());
            knots.quicklyFind(u);
            knot.reach(u);
        }
        knot.reset();
        while (++knot != 0) {
        }
        ERVec<double> params;
        knots.GetDiscontinuities(1, params);
        knots.IsContinuous(0);
        knots.IsContinuous(-20);
        knots.getSpanLimites(-5);
        EXPECT_LE(knots.nbSpans(), length + 1);
        knots.AssertValid();
        std::ostringstream text;
        text << knots.GetPrautzsch(1);
        knots.concat(knots);
        knots.incDegree(1);
        knots.reparametrize(ERLimites(0, 1));
        knots.reverse();
    }
}

// Oracle: the recursive definition in long double.
TEST(BasisFunctions, FollowTheirDefinitionWithAllDerivatives) {
    Random random(11);
    for (unsigned int degree = 0; degree <= 6; ++degree)
        for (int round = 0; round < 6; ++round) {
            const auto spline = test::randomSpline<ERPoint2D>(degree, random, round % 3 != 0);
            const std::vector<double> knots = all(spline.knots);
            const double u = test::drawn(random, spline.start(), spline.end());
            const unsigned int span = spline.knots.FindSpan(u);
            const ERVec<double> values = spline.knots.BasisFuns(span, u);
            const ERMatrix<double> table = spline.knots.DersBasisFuns(span, u, degree + 1);
            for (unsigned int k = 0; k <= degree + 1; ++k)
                for (unsigned int i = 0; i <= degree; ++i) {
                    const double expected = static_cast<double>(
                        test::basis(knots, span - degree + i, degree, span, u, k));
                    const double tolerance = 1e-13 * std::max(1.0, std::fabs(expected)) *
                                             std::pow(20.0, k);  // a division by a span an order
                    EXPECT_NEAR(table(k, i), expected, tolerance) << degree << " " << k;
                    EXPECT_NEAR(values[i], table(0, i), 1e-15);
                }
        }
}

// Oracle: they sum up to 1, and their slopes to 0, also past the degrees whose work fits the stack.
TEST(BasisFunctions, OfHighDegreeSumUpToOne) {
    for (unsigned int degree : {24u, 25u, 49u, 50u, 120u}) {
        const ERKnotVector knots = UniformeKnotVector(degree, degree + 20, ERLimites(0, 1));
        const unsigned int span = knots.FindSpan(0.37);
        double sum = 0, slopes = 0;
        const ERMatrix<double> table = knots.DersBasisFuns(span, 0.37, 1);
        for (double value : all(knots.BasisFuns(span, 0.37))) sum += value;
        for (unsigned int i = 0; i <= degree; ++i) slopes += table(1, i);
        EXPECT_NEAR(sum, 1.0, 1e-13);
        EXPECT_NEAR(slopes, 0.0, 1e-9);
    }
}

TEST(Knots, AreWalkedRunByRun) {
    // Published: verb, testEval.js.
    const ERKnotVector knots = knotsOf({0, 0, 0, 0, 1, 1, 2, 2, 2, 3, 3.3});
    ERKnot knot(knots);
    std::vector<double> values, multiplicities, indices;
    do {
        values.push_back(knot);
        multiplicities.push_back(knot.multiplicity());
        indices.push_back(knot.index());
    } while (++knot != 0);
    EXPECT_THAT(values, ElementsAre(0, 1, 2, 3, 3.3));
    EXPECT_THAT(multiplicities, ElementsAre(4, 2, 3, 1, 1));
    EXPECT_THAT(indices, ElementsAre(0, 4, 6, 9, 10));
    EXPECT_TRUE(knot.overflow());
    EXPECT_FALSE(knot.underflow());
    EXPECT_EQ(--knot, 1);
    EXPECT_FALSE(knot.overflow());
    knot.reset();
    EXPECT_EQ(--knot, 0);
    EXPECT_TRUE(knot.underflow());
}

TEST(Knots, AreReachedAtOrBelowAParameter) {
    const ERKnotVector knots = knotsOf(2, bookKnots), empty;
    ERKnot knot(knots, 4);
    EXPECT_FALSE(knot.error());
    EXPECT_EQ(knot.index(), 6u);
    EXPECT_EQ(knot.multiplicity(), 2u);
    EXPECT_EQ(knot.reach(3.5), 0);
    EXPECT_EQ(knot.value(), 3.0);
    EXPECT_EQ(knot.reach(0), 1);
    EXPECT_EQ(knot.reach(-1), 0);
    EXPECT_TRUE(knot.isFirst());
    knot = 77;
    EXPECT_TRUE(knot.error());
    EXPECT_EQ(knot.value(), 5.0);
    EXPECT_TRUE(ERKnot(knots, nan).error());
    ERKnot nothing(empty, 1);
    EXPECT_TRUE(nothing.error());
    EXPECT_EQ(nothing.multiplicity(), 0u);
    EXPECT_EQ(++nothing, 0);
}

TEST(Knots, MakeTheContinuityWithBothEnds) {
    const ERKnotVector clamped = knotsOf(2, bookKnots);
    EXPECT_EQ(clamped.IsContinuous(0), 0);
    EXPECT_EQ(clamped.IsContinuous(-1), 1);
    EXPECT_EQ(knotsOf(2, {0, 1, 2, 3, 4, 5}).IsContinuous(1), 1);
    EXPECT_EQ(knotsOf(2, {0, 1, 2, 2, 4, 5}).IsContinuous(1), 0);
    ERVec<double> params(1, -7.0);
    EXPECT_EQ(clamped.GetDiscontinuities(1, params), 1);
    EXPECT_THAT(all(params), ElementsAre(-7, 0, 4, 5));
}

TEST(KnotVector, IsStoredWithDegreeAndFlag) {
    const TemporaryFile place;
    ERFile file(place.path(), CFile::modeCreate | CFile::modeReadWrite);
    const ERKnotVector knots = knotsOf(2, {0, 0.5, 1, 1, 2});
    file << knots;
    EXPECT_EQ(place.bytes().size(), knots.binaryStoreSize());
    EXPECT_EQ(place.bytes().substr(44), std::string("\2\0\0\0\1\0\0\0", 8));
    file.SeekTo(0);
    ERKnotVector restored;
    file >> restored;
    EXPECT_EQ(restored.getVec(), knots.getVec());
    EXPECT_EQ(restored.degree(), 2u);
    EXPECT_EQ(restored.isUnclamped(), 1);
    EXPECT_FALSE(restored.fits(3));
    EXPECT_TRUE(knotsOf(1, all(knots)).fits(3));
    file.SeekTo(40);
    file >> restored;  // the end of the knots taken for a length: nothing fits
    EXPECT_FALSE(restored.fits(3));
    EXPECT_FALSE(knotsOf(1, {0, 1, 0.5, 3}).fits(2));
    EXPECT_FALSE(knotsOf(1, {0, 1, nan, 3}).fits(2));
    EXPECT_FALSE(knotsOf(1, {0, 1, 2, std::numeric_limits<double>::infinity()}).fits(2));
}

TEST(KnotVector, PrintsItsKnotsAndTheirRuns) {
    std::ostringstream text;
    text << knotsOf(1, {0, 0, 1.5, 2, 2}) << knotsOf(2, {0, 0});
    EXPECT_EQ(text.str(),
              "KnotVector degree 1  ( Regular )\n(5)[0,0,1.5,2,2]\n"
              " index  =0 Mult   =2 Valeur = 0\n index  =2 Mult   =1 Valeur = 1.5\n"
              " index  =3 Mult   =2 Valeur = 2\n"
              "KnotVector degree 2  (**UNCLAMPLED**)\n(2)[0,0]\n"
              " index  =0 Mult   =2 Valeur = 0\n");
}

}  // namespace
}  // namespace kerf
