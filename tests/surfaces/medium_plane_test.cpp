#include "kerf/surfaces/medium_plane.h"

#include "kerf/surfaces/plane.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

class MediumPlane : public testing::Test {
protected:
    double draw(double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); }
    // The first three points span a triangle of that area, counter-clockwise seen from `normal`.
    ERVec<ERPoint3D> pointsOn(const ERPoint3D& p, const ERVector3D& normal, double area) {
        const ERPmIsometrie3D frame = ERChgRepere3D(normal, p);
        ERVec<ERPoint3D> points;
        points.append(p);
        points.append(frame >> ERPoint3D(2, 0, 0));
        points.append(frame >> ERPoint3D(0, area, 0));
        for (int i = 0; i < 20; ++i) points.append(frame >> ERPoint3D(draw(-9, 9), draw(-9, 9), 0));
        return points;
    }

    std::mt19937 random{7};
};

TEST_F(MediumPlane, HoldsPointsOfAPlane) {
    for (const ERVector3D& v : gridDirections()) {
        SCOPED_TRACE(printed(v));
        const ERVector3D normal = v.getnormalized();
        const ERPoint3D p(draw(-99, 99), draw(-99, 99), 1e5);
        ERVec<ERPoint3D> points = pointsOn(p, normal, 1);
        ERPlane plane;
        ASSERT_EQ(GetMediumPlane(points, plane, 1e-9), 1);
        expectNear(plane.getNormale(), normal, 1e-11);  // the points are as exact as that
        // A point too far off on either side, with the plane as it fits best.
        const ERVec<ERPoint3D> exact = points;
        for (const double off : {0.01, -0.01}) {
            points = exact;
            points.append(p + normal * off);
            EXPECT_EQ(GetMediumPlane(points, plane, 5e-3), 0);
            EXPECT_GT(plane.getNormale() * normal, 0.999);
            EXPECT_EQ(GetMediumPlane(points, plane, 0.0), 1);
            EXPECT_EQ(GetMediumPlane(points, plane, 0.01), 1);
        }
    }
}

// Kept: the product with the triangle is compared with 1.
TEST_F(MediumPlane, TakesItsSideFromALargeTriangleAlone) {
    for (const double side : {-1.0, 1.0}) {
        const ERVector3D normal(0, 0, side);
        ERPlane plane;
        ASSERT_EQ(GetMediumPlane(pointsOn({1, 2, 3}, normal, 0.5 + 1e-9), plane, 1e-9), 1);
        expectNear(plane.getNormale(), normal);
        ASSERT_EQ(GetMediumPlane(pointsOn({1, 2, 3}, normal, 0.5 - 1e-9), plane, 1e-9), 1);
        expectNear(plane.getNormale(), ERVector3D(0, 0, 1));
    }
}

// Oracle: no plane near by has smaller deviations in z.
TEST_F(MediumPlane, HasTheLeastDeviations) {
    ERVec<ERPoint3D> points;
    for (int i = 0; i < 100; ++i) {
        const double x = draw(-9, 9), y = draw(-9, 9);
        points.append({x, y, 5 + 0.3 * x - 0.2 * y + draw(-1e-2, 1e-2)});
    }
    ERPlane plane;
    EXPECT_EQ(GetMediumPlane(points, plane, 1.1e-2), 1);
    double a, b, c, d;
    plane.getCoefficients(a, b, c, d);
    const auto deviations = [&](double da, double db, double dc) {
        double sum = 0;
        for (const ERPoint3D& p : points)
            sum += std::pow(p.z() + (a / c + da) * p.x() + (b / c + db) * p.y() + d / c + dc, 2);
        return sum;
    };
    for (const double step : {-1e-5, 1e-5}) {
        EXPECT_GT(deviations(step, 0, 0), deviations(0, 0, 0));
        EXPECT_GT(deviations(0, step, 0), deviations(0, 0, 0));
        EXPECT_GT(deviations(0, 0, step), deviations(0, 0, 0));
    }
}

TEST_F(MediumPlane, OfTooFewPointsHoldsThem) {
    const ERPoint3D few[] = {{1, 2, 3}, {4, 6, 3}, {4, 6, 3}, {nan, 0, 0}};
    ERPlane plane;
    EXPECT_EQ(GetMediumPlane(ERVec<ERPoint3D>(), plane, 1), 1);
    EXPECT_EQ(plane, ERPlane());
    for (unsigned int n = 1; n <= 4; ++n)
        EXPECT_EQ(GetMediumPlane(ERVec<ERPoint3D>(few, n), plane, 1e-9), n < 4 ? 1 : 0) << n;
    const ERPoint2D one(3, 4);
    ERInfLine2D line;
    EXPECT_EQ(GetMediumLine(ERVec<ERPoint2D>(&one, 1), line, 1e-9), 1);
    EXPECT_EQ(GetMediumLine(ERVec<ERPoint2D>(), line, 1e-9), 1);
    EXPECT_EQ(line.dirVector(), ERVector2D());
}

TEST_F(MediumPlane, LineLeadsFromTheFirstPointToTheSecond) {
    for (int i = 0; i < 24; ++i) {
        SCOPED_TRACE(drawnFrom(7, i));
        const double angle = i * (pi / 12);
        const ERVector2D along(std::cos(angle), std::sin(angle));
        const ERPoint2D p(draw(-1e4, 1e4), draw(-99, 99));
        ERVec<ERPoint2D> points;
        points.append(p);
        for (int k = 0; k < 20; ++k) points.append(p + along * draw(k == 0 ? 0.1 : -9, 9));
        ERInfLine2D line;
        ASSERT_EQ(GetMediumLine(points, line, 1e-9), 1);
        expectNear(line.dirVector(), along, 1e-13);
        EXPECT_NEAR(distance(line, p), 0, 1e-11);
        points.append(p + line.normalVector() * 0.1);
        EXPECT_EQ(GetMediumLine(points, line, 1e-3), 0);
        EXPECT_EQ(GetMediumLine(points, line, -1.0), 1);
    }
}

}  // namespace
}  // namespace kerf::test
