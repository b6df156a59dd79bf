#include "kerf/curves/conic_conversion.h"

#include <cmath>

#include "kerf/curves/arc.h"
#include "kerf/curves/ellipse.h"
#include "tests/support/value_checks.h"

// Conics as NURBS curves.
namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, -2, 2), ERPoint3D(0.5, 1, -0.25));

TEST(ConvertedCircle, HasTheStatedPoles) {
    const ERCpoleNURBS2D curve = Convert(ERCircle2D(ERPoint2D(), 1));
    ASSERT_EQ(curve.nbPoles(), 7u);
    EXPECT_EQ(curve.degree(), 2u);
    EXPECT_EQ(curve.getBound(), ERLimites(0, 3));
    expectNear(curve.firstPt(), ERPoint2D(std::cos(pi / 6), 0.5));
    EXPECT_EQ(curve.firstPt(), curve.lastPt());
    EXPECT_EQ(curve.poles()[4], ERPole2DH(0, -1, 1));
    expectNear(curve.poles()[3], ERPole2DH(-std::cos(pi / 6), -0.5, 0.5));
}

// Oracle: the definition of the circle.
TEST(ConvertedCircle, KeepsItsRadius) {
    for (const double r : {1.0, 1e-15, 1e15}) {
        SCOPED_TRACE(r);
        const ERPoint2D centre(2 * r, -r);
        const ERCpoleNURBS2D flat = Convert(ERCircle2D(centre, r));
        const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(), r));
        const ERCpoleNURBS3D inSpace = Convert(circle);
        for (int i = 0; i <= 300; ++i) {
            EXPECT_NEAR(distance(flat(0.01 * i), centre) / r, 1, 3e-15);
            if (r >= 1) {
                EXPECT_NEAR(distance(inSpace(0.01 * i), circle.center()) / r, 1, 3e-15);
            }
        }
    }
}

// Oracle: the angle of each point, which must lie on the circle and follow the sweep.
TEST(ConvertedArc, FollowsTheSweepInTheStatedPieces) {
    const double third = 2 * pi / 3;
    for (const auto& [sweep, pieces] : {std::pair{0.0, 1},
                                        {1e-9, 1},
                                        {third - 1e-9, 1},
                                        {third + 1e-9, 2},
                                        {1.5 * pi, 2},
                                        {1.5 * pi + 1e-9, 4},
                                        {2 * pi, 4},
                                        {2 * pi + 1e-6, 8},
                                        {30.0, 20}}) {
        for (const double sign : {1.0, -1.0}) {
            SCOPED_TRACE(sign * sweep);
            const ERArc2D arc(ERPoint2D(0.5, -0.25), 1.5, 0.3, 0.3 + sign * sweep);
            const ERCpoleNURBS2D curve = Convert(arc);
            const auto n = static_cast<unsigned int>(pieces);
            ASSERT_EQ(curve.nbPoles(), 2 * n + 1);
            EXPECT_EQ(curve.getBound(), ERLimites(0, n));
            expectNear(curve.firstPt(), arc.firstPt(), 1e-15);
            expectNear(curve.lastPt(), arc.lastPt(), 1e-15);
            double before = 0.3, turned = 0;
            for (unsigned int i = 1; i <= 200; ++i) {
                const ERPoint2D p = curve(n * (i / 200.0));
                EXPECT_NEAR(distance(p, arc.center()), 1.5, 1e-14);
                const double angle = std::atan2(p.y() + 0.25, p.x() - 0.5);
                turned += std::remainder(angle - before, 2 * pi);
                before = angle;
            }
            EXPECT_NEAR(turned, sign * sweep, 1e-13);
        }
    }
}

TEST(ConvertedArc, ManyTurnsAreBounded) {
    for (const double sweep : {7000.0, -1e9, 1e300}) {
        const ERCpoleNURBS2D curve = Convert(ERArc2D(ERPoint2D(), 1, 0, sweep));
        EXPECT_LE(curve.nbPoles(), 8001u);
        EXPECT_GT(curve.nbPoles(), 7990u);
        expectNear(curve.firstPt(), ERPoint2D(1, 0));
        if (std::fabs(sweep) <= 1e9)
            expectNear(curve.lastPt(), ERPoint2D(std::cos(sweep), std::sin(sweep)), 1e-7);
    }
    for (const double angle : {nan, infinity, -infinity}) {
        EXPECT_EQ(Convert(ERArc2D(ERPoint2D(), 1, 0, angle)).nbPoles(), 0u);
        EXPECT_EQ(Convert(ERArcEllipse3D(EREllipse3D(), angle, angle)).nbPoles(), 0u);
    }
}

// Oracle: the equation of the ellipse in its axes.
TEST(ConvertedEllipse, SatisfiesItsEquation) {
    const ERArcEllipse2D arc(5, 2, 0.4, ERPoint2D(1, 2), -1, 4.5);
    const ERCpoleNURBS2D flat = Convert(arc);
    const ERCpoleNURBS3D inSpace = Convert(ERArcEllipse3D(tilted, arc));
    const ERVector2D big = arc.direction(), small(-big.j(), big.i());
    for (int i = 0; i <= 200; ++i) {
        const double u = flat.ufin() * (i / 200.0);
        const ERVector2D p(arc.center(), flat(u));
        const double x = p * big / 5, y = p * small / 2;
        EXPECT_NEAR(x * x + y * y, 1, 1e-14);
        expectNear(inSpace(u), tilted >> flat(u).castToPoint3D(Coord3D::CoordZ, 0));
    }
}

// The tangents of this quarter meet in (1, 1), at a right angle.
ERCpoleNURBS2D quarter(double w) {
    return MakeOpenConic(ERPoint2D(1, 0), ERVector2D(0, 2), ERPoint2D(0, 1), ERVector2D(-3, 0), w);
}

// Oracle: with p = c0 p0 + c1 p1 + c2 p2, the conic is c1^2 = 4 w^2 c0 c2.
TEST(OpenConic, SatisfiesItsEquationInTheStatedPieces) {
    for (const auto& [w, pieces] :
         {std::pair{2.0, 1u}, {1.0, 1u}, {0.3, 1u}, {0.0, 2u}, {-0.6, 2u}}) {
        SCOPED_TRACE(w);
        const ERCpoleNURBS2D curve = quarter(w);
        ASSERT_EQ(curve.nbPoles(), 2 * pieces + 1);
        EXPECT_EQ(curve.getBound(), ERLimites(0, pieces));
        expectNear(curve.firstPt(), ERPoint2D(1, 0));
        expectNear(curve.lastPt(), ERPoint2D(0, 1));
        for (int i = 0; i <= 100; ++i) {
            const ERPoint2D p = curve(pieces * (i / 100.0));
            const double c0 = 1 - p.y(), c2 = 1 - p.x(), c1 = 1 - c0 - c2;
            EXPECT_NEAR(c1 * c1, 4 * w * w * c0 * c2, 1e-13);
            EXPECT_GE(c1 * w, -1e-15);
        }
        const double middle = (1 + 2 * w) / (2 + 2 * w);
        expectNear(curve(pieces * 0.5), ERPoint2D(middle, middle));
    }
}

TEST(OpenConic, NumberOfPiecesFollowsTheAngle) {
    // Tangents that meet above the middle of the chord, at that angle. Those of nearly straight ones
    // may have unit vectors that are longer than 1 by rounding.
    const std::tuple<double, double, unsigned int> rows[] = {
        {61, 0.5, 1},  {59, 0.5, 2},         {59, 1.0, 1},         {91, -0.5, 4},
        {89, -0.5, 2}, {180 - 1e-7, 0.5, 1}, {180 - 1e-7, -0.5, 4}};
    for (const auto& [degrees, w, pieces] : rows) {
        SCOPED_TRACE(degrees);
        const double height = 1 / std::tan(degrees * pi / 360);
        for (int i = 0; i < 100; ++i) {
            const ERVector2D d(std::cos(0.06 * i), std::sin(0.06 * i));
            const ERVector2D up = ERVector2D(-d.j(), d.i()) * height;
            EXPECT_EQ(MakeOpenConic(ERPoint2D() - d, d + up, ERPoint2D() + d, d - up, w).nbPoles(),
                      2 * pieces + 1)
                << i;
        }
    }
}

TEST(OpenConic, PassesThePointThatItIsGiven) {
    const auto through = [](const ERPoint2D& p) {
        return MakeOpenConic(ERPoint2D(1, 0), ERVector2D(0, 2), ERPoint2D(0, 1), ERVector2D(-3, 0),
                             p);
    };
    EXPECT_EQ(through(ERPoint2D(0.6, 0.8)).nbPoles(), 3u);
    // The quarter of the circle, and the three quarters that are left beside it.
    for (const double x : {0.6, -0.6}) {
        const ERCpoleNURBS2D circle = through(ERPoint2D(x, 0.8));
        ASSERT_GT(circle.nbPoles(), 0u);
        for (int i = 0; i <= 100; ++i)
            EXPECT_NEAR(norme(circle(circle.ufin() * 0.01 * i)), 1, 1e-14);
        EXPECT_EQ(circle(0.5 * circle.ufin()).x() > 0, x > 0);
    }
    for (const ERPoint2D& outside : {ERPoint2D(2, 0.5), ERPoint2D(0.5, 1), ERPoint2D(1, 1),
                                     ERPoint2D(1, 0), ERPoint2D(0, -100), ERPoint2D(nan, 0)})
        EXPECT_EQ(through(outside).nbPoles(), 0u) << outside;
}

TEST(OpenConic, HasNoPoleWhereThereIsNone) {
    for (const double w : {-1.0, nan, infinity}) EXPECT_EQ(quarter(w).nbPoles(), 0u);
    for (const ERVector2D& t0 : {ERVector2D(-1, -1), ERVector2D()})
        EXPECT_EQ(
            MakeOpenConic(ERPoint2D(1, 0), t0, ERPoint2D(-1, 0), ERVector2D(1, 1), 0.5).nbPoles(),
            0u);
}

}  // namespace
}  // namespace kerf::test
