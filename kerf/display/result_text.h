#pragma once
#include "kerf/platform/config.h"
#include "kerf/platform/text.h"
#include "kerf/values/point.h"

// The library's own texts: labels of measured features and the formats of their results. An
// application translates any of them by giving its own text for the number (see setStringSource).
namespace kerf {

/// The numbers of the texts, for CString::LoadString.
namespace resultStrings {
enum Number : unsigned int {
    sphere = 7001,
    circle = 7002,
    plane = 7003,
    line = 7004,
    center = 7005,
    diameter = 7006,
    undefined = 7007,
    cylinder = 7008,
    cone = 7009,
    torus = 7010,
    axis = 7011,
    apex = 7012,
    halfAngle = 7013,
    radius = 7014,
    smallRadius = 7015,
    length = 7016,
    width = 7017,
    normalVector = 7018,
    direction = 7019,
    point = 7020,
    maxDeviation = 7021,
    barycenter = 7022,
    side = 7023,
    origin = 7024,
    scanLines = 7025,
    extrusion = 7026,
    average = 7027,
    error = 7028,
    maxValue = 7029,
    meanValue = 7030,
    minValue = 7031,
    points = 7032,
    profile = 7033,
    numberFormat = 7099,       ///< the printf format of every number in a result
    firstResultFormat = 7100,  ///< to 7113: see featureResultText
    probeDiameter = 7120,
    distance = 7121,
    gap = 7124,
    flush = 7125
};
}  // namespace resultStrings

/// In the order of the result formats.
enum class FeatureKind { Cylinder, Line, Plane, Circle, Cone, Sphere, Torus };

/// What is known of a measured feature.
struct FeatureResult {
    FeatureKind kind = FeatureKind::Line;
    bool isDefined = false;    ///< the points measured so far determine the feature
    ERPoint3D position;        ///< origin; centre of circle, sphere and torus; apex of a cone
    ERVector3D direction;      ///< axis or normal; not used for a sphere
    double size = 0.0;         ///< diameter; half angle of a cone in degrees; radius of a torus
    double smallRadius = 0.0;  ///< of a torus
    double maximumDeviation = 0.0;
    int farthestPoint = 0;  ///< the number of the point that deviates most
};

/// The result as text, in lines that end with '\n', or the one-line text of an undefined feature.
/// The formats are the texts 7100 + 2 kind, and the next number for the undefined feature, in the
/// notation of formatMessage. Their inserts, numbers being printed by the text 7099 already:
///
///   Line, Plane             %1 %2 %3 position  %4 %5 %6 direction  %7 deviation  %8 point (int)
///   Cylinder, Circle, Cone  %1 %2 %3 position  %4 %5 %6 direction  %7 size  %8 deviation
///                           %9 point (int)
///   Sphere                  %1 %2 %3 position  %4 size  %5 deviation  %6 point (int)
///   Torus                   %1 %2 %3 position  %4 %5 %6 direction  %7 size  %8 small radius
///                           %9 deviation; there is no tenth insert to hold the point
///
/// A replaced text 7099 that holds no format of a double counts as the library's own.
KERF_EXPORT CString featureResultText(const FeatureResult& feature);

}  // namespace kerf
