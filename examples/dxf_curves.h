#pragma once
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "examples/dxf_reader.h"
#include "kerf/curves/arc.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/curve.h"
#include "kerf/curves/ellipse.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"

// The curves that the entities of a drawing are:
//
//   LINE        ERSegment2D
//   ARC, CIRCLE ERArc2D
//   ELLIPSE     ERArcEllipse2D; ERArc2D when its axes are equal
//   LWPOLYLINE  ERPolyline2D, or ERPolygone2D when closed; with bulges ERCompCurve2D of segments and
//               arcs
//   SPLINE      ERCpoleNURBS2D
//
// The drawing is seen from above: z is dropped. An entity whose own plane is seen from below (normal
// 0, 0, -1) is mirrored as it should be, one in any other plane is passed over.

namespace dxf {

using CurvePointer = kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF>;

struct DrawnCurve {
    std::string kind;  // of the entity
    unsigned int line = 0;
    CurvePointer curve;
    std::string layer = {};
};

struct Drawing {
    std::vector<DrawnCurve> curves;
    std::map<std::string, std::size_t>
        passedOver;  // kinds that are no curve here, with their count
};

namespace detail {

constexpr double fullTurn = 6.283185307179586;
constexpr double radiansPerDegree = fullTurn / 360;

/// The numbers of an entity by their codes. The first that is missing or no number is kept as the
/// complaint, and everything read from then on is 0.
class Fields {
public:
    explicit Fields(const Entity& entity) : entity_(entity) {}

    double number(const Group& group) {
        double value = 0.0;
        return !failed() && readNumber(group, value, complaint_) ? value : 0.0;
    }
    double number(int code) { return read(code, nullptr); }
    double number(int code, double ifMissing) { return read(code, &ifMissing); }
    int integer(int code, int ifMissing) {
        for (const Group& group : entity_.groups) {
            if (group.code != code) continue;
            int value = 0;
            if (failed() || !readInteger(group, value, complaint_)) return 0;
            return value;
        }
        return ifMissing;
    }
    std::string text(int code) const {
        for (const Group& group : entity_.groups)
            if (group.code == code) return group.value;
        return {};
    }
    kerf::ERPoint2D point(int code) { return {number(code), number(code + 10)}; }
    /// Every group of the code, in order.
    std::vector<double> numbers(int code) {
        std::vector<double> all;
        for (const Group& group : entity_.groups)
            if (group.code == code) all.push_back(number(group));
        return all;
    }
    /// The points of which a group of the code starts each; its second coordinate follows.
    kerf::ERVec<kerf::ERPoint2D> points(int code) {
        kerf::ERVec<kerf::ERPoint2D> all;
        const Group* x = nullptr;
        for (const Group& group : entity_.groups) {
            if (group.code == code) {
                if (x != nullptr) break;
                x = &group;
            } else if (group.code == code + 10) {
                if (x == nullptr) {
                    refuse(group.line, "a coordinate without the one before");
                    return all;
                }
                const double first = number(*x);
                all.append(kerf::ERPoint2D(first, number(group)));
                x = nullptr;
            }
        }
        if (x != nullptr) refuse(x->line, "a point without its second coordinate");
        return all;
    }

    void refuse(unsigned int line, const std::string& text) {
        if (!failed()) complaint_ = {line, entity_.kind + ": " + text};
    }
    void refuse(const std::string& text) { refuse(entity_.line, text); }
    bool failed() const { return !complaint_.text.empty(); }
    const Complaint& complaint() const { return complaint_; }
    const Entity& entity() const { return entity_; }
    /// The line of the group of the code before which there are `count` others of it; of the entity
    /// when there is none.
    unsigned int lineOf(int code, std::size_t count = 0) const {
        for (const Group& group : entity_.groups)
            if (group.code == code && count-- == 0) return group.line;
        return entity_.line;
    }

private:
    double read(int code, const double* ifMissing) {
        for (const Group& group : entity_.groups)
            if (group.code == code) return number(group);
        if (ifMissing != nullptr) return *ifMissing;
        refuse("group " + std::to_string(code) + " is missing");
        return 0.0;
    }

    const Entity& entity_;
    Complaint complaint_;
};

enum class Side { Above, Below, Tilted };

// From which side the entity's own plane is seen, by its normal.
inline Side sideOf(Fields& fields) {
    constexpr double flat = 1e-9;  // a direction written with ten digits
    const double x = fields.number(210, 0.0), y = fields.number(220, 0.0);
    const double z = fields.number(230, 1.0);
    if (std::hypot(x, y) > flat * std::fabs(z)) return Side::Tilted;
    return z >= 0.0 ? Side::Above : Side::Below;
}

inline CurvePointer segment(Fields& fields) {
    const kerf::ERPoint2D start = fields.point(10), end = fields.point(11);
    return new kerf::ERSegment2D(start, end);
}

// A mirrored arc runs clockwise: its angles are those that the mirror image of the circle has.
inline CurvePointer arc(Fields& fields, bool mirrored) {
    kerf::ERPoint2D centre = fields.point(10);
    const double radius = fields.number(40);
    double start = 0.0, end = fullTurn;
    if (fields.entity().kind == "ARC") {
        start = fields.number(50) * radiansPerDegree;
        end = fields.number(51) * radiansPerDegree;
        end = start + std::fmod(end - start, fullTurn);
        if (end <= start) end += fullTurn;
    }
    if (!(radius > 0.0)) fields.refuse(fields.lineOf(40), "the radius is not positive");
    if (mirrored) {
        centre.x() = -centre.x();
        start = fullTurn / 2 - start;
        end = fullTurn / 2 - end;
    }
    return new kerf::ERArc2D(centre, radius, start, end);
}

// Its points are given in the coordinates of the drawing, whatever its normal; this only tells to
// which side the parameter runs.
inline CurvePointer ellipse(Fields& fields, bool mirrored) {
    const kerf::ERPoint2D centre = fields.point(10), axis = fields.point(11);
    const double ratio = fields.number(40);
    double start = fields.number(41, 0.0), end = fields.number(42, fullTurn);
    const double big = kerf::norme(axis);
    if (!(big > 0.0)) fields.refuse(fields.lineOf(11), "the major axis has no length");
    if (!(ratio > 0.0)) fields.refuse(fields.lineOf(40), "the ratio of the axes is not positive");
    if (end - start > fullTurn || end <= start) {
        end = start + std::fmod(end - start, fullTurn);
        if (end <= start) end += fullTurn;
    }
    if (mirrored) {
        start = -start;
        end = -end;
    }
    double angle = std::atan2(axis.y(), axis.x());
    if (ratio == 1.0) return new kerf::ERArc2D(centre, big, start + angle, end + angle);
    if (ratio > 1.0) {  // the second axis is the major one, and the parameter counts from it
        angle += fullTurn / 4;
        start -= fullTurn / 4;
        end -= fullTurn / 4;
    }
    return new kerf::ERArcEllipse2D(big, big * ratio, angle, centre, start, end);
}

// The arc from p to q that turns by four times the arc tangent of the bulge, counter-clockwise where
// that is positive.
inline CurvePointer bulgedPiece(const kerf::ERPoint2D& p, const kerf::ERPoint2D& q, double bulge) {
    const kerf::ERVector2D chord(p, q);
    const double length = chord.norme();
    if (bulge == 0.0 || length == 0.0) return new kerf::ERSegment2D(p, q);
    const double away = (1 / bulge - bulge) / 4;  // centre to the left of the chord, in chords
    const kerf::ERPoint2D centre(p.x() + chord.i() / 2 - chord.j() * away,
                                 p.y() + chord.j() / 2 + chord.i() * away);
    const double radius = length * std::fabs(1 / bulge + bulge) / 4;
    const double start = std::atan2(p.y() - centre.y(), p.x() - centre.x());
    return new kerf::ERArc2D(centre, radius, start, start + 4 * std::atan(bulge));
}

inline CurvePointer polyline(Fields& fields, bool mirrored) {
    kerf::ERVec<kerf::ERPoint2D> vertices = fields.points(10);
    // A bulge belongs to the vertex before it.
    std::vector<double> bulges;
    bool straight = true;
    for (const Group& group : fields.entity().groups) {
        if (group.code == 10) bulges.push_back(0.0);
        if (group.code != 42 || bulges.empty()) continue;
        bulges.back() = fields.number(group);
        straight = straight && bulges.back() == 0.0;
    }
    const int told = fields.integer(90, static_cast<int>(vertices.length()));
    if (told < 0 || static_cast<unsigned int>(told) != vertices.length())
        fields.refuse(fields.lineOf(90), std::to_string(told) + " vertices are announced, " +
                                             std::to_string(vertices.length()) + " are there");
    if (vertices.length() < 2) fields.refuse("fewer than two vertices");
    if (fields.failed()) return {};

    const bool closed = (fields.integer(70, 0) & 1) != 0;
    if (mirrored) {
        for (kerf::ERPoint2D& vertex : vertices) vertex.x() = -vertex.x();
        for (double& bulge : bulges) bulge = -bulge;
    }
    if (straight && closed) return new kerf::ERPolygone2D(vertices);
    if (straight) return new kerf::ERPolyline2D(vertices);

    const kerf::t_SmartPtr<kerf::ERCompCurve2D> chain(new kerf::ERCompCurve2D);
    const unsigned int pieces = closed ? vertices.length() : vertices.length() - 1;
    for (unsigned int i = 0; i < pieces; ++i) {
        const kerf::ERPoint2D& p = vertices[i];
        const kerf::ERPoint2D& q = vertices[(i + 1) % vertices.length()];
        if (p != q) chain->append(bulgedPiece(p, q, bulges[i]), 0.0);
    }
    if (chain->entries() == 0) fields.refuse("all vertices are the same");
    return chain;
}

inline CurvePointer spline(Fields& fields) {
    const int degree = fields.integer(71, 3);
    const kerf::ERVec<kerf::ERPoint2D> points = fields.points(10);
    const std::vector<double> knots = fields.numbers(40), weights = fields.numbers(41);
    const std::size_t poles = points.length();
    if (degree < 1) fields.refuse(fields.lineOf(71), "the degree is below one");
    if (degree >= 1 && static_cast<std::size_t>(degree) >= poles)
        fields.refuse(fields.lineOf(71), "degree " + std::to_string(degree) + " with " +
                                             std::to_string(poles) + " poles");
    if (!fields.failed() && knots.size() != poles + static_cast<std::size_t>(degree) + 1)
        fields.refuse(fields.lineOf(40), std::to_string(knots.size()) + " knots for degree " +
                                             std::to_string(degree) + " with " +
                                             std::to_string(poles) + " poles");
    if (!weights.empty() && weights.size() != poles)
        fields.refuse(fields.lineOf(41), std::to_string(weights.size()) + " weights for " +
                                             std::to_string(poles) + " poles");
    for (std::size_t i = 0; i < weights.size(); ++i)
        if (!(weights[i] > 0.0)) fields.refuse(fields.lineOf(41, i), "a weight is not positive");
    for (std::size_t i = 1; i < knots.size(); ++i)
        if (knots[i] < knots[i - 1]) fields.refuse(fields.lineOf(40, i), "the knots decrease");
    if (fields.failed()) return {};
    const std::size_t n = static_cast<std::size_t>(degree);
    if (!(knots[n] < knots[poles])) fields.refuse(fields.lineOf(40), "the knots leave no interval");

    kerf::ERVec<kerf::ERPole2DH> homogeneous;
    homogeneous.capacity(points.length());
    for (unsigned int i = 0; i < points.length(); ++i) {
        const double w = weights.empty() ? 1.0 : weights[i];
        homogeneous.append(kerf::ERPole2DH(points[i] * w, w));
    }
    const kerf::ERKnotVector vector(static_cast<unsigned int>(degree), knots.data(),
                                    static_cast<unsigned int>(knots.size()));
    return new kerf::ERCpoleNURBS2D(homogeneous, vector);
}

}  // namespace detail

/// Appends the curve of an entity to the drawing, or counts it there by its kind when it is none.
/// False, with the complaint, when the entity lacks something or contradicts itself.
inline bool addEntity(const Entity& entity, Drawing& drawing, Complaint& complaint) {
    using detail::Side;
    const auto passOver = [&](const char* why) {
        ++drawing.passedOver[entity.kind + why];
        return true;
    };
    const std::string& kind = entity.kind;
    detail::Fields fields(entity);
    const bool ownPlane = kind == "ARC" || kind == "CIRCLE" || kind == "LWPOLYLINE";
    const bool known = ownPlane || kind == "LINE" || kind == "ELLIPSE" || kind == "SPLINE";
    if (!known) return passOver("");
    // The normal of a line or a spline says nothing about where its points are.
    const Side side = ownPlane || kind == "ELLIPSE" ? detail::sideOf(fields) : Side::Above;
    if (fields.integer(67, 0) == 1) return passOver(" (of a paper sheet)");
    if (side == Side::Tilted && !fields.failed()) return passOver(" (tilted)");
    const bool mirrored = side == Side::Below;
    if (kind == "SPLINE" && !entity.has(10) && entity.has(11)) return passOver(" (fit points)");

    CurvePointer curve;
    if (kind == "LINE") curve = detail::segment(fields);
    if (kind == "ARC" || kind == "CIRCLE") curve = detail::arc(fields, mirrored);
    if (kind == "ELLIPSE") curve = detail::ellipse(fields, mirrored);
    if (kind == "LWPOLYLINE") curve = detail::polyline(fields, mirrored);
    if (kind == "SPLINE") curve = detail::spline(fields);
    if (fields.failed()) {
        complaint = fields.complaint();
        return false;
    }
    drawing.curves.push_back({kind, entity.line, curve, fields.text(8)});
    return true;
}

/// The curves of an ASCII DXF file in their order. False, after a message that names the file and the
/// line, when it is broken.
inline bool readDrawing(const std::string& path, Drawing& drawing) {
    std::vector<Entity> entities;
    Complaint complaint;
    bool read = readEntities(path, entities, complaint);
    for (std::size_t i = 0; read && i < entities.size(); ++i)
        read = addEntity(entities[i], drawing, complaint);
    if (!read) complaint.print(path);
    return read;
}

}  // namespace dxf
