#pragma once
#include <iosfwd>

#include "kerf/platform/config.h"
#include "kerf/values/point.h"

// What the evaluation of a curve answers: the point with its derivatives.
namespace kerf {

class ERTr3DRev;

/// A point of a plane curve with the first two derivatives by the parameter.
class KERF_EXPORT ERInfoPoint2D {
public:
    /// Zeros, with the sense 1. The parameter of such a value means nothing.
    ERInfoPoint2D() = default;
    ERInfoPoint2D(double parameter, int sense, const ERPoint2D& point, const ERVector2D& first,
                  const ERVector2D& second)
        : parameter_(parameter), sense_(sense), point_(point), first_(first), second_(second) {}

    double parameter() const { return parameter_; }
    int sense() const { return sense_; }
    const ERPoint2D& point() const { return point_; }
    const ERVector2D& tangente() const { return first_; }  ///< the first derivative, not normalised
    const ERVector2D& secondDerivative() const { return second_; }

    double& parameter() { return parameter_; }
    int& sense() { return sense_; }
    ERPoint2D& point() { return point_; }
    ERVector2D& tangente() { return first_; }
    ERVector2D& secondDerivative() { return second_; }

    /// The unit vector to the left of the tangent, whatever the sense; null for a null tangent.
    ERVector2D normale() const;
    /// The radius of curvature, unsigned; the largest double where |T ^ C| <= 1e-11, T and C being
    /// the derivatives.
    double radius() const;

    /// Six lines; the one labelled as the curvature shows the radius.
    void printOn(std::ostream& os) const;
    friend std::ostream& operator<<(std::ostream& os, const ERInfoPoint2D& info) {
        info.printOn(os);
        return os;
    }

private:
    double parameter_ = 0.0;
    int sense_ = 1;
    ERPoint2D point_;
    ERVector2D first_;
    ERVector2D second_;
};

/// A point of a curve in space with the first two derivatives by the parameter.
class KERF_EXPORT ERInfoPoint3DWF {
public:
    /// Zeros. The parameter and the sense of such a value mean nothing.
    ERInfoPoint3DWF() = default;
    ERInfoPoint3DWF(double parameter, int sense, const ERPoint3D& point, const ERVector3D& first,
                    const ERVector3D& second)
        : parameter_(parameter), sense_(sense), point_(point), first_(first), second_(second) {}
    /// A point of a plane curve carried into space: `value` is inserted as the coordinate `axis` of
    /// the point and of both derivatives alike, then they go through TransFrom of the
    /// transformation.
    ERInfoPoint3DWF(const ERInfoPoint2D& planar, const ERTr3DRev& transformation, enum Coord3D axis,
                    double value);

    double parameter() const { return parameter_; }
    int sense() const { return sense_; }
    const ERPoint3D& point() const { return point_; }
    const ERVector3D& tangente() const { return first_; }  ///< the first derivative, not normalised
    const ERVector3D& secondDerivative() const { return second_; }

    double& parameter() { return parameter_; }
    int& sense() { return sense_; }
    ERPoint3D& point() { return point_; }
    ERVector3D& tangente() { return first_; }
    ERVector3D& secondDerivative() { return second_; }

    /// The principal normal (T ^ C) ^ T, normalised; null where it is not defined.
    ERVector3D normale() const;
    /// The radius of curvature; the largest double where |T ^ C| <= 1e-11.
    double radius() const;

    int isTgteSingular() const;  ///< 1 when the first derivative is exactly null
    int isNormSingular() const;  ///< 1 when the second is exactly null or parallel to the first

    void printOn(std::ostream& os) const;
    friend std::ostream& operator<<(std::ostream& os, const ERInfoPoint3DWF& info) {
        info.printOn(os);
        return os;
    }

private:
    double parameter_ = 0.0;
    int sense_ = 1;
    ERPoint3D point_;
    ERVector3D first_;
    ERVector3D second_;
};

}  // namespace kerf
