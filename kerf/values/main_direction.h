#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/point.h"

namespace kerf {

class CArchive;

/// One of the six signed coordinate axes.
class KERF_EXPORT ERMainDirection {
public:
    /// 2 k + s, with k the index of the axis and s 0 for the positive sense, 1 for the negative.
    enum class TypeDir { PlusX = 0, MinusX = 1, PlusY = 2, MinusY = 3, PlusZ = 4, MinusZ = 5 };

    /// The sense is negative when sense < 1.
    /// Kept: 0 counts as negative.
    ERMainDirection(enum Coord3D axis, int sense);
    /// The axis of v's largest component (see axeOptimum). Its sign is not used, only `sense`.
    ERMainDirection(const ERVector3D& v, int sense);
    explicit ERMainDirection(const ERVector3D& v);  ///< the same, with the sign of that component
    ERMainDirection(TypeDir type);
    /// An axis letter, 'X', 'Y' or 'Z', which is the caller's duty, and a sign: '+' is the positive
    /// sense and anything else the negative.
    explicit ERMainDirection(const char* text);

    enum Coord3D axe() const { return static_cast<enum Coord3D>(value_ / 2); }
    int sens() const { return value_ % 2 == 0 ? 1 : -1; }
    void swap() { value_ ^= 1; }  ///< to the opposite direction

    ERVector3D vector() const;  ///< of length 1
    operator ERVector3D() const { return vector(); }
    operator TypeDir() const { return static_cast<TypeDir>(value_); }
    ERMainDirection operator-() const;

private:
    int value_;
};

/// Two bytes: the index of the axis, then 1 for the positive sense, 255 for the negative. Bytes
/// that name no axis leave the direction as it was.
KERF_EXPORT CArchive& operator<<(CArchive& archive, const ERMainDirection& direction);
KERF_EXPORT CArchive& operator>>(CArchive& archive, ERMainDirection& direction);

}  // namespace kerf
