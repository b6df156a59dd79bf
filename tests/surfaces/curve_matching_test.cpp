#include "kerf/surfaces/curve_matching.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/offset_surface.h"
#include "kerf/surfaces/revolution.h"
#include "kerf/values/box.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

using Surface = t_SmartPtr<ERAnyBoundedSurface>;
using Curve = t_SmartPtr<ERFiniteEntity3DWF>;
using Flat = t_SmartPtr<ERFiniteEntity2DWF>;

const ERBoundedCylinder cylinder(ERPmIsometrie3D(), 2, ERLimites(0, 10), ERLimites(0, 4));

ERSpoleNURBS3D tube() {
    ERCpoleNURBS3D line = ERSegment3D({2, 0, 0}, {2, 0, 10}).ConvertToNurbs();
    line.reparametrize(ERLimites(0, 10));
    return CreateSurfOfRevolutionAxeZ1(line, 0, 3);
}

// Oracle: a helix on the cylinder, lifted off it by less than the tolerance, is a line in (u, v).
TEST(CurveMatching, GivesTheParametersOfTheCurve) {
    ERVec<ERPoint3D> helix;
    for (int i = 0; i <= 400; ++i) {
        const double v = 0.5 + i / 200.0, r = 2.003;
        helix.append(ERPoint3D(r * std::cos(v), r * std::sin(v), 1 + 3 * (v - 0.5)));
    }
    const Curve curve(new ERPolyline3D(helix));
    for (const Surface& hint : {Surface(), Surface(cylinder), Surface(tube())}) {
        Flat result;
        ASSERT_EQ(match3DCurveOnSurface(Surface(cylinder), hint, curve, result), 1);
        EXPECT_EQ(result->ufin(), 400.0);
        for (int i = 0; i <= 400; i += 25) {
            const double v = 0.5 + i / 200.0;
            expectNear((*result)(i), ERPoint2D(1 + 3 * (v - 0.5), v), 1e-10);
        }
    }
    Flat result;
    const Surface nurbs(tube());
    ASSERT_EQ(match3DCurveOnSurface(nurbs, nullptr, curve, result), 1);
    EXPECT_EQ(result->ufin(), 400.0);
    for (int i = 0; i <= 400; i += 25)
        EXPECT_NEAR(distance((*nurbs)((*result)(i)), helix[static_cast<unsigned int>(i)]), 0.003,
                    1e-8);
}

// A plane whose feet are rough, start from the parameters given, and are improved only when asked.
class RoughPlane : public ERBoundedPlane {
public:
    explicit RoughPlane(double error)
        : ERBoundedPlane(ERPmIsometrie3D(), ERLimites(0, 9), ERLimites(0, 9)), error_(error) {}
    using ERBoundedPlane::ProjectionNormale;
    int ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& uv, int) const override {
        starts.push_back(uv);
        uv = ERPoint2D(p.x() + error_, p.y());
        return 1;
    }
    int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int) const override {
        improved.push_back(p);
        uv = ERPoint2D(p.x(), p.y());
        p = ERPoint3D();
        return 1;
    }
    mutable std::vector<ERPoint2D> starts;
    mutable std::vector<ERPoint3D> improved;

private:
    double error_;
};

TEST(CurveMatching, ImprovesRoughFeetAndStartsAtTheHint) {
    const Curve curve(new ERSegment3D({1, 2, 0.3}, {4, 2, 0}));
    for (const double error : {0.04, 3.0}) {
        const t_SmartPtr<RoughPlane> plane(new RoughPlane(error)), hint(new RoughPlane(7));
        Flat result;
        ASSERT_EQ(match3DCurveOnSurface(plane.getObject(), nullptr, curve, result), 1);
        expectNear(result->firstPt(), ERPoint2D(1, 2));
        expectNear(result->lastPt(), ERPoint2D(error < 0.05 ? 4 + error : 4, 2));
        EXPECT_EQ(plane->improved.size(), error < 0.05 ? 1u : 2u);
        EXPECT_EQ(plane->starts[1], ERPoint2D(0, 0));
        ASSERT_EQ(match3DCurveOnSurface(plane.getObject(), hint.getObject(), curve, result), 1);
        EXPECT_EQ(plane->starts[3], ERPoint2D(11, 2));
    }
}

TEST(CurveMatching, LeavesOutWhatIsFarFromTheSurface) {
    const ERLimites span(1, 9);
    const auto matched = [&](double r0, double r1, double r2) {
        // Four chords each way, so that the radii between are those of a line.
        ERVec<ERPoint3D> points;
        for (int i = 0; i <= 8; ++i) {
            const double r = i < 4 ? r0 + (r1 - r0) * i / 4 : r1 + (r2 - r1) * (i - 4) / 4;
            points.append(ERPoint3D(r, 0.0, span(i / 8.0)));
        }
        Flat result(new ERSegment2D({7, 7}, {8, 8}));
        const Flat before = result;
        const int found =
            match3DCurveOnSurface(Surface(cylinder), nullptr, new ERPolyline3D(points), result);
        EXPECT_EQ(result == before, found == 0);
        return found == 0 ? 0u : static_cast<unsigned int>(result->ufin()) + 1;
    };
    EXPECT_EQ(matched(2.4, 2.4, 2.4), 9u);
    EXPECT_EQ(matched(2.6, 2.6, 2.6), 0u);
    EXPECT_EQ(matched(2, 4, 2), 4u);    // radii 2, 2.5, 2.5, 2, and no gap between them
    EXPECT_EQ(matched(2, 3, 4), 3u);    // radii 2, 2.25, 2.5
    EXPECT_EQ(matched(2.1, 5, 5), 0u);  // one point is not enough
}

TEST(CurveMatching, UnusualArgumentsAreSurvived) {
    Flat result;
    EXPECT_EQ(match3DCurveOnSurface(nullptr, nullptr, new ERSegment3D, result), 0);
    EXPECT_EQ(match3DCurveOnSurface(Surface(cylinder), nullptr, nullptr, result), 0);
    const Surface offset(EROffsetSurface(cylinder, 1, ERVector3D(1, 1, 0)));  // finds no foot
    EXPECT_EQ(match3DCurveOnSurface(offset, nullptr, new ERSegment3D({2, 0, 1}, {2, 0, 2}), result),
              0);
    for (const double x : {nan, infinity, 1e15}) {
        for (const Surface& surface : {Surface(cylinder), Surface(tube())}) {
            match3DCurveOnSurface(surface, nullptr, new ERSegment3D({x, 0, 1}, {2, x, x}), result);
            match3DCurveOnSurface(surface, nullptr, new ERArc3D(ERPmIsometrie3D(), x, 0, twoPi),
                                  result);
        }
    }
    EXPECT_TRUE(result == nullptr);
}

}  // namespace
}  // namespace kerf::test
