#include "kerf/surfaces/surface.h"

#include <cstdlib>

#include "kerf/curves/segment.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/surface_contract.h"

namespace kerf::test {
namespace {

// The ruled surface of (1 + u) x + v y + u v z in a frame of its own: what a family must give, and
// not a thing more.
class Saddle : public ERBoundedSurface, public ERSurfaceBasedOnTransfo3D {
    ER_OBJECT_CLASS(Saddle);
    ER_STORED_CLASS(Saddle);

public:
    Saddle() = default;
    Saddle(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v)
        : ERBoundedSurface(u, v), ERSurfaceBasedOnTransfo3D(frame) {}

    ERInfoPoint3DSurf PtCur(double u, double v) const override {
        ERMatrix<ERPoint3D> table(3, 3);
        const auto vector = [&](double x, double y, double z) {
            return axes()(x * size_, y * size_, z * size_);
        };
        table(0, 0) = vector(1 + u, v, u * v) + origin();
        table(0, 1) = vector(1, 0, v);
        table(1, 0) = vector(0, 1, u);
        table(1, 1) = vector(0, 0, 1);
        ++evaluations;
        return ERInfoPoint3DSurf(ERPoint2D(u, v), table);
    }
    ERMinimax3D getBox() const override {
        ERMinimax3D box;
        for (const double u : {udeb(), ufin()})
            for (const double v : {vdeb(), vfin()}) box.Update((*this)(u, v));
        return box;
    }
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override {
        return new ERSegment3D((*this)(u, vdeb()), (*this)(u, vfin()));
    }
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override {
        return new ERSegment3D((*this)(udeb(), v), (*this)(ufin(), v));
    }
    double upperEstimateInU() const override { return 10.0 * std::fabs(size_); }
    double upperEstimateInV() const override { return 10.0 * std::fabs(size_); }
    using ERAnyBoundedSurface::SplitInU;
    using ERAnyBoundedSurface::SplitInV;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double u) const override {
        const Held before(new Saddle(*this)), after(new Saddle(*this));
        before->setBound(ERLimites(udeb(), u), getBoundV());
        after->setBound(ERLimites(u, ufin()), getBoundV());
        a = before.getObject();
        b = after.getObject();
        return 1;
    }
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double v) const override {
        const Held before(new Saddle(*this)), after(new Saddle(*this));
        before->setBound(getBoundU(), ERLimites(vdeb(), v));
        after->setBound(getBoundU(), ERLimites(v, vfin()));
        a = before.getObject();
        b = after.getObject();
        return 1;
    }
    void scale(double factor) override {
        ERAnyBoundedSurface::scale(factor);
        ERSurfaceBasedOnTransfo3D::scale(factor);
        size_ *= factor;
    }
    void translate(const ERPoint3D& t) override {
        ERAnyBoundedSurface::translate(t);
        ERSurfaceBasedOnTransfo3D::translate(t);
    }
    void transformFrom(const ERPmSimilitude3D& t) override { carry(t, &Saddle::from, false); }
    void transformFrom(const ERPmIsometrie3D& t) override { carry(t, &Saddle::from, false); }
    void transformTo(const ERPmSimilitude3D& t) override { carry(t, &Saddle::to, true); }
    void transformTo(const ERPmIsometrie3D& t) override { carry(t, &Saddle::to, true); }
    // Exchanging u and v would need another evaluation.
    void reverse() override { dropGrid(), setDirty(); }
    void CleanUpTemporaries(int level) override { ERAnyBoundedSurface::CleanUpTemporaries(level); }
    void printOn(std::ostream& os) const override {
        ERBoundedSurface::printOn(os);
        ERSurfaceBasedOnTransfo3D::printOn(os);
    }

    mutable int evaluations = 0;

private:
    using Held = t_SmartPtr<Saddle>;
    static auto fields(auto& self) { return std::tie(self.size_); }

    template <class Transformation>
    void from(const Transformation& t) {
        ERAnyBoundedSurface::transformFrom(t);
        ERSurfaceBasedOnTransfo3D::transformFrom(t);
    }
    template <class Transformation>
    void to(const Transformation& t) {
        ERAnyBoundedSurface::transformTo(t);
        ERSurfaceBasedOnTransfo3D::transformTo(t);
    }
    template <class Transformation>
    void carry(const Transformation& t, void (Saddle::*way)(const Transformation&), bool inverse) {
        (this->*way)(t);
        const double factor = std::fabs(t.getFactHomo());
        size_ *= inverse ? 1.0 / factor : factor;
    }

    double size_ = 1.0;
};

ER_DEFINE_CLASS(Saddle, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)
ER_DEFINE_STORED_CLASS(Saddle, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, 2, 2), ERPoint3D(3, -1, 2));
const Saddle saddle(tilted, ERLimites(0.5, 2), ERLimites(-1, 1));

constexpr unsigned int saddles = ReversingExchangesNothing | NoFoot | NoRay;

INSTANTIATE_TEST_SUITE_P(
    Saddles, SurfaceContract,
    ::testing::Values(surfaceSample("tilted", saddle, saddles),
                      surfaceSample("leftHanded",
                                    Saddle(tilted* ERSymetrie3D(Coord3D::CoordX), ERLimites(2, 1),
                                           ERLimites(0, 3)),
                                    saddles)),
    nameOfSurface);

TEST(BoundedSurface, NaturalRangesFollowWhenTheyAreAdjusted) {
    Saddle surface(tilted, ERLimites(0, 4), ERLimites(0, 3));
    surface.getMatricePoint(2, 2);
    surface.setBound(ERLimites(1, 2), ERLimites(1, 3));
    EXPECT_EQ(surface.NUdeb(), 0.0);
    EXPECT_EQ(surface.NVfin(), 3.0);
    const auto corner = [&surface] { return surface.getMatricePoint(2, 2)(0, 1); };
    expectNear(corner(), surface(1.0, 3.0));
    surface.redefineDomainU(ERLimites(1.5, 2));
    EXPECT_EQ(surface.NUdeb(), 1.5);
    EXPECT_EQ(surface.NVdeb(), 1.0);
    expectNear(corner(), surface(1.5, 3.0));
    surface.redefineDomainV(ERLimites(2, 3));
    EXPECT_EQ(surface.NVdeb(), 2.0);
    expectNear(corner(), surface(1.5, 3.0));
    ERLimites v(0, 1);
    surface.redefinedDomain(ERLimites(0, 1), v);
    EXPECT_EQ(surface.getBoundU(), ERLimites(0, 1));
    EXPECT_EQ(surface.NVfin(), 1.0);
    expectNear(corner(), surface(0.0, 1.0));
    surface.ERBoundedSurface::reverse();
    expectNear(surface.getMatricePoint(2, 2)(1, 0), surface(0.0, 1.0));
}

TEST(BoundedSurface, EmptyOrReversedRangesHaveNoIsoCurvesAcross) {
    struct Counter : ERProcessMaillage {
        void addPolyline(const ERVec<ERPoint3D>&) override { ++lines; }
        int lines = 0;
    } sink;
    sink.nbIsoU = 4;
    sink.nbIsoV = 2;
    sink.tolerance = 1.0;
    Saddle(tilted, ERLimites(1, 1), ERLimites(0, 1)).tessalate(sink);
    EXPECT_EQ(sink.lines, 3);
    Saddle(tilted, ERLimites(0, 1), ERLimites(1, 0)).tessalate(sink);
    EXPECT_EQ(sink.lines, 8);
}

TEST(BoundedSurface, RandomPointsReachBelowTheRectangle) {
    std::srand(5);
    bool below = false;
    for (int i = 0; i < 200; ++i) {
        const ERPoint2D uv = saddle.randomPoint().parameter();
        EXPECT_TRUE(-1.0 <= uv.x() && uv.x() <= 2.0 && -3.0 <= uv.y() && uv.y() <= 1.0) << uv;
        below = below || uv.x() < 0.5;
    }
    EXPECT_TRUE(below);
    std::srand(9);
    const double r = 2 * (std::rand() & 32767) / 32767.0 - 1.0;
    std::srand(9);
    EXPECT_EQ(saddle.randomPoint().parameter().y(), -1.0 + 2.0 * r);
}

TEST(BoundedSurface, DefaultsFindNothing) {
    ERPoint3D p(1, 2, 3), foot(7, 7, 7);
    ERPoint2D uv(7, 7);
    ERVector3D normal(7, 7, 7);
    ERVec<double> jumps(2, 1.0);
    EXPECT_EQ(saddle.ProjectionNormale(p, 1.0, uv, 0), 0);
    EXPECT_EQ(saddle.ProjectionNormale(p, foot, normal), 0);
    EXPECT_EQ(saddle.ReajustProjection(p, uv, 0), 0);
    EXPECT_EQ(uv, ERPoint2D(7, 7));
    EXPECT_EQ(foot, ERPoint3D(7, 7, 7));
    EXPECT_EQ(saddle.IsContinuous(0), 0);
    EXPECT_EQ(saddle.GetDiscontinuitiesU(0, jumps), 1);
    EXPECT_EQ(jumps.length(), 0u);
    ERSimpleVec2<ERMinimax3D> boxes;
    saddle.GetSpanBoxes(boxes);
    ASSERT_EQ(boxes.length(), 1u);
    EXPECT_EQ(boxes(0, 0), saddle.getBox());
}

// Gives the ray's frame away: a point on the axis at the height of the surface's own origin.
class Pierced : public Saddle {
public:
    explicit Pierced(const Saddle& other) : Saddle(other) {}
    Pierced* getCopy() const override { return new Pierced(*this); }
    using Saddle::ProjectPoint;
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override {
        EXPECT_EQ(p, ERPoint3D());
        EXPECT_EQ(flag, 3);
        ERInfoPoint3DSurf info = PtCur(1.0, 0.0);
        result.AddPointSolution(info);
    }
};

TEST(RaySurfaceResult, RaysWorkInTheirFrameAndGiveBackTheSurfacesOwn) {
    ERRaySurfaceResult result;
    ERInfoPoint3DSurf earlier = saddle.PtCur(0.5, 0.5);
    result.AddPointSolution(earlier);
    Pierced(saddle).ProjectPoint(ERPoint3D(1, 2, 3), ERVector3D(0, 1, 1), result, 3);
    ASSERT_EQ(result.entries(), 2u);
    EXPECT_EQ(result.at(0).point(), earlier.point());
    expectNear(result.at(1).point(), saddle(1.0, 0.0), 1e-12);
    expectNear(ERPoint3D() + result.at(1).tangenteV(),
               ERPoint3D() + saddle.PtCur(1.0, 0.0).tangenteV(), 1e-12);
}

TEST(RaySurfaceResult, PointsAreVisitedInOrderAndFiltered) {
    ERRaySurfaceResult result;
    for (int i = 0; i < 6; ++i) {
        ERInfoPoint3DSurf info = saddle.PtCur(i, 0.0);
        result.AddPointSolution(info);
    }
    result.filtre([](ERInfoPoint3DSurf* info,
                     void*) { return static_cast<int>(info->parameter().x()) % 3 == 0 ? -1 : 0; },
                  nullptr);
    std::vector<double> seen;
    result.apply(
        [](ERInfoPoint3DSurf* info, void* list) {
            static_cast<std::vector<double>*>(list)->push_back(info->parameter().x());
        },
        &seen);
    EXPECT_EQ(seen, (std::vector<double>{1, 2, 4, 5}));
    result.filtre([](ERInfoPoint3DSurf*, void*) { return 1; }, nullptr);
    EXPECT_EQ(result.entries(), 0u);
    ERInfoPoint3DSurf info = saddle.PtCur(7.0, 0.0);
    result.AddPointSolution(info);
    EXPECT_EQ(result.at(0).parameter().x(), 7.0);
}

}  // namespace
}  // namespace kerf::test
