#pragma once
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>

#include "examples/nest.h"
#include "examples/outline_file.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/processing/region.h"
#include "kerf/surfaces/trimmed_surface.h"

/// A surface that is trimmed by loose pieces: the chainer joins them into contours, of which the largest is
/// the outer boundary and all others are holes in what it encloses.
class TrimmedPart {
public:
    using Surface = kerf::t_SmartPtr<kerf::ERTrimmedSurface>;

    /// Parameter: ends closer than `join` are joined; 0: within a millionth of the outline's size.
    /// Failure:   isGood() is false, and complaint() says why.
    /// Lifetime:  the outline outlives it.
    TrimmedPart(kerf::ERAnyBoundedSurface* base, const LooseOutline& outline, double join)
        : outline_(outline), surface_(new kerf::ERTrimmedSurface(base)) {
        kerf::ERMinimax2D box;
        for (const LoosePiece& piece : outline_.pieces) box.Update(piece.curve->getBox());
        size_ = box.DiametreBoule();
        join_ = join > 0.0 ? join : 1e-6 * size_;
        const ContourChainer chainer(outline_.pieces, join_, size_);
        const double slack = 1e-9 * size_;
        if (box.xmin() < base->udeb() - slack || box.xmax() > base->ufin() + slack ||
            box.ymin() < base->vdeb() - slack || box.ymax() > base->vfin() + slack) {
            complaint_ = {0, "the outline leaves the surface"};
        } else if (isSound(chainer)) {
            contours_ = chainer.contours();
            trim();
        }
    }

    bool isGood() const { return complaint_.text.empty(); }
    const Complaint& complaint() const { return complaint_; }
    const Surface& surface() const { return surface_; }

    /// The contours as they were joined, the outer one first, and the area in (u, v) that they leave.
    void print() const {
        std::printf("outline: %zu pieces, joined within %.3g\n", outline_.pieces.size(), join_);
        double left = 0.0;
        for (std::size_t i = 0; i < contours_.size(); ++i) {
            const CutContour& contour = contours_[i];
            left += i == 0 ? contour.area : -contour.area;
            std::printf("%s of %zu pieces, area %.9f, length %.9f, widest gap %.2g\n",
                        i == 0 ? "outer boundary" : "hole", contour.steps.size(), contour.area,
                        contour.length, contour.gap);
        }
        std::printf("area that is left: %.9f\n", left);
    }

private:
    bool isSound(const ContourChainer& chainer) {
        const auto lineOf = [&](const CutContour& contour) {
            return outline_.lines[contour.steps.front().piece];
        };
        char text[160];
        for (const CutContour& contour : chainer.contours()) {
            if (contour.closed) continue;
            std::snprintf(
                text, sizeof text,
                "the contour that this begins ends at %.9g %.9g, %.3g from its start %.9g %.9g",
                contour.end.x(), contour.end.y(), distance(contour.start, contour.end),
                contour.start.x(), contour.start.y());
            complaint_ = {lineOf(contour), text};
            return false;
        }
        for (std::size_t i = 0; i < outline_.pieces.size(); ++i) {
            if (!chainer.isDoubled(i)) continue;
            complaint_ = {outline_.lines[i], "this piece stands twice"};
            return false;
        }
        if (!chainer.tooShort().empty()) {
            complaint_ = {outline_.lines[chainer.tooShort().front()],
                          "this piece is shorter than a joint"};
            return false;
        }
        if (!chainer.isWhole()) complaint_ = {0, "a piece was lost between the contours"};
        return chainer.isWhole();
    }

    void trim() {
        for (const CutContour& contour : contours_) {
            const bool isOuter = &contour == &contours_.front();
            const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF> curve(boundaryOf(contour));
            if (!isOuter && !isWithin(*curve)) {
                complaint_ = {outline_.lines[contour.steps.front().piece],
                              "this begins a hole that is not within the outer boundary, or not "
                              "beside the other holes"};
                return;
            }
            surface_->addBound(curve.getObject(), isOuter ? kerf::ERSurfaceBoundary::Outer
                                                          : kerf::ERSurfaceBoundary::Inner);
            // Without this the region would be that of coarser polylines.
            for (const kerf::ERTrimmedSurface::Boundary& boundary : surface_->getBoundList())
                boundary->getBound2DasPolyline(chord());
        }
    }
    double chord() const { return 1e-7 * size_; }

    kerf::ERCompCurve2D* boundaryOf(const CutContour& contour) const {
        kerf::ERCompCurve2D* const chain = new kerf::ERCompCurve2D;
        for (const CutContour::Step& step : contour.steps) {
            const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF> piece(
                *outline_.pieces[step.piece].curve);
            if (step.backwards) piece->reverse();
            chain->append(piece, 0.0);
        }
        return chain;
    }
    bool isWithin(const kerf::ERFiniteEntity2DWF& curve) const {
        const kerf::ERVec<kerf::ERPoint2D> points = curve.approxime(curve.getBound(), chord());
        for (unsigned int i = 0; i < points.length(); ++i)
            if (surface_->isInBound(points[i]) == 0) return false;
        return true;
    }

    const LooseOutline& outline_;
    Surface surface_;
    std::vector<CutContour> contours_;
    Complaint complaint_;
    double size_ = 0.0, join_ = 0.0;
};
