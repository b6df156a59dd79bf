#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "kerf/surfaces/surface.h"

// What every bounded surface must satisfy, whatever its family. A family puts its samples through it:
//
//     INSTANTIATE_TEST_SUITE_P(Cylinders, SurfaceContract, ::testing::ValuesIn(cylinders()),
//                              nameOfSurface);
//
// The deliberate exceptions of a family are marked on its samples, so that this list and the families'
// tests are the table of them.
namespace kerf::test {

enum SurfaceExceptions : unsigned int {
    NoExceptions = 0,
    DerivativesAreOfTheBase = 1,     ///< kept: PtCur's derivatives are those of another surface
    SecondDerivativesDiffer = 2,     ///< kept: PtCur's second derivatives are others
    BoxIsLarge = 4,                  ///< the box may be larger than the surface
    BoxIsOfSamples = 8,              ///< kept: the surface may reach a little out of its box
    EstimatesAreAcross = 16,         ///< kept: the upper estimates are no bounds of u and of v
    SurfaceIsNotStored = 32,         ///< has no record of its own
    ReversingExchangesNothing = 64,  ///< reverse leaves the evaluation, or does more than exchange
    FootIsMeasuredFromTheCorner = 128,  ///< kept: ProjectionNormale is no inverse of the evaluation
    NoFoot = 256,                       ///< kept: ProjectionNormale finds nothing
    NoRay = 512,                        ///< rays find nothing
    GridIsOfTheUnitSquare = 1024,       ///< kept: getMatricePoint takes the natural rectangle
    PartsHaveOtherParameters = 2048,    ///< the parts of a split have ranges of their own
    IsNotSplit = 4096,                  ///< kept: both splits return 0
    IsoCurvesAreLonger = 8192,          ///< they leave the ranges, and the net has parts of them
};

struct SurfaceSample {
    std::string name;
    std::function<ERAnyBoundedSurface*()> make;
    unsigned int exceptions = NoExceptions;
    /// The NURBS form, as a surface on the heap; none where the family has none.
    std::function<ERAnyBoundedSurface*()> makeNurbs = nullptr;
};

inline void PrintTo(const SurfaceSample& sample, std::ostream* os) { *os << sample.name; }

/// A sample that is a copy of the surface given.
template <class Surface>
SurfaceSample surfaceSample(const std::string& name, const Surface& surface,
                            unsigned int exceptions = NoExceptions) {
    SurfaceSample sample{name, [surface] { return surface.getCopy(); }, exceptions};
    if constexpr (requires { surface.Convert2Nurbs(); })
        sample.makeNurbs = [surface] { return surface.Convert2Nurbs().getCopy(); };
    return sample;
}

inline std::string nameOfSurface(const ::testing::TestParamInfo<SurfaceSample>& info) {
    return info.param.name;
}

class SurfaceContract : public ::testing::TestWithParam<SurfaceSample> {
protected:
    using Held = t_SmartPtr<ERAnyBoundedSurface>;

    SurfaceContract();

    Held copy() const { return Held(ERAnyBoundedSurface::castdown(surface_->getCopy())); }
    bool is(unsigned int exception) const { return (GetParam().exceptions & exception) != 0; }

    /// The point at ratios of the ranges.
    static ERPoint3D at(const ERAnyBoundedSurface& surface, double s, double t);
    ERPoint3D at(double s, double t) const { return at(*surface_, s, t); }
    void near(const ERPoint3D& a, const ERPoint3D& b, double relative) const;

    /// Compares the surfaces at ratios of their ranges; `image` maps the points of the sample.
    template <class Image>
    void expectImage(ERAnyBoundedSurface& changed, Image image, double relative) const;
    /// The grid that is kept is the one that the surface makes anew. It has as many rows as columns, so
    /// that it is asked for with the same numbers when it was exchanged.
    void expectGridOfACopy(ERAnyBoundedSurface& changed) const;
    void expectPart(const ERAnyBoundedSurface& part, const ERLimites& u, const ERLimites& v) const;

    Held surface_;
    double size_ = 1.0;  // the largest coordinate of some points
};

}  // namespace kerf::test
