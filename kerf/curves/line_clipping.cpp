#include "kerf/curves/line_clipping.h"

#include <cmath>

#include "kerf/curves/infinite_line.h"
#include "kerf/curves/segment.h"
#include "kerf/values/box_clipping.h"

namespace kerf {

namespace {

constexpr double unboundedLength = 1e15;

bool isFinite(const ERPoint2D& p) { return std::isfinite(p.x()) && std::isfinite(p.y()); }

// One direction of a face: the edge, and whether the face ends with it.
struct Edge {
    ERVector3D vector;
    bool bounded;
};

bool within(const ERPoint3D& corner, const Edge& edge, const ERPoint3D& hit) {
    if (!edge.bounded) return true;
    const double along = ERVector3D(corner, hit) * edge.vector.getnormalized();
    return 0.0 <= along && along <= edge.vector.norme();
}

bool meetsFace(const ERInfLine3D& line, const ERPoint3D& corner, const Edge& u, const Edge& v,
               ERPoint3D& hit) {
    const ERVector3D normal = (u.vector ^ v.vector).getnormalized();
    const double slope = normal * line.dirVector();
    if (slope == 0.0) return false;
    const double t = (normal * ERVector3D(line.origine(), corner)) / slope;
    hit = line.origine() + line.dirVector() * t;
    return within(corner, u, hit) && within(corner, v, hit);
}

}  // namespace

ER_MINMAX_POSITION_SEGMENT SutherCohen(const ERInfLine2D& line, const ERMinimax2D& box,
                                       ERPoint2D& out1, ERPoint2D& out2) {
    const ERVec<ERPoint2D> corners = box.getVertice();
    const ERPoint2D origin = line.projectPt(corners[0]);
    ERPoint2D first = origin, last = origin;
    double lowest = 0.0, highest = 0.0;
    for (unsigned int i = 1; i < corners.length(); ++i) {
        const ERPoint2D projection = line.projectPt(corners[i]);
        const double abscissa = ERVector2D(origin, projection) * line.dirVector();
        if (abscissa < lowest) {
            lowest = abscissa;
            first = projection;
        }
        if (abscissa > highest) {
            highest = abscissa;
            last = projection;
        }
    }
    if (!isFinite(first) || !isFinite(last)) return SegmentOutside;
    return SutherCohen(first, last, box, out1, out2);
}

int intersect(const ERInfLine3D& line, const ERPoint3D& corner, const ERVector3D& edgeU,
              const ERVector3D& edgeV, ERPoint3D& hit) {
    return meetsFace(line, corner, {edgeU, true}, {edgeV, true}, hit);
}

int intersect(const ERInfLine3D& line, const ERMinimax3D& box, ERSegment3D& result, int boundX,
              int boundY, int boundZ) {
    const bool bounded[3] = {boundX != 0, boundY != 0, boundZ != 0};
    double lengths[3];
    for (unsigned int axis = 0; axis < 3; ++axis) {
        lengths[axis] = bounded[axis] ? box.upper(axis) - box.lower(axis) : unboundedLength;
    }
    ERPoint3D hits[6];
    unsigned int count = 0;
    for (const bool high : {false, true}) {
        const ERPoint3D corner = high ? box.MaxPoint() : box.MinPoint();
        const double sign = high ? -1.0 : 1.0;
        const Edge edges[3] = {{ERVector3D(sign * lengths[0], 0.0, 0.0), bounded[0]},
                               {ERVector3D(0.0, sign * lengths[1], 0.0), bounded[1]},
                               {ERVector3D(0.0, 0.0, sign * lengths[2]), bounded[2]}};
        for (unsigned int normal = 3; normal-- > 0;) {
            const unsigned int u = normal == 0 ? 1 : 0, v = normal == 2 ? 1 : 2;
            if (lengths[u] == 0.0 || lengths[v] == 0.0) continue;
            if (meetsFace(line, corner, edges[u], edges[v], hits[count]) && bounded[normal])
                ++count;
        }
    }
    if (count < 2) return 0;
    ERPoint3D last = hits[0];
    for (unsigned int i = 1; i < count; ++i) {
        if (!isEqual(hits[i], hits[0], equalityTolerance)) last = hits[i];
    }
    if (last == hits[0]) return 0;
    result.setP1(hits[0]);
    result.setP2(last);
    return 1;
}

int intersect(const ERInfLine3D& line, const ERMinimax3D& box, ERSegment3D& result) {
    return intersect(line, box, result, 1, 1, 1);
}

}  // namespace kerf
