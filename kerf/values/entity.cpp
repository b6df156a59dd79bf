#include "kerf/values/entity.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(EREntity, ERObject)
ER_DEFINE_ABSTRACT_CLASS(EREntity2D, EREntity)
ER_DEFINE_ABSTRACT_CLASS(EREntity3D, EREntity)

EREntity* EREntity::duplicate() const { return EREntity::castdown(getCopy()); }

EREntity::DISTMINRES EREntity2D::SignedMinimalDistance(const ERPoint2D&, double&) const {
    return EREntity::NoFootPoint;
}

EREntity::DISTMINRES EREntity3D::SignedMinimalDistance(const ERPoint3D&, double&) const {
    return EREntity::NoFootPoint;
}

}  // namespace kerf
