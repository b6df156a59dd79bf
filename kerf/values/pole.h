#pragma once
#include <array>
#include <cmath>
#include <iosfwd>

#include "kerf/values/point.h"
#include "kerf/values/space.h"

// Homogeneous control points of rational curves and surfaces.
namespace kerf {

namespace coordinates {

/// The text of a pole, whose last field is w; scanPole is false, with the fields undefined, when the
/// stream has failed.
KERF_EXPORT void printPole(std::ostream& os, const double* fields, unsigned int count);
KERF_EXPORT bool scanPole(std::istream& is, double* fields, unsigned int count);

}  // namespace coordinates

/// What both poles share: a weighted point, already multiplied by w, and the weight.
template <class Space>
class WeightedPoint : public ValueOperators<typename Space::Pole> {
    static constexpr unsigned int size = Space::dimension + 1;

public:
    using Pole = typename Space::Pole;
    using Point = typename Space::Point;

    double x() const { return weighted_.x(); }
    double y() const { return weighted_.y(); }
    double& x() { return weighted_.x(); }
    double& y() { return weighted_.y(); }
    double weigth() const { return w_; }
    double& weigth() { return w_; }
    /// The stored coordinate, or w.
    double operator[](typename Space::PoleAxis axis) const {
        return axis == Space::PoleAxis::CoordW ? w_ : weighted_[pointAxis(axis)];
    }
    double& operator[](typename Space::PoleAxis axis) {
        return axis == Space::PoleAxis::CoordW ? w_ : weighted_[pointAxis(axis)];
    }
    /// The Cartesian coordinate.
    double operator[](typename Space::Axis axis) const { return weighted_[axis] / w_; }

    static constexpr int getDim() { return static_cast<int>(size); }
    static constexpr int isRational() { return 1; }

    /// The Cartesian point: the stored coordinates over w; infinities or NaNs when w is zero.
    Point castToPoint() const { return weighted_ / w_; }
    /// The stored, weighted coordinates as they are, not the Cartesian point.
    const Point& thePoint() const { return weighted_; }
    Point& thePoint() { return weighted_; }

    // All coordinates take part, w included: *= and /= leave the Cartesian point where it is.
    Pole& operator+=(const Pole& other) {
        weighted_ += other.weighted_;
        w_ += other.w_;
        return self();
    }
    Pole& operator-=(const Pole& other) {
        weighted_ -= other.weighted_;
        w_ -= other.w_;
        return self();
    }
    Pole& operator*=(double f) {
        weighted_ *= f;
        w_ *= f;
        return self();
    }
    Pole& operator/=(double f) {
        weighted_ /= f;
        w_ /= f;
        return self();
    }
    friend Pole operator/(const Pole& a, double f) { return Pole(a.weighted_ / f, a.w_ / f); }
    friend Pole operator-(const Pole& a) { return Pole(-a.weighted_, -a.w_); }

    /// Exact, on the stored coordinates: the same Cartesian point with another weight differs.
    friend bool operator==(const Pole& a, const Pole& b) {
        return a.weighted_ == b.weighted_ && a.w_ == b.w_;
    }
    /// 1 when every stored coordinate and w agree within tol, bounds included; the Cartesian points
    /// are not compared.
    friend int isEqual(const Pole& a, const Pole& b, double tol) {
        return isEqual(a.weighted_, b.weighted_, tol) && std::fabs(a.w_ - b.w_) <= tol;
    }

    /// Scales or moves the Cartesian point; w stays. (*= does not move it.)
    void scale(double f) { weighted_ *= f; }
    void translate(const Point& t) { weighted_ += t * w_; }

    /// The weighted point in the form of a point, then "(w)", both at the stream's field width.
    void printOn(std::ostream& os) const { coordinates::printPole(os, fields().data(), size); }
    /// Reads a point, then a plain number for w. A stream that fails leaves the pole as it was.
    /// Kept: the brackets that printOn puts round w are not read, so a printed pole does not read
    ///       back.
    friend std::istream& operator>>(std::istream& is, Pole& pole) {
        std::array<double, size> read;
        if (coordinates::scanPole(is, read.data(), size)) pole.set(read);
        return is;
    }

    ERULong binaryStoreSize() const { return size * sizeof(double); }
    void saveGuts(ERFile& file) const { coordinates::save(file, fields().data(), size); }
    void restoreGuts(ERFile& file) {
        std::array<double, size> read;
        coordinates::restore(file, read.data(), size);
        set(read);
    }
    friend CArchive& operator<<(CArchive& archive, const Pole& pole) {
        coordinates::store(archive, pole.fields().data(), size);
        return archive;
    }
    friend CArchive& operator>>(CArchive& archive, Pole& pole) {
        std::array<double, size> read;
        coordinates::load(archive, read.data(), size);
        pole.set(read);
        return archive;
    }

protected:
    WeightedPoint() : weighted_(), w_(0.0) {}
    WeightedPoint(const Point& weighted, double w) : weighted_(weighted), w_(w) {}

    Point weighted_;
    double w_;

private:
    Pole& self() { return static_cast<Pole&>(*this); }

    static constexpr typename Space::Axis pointAxis(typename Space::PoleAxis axis) {
        return static_cast<typename Space::Axis>(axis);
    }
    std::array<double, size> fields() const {
        std::array<double, size> all;
        const auto point = Space::coordinates(weighted_);
        for (unsigned int i = 0; i + 1 < size; ++i) all[i] = point[i];
        all[size - 1] = w_;
        return all;
    }
    void set(const std::array<double, size>& all) {
        weighted_ = Space::point(all.data());
        w_ = all[size - 1];
    }
};

/// A control point in the plane: x and y are stored multiplied by w. A usable pole has a w other
/// than zero; the default value is all zeros, a place for a later assignment. 24 bytes: x, y, w.
class KERF_EXPORT ERPole2DH : public WeightedPoint<Space2D> {
public:
    ERPole2DH() = default;
    ERPole2DH(double x, double y, double w) : WeightedPoint(ERPoint2D(x, y), w) {}
    /// Kept: p holds the weighted coordinates and is copied as it stands, unlike the Cartesian point
    ///       that castToPoint returns. Whoever has a Cartesian point multiplies it by w first.
    ERPole2DH(const ERPoint2D& p, double w) : WeightedPoint(p, w) {}

    /// v inserted as the stored coordinate `axis`, not multiplied by w; all zeros for an axis out
    /// of range.
    ERPole3DH castToPole3D(enum Coord3D axis, double v) const;
};

/// A control point in space, 32 bytes: x, y, z, w. The rest as ERPole2DH.
class KERF_EXPORT ERPole3DH : public WeightedPoint<Space3D> {
public:
    ERPole3DH() = default;
    ERPole3DH(double x, double y, double z, double w) : WeightedPoint(ERPoint3D(x, y, z), w) {}
    ERPole3DH(const ERPoint3D& p, double w) : WeightedPoint(p, w) {}

    double z() const { return weighted_.z(); }
    double& z() { return weighted_.z(); }

    /// Drops the stored coordinate `axis`; all zeros for an axis out of range.
    ERPole2DH castToPole2D(enum Coord3D axis) const;
};

static_assert(isPlainValue<ERPole2DH, 3> && isPlainValue<ERPole3DH, 4>);

// Found in the namespace too, for arguments that convert.
int isEqual(const ERPole2DH& a, const ERPole2DH& b, double tol);
int isEqual(const ERPole3DH& a, const ERPole3DH& b, double tol);

/// The pole under an affine map P -> M P + t of the Cartesian points, which is given on homogeneous
/// coordinates: map(p, w) returns M p + w t for the weighted point p. The weight stays, zero too,
/// and nothing is divided.
template <class Space, class Map>
typename Space::Pole mapped(const WeightedPoint<Space>& pole, const Map& map) {
    return typename Space::Pole(map(pole.thePoint(), pole.weigth()), pole.weigth());
}

}  // namespace kerf
