#include "kerf/surfaces/bezier_patches.h"

#include <algorithm>

#include "kerf/curves/spline/knot_insertion.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/nurbs_edits.h"
#include "kerf/surfaces/nurbs_surface.h"

namespace kerf {

namespace {

// Raises the inner knots to multiplicity degree + 1 and counts the spans; copies of a knot beyond that
// are dropped before, with the poles that nothing reads.
unsigned int breakAtKnots(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots) {
    const unsigned int degree = knots.degree();
    // Clamps, for the patches begin at the first knot.
    ReduceDomainInU(poles, knots, knots[degree], knots[poles.rows()]);
    for (unsigned int last = knots.length() - 1; last > degree; --last)
        if (knots[last] == knots[last - degree - 1]) {
            knots.removeAt(last);
            poles.deleteRow(last - degree - 1);
        }
    unsigned int spans = 1;
    ERVec<double> missing;
    ERKnot knot(knots);
    for (; ++knot != 0 && knot.isLast() == 0; ++spans)
        missing.append(knot.value(), degree + 1 - knot.multiplicity());
    BoehmInU(poles, knots, missing);
    return spans;
}

bool isCurve(unsigned int n, const ERKnotVector& knots) {
    return spline::isCurve(knots.data(), knots.length(), n, knots.degree());
}

}  // namespace

Nurbs3DToBezier3DRDecomposer::Nurbs3DToBezier3DRDecomposer(const ERSpoleNURBS3D& surface)
    : poles_(surface.poles()), knotsU_(surface.knotU()), knotsV_(surface.knotV()) {
    if (!isCurve(poles_.rows(), knotsU_) || !isCurve(poles_.cols(), knotsV_)) return;
    nu_ = breakAtKnots(poles_, knotsU_);
    poles_ = poles_.transposed();
    nv_ = breakAtKnots(poles_, knotsV_);
    poles_ = poles_.transposed();
    patches_.resize(std::size_t{nu_} * nv_);
}

Nurbs3DToBezier3DRDecomposer::Nurbs3DToBezier3DRDecomposer(
    const Nurbs3DToBezier3DRDecomposer& other)
    : poles_(other.poles_),
      knotsU_(other.knotsU_),
      knotsV_(other.knotsV_),
      nu_(other.nu_),
      nv_(other.nv_),
      patches_(std::size_t{nu_} * nv_) {}

Nurbs3DToBezier3DRDecomposer::~Nurbs3DToBezier3DRDecomposer() = default;

Nurbs3DToBezier3DRDecomposer* Nurbs3DToBezier3DRDecomposer::getCopy() const {
    return new Nurbs3DToBezier3DRDecomposer(*this);
}

t_SmartPtr<ERSpoleBezier3DR> Nurbs3DToBezier3DRDecomposer::Bezier(unsigned int i, unsigned int j) {
    t_SmartPtr<ERSpoleBezier3DR>& patch = patches_[std::size_t{i} * nv_ + j];
    if (patch == nullptr) {
        const unsigned int rows = knotsU_.degree() + 1, cols = knotsV_.degree() + 1;
        const unsigned int firstRow = rows * i, firstCol = cols * j;
        ERMatrix<ERPole3DH> block(rows, cols);
        for (unsigned int r = 0; r < rows; ++r)
            std::copy_n(std::as_const(poles_).data() + poles_.inVec(firstRow + r, firstCol), cols,
                        block.data() + block.inVec(r, 0));
        const auto span = [](const ERKnotVector& knots, unsigned int first) {
            const unsigned int start = knots.degree() + first;
            return ERLimites(knots[start], knots[start + 1]);
        };
        patch = new ERSpoleBezier3DR(block, span(knotsU_, firstRow), span(knotsV_, firstCol));
    }
    return patch;
}

template <class Move>
void Nurbs3DToBezier3DRDecomposer::moveAll(Move move) {
    for (const t_SmartPtr<ERSpoleBezier3DR>& patch : patches_)
        if (patch != nullptr) move(*patch);
}

void Nurbs3DToBezier3DRDecomposer::transformFrom(const ERPmSimilitude3D& transformation) {
    transformation.TransFrom(poles_.asVector());
    moveAll([&](ERSpoleBezier3DR& patch) { patch.transformFrom(transformation); });
}

void Nurbs3DToBezier3DRDecomposer::transformFrom(const ERPmIsometrie3D& transformation) {
    transformation.TransFrom(poles_.asVector());
    moveAll([&](ERSpoleBezier3DR& patch) { patch.transformFrom(transformation); });
}

void Nurbs3DToBezier3DRDecomposer::transformTo(const ERPmSimilitude3D& transformation) {
    transformation.TransTo(poles_.asVector());
    moveAll([&](ERSpoleBezier3DR& patch) { patch.transformTo(transformation); });
}

void Nurbs3DToBezier3DRDecomposer::transformTo(const ERPmIsometrie3D& transformation) {
    transformation.TransTo(poles_.asVector());
    moveAll([&](ERSpoleBezier3DR& patch) { patch.transformTo(transformation); });
}

void Nurbs3DToBezier3DRDecomposer::scale(double factor) {
    ERPole3DH* const pole = poles_.data();
    for (unsigned int i = 0; i < poles_.length(); ++i) pole[i].scale(factor);
    moveAll([&](ERSpoleBezier3DR& patch) { patch.scale(factor); });
}

void Nurbs3DToBezier3DRDecomposer::translate(const ERPoint3D& t) {
    ERPole3DH* const pole = poles_.data();
    for (unsigned int i = 0; i < poles_.length(); ++i) pole[i].translate(t);
    moveAll([&](ERSpoleBezier3DR& patch) { patch.translate(t); });
}

void Nurbs3DToBezier3DRDecomposer::reverse() {
    poles_ = poles_.transposed();
    std::swap(knotsU_, knotsV_);
    moveAll([](ERSpoleBezier3DR& patch) { patch.reverse(); });
    std::vector<t_SmartPtr<ERSpoleBezier3DR>> turned(patches_.size());
    for (std::size_t i = 0; i < nu_; ++i)
        for (std::size_t j = 0; j < nv_; ++j) turned[j * nu_ + i] = patches_[i * nv_ + j];
    patches_ = turned;
    std::swap(nu_, nv_);
}

}  // namespace kerf
