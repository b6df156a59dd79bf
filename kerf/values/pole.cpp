#include "kerf/values/pole.h"

#include <istream>
#include <ostream>

namespace kerf {

namespace coordinates {

void printPole(std::ostream& os, const double* fields, unsigned int count) {
    const std::streamsize width = os.width();
    print(os, fields, count - 1, "[", "]");
    os.width(width);
    print(os, fields + count - 1, 1, "(", ")");
}

bool scanPole(std::istream& is, double* fields, unsigned int count) {
    return scan(is, fields, count - 1) && is >> fields[count - 1];
}

}  // namespace coordinates

ERPole3DH ERPole2DH::castToPole3D(enum Coord3D axis, double v) const {
    switch (axis) {
        case Coord3D::CoordX:
        case Coord3D::CoordY:
        case Coord3D::CoordZ:
            return ERPole3DH(weighted_.castToPoint3D(axis, v), w_);
    }
    return ERPole3DH();
}

ERPole2DH ERPole3DH::castToPole2D(enum Coord3D axis) const {
    switch (axis) {
        case Coord3D::CoordX:
        case Coord3D::CoordY:
        case Coord3D::CoordZ:
            return ERPole2DH(weighted_.castToPoint2D(axis), w_);
    }
    return ERPole2DH();
}

}  // namespace kerf
