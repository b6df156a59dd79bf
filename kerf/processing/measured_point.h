#pragma once
#include <iosfwd>

#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/point.h"

// Points as a coordinate measuring machine gives them.
namespace kerf {

class CArchive;
class ERFile;
class ERPmIsometrie3D;

/// A probing: where the centre of the probe's ball was, and a point before it on the line of
/// approach.
/// Storage: the id, the centre, the pretouch point: 52 bytes.
class KERF_EXPORT ERCMMPoint {
public:
    ERCMMPoint() = default;  ///< zeros
    ERCMMPoint(const ERPoint3D& centre, const ERPoint3D& pretouch, int id)
        : id_(id), probeCenter_(centre), pretouch_(pretouch) {}
    /// The pretouch point is centre + direction.
    ERCMMPoint(const ERPoint3D& centre, const ERVector3D& direction, int id)
        : ERCMMPoint(centre, centre + direction, id) {}

    int id() const { return id_; }
    const ERPoint3D& probe_center() const { return probeCenter_; }
    const ERPoint3D& pretouch_point() const { return pretouch_; }
    /// From the centre to the pretouch point, so out of the material; of any length.
    ERVector3D IJK() const { return ERVector3D(probeCenter_, pretouch_); }
    ERVector3D outer_material_direction() const { return IJK(); }

    void scale(double factor);  ///< both points, about the origin
    void transformFrom(const ERPmIsometrie3D& transformation);

    /// Kept: compares the ids alone.
    friend bool operator==(const ERCMMPoint& a, const ERCMMPoint& b) { return a.id_ == b.id_; }

    ERULong binaryStoreSize() const { return 52; }
    void printOn(std::ostream& os) const;

private:
    friend KERF_EXPORT std::istream& operator>>(std::istream& is, ERCMMPoint& point);
    friend KERF_EXPORT ERFile& operator>>(ERFile& file, ERCMMPoint& point);

    int id_ = 0;
    [[maybe_unused]] int padding_ = 0;  // a vector of points has the same bytes on every platform
    ERPoint3D probeCenter_;
    ERPoint3D pretouch_;
};

KERF_DECLARE_SIMPLE_VECTOR(ERCMMPoint)

KERF_EXPORT std::ostream& operator<<(std::ostream& os, const ERCMMPoint& point);
/// Reads the printed form; the id stays. A stream that fails on the way leaves the point as it was.
KERF_EXPORT std::istream& operator>>(std::istream& is, ERCMMPoint& point);
KERF_EXPORT ERFile& operator<<(ERFile& file, const ERCMMPoint& point);
/// Of a file that ends early, what it does not hold is zero.
KERF_EXPORT ERFile& operator>>(ERFile& file, ERCMMPoint& point);
/// Kept: of the id 16 bits are stored, which come back as a number from -32768 to 32767.
KERF_EXPORT CArchive& operator<<(CArchive& archive, const ERCMMPoint& point);
/// Throws the archive's exception where that does, leaving the point as it was.
KERF_EXPORT CArchive& operator>>(CArchive& archive, ERCMMPoint& point);

// Of every point in a list.
KERF_EXPORT void scale(ERSimpleVec<ERCMMPoint>& points, double factor);
KERF_EXPORT void TransformFrom(ERSimpleVec<ERCMMPoint>& points,
                               const ERPmIsometrie3D& transformation);

}  // namespace kerf
