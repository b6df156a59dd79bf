#include "kerf/surfaces/nurbs_surface.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/spline/internal/lanes.h"
#include "kerf/curves/spline/pole_grid.h"
#include "kerf/surfaces/bezier_patches.h"
#include "kerf/surfaces/nurbs_edits.h"
#include "kerf/surfaces/surface_projection.h"

namespace kerf {

ER_DEFINE_CLASS(ERSpoleNURBS3D, ERSpoleRep)
ER_DEFINE_STORED_CLASS(ERSpoleNURBS3D, ERSpoleRep)

namespace {

using spline::BasisValues;
using spline::FourDoubles;

constexpr unsigned int dim = 4;

// The sums of n poles, `step` doubles apart, weighted by the basis functions of each order.
template <unsigned int Orders>
inline void sumPoles(const double* pole, std::size_t step, const double* functions, unsigned int n,
                     FourDoubles (&sums)[Orders]) {
    const unsigned int second = Orders > 1 ? n : 0, third = Orders > 2 ? 2 * n : 0;
    FourDoubles sum0, sum1, sum2;
    for (unsigned int i = 0; i < n; ++i, pole += step) {
        const FourDoubles four = FourDoubles::load(pole);
        sum0.add(functions[i], four);
        if constexpr (Orders > 1) sum1.add(functions[second + i], four);
        if constexpr (Orders > 2) sum2.add(functions[third + i], four);
    }
    sums[0] = sum0;
    if constexpr (Orders > 1) sums[1] = sum1;
    if constexpr (Orders > 2) sums[2] = sum2;
}

// The sum over a block of poles with the functions of both directions: entry (i, j) of the table takes
// the derivatives of order i in u and j in v.
template <unsigned int Orders>
inline void sumBlock(const double* poles, std::size_t rowStep, BasisValues& alongU,
                     BasisValues& alongV, double* table) {
    const unsigned int rows = alongU.count, cols = alongV.count;
    constexpr unsigned int step = Orders * dim;
    // For each column the sums along u, order by order.
    spline::Scratch<step * BasisValues::onStack> lines(std::size_t{step} * cols);
    FourDoubles sums[Orders];
    for (unsigned int j = 0; j < cols; ++j) {
        sumPoles<Orders>(poles + std::size_t{j} * dim, rowStep, alongU.of(0), rows, sums);
        for (unsigned int order = 0; order < Orders; ++order)
            sums[order].store(lines.data() + std::size_t{j} * step + order * dim);
    }
    for (unsigned int i = 0; i < Orders; ++i) {
        sumPoles<Orders>(lines.data() + i * dim, step, alongV.of(0), cols, sums);
        for (unsigned int order = 0; order < Orders; ++order)
            sums[order].store(table + i * step + order * dim);
    }
}

// The domain of a knot vector that fits so many poles.
ERLimites domainOf(const ERKnotVector& knots) {
    return ERLimites(knots[knots.degree()], knots[knots.length() - knots.degree() - 1]);
}

bool fitInNumber(const ERKnotVector& knots, unsigned int n) {
    return n > 0 && knots.degree() < n && knots.length() - n == knots.degree() + 1;
}

// The positions at which the spans begin that have a length.
std::vector<unsigned int> spansOf(const ERKnotVector& knots) {
    std::vector<unsigned int> spans;
    for (unsigned int i = knots.degree(); i + knots.degree() + 1 < knots.length(); ++i)
        if (knots[i] < knots[i + 1]) spans.push_back(i);
    return spans;
}

bool isUsable(const ERLimites& range) {
    return range.start() < range.end() && std::isfinite(range.start()) &&
           std::isfinite(range.end());
}

double middleOf(const ERKnotVector& knots, unsigned int nbPoles, double middleOfRange) {
    return knots.degree() + 1 == nbPoles ? middleOfRange : knots[knots.length() / 2];
}

}  // namespace

ERSpoleNURBS3D::ERSpoleNURBS3D(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knotsU,
                               const ERKnotVector& knotsV)
    : PoleSurface(poles), knotsU_(knotsU), knotsV_(knotsV) {
    knotsU_.AssertValid();
    knotsV_.AssertValid();
    if (!fitInNumber(knotsU_, nbPolesU()) || !fitInNumber(knotsV_, nbPolesV())) {
        becomeDummy();
        return;
    }
    naturalU_ = currentU_ = domainOf(knotsU_);
    naturalV_ = currentV_ = domainOf(knotsV_);
}

void ERSpoleNURBS3D::becomeDummy() {
    poles_ = ERMatrix<ERPole3DH>();
    knotsU_ = knotsV_ = ERKnotVector();
}

bool ERSpoleNURBS3D::fits() const { return knotsU_.fits(nbPolesU()) && knotsV_.fits(nbPolesV()); }

int ERSpoleNURBS3D::isBezier() const {
    return isDummy() == 0 && nbPolesU() == degreeU() + 1 && nbPolesV() == degreeV() + 1 &&
           knotsU_.isUnclamped() == 0 && knotsV_.isUnclamped() == 0;
}

void ERSpoleNURBS3D::incrDegree(unsigned int, unsigned int) {}

// Evaluation.

template <unsigned int Orders>
void ERSpoleNURBS3D::evaluate(double u, double v, double* table) const {
    BasisValues alongU(knotsU_.degree()), alongV(knotsV_.degree());
    kept_->basisU.evaluate(knotsU_, u, Orders - 1, alongU);
    kept_->basisV.evaluate(knotsV_, v, Orders - 1, alongV);
    const double* const block = spline::doubles(poles_.data()) +
                                (std::size_t{alongU.first} * poles_.cols() + alongV.first) * dim;
    sumBlock<Orders>(block, std::size_t{poles_.cols()} * dim, alongU, alongV, table);
}

ERInfoPoint3DSurf ERSpoleNURBS3D::PtCur(double u, double v) const {
    ERMatrix<ERPoint3D> derivatives(3, 3);
    if (isDummy() == 0) {
        double table[3][3][dim];
        evaluate<3>(u, v, &table[0][0][0]);
        spline::divideByWeight(table);
        ERPoint3D* to = derivatives.data();
        for (unsigned int j = 0; j < 3; ++j)
            for (unsigned int i = 0; i < 3; ++i)
                *to++ = ERPoint3D(table[i][j][0], table[i][j][1], table[i][j][2]);
    }
    return ERInfoPoint3DSurf(ERPoint2D(u, v), derivatives);
}

void ERSpoleNURBS3D::derivativesAt(double u, double v, SurfaceDerivatives& at) const {
    at = SurfaceDerivatives();
    if (isDummy() != 0) return;
    double table[3][3][dim];
    evaluate<3>(u, v, &table[0][0][0]);
    spline::divideByWeight(table);
    const auto entry = [&](unsigned int i, unsigned int j) {
        return ERPoint3D(table[i][j][0], table[i][j][1], table[i][j][2]);
    };
    at.point = entry(0, 0);
    at.u = entry(1, 0);
    at.v = entry(0, 1);
    at.uu = entry(2, 0);
    at.uv = entry(1, 1);
    at.vv = entry(0, 2);
}

ERPoint3D ERSpoleNURBS3D::operator()(double u, double v) const {
    if (isDummy() != 0) return ERPoint3D();
    double value[dim];
    evaluate<1>(u, v, value);
    const double reciprocal = 1.0 / value[3];
    return ERPoint3D(value[0] * reciprocal, value[1] * reciprocal, value[2] * reciprocal);
}

ERCpoleNURBS3D ERSpoleNURBS3D::getIsoU(double u) const {
    if (isDummy() != 0) return ERCpoleNURBS3D();
    BasisValues basis(knotsU_.degree());
    kept_->basisU.evaluate(knotsU_, u, 0, basis);
    ERVec<ERPole3DH> line(nbPolesV());
    sumRows(basis, spline::doubles(line.data()));
    return ERCpoleNURBS3D(line, knotsV_, currentV_);
}

ERCpoleNURBS3D ERSpoleNURBS3D::getIsoV(double v) const {
    if (isDummy() != 0) return ERCpoleNURBS3D();
    BasisValues basis(knotsV_.degree());
    kept_->basisV.evaluate(knotsV_, v, 0, basis);
    ERVec<ERPole3DH> line(nbPolesU());
    double* to = spline::doubles(line.data());
    const double* from = spline::doubles(poles_.data()) + std::size_t{basis.first} * dim;
    for (unsigned int i = 0; i < nbPolesU(); ++i, to += dim, from += std::size_t{nbPolesV()} * dim)
        for (unsigned int j = 0; j < basis.count; ++j)
            for (unsigned int k = 0; k < dim; ++k) to[k] += basis.of(0)[j] * from[j * dim + k];
    return ERCpoleNURBS3D(line, knotsU_, currentU_);
}

void ERSpoleNURBS3D::sumRows(spline::BasisValues& basis, double* line) const {
    const std::size_t width = std::size_t{nbPolesV()} * dim;
    const double* from = spline::doubles(poles_.data()) + basis.first * width;
    std::fill_n(line, width, 0.0);
    for (unsigned int i = 0; i < basis.count; ++i, from += width) {
        const double factor = basis.of(0)[i];
        for (std::size_t k = 0; k < width; ++k) line[k] += factor * from[k];
    }
}

t_SmartPtr<ERFiniteEntity3DWF> ERSpoleNURBS3D::getEntityIsoU(double u) const {
    if (isDummy() != 0) return nullptr;
    return new ERCpoleNURBS3D(getIsoU(u));
}

t_SmartPtr<ERFiniteEntity3DWF> ERSpoleNURBS3D::getEntityIsoV(double v) const {
    if (isDummy() != 0) return nullptr;
    return new ERCpoleNURBS3D(getIsoV(v));
}

// Changes.

void ERSpoleNURBS3D::ResetCacheInfo() {
    PoleSurface::ResetCacheInfo();
    *kept_ = Kept();
}

void ERSpoleNURBS3D::adjust() {
    change([&] {
        const bool changedU = !(currentU_ == naturalU_), changedV = !(currentV_ == naturalV_);
        if (changedU || changedV) resetUpperEstimates();
        if ((changedU && !isUsable(currentU_)) || (changedV && !isUsable(currentV_))) becomeDummy();
        if (changedU && isDummy() == 0) {
            IncreaseDomainInU(poles_, knotsU_, udeb(), ufin());
            ReduceDomainInU(poles_, knotsU_, udeb(), ufin());
        }
        if (changedV && isDummy() == 0) {
            IncreaseDomainInV(poles_, knotsV_, vdeb(), vfin());
            ReduceDomainInV(poles_, knotsV_, vdeb(), vfin());
        }
        PoleSurface::adjust();
    });
}

void ERSpoleNURBS3D::reverse() {
    PoleSurface::reverse();
    std::swap(knotsU_, knotsV_);
}

void ERSpoleNURBS3D::insertKnotU(double u, unsigned int times) {
    change([&] { BoehmInU(poles_, knotsU_, u, times); });
}

void ERSpoleNURBS3D::insertKnotV(double v, unsigned int times) {
    change([&] { BoehmInV(poles_, knotsV_, v, times); });
}

// Splits.

double ERSpoleNURBS3D::middleOfU() const {
    return isDummy() != 0 ? 0.0 : middleOf(knotsU_, nbPolesU(), PoleSurface::middleOfU());
}

double ERSpoleNURBS3D::middleOfV() const {
    return isDummy() != 0 ? 0.0 : middleOf(knotsV_, nbPolesV(), PoleSurface::middleOfV());
}

auto ERSpoleNURBS3D::cutInU(double u) const -> Halves {
    if (isDummy() != 0 || !(udeb() < u && u <= ufin())) return {};
    ERMatrix<ERPole3DH> poles(poles_);
    ERKnotVector knots(knotsU_);
    IncreaseDomainInU(poles, knots, udeb(), ufin());
    BoehmInU(poles, knots, u, knots.degree() + 1);
    const ERKnot cut(knots, u);
    if (cut.error() != 0) return {};
    const unsigned int copies = knots.degree() + 1;
    const unsigned int before = cut.index(), after = cut.index() + cut.multiplicity() - copies;
    Halves halves(new ERSpoleNURBS3D, new ERSpoleNURBS3D);
    const auto part = [&](ERSpoleNURBS3D& half, unsigned int first, unsigned int count,
                          const ERLimites& range) {
        half = ERSpoleNURBS3D(
            ERMatrix<ERPole3DH>(std::as_const(poles).data() + std::size_t{first} * poles.cols(),
                                count, poles.cols()),
            knots.subVector(first, count + copies), knotsV_);
        if (half.isDummy() != 0) half.naturalU_ = range;
        half.currentU_ = range;
        half.naturalV_ = naturalV_;
        half.currentV_ = currentV_;
    };
    part(*halves.first, 0, before, ERLimites(udeb(), u));
    part(*halves.second, after, u == ufin() ? 0 : poles.rows() - after, ERLimites(u, ufin()));
    return halves;
}

auto ERSpoleNURBS3D::cutInV(double v) const -> Halves {
    ERSpoleNURBS3D turned(*this);
    turned.reverse();
    Halves halves = turned.cutInU(v);
    if (halves.first != nullptr) {
        halves.first->reverse();
        halves.second->reverse();
    }
    return halves;
}

// Spans.

int ERSpoleNURBS3D::IsContinuous(int order) const {
    return isDummy() == 0 && knotsU_.IsContinuous(order) != 0 && knotsV_.IsContinuous(order) != 0;
}

int ERSpoleNURBS3D::GetDiscontinuitiesU(int order, ERVec<double>& parameters) const {
    parameters.clear();
    return knotsU_.GetDiscontinuities(order, parameters);
}

int ERSpoleNURBS3D::GetDiscontinuitiesV(int order, ERVec<double>& parameters) const {
    parameters.clear();
    return knotsV_.GetDiscontinuities(order, parameters);
}

void ERSpoleNURBS3D::GetNumberOfSpans(int& inU, int& inV) const {
    inU = inV = 0;
    if (isDummy() != 0) return;
    inU = static_cast<int>(spansOf(knotsU_).size());
    inV = static_cast<int>(spansOf(knotsV_).size());
}

void ERSpoleNURBS3D::GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const {
    ERSimpleVec2<ERMinimax3D>& kept = kept_->spanBoxes;
    if (kept.rows() == 0 && isDummy() == 0) {
        const std::vector<unsigned int> alongU = spansOf(knotsU_), alongV = spansOf(knotsV_);
        kept = ERSimpleVec2<ERMinimax3D>(static_cast<unsigned int>(alongU.size()),
                                         static_cast<unsigned int>(alongV.size()));
        ERMinimax3D* to = kept.data();
        for (const unsigned int spanU : alongU)
            for (const unsigned int spanV : alongV) {
                ERMinimax3D box;
                for (unsigned int i = spanU - knotsU_.degree(); i <= spanU; ++i)
                    for (unsigned int j = spanV - knotsV_.degree(); j <= spanV; ++j)
                        box.Update(poles_(i, j).castToPoint());
                *to++ = box;
            }
    }
    boxes = kept;
}

void ERSpoleNURBS3D::printOn(std::ostream& os) const {
    PoleSurface::printOn(os);
    os << knotsU_ << knotsV_;
}

void ERSpoleNURBS3D::UpdateCache() const {
    if (kept_->decomposer == nullptr)
        kept_->decomposer = std::make_shared<Nurbs3DToBezier3DRDecomposer>(*this);
}

const ERMatrix<ERPoint3D>& ERSpoleNURBS3D::getMatricePoint(unsigned int nU, unsigned int nV) {
    if (isDummy() != 0 || (grid_.rows() == nU && grid_.cols() == nV))
        return PoleSurface::getMatricePoint(nU, nV);
    ERMatrix<ERPoint3D> grid(nU, nV);
    const double stepsU = nU - 1.0, stepsV = nV - 1.0;
    // The functions along v once for all rows, each row with its first pole's number.
    const unsigned int count = knotsV_.degree() + 1;
    std::vector<std::size_t> firsts(nV);
    std::vector<double> functions(std::size_t{nV} * count);
    BasisValues alongU(knotsU_.degree()), alongV(knotsV_.degree());
    for (unsigned int j = 0; j < nV; ++j) {
        kept_->basisV.evaluate(knotsV_, currentV_(j / stepsV), 0, alongV);
        firsts[j] = std::size_t{alongV.first} * dim;
        std::copy_n(alongV.of(0), count, &functions[std::size_t{j} * count]);
    }
    std::vector<double> line(std::size_t{nbPolesV()} * dim);
    ERPoint3D* point = grid.data();
    for (unsigned int i = 0; i < nU; ++i) {
        kept_->basisU.evaluate(knotsU_, currentU_(i / stepsU), 0, alongU);
        sumRows(alongU, line.data());
        const double* factor = functions.data();
        for (unsigned int j = 0; j < nV; ++j) {
            FourDoubles sums[1];
            sumPoles<1>(line.data() + firsts[j], dim, factor, count, sums);
            factor += count;
            double sum[dim];
            sums[0].store(sum);
            const double reciprocal = 1.0 / sum[3];
            *point++ = ERPoint3D(sum[0] * reciprocal, sum[1] * reciprocal, sum[2] * reciprocal);
        }
    }
    grid_ = grid;
    return grid_;
}

}  // namespace kerf
