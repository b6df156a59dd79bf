#pragma once
#include <istream>
#include <optional>
#include <sstream>
#include <string>

#include "examples/text_input.h"
#include "examples/word_reader.h"
#include "kerf/curves/infinite_line.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/surfaces/cone.h"
#include "kerf/surfaces/cylinder.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/offset_surface.h"
#include "kerf/surfaces/plane.h"
#include "kerf/surfaces/revolution.h"
#include "kerf/surfaces/sphere.h"
#include "kerf/surfaces/torus.h"
#include "kerf/values/surface_info_point.h"

// Surfaces as text: words and numbers, in lines of any length. What follows a # is a comment. A NURBS
// surface is
//
//     degrees P Q
//     poles M N
//     knots_u COUNT     then the knots, all of them: M + P + 1
//     knots_v COUNT     N + Q + 1
//     pole_rows         then M N poles, x y z and the weight, v running fastest
//
// where x y z are not multiplied by the weight. The other surfaces are
//
//     plane     X Y Z  I J K               a point and the normal
//     cylinder  X Y Z  I J K  RADIUS       a point of the axis, and its direction
//     cone      X Y Z  I J K  HALF-ANGLE   the apex, the axis
//     sphere    X Y Z  I J K  RADIUS       the centre, the axis through the poles
//     torus     X Y Z  I J K  MAJOR MINOR  the centre, the axis
//
// and without limits. With "over U0 U1 V0 V1" after them they are bounded; "from A B C" after that is
// the direction from which angles count. u and v are lengths in the plane; the height above the given
// point and the angle on cylinder and cone; longitude and latitude; the angles about the axis and
// about the spine. Angles are in degrees. The last two stand before what they are made of:
//
//     revolution X Y Z  I J K  V0 V1       a point and the direction of the axis, the angles; then a
//                                          curve: degree P, poles N, knots COUNT, N poles
//     offset DISTANCE                      along the normal, away from an axis; then a surface that has limits

/// A surface to which a part is compared.
struct Nominal {
    kerf::t_SmartPtr<kerf::ERSurface> surface;
    /// -1 where dS/du x dS/dv leads to the axis of a cylinder, a cone or a surface of revolution: what
    /// sticks out of a shaft is to be positive.
    double outwards = 1.0;

    const kerf::ERAnyBoundedSurface* bounded() const {
        return kerf::ERAnyBoundedSurface::castdown(surface.getObject());
    }
};

namespace surfaceFile {

constexpr double radiansPerDegree = 0.017453292519943295;

/// Builds a surface from the words; all of the functions that read return false, or nothing, once the
/// complaint has been set.
class Reader : WordReader {
public:
    using WordReader::complaint;
    using WordReader::WordReader;

    std::optional<Nominal> read() {
        std::optional<Nominal> nominal = surface();
        if (!good()) return std::nullopt;
        if (isAtEnd()) return nominal;
        fail("the surface is complete before " + inQuotes(peek()));
        return std::nullopt;
    }

private:
    static constexpr unsigned int mostDegree = 25, mostPoles = 1'000'000;

    kerf::ERKnotVector knots(const char* name, unsigned int degree, unsigned int poles) {
        keyword(name);
        const unsigned int count = wholeNumber("the count of knots", 0, 2 * mostPoles);
        if (good() && count != poles + degree + 1)
            fail(std::to_string(count) + " knots for degree " + std::to_string(degree) + " with " +
                 std::to_string(poles) + " poles");
        kerf::ERVec<double> values;
        for (unsigned int i = 0; i < count && good(); ++i) {
            values.append(number("a knot"));
            if (i > 0 && values[i] < values[i - 1]) fail("the knots decrease");
            if (i > degree && values[i] == values[i - degree - 1])
                fail("a knot stands more often than the degree plus 1");
        }
        if (good() && !(values[degree] < values[poles])) fail("the knots span no range");
        return {degree, values};
    }
    kerf::ERPole3DH pole() {
        const kerf::ERPoint3D p = point("a coordinate of a pole");
        const double weight = number("the weight of a pole");
        if (good() && !(weight > 0.0)) fail("a weight is not positive");
        return {p * weight, weight};
    }

    kerf::ERSurface* nurbs() {
        keyword("degrees");
        const unsigned int degreeU = wholeNumber("the degree in u", 1, mostDegree);
        const unsigned int degreeV = wholeNumber("the degree in v", 1, mostDegree);
        keyword("poles");
        const unsigned int rows = wholeNumber("the count of poles in u", degreeU + 1, mostPoles);
        const unsigned int cols = wholeNumber("the count of poles in v", degreeV + 1, mostPoles);
        if (good() && rows > mostPoles / cols) fail("more than a million poles");
        const kerf::ERKnotVector knotsU = knots("knots_u", degreeU, rows);
        const kerf::ERKnotVector knotsV = knots("knots_v", degreeV, cols);
        if (!keyword("pole_rows")) return nullptr;
        kerf::ERMatrix<kerf::ERPole3DH> poles(rows, cols);
        for (unsigned int i = 0; i < rows && good(); ++i)
            for (unsigned int j = 0; j < cols && good(); ++j) poles(i, j) = pole();
        return good() ? new kerf::ERSpoleNURBS3D(poles, knotsU, knotsV) : nullptr;
    }
    static kerf::ERInfoPoint3DSurf middleOf(const kerf::ERAnyBoundedSurface& surface) {
        const kerf::ERLimites u = surface.getBoundU(), v = surface.getBoundV();
        return surface.PtCur((u.start() + u.end()) / 2, (v.start() + v.end()) / 2);
    }
    std::optional<Nominal> revolution() {
        const kerf::ERPoint3D p = point("a point of the axis");
        const kerf::ERVector3D axis = direction("the direction of the axis");
        const kerf::ERLimites angles = range("an angle", radiansPerDegree);
        keyword("degree");
        const unsigned int degree = wholeNumber("the degree", 1, mostDegree);
        keyword("poles");
        const unsigned int count = wholeNumber("the count of poles", degree + 1, mostPoles);
        const kerf::ERKnotVector knotVector = knots("knots", degree, count);
        kerf::ERVec<kerf::ERPole3DH> poles;
        for (unsigned int i = 0; i < count && good(); ++i) poles.append(pole());
        if (!good()) return std::nullopt;
        const kerf::t_SmartPtr<kerf::ERFiniteEntity3DWF> curve(
            new kerf::ERCpoleNURBS3D(poles, knotVector));
        const kerf::ERInfLine3D line(axis, p);
        kerf::ERSurOfRevolution* const surface = new kerf::ERSurOfRevolution(curve, line, angles);
        const kerf::ERInfoPoint3DSurf middle = middleOf(*surface);
        const kerf::ERVector3D outwards(line.projectPt(middle.point()), middle.point());
        return Nominal{kerf::t_SmartPtr<kerf::ERSurface>(surface),
                       middle.normale() * outwards < 0.0 ? -1.0 : 1.0};
    }
    std::optional<Nominal> offset() {
        const double distance = number("the distance of the offset");
        if (!good()) return std::nullopt;
        if (++depth_ > 20) {
            fail("more than 20 offsets");
            return std::nullopt;
        }
        std::optional<Nominal> base = surface();
        if (!base || !good()) return std::nullopt;
        const kerf::ERAnyBoundedSurface* const bounded = base->bounded();
        if (bounded == nullptr) {
            fail("an offset needs a surface that has limits");
            return std::nullopt;
        }
        const kerf::ERVector3D normal = middleOf(*bounded).normale();
        base->surface = kerf::t_SmartPtr<kerf::ERSurface>(
            new kerf::EROffsetSurface(*bounded, distance * base->outwards, normal));
        return base;
    }

    kerf::ERLimites range(const char* what, double unit) {
        const double start = number(what), end = number(what);
        if (good() && !(start < end)) fail("a range that does not increase");
        return {start * unit, end * unit};
    }
    // Where a bounded surface of revolution begins to count its angles, and its axis.
    kerf::ERPmIsometrie3D frame(const kerf::ERPoint3D& origin, const kerf::ERVector3D& axis) {
        if (peek() != "from") return kerf::ERChgRepere3D(axis, origin);
        skip();
        const kerf::ERVector3D x = direction("a direction");
        const kerf::ERVector3D y = axis ^ x;
        if (good() && y.norme() < 1e-9) fail("the direction of the angle 0 is that of the axis");
        return kerf::ERChgRepere3D(y ^ axis, y, origin);
    }

    std::optional<Nominal> analytic(const std::string& family) {
        using namespace kerf;
        const ERPoint3D origin = point("a coordinate");
        const ERVector3D axis = direction("the direction");
        const bool isPlane = family == "plane", isCone = family == "cone",
                   isSphere = family == "sphere", isTorus = family == "torus";
        double size = isPlane ? 0.0 : positive(isCone ? "the half angle" : "the radius");
        const double minor = isTorus ? positive("the minor radius") : 0.0;
        if (isCone && good() && size >= 90.0) fail("the half angle is not below 90 degrees");
        if (isCone) size *= radiansPerDegree;

        const bool isBounded = peek() == "over";
        if (!isBounded) {
            if (!good()) return std::nullopt;
            ERSurface* const surface =
                isPlane    ? static_cast<ERSurface*>(new ERPlane(origin, axis))
                : isCone   ? static_cast<ERSurface*>(new ERCone(origin, axis, size))
                : isSphere ? static_cast<ERSurface*>(new ERSphere(origin, size))
                : isTorus
                    ? static_cast<ERSurface*>(new ERTorus(size, minor, axis, origin))
                    : static_cast<ERSurface*>(new ERCylinder(ERInfLine3D(axis, origin), size));
            return Nominal{t_SmartPtr<ERSurface>(surface)};
        }
        skip();
        const bool heights = family == "cylinder" || isCone;
        const ERLimites u = range("a limit of u", isSphere || isTorus ? radiansPerDegree : 1.0);
        const ERLimites v = range("a limit of v", isPlane ? 1.0 : radiansPerDegree);
        const ERPmIsometrie3D at = frame(origin, axis);
        if (!good()) return std::nullopt;
        ERSurface* surface = nullptr;
        if (isPlane) {
            surface = new ERBoundedPlane(at, u, v);
        } else if (isSphere) {
            surface = new ERBoundedSphere(at, size, u, v);
        } else if (isTorus) {
            surface = new ERBoundedTorus(at, size, minor, u, v);
        } else if (isCone) {
            auto* const cone = new ERBoundedCone(at, ERRadian(size), u.start(), u.end());
            cone->setBound(u, v);
            cone->adjust();
            surface = cone;
        } else {
            surface = new ERBoundedCylinder(at, size, u, v);
        }
        return Nominal{t_SmartPtr<ERSurface>(surface), heights ? -1.0 : 1.0};
    }

    std::optional<Nominal> surface() {
        const std::string family = peek();
        if (family == "degrees") return Nominal{kerf::t_SmartPtr<kerf::ERSurface>(nurbs())};
        for (const char* const name : {"plane", "cylinder", "cone", "sphere", "torus"}) {
            if (family != name) continue;
            skip();
            return analytic(family);
        }
        if (family == "revolution") {
            skip();
            return revolution();
        }
        if (family == "offset") {
            skip();
            return offset();
        }
        missing("a surface");
        return std::nullopt;
    }

    int depth_ = 0;  // of offsets
};

}  // namespace surfaceFile

/// Nothing, after a message with the line, when the file holds no surface.
inline std::optional<Nominal> readSurfaceFile(const std::string& path) {
    return readWordFile<surfaceFile::Reader>(path);
}

/// The same of a text on the command line.
inline std::optional<Nominal> readSurfaceText(const std::string& text) {
    std::istringstream input(text);
    surfaceFile::Reader reader(input);
    std::optional<Nominal> nominal = reader.read();
    if (!nominal) reader.complaint().print("--surface");
    return nominal;
}
