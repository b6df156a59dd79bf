#pragma once
#include <cmath>

#include "kerf/curves/outline.h"

// The bodies of PlanarOutline, for the sources that instantiate it.
namespace kerf {

template <class Flat>
ERInfoPoint3DWF PlanarOutline<Flat>::PtCur(double u) const {
    return this->lifted(flat_.PtCur(u));
}

template <class Flat>
EREntity::DISTMINRES PlanarOutline<Flat>::Project(const ERPoint3D& p, ERPoint3D& foot, double& u,
                                                  int& index) const {
    ERPoint2D flatFoot;
    const auto found = flat_.Project(inPlane(p), flatFoot, u, index);
    if (found != EREntity::NoFootPoint) foot = this->lifted(flatFoot);
    return found;
}

template <class Flat>
EREntity::DISTMINRES PlanarOutline<Flat>::ProjectPt(const ERPoint3D& p, ERPoint3D& foot) const {
    double u = 0.0;
    int index = 0;
    return Project(p, foot, u, index);
}

template <class Flat>
int PlanarOutline<Flat>::Get_Entity_Number(const ERPoint3D& p, int& index) const {
    return flat_.Get_Entity_Number(inPlane(p), index);
}

template <class Flat>
EREntity::DISTMINRES PlanarOutline<Flat>::SignedMinimalDistance(const ERPoint3D& p,
                                                                double& distance) const {
    double inside = 0.0;
    const ERPoint3D q = this->local(p);
    const auto found = flat_.SignedMinimalDistance(q.castToPoint2D(Coord3D::CoordZ), inside);
    if (found != EREntity::NoFootPoint) distance = std::copysign(std::hypot(inside, q.z()), inside);
    return found;
}

template <class Flat>
void PlanarOutline<Flat>::reverse() {
    Planar<Flat>::reverse();
    flat_.reverse();
}

template <class Flat>
ERPoint2D PlanarOutline<Flat>::inPlane(const ERPoint3D& p) const {
    return this->local(p).castToPoint2D(Coord3D::CoordZ);
}

template <class Flat>
bool PlanarOutline<Flat>::isSeenFlat(const ERPmIsometrie3D& t) const {
    constexpr double parallel = 1e-10;
    return (this->normale() ^ t.getVector(Coord3D::CoordZ)).norme() <= parallel;
}

}  // namespace kerf
