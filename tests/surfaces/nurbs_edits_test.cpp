#include "kerf/surfaces/nurbs_edits.h"

#include "kerf/curves/spline/knot_insertion.h"
#include "kerf/platform/sinks.h"
#include "tests/support/value_checks.h"
#include "tests/surfaces/pole_samples.h"

namespace kerf::test {
namespace {

constexpr unsigned int seed = 97;
using Grid = ERMatrix<ERPole3DH>;

// An edit of a grid along u is that edit of each of its columns, as a curve; along v of its rows.
template <class AlongU, class AlongV, class OfCurve>
void expectEditsOfCurves(AlongU alongU, AlongV alongV, OfCurve ofCurve) {
    Random random(seed);
    for (unsigned int degree = 0; degree < 6; ++degree) {
        for (const bool clamped : {true, false}) {
            SCOPED_TRACE(testing::Message() << "degree " << degree << " clamped " << clamped);
            const Spline<ERPole3DH> spline = randomSpline<ERPole3DH>(degree, random, clamped);
            const Grid before = randomGrid<ERPole3DH>(spline.poles.length(), 3, random);
            Grid poles = before, turned = before.transposed();
            ERKnotVector knots = spline.knots, knotsV = spline.knots;
            alongU(poles, knots, spline);
            alongV(turned, knotsV, spline);
            for (unsigned int j = 0; j < 3; ++j) {
                ERVec<ERPole3DH> curve(before.col(j));
                ERKnotVector ofLine = spline.knots;
                ofCurve(curve, ofLine, spline);
                EXPECT_LE(maxDifference(ERVec<ERPole3DH>(poles.col(j)), curve), 1e-13);
                EXPECT_EQ(ERVec<ERPole3DH>(turned.row(j)), ERVec<ERPole3DH>(poles.col(j)));
                EXPECT_EQ(knots.getVec(), ofLine.getVec());
                EXPECT_EQ(knotsV.getVec(), ofLine.getVec());
                EXPECT_EQ(knots.isUnclamped(), ofLine.isUnclamped());
            }
        }
    }
}

TEST(NurbsEdits, KnotsAreInsertedAsIntoEachLine) {
    for (const double ratio : {-0.1, 0.0, 0.3, 1.0, 1.1}) {
        for (const unsigned int times : {0u, 1u, 3u, 20u}) {
            const auto at = [=](const auto& spline) {
                return ERLimites(spline.start(), spline.end())(ratio);
            };
            expectEditsOfCurves(
                [&](Grid& p, ERKnotVector& k, const auto& s) { BoehmInU(p, k, at(s), times); },
                [&](Grid& p, ERKnotVector& k, const auto& s) { BoehmInV(p, k, at(s), times); },
                [&](ERVec<ERPole3DH>& p, ERKnotVector& k, const auto& s) {
                    Boehm(p, k, s.degree, at(s), times);
                });
        }
    }
}

TEST(NurbsEdits, DomainsAreCutAndCarriedOnAsThoseOfEachLine) {
    const ERLimites parts[] = {{0.2, 0.6}, {0, 1}, {-1, 0.4}, {0.5, 2}, {0.6, 0.2}, {-0.5, 1.5}};
    for (const ERLimites& ratios : parts) {
        SCOPED_TRACE(testing::Message() << ratios.start() << " " << ratios.end());
        const auto part = [&](const auto& spline) {
            return ERLimites(spline.start(), spline.end())(ratios);
        };
        expectEditsOfCurves(
            [&](Grid& p, ERKnotVector& k, const auto& s) {
                ReduceDomainInU(p, k, part(s).start(), part(s).end());
            },
            [&](Grid& p, ERKnotVector& k, const auto& s) {
                ReduceDomainInV(p, k, part(s).start(), part(s).end());
            },
            [&](ERVec<ERPole3DH>& p, ERKnotVector& k, const auto& s) {
                ReduceDomain(p, k, s.degree, part(s).start(), part(s).end());
            });
        expectEditsOfCurves(
            [&](Grid& p, ERKnotVector& k, const auto& s) {
                IncreaseDomainInU(p, k, part(s).start(), part(s).end());
            },
            [&](Grid& p, ERKnotVector& k, const auto& s) {
                IncreaseDomainInV(p, k, part(s).start(), part(s).end());
            },
            [&](ERVec<ERPole3DH>& p, ERKnotVector& k, const auto& s) {
                IncreaseDomain(p, k, s.degree, part(s).start(), part(s).end());
            });
    }
}

TEST(NurbsEdits, OpenedDataAreClampedAndTheSameSurface) {
    Random random(seed);
    for (unsigned int degree = 1; degree < 5; ++degree) {
        const RandomNurbs data(degree, degree + 1, random, false);
        Grid poles = data.poles;
        ERKnotVector u = data.alongU.knots, v = data.alongV.knots;
        EXPECT_EQ(CreateCompatibleSurfaceData(poles, u, v), 1);
        EXPECT_EQ(u.isUnclamped() + v.isUnclamped(), 0);
        EXPECT_EQ(u[0], data.alongU.start());
        EXPECT_EQ(v.last(), data.alongV.end());
        EXPECT_EQ(poles.rows(), u.length() - degree - 1);
        for (int i = 0; i < 20; ++i) {
            const double x = drawn(random, u[0], u.last()), y = drawn(random, v[0], v.last());
            EXPECT_LE(maxDifference(CalOnNurbs_H(poles, u, v, x, y), data.at(x, y)), 1e-12);
        }
    }
    // Clamped data are left alone, whatever the multiplicity of their inner knots.
    const RandomNurbs clamped(2, 3, random);
    Grid poles = clamped.poles;
    ERKnotVector u = clamped.alongU.knots, v = clamped.alongV.knots;
    EXPECT_EQ(CreateCompatibleSurfaceData(poles, u, v), 1);
    EXPECT_EQ(poles, clamped.poles);
    EXPECT_EQ(u.getVec(), clamped.alongU.knots.getVec());
}

TEST(NurbsEdits, DataThatDoNotFitAreLeftAlone) {
    Random random(seed);
    const Grid poles = randomGrid<ERPole3DH>(4, 5, random);
    const ERKnotVector fitting(3, ERLimites(0, 1));
    const double five[] = {0, 1, 2, 3, 4};
    for (const ERKnotVector& bad : {ERKnotVector(), ERKnotVector(2, five, 5)}) {
        Grid p = poles;
        ERKnotVector k = bad;
        BoehmInU(p, k, 0.5, 2);
        ReduceDomainInU(p, k, 0.2, 0.7);
        IncreaseDomainInV(p, k, -1, 2);
        BoehmInV(p, k, 0.5, 1);
        EXPECT_EQ(p, poles);
        EXPECT_EQ(CalOnNurbs_H(poles, bad, fitting, 0.5, 0.5), ERPole3DH());
    }
    std::string text;
    const DebugTextSink former = setDebugTextSink([&](const char* more) { text += more; });
    Grid p = poles;
    ERKnotVector u(2, five, 5), v = fitting;
    text.clear();
    EXPECT_EQ(CreateCompatibleSurfaceData(p, u, v), 1);
    EXPECT_EQ(text, "Error\n");
    EXPECT_EQ(p, poles);
    setDebugTextSink(former);
    for (const double x : {nan, infinity, -infinity}) {
        ERKnotVector k = fitting;
        p = poles;
        BoehmInU(p, k, x, 2);
        ReduceDomainInU(p, k, x, 0.5);
        IncreaseDomainInU(p, k, x, x);
        EXPECT_TRUE(k.fits(p.rows()));
    }
}

}  // namespace
}  // namespace kerf::test
