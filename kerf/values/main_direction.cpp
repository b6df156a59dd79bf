#include "kerf/values/main_direction.h"

#include "kerf/platform/archive.h"

namespace kerf {

namespace {

constexpr unsigned char positiveSense = 1;
constexpr unsigned char negativeSense = 255;

ERVector3D vectorOf(const char* text) {
    ERVector3D v;
    const int axis = text[0] - 'X';
    KERF_CHECK_ARGUMENT(axis >= 0 && axis <= 2);
    if (axis >= 0 && axis <= 2) v[static_cast<enum Coord3D>(axis)] = text[1] == '+' ? 1.0 : -1.0;
    return v;
}

}  // namespace

ERMainDirection::ERMainDirection(enum Coord3D axis, int sense)
    : value_(2 * static_cast<int>(axis) + (sense < 1 ? 1 : 0)) {
    KERF_CHECK_ARGUMENT(value_ >= 0 && value_ <= 5);
}

ERMainDirection::ERMainDirection(const ERVector3D& v, int sense)
    : ERMainDirection(v.axeOptimum(), sense) {}

ERMainDirection::ERMainDirection(const ERVector3D& v)
    : ERMainDirection(v.axeOptimum(), v[v.axeOptimum()] < 0.0 ? -1 : 1) {}

ERMainDirection::ERMainDirection(TypeDir type) : value_(static_cast<int>(type)) {
    KERF_CHECK_ARGUMENT(value_ >= 0 && value_ <= 5);
}

ERMainDirection::ERMainDirection(const char* text) : ERMainDirection(vectorOf(text)) {}

ERVector3D ERMainDirection::vector() const {
    ERVector3D unit;
    unit[axe()] = sens();
    return unit;
}

ERMainDirection ERVector3D::mainDirection() const { return ERMainDirection(*this); }

ERMainDirection ERMainDirection::operator-() const {
    ERMainDirection opposite = *this;
    opposite.swap();
    return opposite;
}

CArchive& operator<<(CArchive& archive, const ERMainDirection& direction) {
    archive << static_cast<unsigned char>(direction.axe());
    return archive << (direction.sens() > 0 ? positiveSense : negativeSense);
}

CArchive& operator>>(CArchive& archive, ERMainDirection& direction) {
    unsigned char axis = 0;
    unsigned char sense = 0;
    archive >> axis >> sense;
    if (axis <= 2 && (sense == positiveSense || sense == negativeSense))
        direction =
            ERMainDirection(static_cast<enum Coord3D>(axis), sense == positiveSense ? 1 : -1);
    return archive;
}

}  // namespace kerf
