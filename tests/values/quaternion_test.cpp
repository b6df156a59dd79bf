#include "kerf/values/quaternion.h"

#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

ERQuaternion quaternion(double w, double x, double y, double z) {
    const double elements[] = {w, x, y, z};
    return ERQuaternion(ERVec<double>(elements, 4));
}

void expectSame(const ERQuaternion& a, const ERQuaternion& b, double tolerance = 1e-14) {
    for (const double difference : {a.w - b.w, a.x - b.x, a.y - b.y, a.z - b.z})
        EXPECT_LE(std::fabs(difference), tolerance);
}

// Rodrigues' formula.
ERVector3D rotated(const ERVector3D& v, const ERVector3D& axis, double angle) {
    const ERVector3D n = axis.getnormalized();
    const double c = std::cos(angle);
    return c * v + std::sin(angle) * (n ^ v) + ((1 - c) * (n * v)) * n;
}

ERVector3D applied(const ERMatrix<double>& m, const ERVector3D& v) {
    const auto row = [&](unsigned int r) {
        return m(r, 0) * v.i() + m(r, 1) * v.j() + m(r, 2) * v.k();
    };
    return ERVector3D(row(0), row(1), row(2));
}

TEST(Quaternion, ProductIsTheCompositionOfRotations) {
    const ERVector3D axisB(0.3, -0.8, 0.5), v(-1, 0.4, 0.7);
    for (const ERVector3D& axisA : gridDirections()) {
        const double angleA = 0.7 * axisA.i() + axisA.j(), angleB = axisA.k() - 0.2;
        const ERQuaternion a(axisA, angleA), b(axisB, angleB);
        const ERVector3D expected = rotated(rotated(v, axisB, angleB), axisA, angleA);
        expectNear((a * b) * v, expected, 1e-14);
        expectNear(applied((a * b).GetMatrix(), v), expected, 1e-14);
        EXPECT_NEAR((a * 3.0 * b).Norm2(), 9.0, 1e-13);
    }
    const ERQuaternion q = quaternion(1, -2, 3, 0.5), zero = quaternion(0, 0, 0, 0);
    expectSame(q * q.Inverse(), ERQuaternion());
    expectSame(zero.Inverse(), zero, 0);
}

TEST(Quaternion, ComesBackFromItsMatrixItsAxisAndAngleItsParametersAndItsLogarithm) {
    for (const ERVector3D& direction : gridDirections()) {
        for (const double angle : {0.02, 1.1, 2.5, 3.1, pi}) {  // each element is the largest once
            const ERVector3D axis = direction.getnormalized();
            const ERQuaternion q(axis, angle), back(q.GetMatrix());
            SCOPED_TRACE(testing::Message() << axis << " by " << angle);
            expectSame(back, q.Dot(back) < 0 ? -q : q);
            EXPECT_NEAR(q.Angle(), angle, 1e-13);
            expectNear(q.Axis(), axis, 1e-12);
            const ERVector3D log = angle / 2 * axis;
            expectSame(q.Log(), quaternion(0, log.i(), log.j(), log.k()), 1e-12);
            expectSame(q.Log().Exp(), q, 1e-13);
            if (angle != pi) expectSame(ERQuaternion(std::tan(angle / 2) * axis), q);
        }
    }
    // Of two equal largest diagonal elements the first decides: its component comes out positive.
    const ERQuaternion tie(ERVector3D(1, 2, -2), 2.9);
    expectSame(ERQuaternion(tie.GetMatrix()), tie);
    // A zero axis has no direction to rotate about.
    expectNear(ERQuaternion(ERVector3D(), 1.0) * ERVector3D(1, 2, 3), ERVector3D(1, 2, 3));
    // Below a sine of 0.001 the vector part passes unchanged, so that a rotation near pi loses its
    // axis.
    EXPECT_EQ(quaternion(0, pi, 0, 0).Exp().x, pi);
    EXPECT_EQ(quaternion(-2.0, 0.25, 0, 0).Log().x, 0.25);
}

TEST(Quaternion, SlerpRotatesEvenly) {
    const ERVector3D axis(1, 2, -1);
    const ERQuaternion p(axis, 0.2), q(axis, 2.6);
    for (const double t : {0.0, 0.25, 1.0, 1.5}) {
        expectSame(ERQuaternion::Slerp(t, p, q), ERQuaternion(axis, 0.2 + 2.4 * t));
        // Each spin is half a turn of the arc, a full turn of the rotation.
        expectSame(ERQuaternion::SlerpExtraSpins(t, p, q, 2),
                   ERQuaternion(axis, 0.2 + (2.4 + 4 * pi) * t));
    }
    // Between one and the same it gives the first.
    const ERQuaternion one, close(ERVector3D(1, 0, 0), 0.001);
    expectSame(ERQuaternion::Slerp(0.4, one, close), one, 0);
    // The arc is taken as given: to -q in the other sense.
    expectSame(ERQuaternion::Slerp(0.5, p, -q), ERQuaternion(axis, 0.2 + 0.5 * (2.4 - 2 * pi)));
}

TEST(Quaternion, SquadRunsThroughItsEndsWithOneSpeed) {
    // The spans before and after a key have the same derivative there.
    ERQuaternion key[5], inner[5], b;
    for (int i = 0; i < 5; ++i)
        key[i] = ERQuaternion(ERVector3D(0.2 * i, 1, 0.3 - 0.1 * i * i), 1 + 0.4 * std::sin(3 * i));
    for (int i = 1; i < 4; ++i)
        ERQuaternion::Intermediate(key[i - 1], key[i], key[i + 1], inner[i], b);
    const double h = 1e-5;
    const auto span = [&](int i, double t) {
        return ERQuaternion::Squad(t, key[i], inner[i], inner[i + 1], key[i + 1]);
    };
    expectSame((span(1, 1.0) - span(1, 1.0 - h)) * (1 / h), (span(2, h) - span(2, 0.0)) * (1 / h),
               1e-3);
}

TEST(Quaternion, LockTakesOneDirectionToAnotherAndFlipReversesAnAxis) {
    const std::vector<ERVector3D> directions = gridDirections();
    for (const ERVector3D& from : directions) {
        ERMatrix<double> matrix, flip;
        find_flip_matrix(from, flip);
        expectNear(applied(flip, from), -from);
        EXPECT_NEAR(flip(0, 0) + flip(1, 1) + flip(2, 2), -1.0, 1e-14);  // a half turn, no mirror
        for (const ERVector3D& to : directions) {
            const ERVector3D first = from.getnormalized(), second = to.getnormalized();
            ERQuaternion lock;
            find_lock_quaternion(from, to, lock);
            find_lock_matrix(from, to, matrix);
            ASSERT_TRUE(isEqual(lock * first, second, 1e-14)) << from << to;
            ASSERT_TRUE(isEqual(applied(matrix, first), second, 1e-14)) << from << to;
        }
    }
}

}  // namespace
}  // namespace kerf
