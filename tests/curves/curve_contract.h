#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "kerf/curves/curve.h"
#include "kerf/values/space.h"

// What every curve must satisfy, whatever its family. A family puts its samples through it:
//
//     INSTANTIATE_TEST_SUITE_P(Segments, PlaneCurveContract, ::testing::ValuesIn(planeSegments()),
//                              nameOfSample);
//
// The deliberate exceptions of a family are marked on its samples, so that this list and the families'
// tests are the table of them.
namespace kerf::test {

enum ContractExceptions : unsigned int {
    None = 0,
    SecondDerivativeDiffers = 1,    ///< kept: PtCur's second derivative is another one
    ApproximationIsCoarse = 2,      ///< kept: a symmetric bend may hide between two seeds
    SplitKeepsNoParameters = 4,     ///< the parts of a split start at parameters of their own
    BoxIsLoose = 8,                 ///< the box may be larger than the curve's points
    NoNurbs = 16,                   ///< has no NURBS form, or one that differs on purpose
    NotStored = 32,                 ///< has no record of its own
    DerivativesJump = 64,           ///< has corners: differences across them mean nothing
    LengthIsParts = 128,            ///< kept: arcLength of limits counts whole pieces
    ProjectionIsAnotherKind = 256,  ///< get2DEntProjectedOn gives no curve of the same parameter
    CountIsIgnored = 512,           ///< kept: approxime gives the ends whatever the count
    LengthErrorsAddUp = 1024,       ///< the tolerance of a length is for each of a few pieces
    FirstDerivativeDiffers = 2048,  ///< kept: PtCur's derivatives are those of another curve
    ReversingDoesNothing = 4096,    ///< kept: reverse leaves the direction of travel
    BoxIsOfPoints = 8192,           ///< kept: the curve may reach a little out of its box
};

template <class Space>
struct CurveSample {
    std::string name;
    std::function<typename Space::Curve*()> make;
    unsigned int exceptions = None;
};

template <class Space>
void PrintTo(const CurveSample<Space>& sample, std::ostream* os) {
    *os << sample.name;
}

using PlaneCurveSample = CurveSample<Space2D>;
using SpaceCurveSample = CurveSample<Space3D>;

/// A sample that is a copy of the curve given.
template <class Space, class Curve>
CurveSample<Space> sampleOf(const std::string& name, const Curve& curve,
                            unsigned int exceptions = None) {
    return {name, [curve] { return curve.getCopy(); }, exceptions};
}

template <class Sample>
std::string nameOfSample(const ::testing::TestParamInfo<Sample>& info) {
    return info.param.name;
}

class PlaneCurveContract : public ::testing::TestWithParam<PlaneCurveSample> {};
class SpaceCurveContract : public ::testing::TestWithParam<SpaceCurveSample> {};

}  // namespace kerf::test
