#include "kerf/processing/measured_point.h"

#include <istream>
#include <ostream>
#include <string_view>

#include "kerf/core/file.h"
#include "kerf/numerics/vector_impl.h"
#include "kerf/platform/archive.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

KERF_INSTANTIATE_SIMPLE_VECTOR(ERCMMPoint)

static_assert(sizeof(ERCMMPoint) == 56);

namespace {

// Takes the text, with any white space before and within it, or fails the stream.
std::istream& skip(std::istream& is, std::string_view text) {
    for (const char expected : text) {
        char read = '\0';
        if (is >> read && read != expected) is.setstate(std::ios::failbit);
        if (!is) break;
    }
    return is;
}

}  // namespace

void ERCMMPoint::scale(double factor) {
    probeCenter_ *= factor;
    pretouch_ *= factor;
}

void ERCMMPoint::transformFrom(const ERPmIsometrie3D& transformation) {
    transformation.TransFrom(probeCenter_);
    transformation.TransFrom(pretouch_);
}

void ERCMMPoint::printOn(std::ostream& os) const {
    const std::streamsize width = os.width(0);
    os << "CMM Point  ";
    os.width(width);
    os << probeCenter_ << " pretouch=";
    os.width(width);
    os << pretouch_ << std::endl;
}

std::ostream& operator<<(std::ostream& os, const ERCMMPoint& point) {
    point.printOn(os);
    return os;
}

std::istream& operator>>(std::istream& is, ERCMMPoint& point) {
    ERPoint3D centre, pretouch;
    if (skip(is, "CMMPoint") >> centre && skip(is, "pretouch=") >> pretouch)
        point = ERCMMPoint(centre, pretouch, point.id_);
    return is;
}

ERFile& operator<<(ERFile& file, const ERCMMPoint& point) {
    file.Write(point.id());
    return file << point.probe_center() << point.pretouch_point();
}

ERFile& operator>>(ERFile& file, ERCMMPoint& point) {
    point.id_ = 0;
    file.Read(point.id_);
    return file >> point.probeCenter_ >> point.pretouch_;
}

CArchive& operator<<(CArchive& archive, const ERCMMPoint& point) {
    return archive << static_cast<short>(point.id()) << point.probe_center()
                   << point.pretouch_point();
}

CArchive& operator>>(CArchive& archive, ERCMMPoint& point) {
    short id = 0;
    ERPoint3D centre, pretouch;
    archive >> id >> centre >> pretouch;
    point = ERCMMPoint(centre, pretouch, id);
    return archive;
}

void scale(ERSimpleVec<ERCMMPoint>& points, double factor) {
    ERCMMPoint* const p = points.data();
    for (unsigned int i = 0; i < points.length(); ++i) p[i].scale(factor);
}

void TransformFrom(ERSimpleVec<ERCMMPoint>& points, const ERPmIsometrie3D& transformation) {
    ERCMMPoint* const p = points.data();
    for (unsigned int i = 0; i < points.length(); ++i) p[i].transformFrom(transformation);
}

}  // namespace kerf
