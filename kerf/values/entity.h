#pragma once
#include "kerf/core/object.h"
#include "kerf/platform/config.h"

// The roots of everything geometric that is stored: points, curves and surfaces.
namespace kerf {

class ERPmIsometrie3D;
class ERPmSimilitude3D;
class ERPoint2D;
class ERPoint3D;
class ERTransfo2D;

/// A geometric object of the plane or of space. Scaling, translating and transforming work in
/// place.
class KERF_EXPORT EREntity : public ERObject {
    ER_OBJECT_CLASS(EREntity);

public:
    /// What a search for the nearest point found.
    enum DISTMINRES : int {
        NoFootPoint = 0,         ///< none; the distance is not set
        SingleNearestPoint = 1,  ///< the distance is that of the one nearest point
        NearestPointNotUnique =
            2,  ///< a whole continuum is equally near, as from a circle's centre
        /// Kept: what an infinite line in space returns, and nothing else does: one nearest point,
        ///       at a distance without a sign.
        NearestPointUnsigned = 4
    };

    /// A copy on the heap (getCopy), owned by the caller.
    EREntity* duplicate() const;

    virtual void scale(double factor) = 0;  ///< about the origin

protected:
    EREntity() = default;
    EREntity(const EREntity&) = default;
    EREntity& operator=(const EREntity&) = default;
};

/// An entity of the plane. transformFrom takes it from the frame of the transformation to the
/// reference frame, transformTo back.
class KERF_EXPORT EREntity2D : public EREntity {
    ER_OBJECT_CLASS(EREntity2D);

public:
    /// The distance of p, with the sign of its side where the entity has sides. Here NoFootPoint,
    /// with the distance not written.
    virtual EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance) const;
    virtual void translate(const ERPoint2D& t) = 0;
    virtual void transformFrom(const ERTransfo2D& transformation) = 0;
    virtual void transformTo(const ERTransfo2D& transformation) = 0;

protected:
    EREntity2D() = default;
    EREntity2D(const EREntity2D&) = default;
    EREntity2D& operator=(const EREntity2D&) = default;
};

/// An entity of space. The rest as EREntity2D.
class KERF_EXPORT EREntity3D : public EREntity {
    ER_OBJECT_CLASS(EREntity3D);

public:
    virtual EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const;
    virtual void translate(const ERPoint3D& t) = 0;
    virtual void transformFrom(const ERPmSimilitude3D& transformation) = 0;
    virtual void transformFrom(const ERPmIsometrie3D& transformation) = 0;
    virtual void transformTo(const ERPmSimilitude3D& transformation) = 0;
    virtual void transformTo(const ERPmIsometrie3D& transformation) = 0;

protected:
    EREntity3D() = default;
    EREntity3D(const EREntity3D&) = default;
    EREntity3D& operator=(const EREntity3D&) = default;
};

}  // namespace kerf
