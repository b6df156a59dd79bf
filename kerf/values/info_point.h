#pragma once
#include <iosfwd>

#include "kerf/platform/config.h"
#include "kerf/values/point.h"
#include "kerf/values/space.h"

// What the evaluation of a curve returns: the point with its derivatives.
namespace kerf {

class ERTr3DRev;

/// A point of a curve with the first two derivatives by the parameter: what the plane and space
/// share. The default value has zeros, and 1 as its sense; its parameter means nothing.
template <class Space>
class CurveInfoPoint {
public:
    using Point = typename Space::Point;
    using Vector = typename Space::Vector;

    double parameter() const { return parameter_; }
    int sense() const { return sense_; }
    const Point& point() const { return point_; }
    const Vector& tangente() const { return first_; }  ///< the first derivative, not normalised
    const Vector& secondDerivative() const { return second_; }

    double& parameter() { return parameter_; }
    int& sense() { return sense_; }
    Point& point() { return point_; }
    Vector& tangente() { return first_; }
    Vector& secondDerivative() { return second_; }

    friend std::ostream& operator<<(std::ostream& os, const typename Space::InfoPoint& info) {
        info.printOn(os);
        return os;
    }

protected:
    CurveInfoPoint() = default;
    CurveInfoPoint(double parameter, int sense, const Point& point, const Vector& first,
                   const Vector& second)
        : parameter_(parameter), sense_(sense), point_(point), first_(first), second_(second) {}

    double parameter_ = 0.0;
    int sense_ = 1;
    Point point_;
    Vector first_;
    Vector second_;
};

/// A point of a plane curve.
class KERF_EXPORT ERInfoPoint2D : public CurveInfoPoint<Space2D> {
public:
    ERInfoPoint2D() = default;
    ERInfoPoint2D(double parameter, int sense, const ERPoint2D& point, const ERVector2D& first,
                  const ERVector2D& second)
        : CurveInfoPoint(parameter, sense, point, first, second) {}

    /// The unit vector to the left of the tangent, whatever the sense; zero for a zero tangent.
    ERVector2D normale() const;
    /// The radius of curvature, unsigned; the largest double where |T ^ C| <= 1e-11, T and C being
    /// the derivatives.
    double radius() const;

    /// Six lines.
    /// Kept: the line labelled as the curvature shows the radius.
    void printOn(std::ostream& os) const;
};

/// A point of a curve in space. The sense of the default value means nothing.
class KERF_EXPORT ERInfoPoint3DWF : public CurveInfoPoint<Space3D> {
public:
    ERInfoPoint3DWF() = default;
    ERInfoPoint3DWF(double parameter, int sense, const ERPoint3D& point, const ERVector3D& first,
                    const ERVector3D& second)
        : CurveInfoPoint(parameter, sense, point, first, second) {}
    /// A point of a plane curve carried into space by TransFrom of the transformation.
    /// Kept: `value` is inserted as the coordinate `axis` not of the point alone, but of both
    ///       derivatives too.
    ERInfoPoint3DWF(const ERInfoPoint2D& planar, const ERTr3DRev& transformation, enum Coord3D axis,
                    double value);

    /// The principal normal (T ^ C) ^ T, normalised; zero where it is not defined.
    ERVector3D normale() const;
    /// The radius of curvature; the largest double where |T ^ C| <= 1e-11.
    double radius() const;

    int isTgteSingular() const;  ///< 1 when the first derivative is exactly zero
    int isNormSingular() const;  ///< 1 when the second is exactly zero or parallel to the first

    void printOn(std::ostream& os) const;
};

}  // namespace kerf
