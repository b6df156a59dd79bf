#include "kerf/values/point.h"

#include <istream>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/numerics/constants.h"
#include "kerf/platform/archive.h"

namespace kerf {

const double equalityTolerance = comparisonTolerance;

namespace coordinates {

void print(std::ostream& os, const double* values, unsigned int count, const char* open,
           const char* close) {
    const std::streamsize width = os.width();
    os.width(1);
    os << open;
    for (unsigned int i = 0; i < count; ++i) {
        if (i > 0) {
            os.width(1);
            os << ",";
        }
        os.width(width);
        os << values[i];
    }
    os.width(1);
    os << close;
}

bool scan(std::istream& is, double* values, unsigned int count) {
    double read[3];
    char separator;
    for (unsigned int i = 0; i < count; ++i)
        if (!(is >> separator >> read[i])) return false;
    if (!(is >> separator)) return false;
    for (unsigned int i = 0; i < count; ++i) values[i] = read[i];
    return true;
}

void save(ERFile& file, const double* values, unsigned int count) { file.Write(values, count); }

void restore(ERFile& file, double* values, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) values[i] = 0.0;
    file.Read(values, count);
}

void overwrite(ERFile& file, double* values, unsigned int count) { file.Read(values, count); }

void store(CArchive& archive, const double* values, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) archive << values[i];
}

void load(CArchive& archive, double* values, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) archive >> values[i];
}

double divisorOfExtreme(const double* values, unsigned int count) {
    const double length =
        count == 2 ? std::hypot(values[0], values[1]) : std::hypot(values[0], values[1], values[2]);
    return length != 0.0 ? length : 1.0;
}

}  // namespace coordinates

namespace {

template <class Tuple3>
Tuple3 insertCoordinate(enum Coord3D axis, double v, double first, double second) {
    switch (axis) {
        case Coord3D::CoordX:
            return Tuple3(v, first, second);
        case Coord3D::CoordY:
            return Tuple3(first, v, second);
        case Coord3D::CoordZ:
            return Tuple3(first, second, v);
    }
    return Tuple3();
}

template <class Tuple2>
Tuple2 dropCoordinate(enum Coord3D axis, double x, double y, double z) {
    switch (axis) {
        case Coord3D::CoordX:
            return Tuple2(y, z);
        case Coord3D::CoordY:
            return Tuple2(x, z);
        case Coord3D::CoordZ:
            break;
    }
    return Tuple2(x, y);
}

}  // namespace

ERPoint3D ERPoint2D::castToPoint3D(enum Coord3D axis, double v) const {
    return insertCoordinate<ERPoint3D>(axis, v, x(), y());
}

ERVector3D ERVector2D::castToVector3D(enum Coord3D axis, double v) const {
    return insertCoordinate<ERVector3D>(axis, v, i(), j());
}

ERPoint2D ERPoint3D::castToPoint2D(enum Coord3D axis) const {
    return dropCoordinate<ERPoint2D>(axis, x(), y(), z());
}

ERVector2D ERVector3D::castToVector2D(enum Coord3D axis) const {
    return dropCoordinate<ERVector2D>(axis, i(), j(), k());
}

void ERPoint2D::printOn(std::ostream& os) const {
    coordinates::print(os, coordinates_, 2, "[", "]");
}

void ERPoint3D::printOn(std::ostream& os) const {
    coordinates::print(os, coordinates_, 3, "[", "]");
}

void ERVector2D::printOn(std::ostream& os) const {
    coordinates::print(os, coordinates_, 2, "{", "}");
}

void ERVector3D::printOn(std::ostream& os) const {
    coordinates::print(os, coordinates_, 3, "<", ">");
}

enum Coord3D ERVector3D::axeOptimum() const {
    const double x = std::fabs(i()), y = std::fabs(j()), z = std::fabs(k());
    if (x > y && x > z) return Coord3D::CoordX;
    return y > z ? Coord3D::CoordY : Coord3D::CoordZ;
}

double anglePI(const ERVector2D& u, const ERVector2D& v) {
    return std::acos(u.getnormalized() * v.getnormalized());
}

double anglePI(const ERVector3D& u, const ERVector3D& v) {
    const ERVector3D a = u.getnormalized(), b = v.getnormalized();
    return std::atan2(norme(a ^ b), a * b);
}

double div_vect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
    const ERVector2D chord(a, b);
    if (std::fabs(chord.i()) > std::fabs(chord.j())) return (c.x() - a.x()) / chord.i();
    return (c.y() - a.y()) / chord.j();
}

double div_vect(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c) {
    const ERVector3D chord(a, b);
    const double x = std::fabs(chord.i()), y = std::fabs(chord.j()), z = std::fabs(chord.k());
    if (x > y && x > z) return (c.x() - a.x()) / chord.i();
    if (z >= y) return (c.z() - a.z()) / chord.k();
    return (c.y() - a.y()) / chord.j();
}

}  // namespace kerf
