#include "kerf/values/info_point.h"

#include <cmath>
#include <limits>
#include <ostream>

#include "kerf/values/transformation_3d.h"

namespace kerf {

namespace {

template <class Vector>
double radiusOfCurvature(const Vector& first, double crossLength) {
    if (crossLength <= equalityTolerance) return std::numeric_limits<double>::max();
    return norme(first) * (first * first) / crossLength;
}

}  // namespace

ERVector2D ERInfoPoint2D::normale() const {
    return ERVector2D(-first_.j(), first_.i()).getnormalized();
}

double ERInfoPoint2D::radius() const {
    return radiusOfCurvature(first_, std::fabs(first_ ^ second_));
}

void ERInfoPoint2D::printOn(std::ostream& os) const {
    os << "- Parametre     : " << parameter_ << '\n'
       << "- Sens          : " << sense_ << '\n'
       << "- Point courant : " << point_ << '\n'
       << "- Tangente      : " << first_ << '\n'
       << "- Normale       : " << normale() << '\n'
       << "- courbure      : " << radius() << '\n';
}

ERInfoPoint3DWF::ERInfoPoint3DWF(const ERInfoPoint2D& planar, const ERTr3DRev& transformation,
                                 enum Coord3D axis, double value)
    : CurveInfoPoint(planar.parameter(), planar.sense(), planar.point().castToPoint3D(axis, value),
                     planar.tangente().castToVector3D(axis, value),
                     planar.secondDerivative().castToVector3D(axis, value)) {
    transformation.TransFrom(point_);
    transformation.TransFrom(first_);
    transformation.TransFrom(second_);
}

ERVector3D ERInfoPoint3DWF::normale() const {
    return ((first_ ^ second_) ^ first_).getnormalized();
}

double ERInfoPoint3DWF::radius() const {
    return radiusOfCurvature(first_, norme(first_ ^ second_));
}

int ERInfoPoint3DWF::isTgteSingular() const { return first_ * first_ == 0.0; }

int ERInfoPoint3DWF::isNormSingular() const {
    if (second_ * second_ == 0.0) return 1;
    return norme(second_ ^ first_) == 0.0;
}

void ERInfoPoint3DWF::printOn(std::ostream& os) const {
    os << "- Parametre         :  u = " << parameter_ << '\n'
       << "- Sens              :  s = " << sense_ << '\n'
       << "- Point courant     :  P = " << point_ << '\n'
       << "- Tangente          :  T = " << first_ << '\n'
       << "- Normale           :  N = " << normale() << '\n'
       << "- Rayon de courbure :  R = " << radius() << '\n';
}

}  // namespace kerf
