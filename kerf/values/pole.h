#pragma once
#include <cmath>
#include <iosfwd>

#include "kerf/values/point.h"

// Homogeneous control points of rational curves and surfaces.
namespace kerf {

/// What both poles share: a weighted point, already multiplied by w, and the weight.
template <class T, class Point, unsigned int N>
class WeightedPoint : public ValueOperators<T> {
public:
    double weigth() const { return w_; }
    double& weigth() { return w_; }
    static constexpr int getDim() { return static_cast<int>(N); }
    static constexpr int isRational() { return 1; }

    /// The Cartesian point: the stored coordinates over w; infinities or NaNs when w is 0.
    Point castToPoint() const { return weighted_ / w_; }
    /// The stored, weighted coordinates as they are, not the Cartesian point.
    const Point& thePoint() const { return weighted_; }
    Point& thePoint() { return weighted_; }

    // All coordinates take part, w included: *= and /= leave the Cartesian point where it is.
    T& operator+=(const T& other) {
        weighted_ += other.weighted_;
        w_ += other.w_;
        return self();
    }
    T& operator-=(const T& other) {
        weighted_ -= other.weighted_;
        w_ -= other.w_;
        return self();
    }
    T& operator*=(double f) {
        weighted_ *= f;
        w_ *= f;
        return self();
    }
    T& operator/=(double f) {
        weighted_ /= f;
        w_ /= f;
        return self();
    }
    friend T operator/(const T& a, double f) { return T(a.weighted_ / f, a.w_ / f); }
    friend T operator-(const T& a) { return T(-a.weighted_, -a.w_); }

    /// Exact, on the stored coordinates: the same Cartesian point with another weight differs.
    friend bool operator==(const T& a, const T& b) {
        return a.weighted_ == b.weighted_ && a.w_ == b.w_;
    }
    /// Scales or moves the Cartesian point; w stays. (*= does not move it.)
    void scale(double f) { weighted_ *= f; }
    void translate(const Point& t) { weighted_ += t * w_; }

    ERULong binaryStoreSize() const { return N * sizeof(double); }
    void saveGuts(ERFile& file) const {
        double fields[N];
        coordinates::save(file, toArray(fields), N);
    }
    void restoreGuts(ERFile& file) {
        double fields[N];
        coordinates::restore(file, fields, N);
        fromArray(fields);
    }
    friend CArchive& operator<<(CArchive& archive, const T& pole) {
        double fields[N];
        coordinates::store(archive, pole.toArray(fields), N);
        return archive;
    }
    friend CArchive& operator>>(CArchive& archive, T& pole) {
        double fields[N];
        coordinates::load(archive, fields, N);
        pole.fromArray(fields);
        return archive;
    }

protected:
    WeightedPoint() : weighted_(), w_(0.0) {}
    WeightedPoint(const Point& weighted, double w) : weighted_(weighted), w_(w) {}

    Point weighted_;
    double w_;

private:
    T& self() { return static_cast<T&>(*this); }

    const double* toArray(double* fields) const {
        fields[0] = weighted_.x();
        fields[1] = weighted_.y();
        if constexpr (N == 4) fields[2] = weighted_.z();
        fields[N - 1] = w_;
        return fields;
    }
    void fromArray(const double* fields) {
        if constexpr (N == 3)
            weighted_ = Point(fields[0], fields[1]);
        else
            weighted_ = Point(fields[0], fields[1], fields[2]);
        w_ = fields[N - 1];
    }
};

class ERPole3DH;

/// A control point in the plane: x and y are stored multiplied by w. A usable pole has w != 0; the
/// default value is all zeros, a place for a later assignment. 24 bytes: x, y, w.
class KERF_EXPORT ERPole2DH : public WeightedPoint<ERPole2DH, ERPoint2D, 3> {
public:
    ERPole2DH() = default;
    ERPole2DH(double x, double y, double w) : WeightedPoint(ERPoint2D(x, y), w) {}
    /// p holds the weighted coordinates and is copied as it stands, unlike the Cartesian point that
    /// castToPoint answers: who has a Cartesian point multiplies it by w first.
    ERPole2DH(const ERPoint2D& p, double w) : WeightedPoint(p, w) {}

    double x() const { return weighted_.x(); }
    double y() const { return weighted_.y(); }
    double& x() { return weighted_.x(); }
    double& y() { return weighted_.y(); }
    /// The stored coordinate, or w.
    double operator[](enum Coord2DH i) const {
        return i == Coord2DH::CoordW ? w_ : weighted_[static_cast<Coord2D>(i)];
    }
    double& operator[](enum Coord2DH i) {
        return i == Coord2DH::CoordW ? w_ : weighted_[static_cast<Coord2D>(i)];
    }
    /// The Cartesian coordinate.
    double operator[](enum Coord2D i) const { return weighted_[i] / w_; }

    /// The weighted point in the form of a point, then "(w)", both at the stream's field width.
    void printOn(std::ostream& os) const;

    /// v inserted as the stored coordinate `axis`, not multiplied by w; all zeros for an axis out
    /// of range.
    ERPole3DH castToPole3D(enum Coord3D axis, double v) const;
};

/// A control point in space, 32 bytes: x, y, z, w. The rest as ERPole2DH.
class KERF_EXPORT ERPole3DH : public WeightedPoint<ERPole3DH, ERPoint3D, 4> {
public:
    ERPole3DH() = default;
    ERPole3DH(double x, double y, double z, double w) : WeightedPoint(ERPoint3D(x, y, z), w) {}
    ERPole3DH(const ERPoint3D& p, double w) : WeightedPoint(p, w) {}

    double x() const { return weighted_.x(); }
    double y() const { return weighted_.y(); }
    double z() const { return weighted_.z(); }
    double& x() { return weighted_.x(); }
    double& y() { return weighted_.y(); }
    double& z() { return weighted_.z(); }
    double operator[](enum Coord3DH i) const {
        return i == Coord3DH::CoordW ? w_ : weighted_[static_cast<Coord3D>(i)];
    }
    double& operator[](enum Coord3DH i) {
        return i == Coord3DH::CoordW ? w_ : weighted_[static_cast<Coord3D>(i)];
    }
    double operator[](enum Coord3D i) const { return weighted_[i] / w_; }

    void printOn(std::ostream& os) const;

    /// Drops the stored coordinate `axis`; all zeros for an axis out of range.
    ERPole2DH castToPole2D(enum Coord3D axis) const;
};

KERF_PLAIN_VALUE(ERPole2DH, 3);
KERF_PLAIN_VALUE(ERPole3DH, 4);

/// 1 when every stored coordinate and w agree within tol, bounds included; the Cartesian points are
/// not compared.
inline int isEqual(const ERPole2DH& a, const ERPole2DH& b, double tol) {
    return isEqual(a.thePoint(), b.thePoint(), tol) && std::fabs(a.weigth() - b.weigth()) <= tol;
}
inline int isEqual(const ERPole3DH& a, const ERPole3DH& b, double tol) {
    return isEqual(a.thePoint(), b.thePoint(), tol) && std::fabs(a.weigth() - b.weigth()) <= tol;
}

/// Reads a point, then a plain number for w. The brackets that printOn puts round w are not read,
/// so a printed pole does not read back: stored texts rely on it. A stream that fails leaves the
/// pole alone.
KERF_EXPORT std::istream& operator>>(std::istream& is, ERPole2DH& pole);
KERF_EXPORT std::istream& operator>>(std::istream& is, ERPole3DH& pole);

}  // namespace kerf
