#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/carried_points.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

// Polylines, open and closed.
namespace kerf {

/// What polylines of the plane and of space share. The vertices are the elements of the vector that
/// the polyline is; a program that changes them as a vector calls setDirty() itself.
///
/// Parameter:  vertex i is at u = i, and the fraction runs along the segment that follows. Outside
///             the domain the first and the last segment go on.
/// Degenerate: one vertex is a point on the domain [0, 0]. Without vertices every point is the
///             origin, the box is reset, the length is 0 and nothing is found.
/// Storage:    the vertices.
template <class Space>
class KERF_EXPORT Polyline : public CarriedByPoints<Polyline<Space>, typename Space::Curve, Space>,
                             public ERVec<typename Space::Point> {
    using Carried = CarriedByPoints<Polyline, typename Space::Curve, Space>;

public:
    using Point = typename Space::Point;
    using Vertices = ERVec<Point>;

    double ufin() const override;
    ERLimites getBound() const override { return ERLimites(0.0, ufin()); }

    using Space::Curve::isClosed;
    /// 1 when the first and the last vertex differ by less than 1e-11 in each coordinate.
    int isClosed() const;

    typename Space::InfoPoint PtCur(double u) const override;
    typename Space::Box getBox() const override;
    using Space::Curve::approxime;
    /// The points at the limits and the vertices between them, whatever tol.
    ERVec<Point> approxime(const ERLimites& limits, double tol) const override;
    /// Along the polyline. The tolerance is unused.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// Two polylines without a repeated vertex at u; at an end one of them has one vertex.
    int splitAt(t_SmartPtr<typename Space::Curve>& left, t_SmartPtr<typename Space::Curve>& right,
                double u) const override;
    /// Of degree 1, with the same parameter.
    typename Space::Nurbs ConvertToNurbs() const override;
    /// Appends every parameter at which a segment comes exactly as near to p as the nearest one. The
    /// tolerance is unused.
    int ProjectPoint(const Point& p, ERVec<double>& parameters, double tol) const override;
    /// From order 1 on the derivatives jump at every vertex but the ends.
    int IsContinuous(int order) const override;
    int GetDiscontinuities(int order, ERVec<double>& parameters) const override;
    void reverse() override;

    /// Drops every vertex that exactly repeats the one before it.
    void cleanUp();

protected:
    Polyline() = default;
    explicit Polyline(const Vertices& vertices) : Vertices(vertices) {}
    Polyline(const Polyline&) = default;
    Polyline& operator=(const Polyline&) = default;

    const Vertices& vertices() const { return *this; }
    Vertices& vertices() { return *this; }
    /// Appends the first vertex where the polyline is open.
    void close();

    void prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                       double tol) const override;

private:
    friend Carried;
    template <class Edit>
    void changePoints(Edit edit) {
        edit(vertices());
    }
    unsigned int segmentAt(double u) const;
    double lengthUpTo(double u) const;
};

/// A polyline in the plane.
class KERF_EXPORT ERPolyline2D : public Polyline<Space2D> {
    ER_OBJECT_CLASS(ERPolyline2D);
    ER_STORED_CLASS(ERPolyline2D);

public:
    ERPolyline2D() = default;
    explicit ERPolyline2D(const ERVec<ERPoint2D>& vertices) : Polyline(vertices) {}

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.vertices()); }
};

/// A polyline in space.
class KERF_EXPORT ERPolyline3D : public Polyline<Space3D> {
    ER_OBJECT_CLASS(ERPolyline3D);
    ER_STORED_CLASS(ERPolyline3D);

public:
    ERPolyline3D() = default;
    explicit ERPolyline3D(const ERVec<ERPoint3D>& vertices) : Polyline(vertices) {}

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.vertices()); }
};

/// A closed polyline in the plane: the last vertex is the first again. Split parts are polylines.
class KERF_EXPORT ERPolygone2D : public ERPolyline2D {
    ER_OBJECT_CLASS(ERPolygone2D);
    ER_STORED_CLASS(ERPolygone2D);

public:
    ERPolygone2D() = default;
    /// Closes a list that is open by its first vertex.
    explicit ERPolygone2D(const ERVec<ERPoint2D>& vertices) : ERPolyline2D(vertices) { close(); }

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
};

/// A closed polyline in space.
class KERF_EXPORT ERPolygone3D : public ERPolyline3D {
    ER_OBJECT_CLASS(ERPolygone3D);
    ER_STORED_CLASS(ERPolygone3D);

public:
    ERPolygone3D() = default;
    explicit ERPolygone3D(const ERVec<ERPoint3D>& vertices) : ERPolyline3D(vertices) { close(); }

    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
};

extern template class Polyline<Space2D>;
extern template class Polyline<Space3D>;

}  // namespace kerf
