#include "kerf/surfaces/ray_projection.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <tuple>
#include <utility>

#include "kerf/curves/spline/pole_type.h"
#include "kerf/surfaces/internal/ray_recursion.h"
#include "kerf/surfaces/internal/ray_solve.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/box.h"
#include "kerf/values/polygon.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

int filtreOutsidePoint(ERInfoPoint3DSurf* point, void* surface) {
    const auto& bounded = *static_cast<const ERAnyBoundedSurface*>(surface);
    const ERLimites u = bounded.getBoundU(), v = bounded.getBoundV();
    const ERPoint2D& at = point->parameter();
    return at.x() < u.start() || at.x() > u.end() || at.y() < v.start() || at.y() > v.end();
}

namespace ray {

namespace {

constexpr unsigned int dim = 4;  // doubles of a pole, the weight last
constexpr double smallExtent = 0.1;
constexpr double smallRatio = 1e-12;
constexpr double longerRatio = 3.0;
constexpr double parallel = 1e-11;  // sine
constexpr int deepest = 64;
constexpr unsigned int mostPatches = 1u << 16;

constexpr unsigned int fewPoles = 32;

// What passes the box of the poles by more than this is not on the ray, for sure.
constexpr double clearance = 1e-3;

// The Bernstein polynomials of degree n - 1 at t.
void bernstein(unsigned int n, double t, double* values) {
    values[0] = 1.0;
    for (unsigned int degree = 1; degree < n; ++degree) {
        double carried = 0.0;
        for (unsigned int k = 0; k < degree; ++k) {
            const double former = values[k];
            values[k] = (1.0 - t) * former + carried;
            carried = t * former;
        }
        values[degree] = carried;
    }
}

// Cuts `count` poles of `length` doubles each in the middle: the first half goes to `before`, the second
// takes their place. Elements of one pole stand side by side, poles `step` doubles apart.
void halve(double* poles, unsigned int count, std::size_t step, std::size_t length,
           double* before) {
    for (unsigned int level = 0; level < count; ++level) {
        std::copy_n(poles, length, before + level * step);
        for (unsigned int i = 0; i + level + 1 < count; ++i) {
            double* const pole = poles + i * step;
            for (std::size_t k = 0; k < length; ++k) pole[k] = (pole[k] + pole[k + step]) * 0.5;
        }
    }
}

ERPoint3D cartesian(const double* pole) {
    return ERPoint3D(pole[0] / pole[3], pole[1] / pole[3], pole[2] / pole[3]);
}

// The longest of `lines` lines of n points.
template <class Length>
double longestLine(const ERPoint3D* points, unsigned int lines, unsigned int lineStep,
                   unsigned int n, unsigned int step, Length length) {
    double longest = 0.0;
    for (unsigned int line = 0; line < lines; ++line, points += lineStep) {
        double sum = 0.0;
        for (unsigned int i = 1; i < n; ++i)
            sum += length(ERVector3D(points[(i - 1) * step], points[i * step]));
        longest = std::max(longest, sum);
    }
    return longest;
}

// Whether the normals of the net of poles are parallel in its four corners.
bool isFlat(const ERPoint3D* points, unsigned int rows, unsigned int cols) {
    if (rows < 2 || cols < 2) return true;
    ERVector3D first;
    for (unsigned int corner = 0; corner < 4; ++corner) {
        const bool lastRow = corner >= 2, lastCol = corner % 2 != 0;
        const unsigned int i = lastRow ? rows - 1 : 0, j = lastCol ? cols - 1 : 0;
        const ERPoint3D& at = points[i * cols + j];
        const ERVector3D alongU(at, points[(lastRow ? i - 1 : i + 1) * cols + j]);
        const ERVector3D alongV(at, points[i * cols + (lastCol ? j - 1 : j + 1)]);
        const ERVector3D normal = (alongU ^ alongV).getnormalized();
        if (corner == 0)
            first = normal;
        else if (!((first ^ normal).norme() <= parallel))
            return false;
    }
    return true;
}

}  // namespace

// The homogeneous poles in the frame of the ray.
struct Recursion::Patch {
    const double* poles;
    unsigned int rows, cols;
    ERLimites u, v;

    unsigned int count() const { return rows * cols; }
    std::size_t length() const { return std::size_t{count()} * dim; }
    std::size_t rowLength() const { return std::size_t{cols} * dim; }
};

Recursion::Recursion(const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                     ERRaySurfaceResult& result)
    : surface_(surface), result_(result), p_(p), x_(p.x()), y_(p.y()), patchesLeft_(mostPatches) {}

Recursion::Recursion(const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                     const ERVector3D& direction, ERRaySurfaceResult& result)
    : Recursion(surface, p, result) {
    direction_ = direction;
    frame_ = ERChgRepere3D(direction, p);
    x_ = y_ = 0.0;
}

bool Recursion::mayMeet(const ERMinimax3D& box) const {
    if (!(direction_ * direction_ > 0.0)) return true;
    double largest = 0.0;
    for (unsigned int axis = 0; axis < 3; ++axis)
        largest = std::max({largest, std::fabs(box.lower(axis)), std::fabs(box.upper(axis))});
    ERMinimax3D wide = box;
    wide.Inflate(clearance + smallRatio * (largest + p_.asVector3D().norme()));
    return wide.intersect(p_, direction_) != 0;
}

template <GridPole E>
void Recursion::add(const ERMatrix<E>& poles, const ERLimites& u, const ERLimites& v) {
    if (poles.length() == 0) return;
    ERVec<ERPole3DH> carried(poles.length());
    ERPole3DH* const carriedPole = carried.data();
    const E* const pole = poles.data();
    for (unsigned int i = 0; i < poles.length(); ++i) {
        if constexpr (std::same_as<E, ERPole3DH>)
            carriedPole[i] = pole[i];
        else
            carriedPole[i] = ERPole3DH(pole[i], 1.0);
    }
    if (frame_) frame_->TransTo(carried);

    const Patch patch{spline::doubles(std::as_const(carried).data()), poles.rows(), poles.cols(), u,
                      v};
    double largest = 0.0;
    for (unsigned int i = 0; i < patch.count(); ++i) {
        const ERPoint3D p = cartesian(patch.poles + std::size_t{i} * dim);
        largest = std::max({largest, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    }
    small_ = std::max(smallExtent, smallRatio * largest);
    enter(patch, 0);
}

void Recursion::enter(const Patch& patch, int depth) {
    const unsigned int n = patch.count();
    double room[3 * fewPoles];
    ERVec<ERPoint3D> largeRoom(n > fewPoles ? n : 0);
    static_assert(sizeof(ERPoint3D) == 3 * sizeof(double));
    ERPoint3D* const points = n > fewPoles ? largeRoom.data() : reinterpret_cast<ERPoint3D*>(room);
    ERMinimax2D box;
    for (unsigned int i = 0; i < n; ++i) {
        points[i] = cartesian(patch.poles + std::size_t{i} * dim);
        box.Update(ERPoint2D(points[i].x(), points[i].y()));
    }
    if (box.contains(ERPoint2D(x_, y_)) == 0) return;
    const bool isSmall = box.xlength() < small_ && box.ylength() < small_;
    if (isSmall || depth >= deepest || patchesLeft_ == 0) return solvePatch(patch);
    --patchesLeft_;

    double flatRoom[2 * fewPoles];
    ERVec<ERPoint2D> largeFlat(n > fewPoles ? n : 0);
    ERPoint2D* const flat =
        n > fewPoles ? largeFlat.data() : reinterpret_cast<ERPoint2D*>(flatRoom);
    for (unsigned int i = 0; i < n; ++i) flat[i] = ERPoint2D(points[i].x(), points[i].y());
    const unsigned int corners = convexHull(flat, n, flat);
    if (corners > 0 && Inside(ERPoint2D(x_, y_), flat, static_cast<int>(corners)) == OutsidePolygon)
        return;

    const auto along = [&](auto length) {
        return std::pair(longestLine(points, patch.cols, 1, patch.rows, patch.cols, length),
                         longestLine(points, patch.rows, patch.cols, patch.cols, 1, length));
    };
    if (isFlat(points, patch.rows, patch.cols)) {
        const auto [u, v] = along([](const ERVector3D& d) { return std::hypot(d.i(), d.j()); });
        return cut(patch, u >= v, !(u >= v), depth);
    }
    const auto [u, v] = along([](const ERVector3D& d) { return d.norme(); });
    const bool onlyU = u > v * longerRatio, onlyV = v > u * longerRatio;
    cut(patch, !onlyV, !onlyU, depth);
}

void Recursion::cut(const Patch& patch, bool alongU, bool alongV, int depth) {
    const std::size_t length = patch.length();
    spline::Scratch<2 * dim * fewPoles> room(2 * length);
    double* const first = room.data();
    double* const second = first + length;
    const auto halves = [](const ERLimites& range) {
        const double middle = range.amplitude() * 0.5 + range.start();
        return std::pair(ERLimites(range.start(), middle), ERLimites(middle, range.end()));
    };
    std::copy_n(patch.poles, length, second);
    Patch before = patch, after = patch;
    before.poles = first;
    after.poles = second;
    if (alongU) {
        halve(second, patch.rows, patch.rowLength(), patch.rowLength(), first);
        std::tie(before.u, after.u) = halves(patch.u);
    } else {
        for (unsigned int i = 0; i < patch.rows; ++i)
            halve(second + i * patch.rowLength(), patch.cols, dim, dim,
                  first + i * patch.rowLength());
        std::tie(before.v, after.v) = halves(patch.v);
    }
    for (const Patch& half : {before, after}) {
        if (alongU && alongV)
            cut(half, false, true, depth + 1);
        else
            enter(half, depth + 1);
    }
}

void Recursion::solvePatch(const Patch& patch) {
    const unsigned int rows = patch.rows, cols = patch.cols;
    spline::Scratch<2 * fewPoles> basis(std::size_t{rows} + cols);
    double* const alongU = basis.data();
    double* const alongV = alongU + rows;
    const auto at = [&](double u, double v) {
        bernstein(rows, patch.u.ratio(u), alongU);
        bernstein(cols, patch.v.ratio(v), alongV);
        double sum[dim] = {};
        const double* pole = patch.poles;
        for (unsigned int i = 0; i < rows; ++i) {
            double row[dim] = {};
            for (unsigned int j = 0; j < cols; ++j, pole += dim)
                for (unsigned int k = 0; k < dim; ++k) row[k] += alongV[j] * pole[k];
            for (unsigned int k = 0; k < dim; ++k) sum[k] += alongU[i] * row[k];
        }
        return cartesian(sum);
    };
    Root root{};
    if (!seed(at, patch.u, patch.v, x_, y_, root) || !solve(at, patch.u, patch.v, x_, y_, root))
        return;
    if (patch.u.inBound(root.u) == 0 || patch.v.inBound(root.v) == 0) return;
    ERInfoPoint3DSurf found = surface_.PtCur(root.u, root.v);
    result_.AddPointSolution(found);
}

template KERF_EXPORT void Recursion::add(const ERMatrix<ERPoint3D>&, const ERLimites&,
                                         const ERLimites&);
template KERF_EXPORT void Recursion::add(const ERMatrix<ERPole3DH>&, const ERLimites&,
                                         const ERLimites&);

}  // namespace ray
}  // namespace kerf
