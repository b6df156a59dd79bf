#include "kerf/values/quaternion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace kerf {
namespace {

constexpr double pi = 3.141592653589793;

ERQuaternion quaternion(double w, double x, double y, double z) {
    ERQuaternion q;
    q.w = w;
    q.x = x;
    q.y = y;
    q.z = z;
    return q;
}

void expectNear(const ERQuaternion& a, const ERQuaternion& b, double tolerance) {
    EXPECT_NEAR(a.w, b.w, tolerance);
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

void expectNear(const ERVector3D& a, const ERVector3D& b, double tolerance) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a.i() << ' ' << a.j() << ' ' << a.k() << " is not "
                                          << b.i() << ' ' << b.j() << ' ' << b.k();
}

// Rodrigues' formula.
ERVector3D turned(const ERVector3D& v, const ERVector3D& axis, double angle) {
    const ERVector3D n = axis.getnormalized();
    const double c = std::cos(angle);
    return c * v + std::sin(angle) * (n ^ v) + ((1 - c) * (n * v)) * n;
}

ERVector3D applied(const ERMatrix<double>& m, const ERVector3D& v) {
    return ERVector3D(m(0, 0) * v.i() + m(0, 1) * v.j() + m(0, 2) * v.k(),
                      m(1, 0) * v.i() + m(1, 1) * v.j() + m(1, 2) * v.k(),
                      m(2, 0) * v.i() + m(2, 1) * v.j() + m(2, 2) * v.k());
}

class Quaternion : public ::testing::Test {
protected:
    ERVector3D vector() { return ERVector3D(element(random), element(random), element(random)); }
    double angle() { return pi * element(random); }
    ERQuaternion rotation() { return ERQuaternion(vector(), angle()); }

    std::mt19937 random{41};
    std::uniform_real_distribution<double> element{-1.0, 1.0};
};

TEST_F(Quaternion, DefaultIsTheIdentityRotation) {
    const ERQuaternion q;
    const ERMatrix<double> m = q;
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c) EXPECT_EQ(m(r, c), r == c ? 1.0 : 0.0);
    EXPECT_EQ(q.Angle(), 0.0);
    EXPECT_EQ(q.Axis(), ERVector3D());
}

TEST_F(Quaternion, ProductIsTheCompositionOfRotations) {
    for (int trial = 0; trial < 50; ++trial) {
        const ERVector3D axisA = vector(), axisB = vector(), v = vector();
        const double angleA = angle(), angleB = angle();
        const ERQuaternion a(axisA, angleA), b(axisB, angleB);
        const ERVector3D expected = turned(turned(v, axisB, angleB), axisA, angleA);
        expectNear((a * b) * v, expected, 1e-14);
        expectNear(applied((a * b).GetMatrix(), v), expected, 1e-14);
        EXPECT_NEAR((a * 3.0 * b).Norm2(), 9.0, 1e-13);
        EXPECT_NEAR(a.Dot(b), (a.UnitInverse() * b).w, 1e-15);
    }
    // i j = k, j k = i, k i = j, and the other way round the negative.
    const ERQuaternion i = quaternion(0, 1, 0, 0), j = quaternion(0, 0, 1, 0),
                       k = quaternion(0, 0, 0, 1);
    expectNear(i * j, k, 0);
    expectNear(j * k, i, 0);
    expectNear(k * i, j, 0);
    expectNear(j * i, -k, 0);
    expectNear(i * i, quaternion(-1, 0, 0, 0), 0);
    expectNear(2.0 * i + j - k * 3.0, quaternion(0, 2, 1, -3), 0);
}

// From ERFA's tests (t_erfa_c.c at commit 1d9738b, BSD-3-Clause): the rotation vector of rv2m with
// the matrix that turns a vector, which is the transpose of the published one that turns the frame.
TEST_F(Quaternion, MatrixOfAPublishedRotationVector) {
    const double active[9] = {-0.7071067782221121,  0.5656854276809132,   0.42426407001042127,
                              -0.5656854276809132,  -0.09254833945322738, -0.8194112531408833,
                              -0.42426407001042127, -0.8194112531408833,  0.3854415612311154};
    const ERVector3D rotationVector(0.0, 1.41371669, -1.88495559);
    const ERMatrix<double> m = ERQuaternion(rotationVector, norme(rotationVector)).GetMatrix();
    for (unsigned int i = 0; i < 9; ++i) EXPECT_NEAR(m(i / 3, i % 3), active[i], 1e-14);
}

TEST_F(Quaternion, ComesBackFromItsMatrixWhateverElementIsLargest) {
    std::vector<ERQuaternion> rotations = {quaternion(0, 1, 0, 0),
                                           quaternion(0, 0, 1, 0),
                                           quaternion(0, 0, 0, 1),
                                           ERQuaternion(ERVector3D(1, 1, 0), pi),
                                           ERQuaternion(ERVector3D(0, 1, 1), pi),
                                           ERQuaternion(ERVector3D(1, 1, 1), pi)};
    for (int trial = 0; trial < 200; ++trial) rotations.push_back(rotation());
    for (const ERQuaternion& q : rotations) {
        const ERQuaternion back(q.GetMatrix());
        expectNear(back, q.Dot(back) < 0 ? -q : q, 1e-14);
    }
    // Of equal diagonal elements the first one leads: its component is positive.
    EXPECT_GT(ERQuaternion(ERQuaternion(ERVector3D(-1, -1, 0), pi).GetMatrix()).x, 0.0);
}

TEST_F(Quaternion, AxisAndAngleComeBack) {
    for (const double angle : {1e-9, 0.3, 2.0, pi, 5.0}) {
        const ERVector3D axis = vector();
        const ERQuaternion q(axis, angle);
        EXPECT_NEAR(q.Angle(), angle, 1e-15 * 8);
        expectNear(q.Axis(), axis.getnormalized(), 1e-14);
    }
    // A null axis has no direction to turn about.
    expectNear(ERQuaternion(ERVector3D(), 1.0) * ERVector3D(1, 2, 3), ERVector3D(1, 2, 3), 1e-15);
}

TEST_F(Quaternion, ThreeParametersAreTheTangentOfHalfTheAngle) {
    const ERVector3D axis = ERVector3D(1, -2, 0.5).getnormalized();
    for (const double angle : {0.0, 0.4, 1.5, 3.0}) {
        const ERVector3D v = std::tan(angle / 2) * axis;
        expectNear(ERQuaternion(v), ERQuaternion(axis, angle), 1e-15);
        ERVec<double> elements(3);
        elements[0] = v.i();
        elements[1] = v.j();
        elements[2] = v.k();
        expectNear(ERQuaternion(elements), ERQuaternion(v), 0);
    }
    ERVec<double> four(4);
    for (unsigned int i = 0; i < 4; ++i) four[i] = i + 1.0;
    expectNear(ERQuaternion(four), quaternion(1, 2, 3, 4), 0);
    for (const unsigned int length : {0u, 1u, 2u, 5u})
        expectNear(ERQuaternion(ERVec<double>(length)), ERQuaternion(), 0);
}

TEST_F(Quaternion, InverseUndoesAndZeroStaysZero) {
    const ERQuaternion q = quaternion(1, -2, 3, 0.5);
    expectNear(q * q.Inverse(), ERQuaternion(), 1e-15);
    expectNear(quaternion(0, 0, 0, 0).Inverse(), quaternion(0, 0, 0, 0), 0);
    const ERQuaternion unit = rotation();
    expectNear(unit * unit.UnitInverse(), ERQuaternion(), 1e-15);
}

TEST_F(Quaternion, ExponentialAndLogarithm) {
    for (int trial = 0; trial < 50; ++trial) {
        const ERVector3D axis = vector().getnormalized();
        const double half = 0.01 + 0.99 * std::fabs(element(random)) * (pi - 0.02);
        const ERQuaternion q(axis, 2 * half);
        expectNear(q.Log(), quaternion(0, half * axis.i(), half * axis.j(), half * axis.k()),
                   1e-12);
        expectNear(q.Log().Exp(), q, 1e-13);
    }
    // Below a sine of 0.001 the vector part passes unchanged, so that a turn near pi loses its
    // axis.
    const ERQuaternion small = quaternion(0.5, 0.0009, 0, 0);
    EXPECT_EQ(small.Exp().x, 0.0009);
    EXPECT_EQ(small.Exp().w, std::cos(0.0009));
    EXPECT_EQ(quaternion(0, pi, 0, 0).Exp().x, pi);
    EXPECT_EQ(quaternion(1.0, 0.25, 0, 0).Log().x, 0.25);
    EXPECT_EQ(quaternion(-2.0, 0.25, 0, 0).Log().x, 0.25);
    EXPECT_EQ(quaternion(1.0 - 1e-9, 0.25, 0, 0).Log().x, 0.25);
}

TEST_F(Quaternion, SlerpTurnsEvenly) {
    const ERVector3D axis(1, 2, -1);
    const ERQuaternion p(axis, 0.2), q(axis, 2.6);
    for (const double t : {0.0, 0.25, 0.5, 1.0, 1.5}) {
        expectNear(ERQuaternion::Slerp(t, p, q), ERQuaternion(axis, 0.2 + 2.4 * t), 1e-15 * 8);
        expectNear(ERQuaternion::SlerpExtraSpins(t, p, q, 0), ERQuaternion::Slerp(t, p, q), 0);
        // Each spin is a half turn of the arc, a full turn of the rotation.
        expectNear(ERQuaternion::SlerpExtraSpins(t, p, q, 2),
                   ERQuaternion(axis, 0.2 + (2.4 + 4 * pi) * t), 1e-14);
    }
    // The arc is taken as given: to -q the other way round.
    expectNear(ERQuaternion::Slerp(0.5, p, -q), ERQuaternion(axis, 0.2 + 0.5 * (2.4 - 2 * pi)),
               1e-15 * 8);
}

TEST_F(Quaternion, SlerpBetweenOneAndTheSameGivesTheFirst) {
    const ERQuaternion p = rotation();
    const ERQuaternion close(ERVector3D(1, 0, 0), 0.001);
    const ERQuaternion tooLong = quaternion(1 + 1e-12, 0, 0, 0);
    for (const double t : {0.0, 0.4, 1.0}) {
        expectNear(ERQuaternion::Slerp(t, p, p), p, 0);
        expectNear(ERQuaternion::Slerp(t, ERQuaternion(), close), ERQuaternion(), 0);
        expectNear(ERQuaternion::Slerp(t, tooLong, tooLong), tooLong, 0);
        expectNear(ERQuaternion::SlerpExtraSpins(t, tooLong, tooLong, 3), tooLong, 0);
    }
}

TEST_F(Quaternion, SquadRunsThroughItsEndsWithOneSpeed) {
    const ERVector3D axis(0, 1, 1);
    // On an even turn the inner controls fall on the quaternions themselves.
    ERQuaternion a, b;
    ERQuaternion::Intermediate(ERQuaternion(axis, 0.1), ERQuaternion(axis, 0.5),
                               ERQuaternion(axis, 0.9), a, b);
    expectNear(a, ERQuaternion(axis, 0.5), 1e-15);
    expectNear(b, ERQuaternion(axis, 0.5), 1e-15);

    // On any other, the spans before and after a key have the same derivative there.
    ERQuaternion key[5], inner[5];
    for (ERQuaternion& k : key) {
        const ERVector3D around = ERVector3D(0.2, 1, 0.3) + 0.4 * vector();
        k = ERQuaternion(around, 1.2 + 0.3 * element(random));
    }
    for (int i = 1; i < 4; ++i) {
        ERQuaternion::Intermediate(key[i - 1], key[i], key[i + 1], inner[i], b);
        // The other result lies as far on the opposite side of the key.
        expectNear(ERQuaternion::Slerp(0.5, inner[i], b), key[i], 1e-14);
    }
    const double h = 1e-5;
    const auto before = [&](double t) {
        return ERQuaternion::Squad(t, key[1], inner[1], inner[2], key[2]);
    };
    const auto after = [&](double t) {
        return ERQuaternion::Squad(t, key[2], inner[2], inner[3], key[3]);
    };
    expectNear(before(0.0), key[1], 1e-14);
    expectNear(before(1.0), key[2], 1e-14);
    expectNear((before(1.0) - before(1.0 - h)) * (1 / h), (after(h) - after(0.0)) * (1 / h), 1e-3);
}

TEST_F(Quaternion, LockTurnsOneDirectionOntoAnother) {
    std::vector<std::pair<ERVector3D, ERVector3D>> pairs = {
        {{1, 0, 0}, {1, 0, 0}},      {{1, 0, 0}, {-1, 0, 0}},     {{0, 3, 0}, {0, -2, 0}},
        {{0, 0, 1}, {0, 0, -1}},     {{1, 1, 1}, {-1, -1, -1}},   {{1, 2, 3}, {1, 2, 3.0001}},
        {{1, 2, 3}, {-1, -2, -3.1}}, {{1, 0, 0}, {1, 0.0999, 0}}, {{1, 0, 0}, {0, 1e-5, 0}}};
    for (int trial = 0; trial < 50; ++trial) pairs.emplace_back(vector(), vector());
    for (const auto& [from, to] : pairs) {
        ERQuaternion lock;
        find_lock_quaternion(from, to, lock);
        EXPECT_NEAR(lock.Norm2(), 1.0, 1e-14);
        expectNear(lock * from.getnormalized(), to.getnormalized(), 1e-14);
        ERMatrix<double> matrix;
        find_lock_matrix(from, to, matrix);
        expectNear(applied(matrix, from.getnormalized()), to.getnormalized(), 1e-14);
        // Well apart, the axis is perpendicular to both.
        if (norme(from.getnormalized() ^ to.getnormalized()) > 0.1) {
            EXPECT_NEAR(lock.Axis() * from, 0.0, 1e-14 * (1 + norme(from)));
        }
    }
}

TEST_F(Quaternion, FlipTurnsAnAxisRound) {
    for (int trial = 0; trial < 20; ++trial) {
        const ERVector3D axis = vector();
        ERMatrix<double> flip;
        find_flip_matrix(axis, flip);
        expectNear(applied(flip, axis), -axis, 1e-14);
        const ERVector3D v = vector();
        expectNear(applied(flip, applied(flip, v)), v, 1e-14);
        EXPECT_NEAR(flip(0, 0) + flip(1, 1) + flip(2, 2), -1.0, 1e-14);  // a half turn, no mirror
    }
}

}  // namespace
}  // namespace kerf
