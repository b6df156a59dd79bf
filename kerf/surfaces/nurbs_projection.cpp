// The foot of a point on a NURBS surface, by divide and conquer.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "kerf/curves/spline/fixed_size.h"
#include "kerf/curves/spline/internal/lanes.h"
#include "kerf/surfaces/bezier_patches.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/internal/nurbs_projection.h"
#include "kerf/surfaces/internal/ray_recursion.h"
#include "kerf/surfaces/medium_plane.h"
#include "kerf/surfaces/plane.h"
#include "kerf/surfaces/surface_projection.h"
#include "kerf/values/polygon.h"

namespace kerf {

namespace {

using spline::BasisValues;
using spline::FourDoubles;
using spline::loadTwo;
using spline::twice;
using spline::TwoDoubles;

constexpr unsigned int dim = 4;

constexpr double flat = 0.001;  // deviation
constexpr double small = 2.0;
constexpr double smallRatio = 1e-12;  // of the largest coordinate
constexpr double boxMargin = 0.001;
constexpr double reachRatio = 1.1;
constexpr double seedBoxMargin = 0.2;
constexpr double shortest = 0.0001;  // estimate of a direction worth a split
constexpr double longerRatio = 2.0;

// The boxes of a cover along each direction.
constexpr unsigned int coverSide = 6;

constexpr int deepest = 64;
constexpr unsigned int mostHalves = 1u << 15;
constexpr std::size_t mostBytes = std::size_t{64} << 20;
// A knot with what the basis functions keep of its span, at degree 3.
constexpr std::size_t knotBytes = 400;

constexpr unsigned int mostSamples = 80;
constexpr int fineSteps = 10;  // on either side of a node

// Room for the basis functions of the largest grid at the degrees that occur.
constexpr std::size_t functionsOnStack = mostSamples * 6;
constexpr std::size_t lineOnStack = 512;

// The squared distances from the origin of the points of a row of fine samples, two at a time. Count is
// the number of functions, or 0 for any.
template <unsigned int Count>
void measureRow(unsigned int anyCount, const double* line, const unsigned int* firsts,
                const double* functions, double* distances2) {
    constexpr unsigned int n = 2 * fineSteps;
    const unsigned int count = Count > 0 ? Count : anyCount;
    for (unsigned int j = 0; j < n; j += 2) {
        const double* const a = line + std::size_t{firsts[j]} * dim;
        const double* const b = line + std::size_t{firsts[j + 1]} * dim;
        TwoDoubles x = twice(0.0), y = x, z = x, w = x;
        const auto add = [&](unsigned int k, auto coordinate) {
            const TwoDoubles factors = loadTwo(functions + std::size_t{k} * n + j);
            x = x + factors * coordinate(k * dim);
            y = y + factors * coordinate(k * dim + 1);
            z = z + factors * coordinate(k * dim + 2);
            w = w + factors * coordinate(k * dim + 3);
        };
        if (a == b) {
            for (unsigned int k = 0; k < count; ++k)
                add(k, [&](unsigned int c) { return twice(a[c]); });
        } else {
            for (unsigned int k = 0; k < count; ++k)
                add(k, [&](unsigned int c) { return TwoDoubles{a[c], b[c]}; });
        }
        const TwoDoubles squares = x * x + y * y + z * z;
        const TwoDoubles distance2 = squares / (w * w);
        std::memcpy(distances2 + j, &distance2, sizeof distance2);
    }
}

// The least of a row that is a number; in four chains, since each comparison waits for the one before.
double leastOf(const double (&row)[2 * fineSteps]) {
    constexpr double largest = std::numeric_limits<double>::max();
    double least[4] = {largest, largest, largest, largest};
    static_assert(2 * fineSteps % 4 == 0);
    for (unsigned int j = 0; j < 2 * fineSteps; j += 4) {
        least[0] = row[j] < least[0] ? row[j] : least[0];
        least[1] = row[j + 1] < least[1] ? row[j + 1] : least[1];
        least[2] = row[j + 2] < least[2] ? row[j + 2] : least[2];
        least[3] = row[j + 3] < least[3] ? row[j + 3] : least[3];
    }
    return std::min(std::min(least[0], least[1]), std::min(least[2], least[3]));
}

}  // namespace

struct NurbsProjection::Halves {
    Half before, after;
};

NurbsProjection::NurbsProjection(const ERPoint3D& p, double tolerance, int flag)
    : p_(p), tolerance_(tolerance), flag_(flag) {}

PoleSurfaceProjectionData& NurbsProjection::dataOf(const ERSpoleNURBS3D& surface) {
    std::shared_ptr<Data>& data = surface.projectionData();
    if (data == nullptr) data = std::make_shared<Data>();
    return *data;
}

PoleSurfaceProjectionData::Shape& NurbsProjection::shapeOf(const ERSpoleNURBS3D& surface) {
    std::optional<Data::Shape>& kept = dataOf(surface).shape;
    if (kept) return *kept;
    const unsigned int n = surface.poles_.length();
    const ERPole3DH* const pole = surface.poles_.data();
    ERVec<ERPoint3D> points(n);
    ERPoint3D* const point = points.data();
    Data::Shape shape{0.0, 0.0, true, {}, {}, {}};
    for (unsigned int i = 0; i < n; ++i) {
        point[i] = pole[i].castToPoint();
        shape.weightsArePositive = shape.weightsArePositive && pole[i].weigth() > 0.0;
        shape.largest = std::max({shape.largest, std::fabs(point[i].x()), std::fabs(point[i].y()),
                                  std::fabs(point[i].z())});
    }
    ERPlane plane;
    GetMediumPlane(points, plane, 0.0);
    for (unsigned int i = 0; i < n; ++i) {
        double distance = 0.0;
        plane.SignedMinimalDistance(point[i], distance);
        // What is not a number stays.
        if (!(std::fabs(distance) <= shape.deviation)) shape.deviation = std::fabs(distance);
    }
    shape.frame = plane.getTransfo();
    if (shape.deviation <= flat) {
        ERVec<ERPoint2D> image(n);
        ERPoint2D* const to = image.data();
        for (unsigned int i = 0; i < n; ++i) to[i] = shape.frame.Project(point[i]);
        shape.hull = CalculateConvexeHull(image);
    }
    kept = std::move(shape);
    return *kept;
}

bool NurbsProjection::isApart(const ERSpoleNURBS3D& surface, double margin, double reach) const {
    ERMinimax3D box = surface.getBox(), around;
    box.Inflate(margin);
    around.Update(p_);
    around.Inflate(reach);
    return RelativePosition(box, around) == BoxDisjoint;
}

bool NurbsProjection::passesTheHull(const Data::Shape& shape) const {
    return shape.hull && shape.hull->length() > 0 &&
           Inside(shape.frame.Project(p_), *shape.hull) == OutsidePolygon;
}

// Boxes of the poles of small parts, in a frame in which these are thin: a far closer bound than the box
// of the surface.
std::vector<ERMinimax3D> NurbsProjection::makeCover(const ERSpoleNURBS3D& surface,
                                                    const ERPmIsometrie3D& frame) {
    ERSpoleNURBS3D parts(surface);
    parts.transformTo(frame);
    for (unsigned int i = 1; i < coverSide; ++i) {
        const double ratio = static_cast<double>(i) / coverSide;
        parts.insertKnotU(surface.getBoundU()(ratio), surface.degreeU());
        parts.insertKnotV(surface.getBoundV()(ratio), surface.degreeV());
    }
    ERSimpleVec2<ERMinimax3D> boxes;
    parts.GetSpanBoxes(boxes);
    const unsigned int rows = boxes.rows(), cols = boxes.cols();
    const unsigned int coverRows = std::min(rows, coverSide), coverCols = std::min(cols, coverSide);
    std::vector<ERMinimax3D> cover(std::size_t{coverRows} * coverCols);
    for (unsigned int i = 0; i < rows; ++i)
        for (unsigned int j = 0; j < cols; ++j)
            cover[std::size_t{coverCols} * (i * coverRows / rows) + j * coverCols / cols].Update(
                boxes(i, j));
    return cover;
}

// Whether no point of the surface can be as near as that.
bool NurbsProjection::isFarther(const ERSpoleNURBS3D& surface, double farthest2) const {
    if (!boxesBound_ || !std::isfinite(farthest2)) return false;
    const double reach = std::sqrt(farthest2) + slack_, reach2 = reach * reach;
    if (distance2(surface.getBox(), p_) > reach2) return true;
    return distanceOfCover2(surface) > reach2;
}

// A lower bound of the squared distance of the point from the surface.
double NurbsProjection::distanceOfCover2(const ERSpoleNURBS3D& surface) const {
    Data::Shape& shape = shapeOf(surface);
    if (shape.cover.empty()) shape.cover = makeCover(surface, shape.frame);
    ERPoint3D p = p_;
    shape.frame.TransTo(p);
    double nearest2 = std::numeric_limits<double>::max();
    for (const ERMinimax3D& box : shape.cover) nearest2 = std::min(nearest2, distance2(box, p));
    return nearest2;
}

bool NurbsProjection::project(const ERSpoleNURBS3D& surface, ERPoint2D& uv) {
    if (surface.isDummy() != 0) return false;
    root_ = &dataOf(surface);
    const Data::Shape& shape = shapeOf(surface);
    boxesBound_ = boxesBound(surface);
    slack_ = smallRatio * (shape.largest + p_.asVector3D().norme());
    halvesLeft_ = mostHalves;
    Foot foot{};
    if (!descend(surface, 0, std::numeric_limits<double>::infinity(), foot)) return false;
    uv = foot.uv;
    return true;
}

bool NurbsProjection::descend(const ERSpoleNURBS3D& surface, int depth, double farthest2,
                              Foot& foot) {
    if (surface.isDummy() != 0 || isApart(surface, boxMargin, tolerance_ * reachRatio) ||
        isFarther(surface, farthest2))
        return false;
    const Data::Shape& shape = shapeOf(surface);
    if (passesTheHull(shape)) return false;
    const double u = surface.upperEstimateInU(), v = surface.upperEstimateInV();
    if (depth < deepest && std::isfinite(u) && std::isfinite(v)) {
        const bool isSmall = !(shape.deviation > std::max(small, smallRatio * shape.largest));
        const bool alongU = (v * longerRatio < u && v > shortest) || (!isSmall && v <= u);
        const bool alongV = !((v <= u * longerRatio || u <= shortest) && (isSmall || v <= u));
        Halves halves;
        if ((alongU || alongV) && split(surface, alongU, halves))
            return intoHalves(halves, depth, farthest2, foot);
    }
    return solve(surface, foot);
}

bool NurbsProjection::intoHalves(const Halves& halves, int depth, double farthest2, Foot& foot) {
    // The nearer one first.
    double first = distance2(halves.before->getBox(), p_);
    double second = distance2(halves.after->getBox(), p_);
    if (first == second && boxesBound_) {
        first = distanceOfCover2(*halves.before);
        second = distanceOfCover2(*halves.after);
    }
    const bool firstIsNearer = !(second < first);
    Foot near{}, far{};
    const bool nearFound =
        descend(*(firstIsNearer ? halves.before : halves.after), depth + 1, farthest2, near);
    if (nearFound) farthest2 = std::min(farthest2, near.distance2);
    const ERSpoleNURBS3D& other = *(firstIsNearer ? halves.after : halves.before);
    const bool farFound = descend(other, depth + 1, farthest2, far);
    if (!nearFound && !farFound) return false;
    const bool takesFar =
        farFound && (!nearFound || (firstIsNearer ? far.distance2 < near.distance2
                                                  : !(near.distance2 < far.distance2)));
    foot = takesFar ? far : near;
    return true;
}

// The halves of the surface, kept with it as long as there is room; else they live for this call.
bool NurbsProjection::split(const ERSpoleNURBS3D& surface, bool alongU, Halves& halves) {
    Data& data = dataOf(surface);
    if (halvesLeft_ < 2) return false;
    halvesLeft_ -= 2;
    if (data.before == nullptr) {
        std::pair<Half, Half> cut;
        const bool keeps = root_->halvesBytes < mostBytes;
        if (!keeps)
            cut =
                alongU ? surface.cutInU(surface.middleOfU()) : surface.cutInV(surface.middleOfV());
        else if (alongU)
            surface.SplitInU(cut.first, cut.second);
        else
            surface.SplitInV(cut.first, cut.second);
        if (cut.first == nullptr || cut.second == nullptr) return false;
        halves = {cut.first, cut.second};
        if (!keeps) return true;
        data.before = cut.first;
        data.after = cut.second;
        for (const Half& half : {data.before, data.after})
            root_->halvesBytes += sizeof(ERSpoleNURBS3D) + sizeof(Data) +
                                  half->poles_.length() * sizeof(ERPole3DH) +
                                  (half->knotsU_.length() + half->knotsV_.length()) * knotBytes;
    }
    halves = {data.before, data.after};
    return true;
}

bool NurbsProjection::solve(const ERSpoleNURBS3D& surface, Foot& foot) const {
    ERPoint2D uv;
    if (!projectWhole(surface, uv)) return false;
    foot = {uv, ERVector3D(p_, surface(uv.x(), uv.y())).norme2()};
    return true;
}

bool NurbsProjection::projectWhole(const ERSpoleNURBS3D& surface, ERPoint2D& uv) const {
    double s, t;
    if (surface.isDummy() != 0 || isApart(surface, seedBoxMargin, tolerance_) ||
        !seed(surface, s, t))
        return false;
    ERPoint2D found(surface.getBoundU()(s), surface.getBoundV()(t));
    ERPoint3D point = p_;
    if (improveFoot(surface, point, found, flag_) == 0) return false;
    uv = found;
    return true;
}

// The basis functions in v at some parameters, and the columns of poles that take part.
struct NurbsProjection::ColumnFunctions {
    unsigned int count;  // of functions at a parameter
    unsigned int firstCol, endCol;
    unsigned int firsts[mostSamples];          // the column of the first function, from firstCol
    spline::Scratch<functionsOnStack> values;  // function k at parameter j: values[k * n + j]
    spline::Scratch<lineOnStack> line;

    ColumnFunctions(const ERSpoleNURBS3D& surface, const double* vs, unsigned int n)
        : count(surface.degreeV() + 1),
          firstCol(surface.nbPolesV()),
          endCol(0),
          values(std::size_t{n} * count),
          line(std::size_t{surface.nbPolesV()} * dim) {
        BasisValues basis(surface.degreeV());
        for (unsigned int j = 0; j < n; ++j) {
            surface.kept_->basisV.evaluate(surface.knotsV_, vs[j], 0, basis);
            for (unsigned int k = 0; k < count; ++k)
                values[std::size_t{k} * n + j] = basis.of(0)[k];
            firsts[j] = basis.first;
            firstCol = std::min(firstCol, basis.first);
            endCol = std::max(endCol, basis.first + count);
        }
        for (unsigned int j = 0; j < n; ++j) firsts[j] -= firstCol;
    }

    // Sums the rows of poles with the functions at u, into the line of these columns.
    double* sumRows(const ERSpoleNURBS3D& surface, double u, BasisValues& basis) {
        surface.kept_->basisU.evaluate(surface.knotsU_, u, 0, basis);
        const std::size_t rowStep = std::size_t{surface.nbPolesV()} * dim;
        const double* const block = spline::doubles(surface.poles_.data()) + basis.first * rowStep;
        for (unsigned int col = firstCol; col < endCol; ++col) {
            FourDoubles sum;
            const double* from = block + std::size_t{col} * dim;
            for (unsigned int k = 0; k < basis.count; ++k, from += rowStep)
                sum.add(basis.of(0)[k], FourDoubles::load(from));
            sum.store(line.data() + std::size_t{col - firstCol} * dim);
        }
        return line.data();
    }
};

SeedNodes NurbsProjection::makeSeeds(const ERSpoleNURBS3D& surface) const {
    const unsigned int nU = seedCount(surface.degreeU(), surface.nbPolesU());
    const unsigned int nV = seedCount(surface.degreeV(), surface.nbPolesV());
    double us[mostSamples], vs[mostSamples];
    for (unsigned int i = 0; i < nU; ++i) us[i] = surface.getBoundU()(i / (nU - 1.0));
    for (unsigned int j = 0; j < nV; ++j) vs[j] = surface.getBoundV()(j / (nV - 1.0));
    ERMatrix<ERPoint3D> grid(nU, nV);
    ERPoint3D* to = grid.data();
    ColumnFunctions columns(surface, vs, nV);
    BasisValues alongU(surface.degreeU());
    for (unsigned int i = 0; i < nU; ++i) {
        const double* const line = columns.sumRows(surface, us[i], alongU);
        for (unsigned int j = 0; j < nV; ++j) {
            const double* const from = line + std::size_t{columns.firsts[j]} * dim;
            FourDoubles sum;
            for (unsigned int k = 0; k < columns.count; ++k)
                sum.add(columns.values[std::size_t{k} * nV + j],
                        FourDoubles::load(from + std::size_t{k} * dim));
            double point[dim];
            sum.store(point);
            const double reciprocal = 1.0 / point[3];
            *to++ = ERPoint3D(point[0] * reciprocal, point[1] * reciprocal, point[2] * reciprocal);
        }
    }
    return SeedNodes(grid);
}

// The unit coordinates of the nearest of the samples.
bool NurbsProjection::seed(const ERSpoleNURBS3D& surface, double& s, double& t) const {
    // A sample counts when its distance is a number; none will where that of the box is not.
    constexpr double largest = std::numeric_limits<double>::max();
    if (!std::isfinite(p_.x() + p_.y() + p_.z()) ||
        (boxesBound(surface) && !(distance2(surface.getBox(), p_) < largest)))
        return false;
    std::optional<SeedNodes>& kept = dataOf(surface).seeds;
    std::optional<SeedNodes> passing;
    if (!kept) {
        if (root_ == nullptr || root_->halvesBytes < mostBytes) {
            kept.emplace(makeSeeds(surface));
            if (root_ != nullptr) root_->halvesBytes += kept->bytes();
        } else {
            passing.emplace(makeSeeds(surface));
        }
    }
    const SeedNodes& nodes = passing ? *passing : *kept;
    SeedNodes::Node node;
    if (!nodes.nearest(p_, node)) return false;

    const double stepsU = nodes.rows() - 1.0, stepsV = nodes.cols() - 1.0;
    s = node.i / stepsU;
    t = node.j / stepsV;
    constexpr unsigned int n = 2 * fineSteps;
    double ss[n], ts[n], us[n], vs[n];
    const ERLimites rangeU = surface.getBoundU(), rangeV = surface.getBoundV();
    for (unsigned int k = 0; k < n; ++k) {
        ss[k] = s + (k - static_cast<double>(fineSteps)) / (10.0 * stepsU);
        ts[k] = t + (k - static_cast<double>(fineSteps)) / (20.0 * stepsV);
        us[k] = rangeU(ss[k]);
        vs[k] = rangeV(ts[k]);
    }
    double nearest2 = node.distance2;
    ColumnFunctions columns(surface, vs, n);
    BasisValues alongU(surface.degreeU());
    const unsigned int width = columns.endCol - columns.firstCol;
    for (unsigned int i = 0; i < n; ++i) {
        double* const line = columns.sumRows(surface, us[i], alongU);
        for (unsigned int k = 0; k < width; ++k) {
            double* const pole = line + std::size_t{k} * dim;
            pole[0] -= p_.x() * pole[3];
            pole[1] -= p_.y() * pole[3];
            pole[2] -= p_.z() * pole[3];
        }
        double distances2[n];
        const auto measure = [&](auto count) {
            measureRow<count>(columns.count, line, columns.firsts, columns.values.data(),
                              distances2);
        };
        if (!spline::visitFixed<2, 3, 4, 5, 6>(columns.count, measure))
            measure(std::integral_constant<unsigned int, 0>());
        const double least = leastOf(distances2);
        if (!(least < nearest2)) continue;
        nearest2 = least;
        s = ss[i];
        t = ts[std::find(distances2, distances2 + n, least) - distances2];
    }
    return true;
}

// The surface's own operations.

int ERSpoleNURBS3D::ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                                      int flag) const {
    return NurbsProjection(p, tolerance, flag).project(*this, uv) ? 1 : 0;
}

int ERSpoleNURBS3D::ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const {
    return isDummy() != 0 ? 0 : improveFoot(*this, p, uv, flag);
}

void ERSpoleNURBS3D::projectAlong(ray::Recursion& rays) const {
    const bool boxesBound = NurbsProjection::boxesBound(*this);
    if (boxesBound && !rays.mayMeet(getBox())) return;
    UpdateCache();
    Nurbs3DToBezier3DRDecomposer& patches = *kept_->decomposer;
    for (unsigned int i = 0; i < patches.nu(); ++i)
        for (unsigned int j = 0; j < patches.nv(); ++j) {
            const t_SmartPtr<ERSpoleBezier3DR> patch = patches.Bezier(i, j);
            if (!boxesBound || rays.mayMeet(patch->getBox()))
                rays.add(patch->poles(), patch->getBoundU(), patch->getBoundV());
        }
}

void ERSpoleNURBS3D::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int) const {
    const ERMinimax3D box = getBox();
    if (p.x() < box.xmin() || p.x() > box.xmax() || p.y() < box.ymin() || p.y() > box.ymax())
        return;
    ray::Recursion rays(*this, p, result);
    projectAlong(rays);
}

void ERSpoleNURBS3D::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                  ERRaySurfaceResult& result, int) const {
    ray::Recursion rays(*this, p, direction, result);
    projectAlong(rays);
}

}  // namespace kerf
