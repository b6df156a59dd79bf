#pragma once
#include "kerf/core/smart_pointer.h"
#include "kerf/numerics/linear_solvers.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d_representation.h"
#include "tests/support/value_checks.h"

// One representation of each class, with the 4 by 4 matrix that says what it does.
namespace kerf::test {

// Oracle: homogeneous 4 by 4 matrices with the scale in the linear part.
using Mat4 = ERMatrix<double>;

inline Mat4 mat4(const ERMatrix<double>& linear, const ERPoint3D& t, double k) {
    Mat4 result = IdentityMatrix(4);
    for (unsigned int r = 0; r < 3; ++r) {
        for (unsigned int c = 0; c < 3; ++c) result(r, c) = k * linear(r, c);
        result(r, 3) = raw(t)[r];
    }
    return result;
}

inline Mat4 product(const Mat4& a, const Mat4& b) {
    Mat4 result(a.rows(), b.cols(), 0.0);
    for (unsigned int r = 0; r < a.rows(); ++r)
        for (unsigned int c = 0; c < b.cols(); ++c)
            for (unsigned int k = 0; k < a.cols(); ++k) result(r, c) += a(r, k) * b(k, c);
    return result;
}

// The image of a point (w = 1), of a vector (w = 0), or of the stored coordinates of a pole.
inline ERPoint3D image(const Mat4& m, const ERPoint3D& p, double w = 1) {
    const auto row = [&](unsigned int r) {
        return m(r, 0) * p.x() + m(r, 1) * p.y() + m(r, 2) * p.z() + m(r, 3) * w;
    };
    return ERPoint3D(row(0), row(1), row(2));
}

inline ERMatrix<double> unit() { return IdentityMatrix(3); }
inline ERMatrix<double> matrixOf(const std::array<double, 9>& elements) {
    return ERMatrix<double>(elements.data(), 3, 3);
}
inline ERMatrix<double> rotationMatrix(const ERVector3D& axis, double angle) {
    return ERQuaternion(axis, angle).GetMatrix();
}
inline ERMatrix<double> mirrorMatrix() {
    const double c = std::cos(0.7), s = std::sin(0.7);
    return matrixOf({c, s, 0, s, -c, 0, 0, 0, 1});
}

enum Kind { identity, translation, rotation, workplane, scaling, symmetry, similitude };
inline const char* const kindNames[] = {"_ERIdentity3D",  "_ERTranslation3D", "_ERRotation3D",
                                        "_ERWorkplane",   "_ERScaling3D",     "_ERSymetrie3D",
                                        "_ERSimilitude3D"};

// Holds a representation the way a handle does, without reducing it.
using Held = t_SmartPtr<const ERTr3DRevRep>;

struct Sample {
    Kind kind;
    Held rep;
    Mat4 matrix;
};

inline std::vector<Sample> samples() {
    const ERPoint3D t(3, -1, 2.5), none;
    const ERMatrix<double> rotated = rotationMatrix(ERVector3D(1, 2, -0.5), 1.1);
    const ERMatrix<double> mirror = mirrorMatrix(), both = product(rotated, mirror);
    return {{identity, new _ERIdentity3D, IdentityMatrix(4)},
            {translation, new _ERTranslation3D(t), mat4(unit(), t, 1)},
            {rotation, new _ERRotation3D(rotated), mat4(rotated, none, 1)},
            {workplane, new _ERWorkplane(rotated, t), mat4(rotated, t, 1)},
            {scaling, new _ERScaling3D(1.75), mat4(unit(), none, 1.75)},
            {symmetry, new _ERSymetrie3D(mirror), mat4(mirror, none, 1)},
            {similitude, new _ERSimilitude3D(both, t, 0.6), mat4(both, t, 0.6)}};
}
inline Sample sampleOf(Kind kind) { return samples()[kind]; }

// A transformation that has the pure operations alone: the rest is what the abstract classes do.
struct Bare : ERTr3DRev {
    explicit Bare(const Held& given) : rep(given) {}
    using ERTr3DRev::TransFrom;
    using ERTr3DRev::TransTo;
    void TransTo(ERVector3D& v) const override { rep->TransTo(v); }
    void TransTo(ERPoint3D& p) const override { rep->TransTo(p); }
    void TransFrom(ERVector3D& v) const override { rep->TransFrom(v); }
    void TransFrom(ERPoint3D& p) const override { rep->TransFrom(p); }
    const ERTr3DRevRep* getInverse() const override { return rep->getInverse(); }
    ERMatrix<double> getMatrix() const override { return rep->getMatrix(); }
    ERPoint3D getTrans() const override { return rep->getTrans(); }
    double getFactHomo() const override { return rep->getFactHomo(); }
    int isDirect() const override { return rep->isDirect(); }
    ERObject* getCopy() const override { return new Bare(*this); }
    void printOn(std::ostream& os) const override { rep->printOn(os); }

    Held rep;
};

// Both directions, in every form of the arguments, against the 4 by 4 matrix.
inline void expectMaps(const ERTr3DRev& t, const Mat4& matrix, double tolerance = 1e-13) {
    constexpr unsigned int count = 10;
    const double weights[] = {4.0, 0.0, -0.5};
    ERVec<ERPoint3D> points(count);
    ERVec<ERPole3DH> poles(count);
    for (unsigned int i = 0; i < count; ++i) {
        points[i] = ERPoint3D(8 * std::sin(i), 9 * std::sin(2.3 * i + 1), 7 * std::cos(1.7 * i));
        poles[i] = ERPole3DH(points[i], weights[i % 3]);
    }
    ERVec<ERPoint3D> images(points);
    t.TransFrom(images);
    t.TransFrom(poles);
    for (unsigned int i = 0; i < count; ++i) {
        const ERPoint3D &p = points[i], expected = image(matrix, p);
        const double w = weights[i % 3];
        ERPoint3D q(p);
        ERVector3D v(p);
        t.TransFrom(q);
        t.TransFrom(v);
        expectNear(q, expected, tolerance);
        expectNear(v, ERVector3D(image(matrix, p, 0)), tolerance);
        EXPECT_EQ(images[i], q);
        expectNear(poles[i], ERPole3DH(image(matrix, p, w), w), 4 * tolerance);
        expectNear(t.Project(q), ERPoint2D(p.x(), p.y()), tolerance);
        expectNear(t.Project(poles[i]), ERPole2DH(p.x(), p.y(), w), 4 * tolerance);
        t.TransTo(q);
        t.TransTo(v);
        expectNear(q, p, tolerance);
        expectNear(v, ERVector3D(p), tolerance);
    }
    t.TransTo(images);
    t.TransTo(poles);
    for (unsigned int i = 0; i < count; ++i) {
        expectNear(images[i], points[i], tolerance);
        expectNear(poles[i], ERPole3DH(points[i], weights[i % 3]), 4 * tolerance);
    }
}

inline const char* kindOf(const ERTr3DRevEnveloppe& handle) {
    return handle.getRepresentation()->className();
}

}  // namespace kerf::test
