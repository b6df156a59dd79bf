#pragma once
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "kerf/numerics/linear_solvers.h"
#include "kerf/platform/file.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d_representation.h"

// One representation of each class, with the 4 by 4 matrix that says what it does.
namespace kerf::test {

constexpr double pi = 3.141592653589793;
constexpr unsigned int createFile = CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary;
constexpr unsigned int readFile = CFile::modeRead | CFile::typeBinary;

// Oracle: homogeneous 4 by 4 matrices with the scale in the linear part.
struct Mat4 {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    ERPoint3D point(const ERPoint3D& p) const {
        const double v[4] = {p.x(), p.y(), p.z(), 1.0};
        return ERPoint3D(row(0, v), row(1, v), row(2, v));
    }
    ERVector3D vector(const ERVector3D& d) const {
        const double v[4] = {d.i(), d.j(), d.k(), 0.0};
        return ERVector3D(row(0, v), row(1, v), row(2, v));
    }
    double row(int r, const double* v) const {
        return m[r][0] * v[0] + m[r][1] * v[1] + m[r][2] * v[2] + m[r][3] * v[3];
    }
    friend Mat4 operator*(const Mat4& a, const Mat4& b) {
        Mat4 product;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                product.m[r][c] = 0;
                for (int k = 0; k < 4; ++k) product.m[r][c] += a.m[r][k] * b.m[k][c];
            }
        return product;
    }
};

inline Mat4 mat4(const ERMatrix<double>& linear, const ERPoint3D& t, double k) {
    Mat4 result;
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c) result.m[r][c] = k * linear(r, c);
    result.m[0][3] = t.x();
    result.m[1][3] = t.y();
    result.m[2][3] = t.z();
    return result;
}

inline ERMatrix<double> matrixOf(const std::array<double, 9>& e) {
    ERMatrix<double> m(3, 3);
    for (unsigned int i = 0; i < 9; ++i) m(i / 3, i % 3) = e[i];
    return m;
}

inline ERMatrix<double> rotationMatrix(const ERVector3D& axis, double angle) {
    return ERQuaternion(axis, angle).GetMatrix();
}

inline ERMatrix<double> unit() { return IdentityMatrix(3); }
inline ERMatrix<double> negated(const ERMatrix<double>& m) {
    ERMatrix<double> n(3, 3);
    for (unsigned int i = 0; i < 9; ++i) n(i / 3, i % 3) = -m(i / 3, i % 3);
    return n;
}

// Holds a representation the way a handle does, without reducing it.
class Held {
public:
    explicit Held(const ERTr3DRevRep* representation) : rep(representation) { rep->addReference(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() {
        if (rep->removeReference() == 0) delete rep;
    }
    const ERTr3DRevRep* operator->() const { return rep; }
    const ERTr3DRevRep* get() const { return rep; }

private:
    const ERTr3DRevRep* rep;
};

enum Kind { identity, translation, rotation, workplane, scaling, symmetry, similitude };
inline const char* const kindNames[] = {"_ERIdentity3D",  "_ERTranslation3D", "_ERRotation3D",
                                        "_ERWorkplane",   "_ERScaling3D",     "_ERSymetrie3D",
                                        "_ERSimilitude3D"};

struct Sample {
    Kind kind;
    const ERTr3DRevRep* rep;  // new, to be held
    Mat4 matrix;
};

inline ERMatrix<double> mirrorMatrix() {
    const double c = std::cos(0.7), s = std::sin(0.7);
    return matrixOf({c, s, 0, s, -c, 0, 0, 0, 1});
}

inline Sample sampleOf(Kind kind) {
    const ERPoint3D t(3, -1, 2.5);
    const ERMatrix<double> turn = rotationMatrix(ERVector3D(1, 2, -0.5), 1.1);
    const ERMatrix<double> turnAndMirror = negated(rotationMatrix(ERVector3D(0.3, 1, 1), -2.0));
    switch (kind) {
        case identity:
            return {kind, new _ERIdentity3D, Mat4()};
        case translation:
            return {kind, new _ERTranslation3D(t), mat4(unit(), t, 1)};
        case rotation:
            return {kind, new _ERRotation3D(turn), mat4(turn, ERPoint3D(), 1)};
        case workplane:
            return {kind, new _ERWorkplane(turn, t), mat4(turn, t, 1)};
        case scaling:
            return {kind, new _ERScaling3D(1.75), mat4(unit(), ERPoint3D(), 1.75)};
        case symmetry:
            return {kind, new _ERSymetrie3D(mirrorMatrix()), mat4(mirrorMatrix(), ERPoint3D(), 1)};
        default:
            return {similitude, new _ERSimilitude3D(turnAndMirror, t, 0.6),
                    mat4(turnAndMirror, t, 0.6)};
    }
}

inline std::vector<ERPoint3D> somePoints() {
    std::vector<ERPoint3D> points = {ERPoint3D(), ERPoint3D(1, 0, 0), ERPoint3D(-4, 5, 6)};
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-10, 10);
    for (int i = 0; i < 10; ++i)
        points.emplace_back(coordinate(random), coordinate(random), coordinate(random));
    return points;
}

inline void expectNear(const ERPoint3D& a, const ERPoint3D& b, double tolerance = 1e-13) {
    EXPECT_NEAR(a.x(), b.x(), tolerance);
    EXPECT_NEAR(a.y(), b.y(), tolerance);
    EXPECT_NEAR(a.z(), b.z(), tolerance);
}
inline void expectNear(const ERVector3D& a, const ERVector3D& b, double tolerance = 1e-13) {
    expectNear(ERPoint3D(a.i(), a.j(), a.k()), ERPoint3D(b.i(), b.j(), b.k()), tolerance);
}

// Both directions, on points and vectors, against the 4 by 4 matrix.
inline void expectMaps(const ERTr3DRev& t, const Mat4& matrix, double tolerance = 1e-13) {
    for (const ERPoint3D& p : somePoints()) {
        ERPoint3D image(p);
        t.TransFrom(image);
        expectNear(image, matrix.point(p), tolerance);
        t.TransTo(image);
        expectNear(image, p, tolerance);
        const ERVector3D v(p);
        ERVector3D turned(v);
        t.TransFrom(turned);
        expectNear(turned, matrix.vector(v), tolerance);
        t.TransTo(turned);
        expectNear(turned, v, tolerance);
    }
}

inline const char* kindOf(const ERTr3DRevEnveloppe& handle) {
    return handle.getRepresentation()->className();
}

}  // namespace kerf::test
