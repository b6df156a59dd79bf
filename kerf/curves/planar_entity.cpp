#include "kerf/curves/planar_entity.h"

#include <cmath>

#include "kerf/curves/internal/angular_form.h"
#include "kerf/values/info_point.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERPlanarEntity3DWF, EREntity3DWF)
ER_DEFINE_STORED_FIELDS(ERPlanarEntity3DWF, EREntity3DWF)

void ERPlanarEntity3DWF::setTransfo(const ERPmIsometrie3D& frame) {
    frame_ = frame;
    axes_ = LinearMap(frame_.getMatrix());
    origin_ = frame_.origine();
}

ERVector3D ERPlanarEntity3DWF::normale() const { return frame_.getVector(Coord3D::CoordZ); }

ERMinimax3D ERPlanarEntity3DWF::transform(const ERMinimax2D& box) const {
    ERMinimax3D image;
    if (box.invalid()) return image;
    image.Update(lifted(box.getVertice()));
    return image;
}

ERInfoPoint3DWF ERPlanarEntity3DWF::lifted(const ERInfoPoint2D& info) const {
    return ERInfoPoint3DWF(info.parameter(), info.sense(), lifted(info.point()),
                           lifted(info.tangente()), lifted(info.secondDerivative()));
}

ERVec<ERPoint3D> ERPlanarEntity3DWF::lifted(const ERVec<ERPoint2D>& points) const {
    ERVec<ERPoint3D> images(points.length());
    const ERPoint2D* from = points.data();
    ERPoint3D* to = images.data();
    for (unsigned int i = 0; i < points.length(); ++i) to[i] = lifted(from[i]);
    return images;
}

AngularForm<Space3D> ERPlanarEntity3DWF::lifted(const AngularForm<Space2D>& form) const {
    return {lifted(form.centre), lifted(form.cosine), lifted(form.sine)};
}

void ERPlanarEntity3DWF::scale(double factor) {
    setTransfo(frameOf(axes_, origin_ * factor));
    scaleData(factor);
    setDirty();
}

void ERPlanarEntity3DWF::translate(const ERPoint3D& t) {
    setTransfo(ERTranslation3D(t) * frame_);
    setDirty();
}

void ERPlanarEntity3DWF::reverse() {
    setTransfo(halfTurned(frame_));
    mirrorData();
    setDirty();
}

void ERPlanarEntity3DWF::carry(const ERPmSimilitude3D& t, bool inverse) {
    ERPmIsometrie3D carried = carriedFrame(frame_, t, inverse);
    const double factor = std::fabs(t.getFactHomo());
    if (factor != 1.0) scaleData(inverse ? 1.0 / factor : factor);
    if (mirrors(t)) {
        carried = carried * ERSymetrie3D(Coord3D::CoordY);
        mirrorData();
    }
    setTransfo(carried);
    setDirty();
}

void ERPlanarEntity3DWF::transformFrom(const ERPmSimilitude3D& transformation) {
    carry(transformation, false);
}

void ERPlanarEntity3DWF::transformFrom(const ERPmIsometrie3D& transformation) {
    carry(transformation, false);
}

void ERPlanarEntity3DWF::transformTo(const ERPmSimilitude3D& transformation) {
    carry(transformation, true);
}

void ERPlanarEntity3DWF::transformTo(const ERPmIsometrie3D& transformation) {
    carry(transformation, true);
}

}  // namespace kerf
