#pragma once
#include <array>

#include "kerf/numerics/linear_solvers.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d_representation.h"
#include "tests/values/value_checks.h"

// One representation of each class, with the 4 by 4 matrix that says what it does.
namespace kerf::test {

// Oracle: homogeneous 4 by 4 matrices with the scale in the linear part.
struct Mat4 {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    // The image of a point (w = 1) or of a vector (w = 0).
    ERPoint3D image(const ERPoint3D& p, double w = 1) const {
        double v[3];
        for (int r = 0; r < 3; ++r)
            v[r] = m[r][0] * p.x() + m[r][1] * p.y() + m[r][2] * p.z() + m[r][3] * w;
        return ERPoint3D(v[0], v[1], v[2]);
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
inline ERMatrix<double> negated(ERMatrix<double> m) {
    for (unsigned int i = 0; i < 9; ++i) m(i / 3, i % 3) *= -1;
    return m;
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
    const ERTr3DRevRep& operator*() const { return *rep; }

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
    std::vector<ERPoint3D> points = {ERPoint3D(), ERPoint3D(1, 0, 0)};
    for (int i = 0; i < 10; ++i)
        points.emplace_back(8 * std::sin(i), 9 * std::sin(2.3 * i + 1), 7 * std::cos(1.7 * i));
    return points;
}

template <class T>
void expectNear(const T& a, const T& b, double tolerance = 1e-13) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a << " is not " << b;
}

// Both directions, on points and vectors, against the 4 by 4 matrix.
inline void expectMaps(const ERTr3DRev& t, const Mat4& matrix, double tolerance = 1e-13) {
    for (const ERPoint3D& p : somePoints()) {
        ERPoint3D image(p);
        t.TransFrom(image);
        expectNear(image, matrix.image(p), tolerance);
        t.TransTo(image);
        expectNear(image, p, tolerance);
        ERVector3D turned(p);
        t.TransFrom(turned);
        expectNear(turned, ERVector3D(matrix.image(p, 0)), tolerance);
        t.TransTo(turned);
        expectNear(turned, ERVector3D(p), tolerance);
    }
}

inline const char* kindOf(const ERTr3DRevEnveloppe& handle) {
    return handle.getRepresentation()->className();
}

}  // namespace kerf::test
