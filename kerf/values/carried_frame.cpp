#include "kerf/values/carried_frame.h"

namespace kerf {

ERPmIsometrie3D frameOf(const LinearMap& axes, const ERPoint3D& origin) {
    return ERPmIsometrie3D(ERSimilitude3D(axes.asMatrix(), origin, 1.0).getRepresentation());
}

ERPmIsometrie3D carriedFrame(const ERPmIsometrie3D& frame, const ERPmSimilitude3D& t,
                             bool inverse) {
    const auto image = [&](const auto& value) { return inverse ? t << value : t >> value; };
    const auto axis = [&](Coord3D k) { return image(frame.getVector(k)).getnormalized(); };
    return frameOf(
        LinearMap::fromColumns(axis(Coord3D::CoordX), axis(Coord3D::CoordY), axis(Coord3D::CoordZ)),
        image(frame.origine()));
}

// Two mirrors, without the rounding of the sine of half a turn.
ERPmIsometrie3D halfTurned(const ERPmIsometrie3D& frame) {
    return frame * (ERSymetrie3D(Coord3D::CoordY) * ERSymetrie3D(Coord3D::CoordZ));
}

}  // namespace kerf
