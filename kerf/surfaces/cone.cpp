#include "kerf/surfaces/cone.h"

#include <cmath>
#include <ostream>

namespace kerf {

ER_DEFINE_CLASS(ERCone, ERSurface)
ER_DEFINE_STORED_CLASS(ERCone, ERSurface)

double ERCone::radius(double h) const { return std::tan(halfAngle_) * h; }

ERCone ERCone::getOffset(double k) const {
    ERCone cone(*this);
    cone.apex_ -= axis_ * (k / std::sin(halfAngle_));
    return cone;
}

int ERCone::project(const ERPoint3D&, ERPoint3D&, ERPoint3D&, double&, double&, double&,
                    double&) const {
    return 1;
}

EREntity::DISTMINRES ERCone::SignedMinimalDistance(const ERPoint3D& p, double& distance) const {
    return SignedMinimalDistanceCone(p, apex_, axis_, halfAngle_, distance);
}

EREntity::DISTMINRES ERCone::SignedMinimalDistanceCone(const ERPoint3D& p, const ERPoint3D& apex,
                                                       const ERVector3D& axis, double halfAngle,
                                                       double& distance) {
    const ERVector3D w(apex, p);
    const double height = w * axis;
    const double toAxis = (axis * height - w).norme();
    distance = std::cos(halfAngle) * toAxis - std::sin(halfAngle) * std::fabs(height);
    return SingleNearestPoint;
}

int ERCone::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormaleCone(axis_, apex_, halfAngle_, p, foot, normal);
}

int ERCone::ProjectionNormaleCone(const ERVector3D& axis, const ERPoint3D& apex, double halfAngle,
                                  const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) {
    const ERVector3D w(apex, p);
    const double height = axis * w;
    if (height == 1.0) return 0;
    const ERVector3D towards = height < 0.0 ? -axis : axis;
    // The axis, rotated towards p by the half angle, is the generating line.
    const ERVector3D pivot = (towards ^ w).getnormalized();
    const ERVector3D generator =
        pivot == ERVector3D()
            ? towards
            : towards * std::cos(halfAngle) + (pivot ^ towards) * std::sin(halfAngle);
    foot = apex + generator * (generator * w);
    normal = (generator ^ pivot).getnormalized();
    return 1;
}

void ERCone::reverse() {
    axis_ = -axis_;
    setDirty();
}

void ERCone::offset(double k) {
    apex_ = getOffset(k).apex_;
    setDirty();
}

void ERCone::printOn(std::ostream& os) const {
    os << "Cone : Half angle " << halfAngle_ << " Apex " << apex_ << " Axis " << axis_ << std::endl;
}

}  // namespace kerf
