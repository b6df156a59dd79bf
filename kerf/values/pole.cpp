#include "kerf/values/pole.h"

#include <istream>
#include <ostream>

namespace kerf {

namespace {

template <class Point>
void printPole(std::ostream& os, const Point& weighted, double w) {
    const std::streamsize width = os.width();
    weighted.printOn(os);
    os.width(width);
    coordinates::print(os, &w, 1, "(", ")");
}

template <class Pole, class Point>
std::istream& scanPole(std::istream& is, Pole& pole, Point weighted) {
    double w;
    if (is >> weighted >> w) pole = Pole(weighted, w);
    return is;
}

}  // namespace

void ERPole2DH::printOn(std::ostream& os) const { printPole(os, weighted_, w_); }

void ERPole3DH::printOn(std::ostream& os) const { printPole(os, weighted_, w_); }

std::istream& operator>>(std::istream& is, ERPole2DH& pole) {
    return scanPole(is, pole, ERPoint2D());
}

std::istream& operator>>(std::istream& is, ERPole3DH& pole) {
    return scanPole(is, pole, ERPoint3D());
}

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
