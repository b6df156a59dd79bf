#pragma once
#include <array>

#include "kerf/platform/config.h"
#include "kerf/values/point.h"

// The plane and space as template arguments. What is the same in both is written once, over a Space;
// the public twins are thin classes on top of it. Types that are only named here are included by
// whoever uses them.
namespace kerf {

class ERCpoleNURBS2D;
class ERCpoleNURBS3D;
class ERCpoleRep2D;
class ERCpoleRep3D;
class EREntity2D;
class EREntity2DWF;
class EREntity3D;
class EREntity3DWF;
class ERFiniteEntity2DWF;
class ERFiniteEntity2DWFBoundedWithAngle;
class ERFiniteEntity3DWF;
class ERFiniteEntity3DWFBoundedWithAngle;
class ERInfoPoint2D;
class ERInfoPoint3DWF;
class ERLimitedEntity2DWF;
class ERLimitedEntity3DWF;
class ERMinimax2D;
class ERMinimax3D;
class ERPmIsometrie3D;
class ERPoint12List;
class ERPoint13List;
class ERPole2DH;
class ERPole3DH;
class ERTransfo2D;
class ERTrimmedEntity2DWF;
class ERTrimmedEntity3DWF;
struct ERPoint12;
struct ERPoint13;

/// The plane.
struct KERF_EXPORT Space2D {
    static constexpr unsigned int dimension = 2;

    using Axis = Coord2D;
    using PoleAxis = Coord2DH;
    using Point = ERPoint2D;
    using Vector = ERVector2D;
    using Pole = ERPole2DH;
    using Box = ERMinimax2D;
    using InfoPoint = ERInfoPoint2D;
    using PointNode = ERPoint12;
    using PointList = ERPoint12List;
    using Entity = EREntity2D;
    using WireEntity = EREntity2DWF;
    using Curve = ERFiniteEntity2DWF;
    using AngleBoundedCurve = ERFiniteEntity2DWFBoundedWithAngle;
    using LimitedCurve = ERLimitedEntity2DWF;
    using TrimmedCurve = ERTrimmedEntity2DWF;
    using PoleCurve = ERCpoleRep2D;
    using Nurbs = ERCpoleNURBS2D;
    using Transformation = ERTransfo2D;

    static std::array<double, 2> coordinates(const ERPoint2D& p) { return {p.x(), p.y()}; }
    static std::array<double, 2> coordinates(const ERVector2D& v) { return {v.i(), v.j()}; }
    static ERPoint2D point(const double* c) { return ERPoint2D(c[0], c[1]); }
};

/// Space.
struct KERF_EXPORT Space3D {
    static constexpr unsigned int dimension = 3;

    using Axis = Coord3D;
    using PoleAxis = Coord3DH;
    using Point = ERPoint3D;
    using Vector = ERVector3D;
    using Pole = ERPole3DH;
    using Box = ERMinimax3D;
    using InfoPoint = ERInfoPoint3DWF;
    using PointNode = ERPoint13;
    using PointList = ERPoint13List;
    using Entity = EREntity3D;
    using WireEntity = EREntity3DWF;
    using Curve = ERFiniteEntity3DWF;
    using AngleBoundedCurve = ERFiniteEntity3DWFBoundedWithAngle;
    using LimitedCurve = ERLimitedEntity3DWF;
    using TrimmedCurve = ERTrimmedEntity3DWF;
    using PoleCurve = ERCpoleRep3D;
    using Nurbs = ERCpoleNURBS3D;
    using Transformation = ERPmIsometrie3D;

    static std::array<double, 3> coordinates(const ERPoint3D& p) { return {p.x(), p.y(), p.z()}; }
    static std::array<double, 3> coordinates(const ERVector3D& v) { return {v.i(), v.j(), v.k()}; }
    static ERPoint3D point(const double* c) { return ERPoint3D(c[0], c[1], c[2]); }
};

}  // namespace kerf
