#include "kerf/values/quaternion.h"

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

ERQuaternion quaternion(double w, double x, double y, double z) {
    const double elements[] = {w, x, y, z};
    return ERQuaternion(ERVec<double>(elements, 4));
}

void expectNear(const ERQuaternion& a, const ERQuaternion& b, double tolerance) {
    for (const double difference : {a.w - b.w, a.x - b.x, a.y - b.y, a.z - b.z})
        EXPECT_LE(std::fabs(difference), tolerance);
}

void expectNear(const ERVector3D& a, const ERVector3D& b, double tolerance) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a << " is not " << b;
}

// Rodrigues' formula.
ERVector3D turned(const ERVector3D& v, const ERVector3D& axis, double angle) {
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

class Quaternion : public ::testing::Test {
protected:
    ERVector3D vector() { return ERVector3D(element(random), element(random), element(random)); }
    double angle() { return pi * element(random); }

    std::mt19937 random{41};
    std::uniform_real_distribution<double> element{-1.0, 1.0};
};

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
    const ERQuaternion q = quaternion(1, -2, 3, 0.5);
    expectNear(q * q.Inverse(), ERQuaternion(), 1e-15);
    expectNear(quaternion(0, 0, 0, 0).Inverse(), quaternion(0, 0, 0, 0), 0);
}

TEST_F(Quaternion, ComesBackFromItsMatrixItsAxisAndAngleAndItsParameters) {
    for (int trial = 1; trial < 200; ++trial) {
        ERVector3D axis = vector().getnormalized();
        if (trial < 8) axis = ERVector3D(trial & 1, trial >> 1 & 1, trial >> 2).getnormalized();
        const double turn = trial < 8 ? pi : std::fabs(angle());  // each element is the largest
        const ERQuaternion q(axis, turn), back(q.GetMatrix());
        expectNear(back, q.Dot(back) < 0 ? -q : q, 1e-14);
        EXPECT_NEAR(q.Angle(), turn, 1e-14);
        expectNear(q.Axis(), axis, 1e-12);
        if (turn > 3) continue;
        const ERVector3D v = std::tan(turn / 2) * axis;  // the three parameters
        const double elements[] = {v.i(), v.j(), v.k()};
        expectNear(ERQuaternion(v), q, 1e-14);
        expectNear(ERQuaternion(ERVec<double>(elements, 3)), q, 1e-14);
    }
    // Of equal diagonal elements the first one leads: its component is positive.
    EXPECT_GT(ERQuaternion(ERQuaternion(ERVector3D(-1, -1, 0), pi).GetMatrix()).x, 0.0);
    // A null axis has no direction to turn about, and other numbers of elements make no turn.
    expectNear(ERQuaternion(ERVector3D(), 1.0) * ERVector3D(1, 2, 3), ERVector3D(1, 2, 3), 1e-15);
    for (const unsigned int length : {0u, 2u, 5u})
        expectNear(ERQuaternion(ERVec<double>(length)), ERQuaternion(), 0);
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
    EXPECT_EQ(quaternion(0, pi, 0, 0).Exp().x, pi);
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
    // Between one and the same it gives the first.
    const ERQuaternion one, close(ERVector3D(1, 0, 0), 0.001), tooLong(one * (1 + 1e-12));
    expectNear(ERQuaternion::Slerp(0.4, one, close), one, 0);
    expectNear(ERQuaternion::Slerp(0.4, tooLong, tooLong), tooLong, 0);
    expectNear(ERQuaternion::SlerpExtraSpins(0.4, tooLong, tooLong, 3), tooLong, 0);
    // The arc is taken as given: to -q the other way round.
    expectNear(ERQuaternion::Slerp(0.5, p, -q), ERQuaternion(axis, 0.2 + 0.5 * (2.4 - 2 * pi)),
               1e-15 * 8);
}

TEST_F(Quaternion, SquadRunsThroughItsEndsWithOneSpeed) {
    // The spans before and after a key have the same derivative there.
    ERQuaternion key[5], inner[5], b;
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

TEST_F(Quaternion, LockTurnsOneDirectionOntoAnotherAndFlipTurnsAnAxisRound) {
    std::vector<std::pair<ERVector3D, ERVector3D>> pairs = {
        {{1, 0, 0}, {1, 0, 0}},    {{1, 0, 0}, {-1, 0, 0}},     {{0, 3, 0}, {0, -2, 0}},
        {{1, 1, 1}, {-1, -1, -1}}, {{1, 2, 3}, {-1, -2, -3.1}}, {{1, 0, 0}, {1, 0.0999, 0}}};
    for (int trial = 0; trial < 50; ++trial) pairs.emplace_back(vector(), vector());
    for (const auto& [from, to] : pairs) {
        ERQuaternion lock;
        ERMatrix<double> matrix, flip;
        find_lock_quaternion(from, to, lock);
        EXPECT_NEAR(lock.Norm2(), 1.0, 1e-14);
        expectNear(lock * from.getnormalized(), to.getnormalized(), 1e-14);
        find_lock_matrix(from, to, matrix);
        expectNear(applied(matrix, from.getnormalized()), to.getnormalized(), 1e-14);
        // Well apart, the axis is perpendicular to both.
        const bool apart = norme(from.getnormalized() ^ to.getnormalized()) > 0.1;
        EXPECT_TRUE(!apart || std::fabs(lock.Axis() * from) < 1e-14 * (1 + norme(from)));
        find_flip_matrix(from, flip);
        expectNear(applied(flip, from), -from, 1e-14);
        EXPECT_NEAR(flip(0, 0) + flip(1, 1) + flip(2, 2), -1.0, 1e-14);  // a half turn, no mirror
    }
}

}  // namespace
}  // namespace kerf
