#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/values/carried_frame.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/space.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

// Entities of space that lie in a plane: an entity of the plane, and the frame that carries it.
namespace kerf {

template <class Space>
struct AngularForm;

/// An entity given by coordinates in the plane z = 0 of a frame. A derived class holds the data of
/// the plane and says how they are scaled and mirrored; the frame is carried here.
/// Storage: the frame, 116 bytes.
class KERF_EXPORT ERPlanarEntity3DWF : public virtual EREntity3DWF {
    ER_OBJECT_CLASS(ERPlanarEntity3DWF);
    ER_STORED_FIELDS(ERPlanarEntity3DWF);

public:
    ERPmIsometrie3D getRepere() const { return frame_; }  ///< a copy of the frame
    ERVector3D normale() const;                           ///< the third axis of the frame

    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    /// Half a turn of the frame about its X axis, and the data mirrored in that axis: the points
    /// stay, the normal turns over.
    void reverse() override;
    /// A frame that the map would mirror is mirrored back in its Y axis, and the data in the X axis:
    /// a right-handed frame stays right-handed. A factor goes to the data by its size.
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;

protected:
    ERPlanarEntity3DWF() = default;  ///< in the plane z = 0
    explicit ERPlanarEntity3DWF(const ERPmIsometrie3D& frame) { setTransfo(frame); }
    ERPlanarEntity3DWF(const ERPlanarEntity3DWF&) = default;
    ERPlanarEntity3DWF& operator=(const ERPlanarEntity3DWF&) = default;

    void setTransfo(const ERPmIsometrie3D& frame);
    /// The box in space of the four corners of a box in the plane; a reset box gives a reset one.
    ERMinimax3D transform(const ERMinimax2D& box) const;

    /// From the plane to space.
    ERPoint3D lifted(const ERPoint2D& p) const { return axes_(p.x(), p.y(), 0.0) + origin_; }
    ERVector3D lifted(const ERVector2D& v) const { return ERVector3D(axes_(v.i(), v.j(), 0.0)); }
    ERInfoPoint3DWF lifted(const ERInfoPoint2D& info) const;
    ERVec<ERPoint3D> lifted(const ERVec<ERPoint2D>& points) const;
    AngularForm<Space3D> lifted(const AngularForm<Space2D>& form) const;
    /// The coordinates of a point of space in the frame.
    ERPoint3D local(const ERPoint3D& p) const { return frame_ << p; }

    virtual void scaleData(double factor) = 0;  ///< about the origin of the frame
    virtual void mirrorData() = 0;              ///< y becomes -y

private:
    static auto fields(auto& self) { return std::tie(self.frame_); }
    void restored() { setTransfo(ERPmIsometrie3D(frame_)); }
    void carry(const ERPmSimilitude3D& transformation, bool inverse);

    ERPmIsometrie3D frame_;
    LinearMap axes_;  // the frame's matrix and origin, read once
    ERPoint3D origin_;
};

/// A planar entity whose data are one entity of the plane.
template <class Flat>
class KERF_EXPORT Planar : public ERPlanarEntity3DWF {
protected:
    Planar() = default;
    Planar(const ERPmIsometrie3D& frame, const Flat& flat)
        : ERPlanarEntity3DWF(frame), flat_(flat) {}
    Planar(const Planar&) = default;
    Planar& operator=(const Planar&) = default;

    void scaleData(double factor) override { flat_.scale(factor); }
    void mirrorData() override { flat_.transformFrom(ERTransfo2D(Coord2D::CoordX)); }

    Flat flat_;
};

}  // namespace kerf
