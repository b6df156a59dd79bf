#include "tests/surfaces/surface_contract.h"

#include <cmath>
#include <set>

#include "kerf/curves/curve.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/object_checks.h"

namespace kerf::test {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SurfaceContract);

namespace {

const double ratios[] = {0.0, 0.13, 0.37, 0.5, 0.87, 1.0};

ERLimites part(const ERLimites& range, double from, double to) {
    return ERLimites(range(from), range(to));
}

bool isEmpty(const ERAnyBoundedSurface& surface) {
    return surface.getBoundU().amplitude() == 0.0 || surface.getBoundV().amplitude() == 0.0;
}

class CollectedNet : public ERProcessMaillage {
public:
    void addPolyline(const ERVec<ERPoint3D>& points) override { lines.push_back(points); }
    std::vector<ERVec<ERPoint3D>> lines;
};

}  // namespace

SurfaceContract::SurfaceContract() : surface_(GetParam().make()) {
    for (const double s : ratios) {
        for (const double t : ratios) {
            for (const double c : Space3D::coordinates(at(s, t)))
                size_ = std::max(size_, std::fabs(c));
        }
    }
}

ERPoint3D SurfaceContract::at(const ERAnyBoundedSurface& surface, double s, double t) {
    return surface(surface.getBoundU()(s), surface.getBoundV()(t));
}

void SurfaceContract::near(const ERPoint3D& a, const ERPoint3D& b, double relative) const {
    EXPECT_LE(distance(a, b), relative * size_) << a << " " << b;
}

template <class Image>
void SurfaceContract::expectImage(ERAnyBoundedSurface& changed, Image image,
                                  double relative) const {
    for (const double s : ratios)
        for (const double t : ratios) near(at(changed, s, t), image(at(s, t)), relative);
}

void SurfaceContract::expectGridOfACopy(ERAnyBoundedSurface& changed) const {
    const ERMatrix<ERPoint3D> carried = changed.getMatricePoint(3, 3);
    changed.CleanUpTemporaries(-1);
    const ERMatrix<ERPoint3D> fresh = changed.getMatricePoint(3, 3);
    ASSERT_EQ(carried.length(), 9u);
    for (unsigned int i = 0; i < 9; ++i) near(carried.asVector()[i], fresh.asVector()[i], 1e-10);
}

void SurfaceContract::expectPart(const ERAnyBoundedSurface& part, const ERLimites& u,
                                 const ERLimites& v) const {
    const bool keeps = !is(PartsHaveOtherParameters);
    if (keeps && !isEmpty(part)) {
        EXPECT_NEAR(part.udeb(), u.start(), 1e-12 * std::fabs(u.amplitude()));
        EXPECT_NEAR(part.ufin(), u.end(), 1e-12 * std::fabs(u.amplitude()));
        EXPECT_NEAR(part.vdeb(), v.start(), 1e-12 * std::fabs(v.amplitude()));
        EXPECT_NEAR(part.vfin(), v.end(), 1e-12 * std::fabs(v.amplitude()));
    }
    for (const double s : ratios) {
        for (const double t : ratios)
            near(keeps ? part(u(s), v(t)) : at(part, s, t), (*surface_)(u(s), v(t)), 1e-11);
    }
}

TEST_P(SurfaceContract, EvaluationsAgree) {
    for (const double s : ratios) {
        for (const double t : ratios) {
            const ERPoint2D uv(surface_->getBoundU()(s), surface_->getBoundV()(t));
            const ERInfoPoint3DSurf info = surface_->PtCur(uv);
            EXPECT_EQ(info.parameter(), uv);
            near(info.point(), (*surface_)(uv), 1e-13);
            near(surface_->PtCur(uv.x(), uv.y()).point(), at(s, t), 1e-13);
        }
    }
    EXPECT_EQ(surface_->getBoundU(), ERLimites(surface_->udeb(), surface_->ufin()));
    EXPECT_EQ(surface_->getBoundV(), ERLimites(surface_->vdeb(), surface_->vfin()));
}

// Oracle: central differences, whose error is of the step squared.
TEST_P(SurfaceContract, DerivativesAreThoseOfDifferences) {
    if (is(DerivativesAreOfTheBase) || isEmpty(*surface_)) GTEST_SKIP();
    const double extents[] = {surface_->getBoundU().amplitude(), surface_->getBoundV().amplitude()};
    const double h = 1e-4 * extents[0], k = 1e-4 * extents[1];
    const auto vectorAt = [&](double u, double v) {
        return ERVector3D(ERPoint3D(), (*surface_)(u, v));
    };
    for (const double s : {0.13, 0.46, 0.81}) {
        for (const double t : {0.19, 0.53, 0.88}) {
            SCOPED_TRACE(testing::Message() << s << " " << t);
            const double u = surface_->getBoundU()(s), v = surface_->getBoundV()(t);
            const ERMatrix<ERPoint3D> table = surface_->PtCur(u, v).derivatives();
            const auto expectDerivative = [&](unsigned int inU, unsigned int inV,
                                              const ERVector3D& expected, double relative) {
                const double scale = size_ / (std::pow(std::fabs(extents[0]), inU) *
                                              std::pow(std::fabs(extents[1]), inV));
                const ERVector3D found(ERPoint3D(), table(inV, inU));
                EXPECT_LE((found - expected).norme(), relative * scale)
                    << inU << inV << found << expected;
            };
            const ERVector3D here = vectorAt(u, v);
            expectDerivative(1, 0, (vectorAt(u + h, v) - vectorAt(u - h, v)) * (0.5 / h), 1e-5);
            expectDerivative(0, 1, (vectorAt(u, v + k) - vectorAt(u, v - k)) * (0.5 / k), 1e-5);
            if (is(SecondDerivativesDiffer)) continue;
            expectDerivative(
                2, 0, (vectorAt(u + h, v) + vectorAt(u - h, v) - here * 2.0) * (1 / (h * h)), 1e-4);
            expectDerivative(
                0, 2, (vectorAt(u, v + k) + vectorAt(u, v - k) - here * 2.0) * (1 / (k * k)), 1e-4);
            expectDerivative(1, 1,
                             (vectorAt(u + h, v + k) + vectorAt(u - h, v - k) -
                              vectorAt(u + h, v - k) - vectorAt(u - h, v + k)) *
                                 (0.25 / (h * k)),
                             1e-4);
        }
    }
}

TEST_P(SurfaceContract, IsoCurvesRunOnIt) {
    if (is(IsoCurvesAreLonger)) GTEST_SKIP();
    for (const double s : ratios) {
        const t_SmartPtr<ERFiniteEntity3DWF> alongV =
            surface_->getEntityIsoU(surface_->getBoundU()(s));
        const t_SmartPtr<ERFiniteEntity3DWF> alongU =
            surface_->getEntityIsoV(surface_->getBoundV()(s));
        ASSERT_TRUE(alongV != nullptr && alongU != nullptr);
        for (const double t : ratios) {
            near((*alongV)(ERLimites(alongV->udeb(), alongV->ufin())(t)), at(s, t), 1e-12);
            near((*alongU)(ERLimites(alongU->udeb(), alongU->ufin())(t)), at(t, s), 1e-12);
        }
    }
}

TEST_P(SurfaceContract, GridIsKeptAndIsThatOfTheEvaluation) {
    const ERMatrix<ERPoint3D> grid = surface_->getMatricePoint(5, 4);
    ASSERT_EQ(grid.rows(), 5u);
    ASSERT_EQ(grid.cols(), 4u);
    const ERPoint3D* const kept = surface_->getMatricePoint(5, 4).data();
    EXPECT_EQ(surface_->getMatricePoint(5, 4).data(), kept);
    EXPECT_EQ(surface_->getMatricePoint(0, 3).length(), 0u);
    surface_->getMatricePoint(1, 3);
    if (is(GridIsOfTheUnitSquare)) return;
    for (unsigned int i = 0; i < 5; ++i)
        for (unsigned int j = 0; j < 4; ++j) near(grid(i, j), at(i / 4.0, j / 3.0), 1e-12);
}

TEST_P(SurfaceContract, NetLiesOnIt) {
    if (is(IsoCurvesAreLonger) ||
        !(surface_->getBoundU().amplitude() > 0.0 && surface_->getBoundV().amplitude() > 0.0))
        GTEST_SKIP();
    CollectedNet net;
    net.tolerance = 1e-2 * size_;
    net.nbIsoU = 2;
    net.nbIsoV = 3;
    surface_->tessalate(net);
    ASSERT_EQ(net.lines.size(), 7u);
    for (std::size_t i = 0; i < 7; ++i) {
        ASSERT_GE(net.lines[i].length(), 2u);
        const double ratio =
            i < 3 ? static_cast<double>(i) / 2.0 : static_cast<double>(i - 3) / 3.0;
        near(net.lines[i][0], i < 3 ? at(ratio, 0.0) : at(0.0, ratio), 1e-11);
        near(net.lines[i].last(), i < 3 ? at(ratio, 1.0) : at(1.0, ratio), 1e-11);
    }
    net.lines.clear();
    net.nbIsoU = net.nbIsoV = 0;
    surface_->tessalate(net);
    EXPECT_EQ(net.lines.size(), 2u);
}

TEST_P(SurfaceContract, BoxHoldsIt) {
    const ERMinimax3D box = surface_->getBox();
    ERMinimax3D sampled;
    for (int i = 0; i <= 60; ++i)
        for (int j = 0; j <= 60; ++j) sampled.Update(at(i / 60.0, j / 60.0));
    const double out = (is(BoxIsOfSamples) ? 0.1 : 1e-12) * size_;
    for (unsigned int axis = 0; axis < 3; ++axis) {
        EXPECT_LE(box.lower(axis), sampled.lower(axis) + out);
        EXPECT_GE(box.upper(axis), sampled.upper(axis) - out);
        if (is(BoxIsLarge)) continue;
        EXPECT_NEAR(box.lower(axis), sampled.lower(axis), 0.02 * size_);
        EXPECT_NEAR(box.upper(axis), sampled.upper(axis), 0.02 * size_);
    }
}

TEST_P(SurfaceContract, EstimatesBoundTheLengthsOfIsoCurves) {
    const double u = surface_->upperEstimateInU(), v = surface_->upperEstimateInV();
    EXPECT_GE(std::min(u, v), 0.0);
    if (is(EstimatesAreAcross)) return;
    for (const double s : ratios) {
        const auto alongV = surface_->getEntityIsoU(surface_->getBoundU()(s));
        const auto alongU = surface_->getEntityIsoV(surface_->getBoundV()(s));
        EXPECT_LE(alongU->arcLength(1e-3), u + 2e-3);
        EXPECT_LE(alongV->arcLength(1e-3), v + 2e-3);
    }
}

TEST_P(SurfaceContract, PartsOfASplitMakeTheWhole) {
    if (isEmpty(*surface_)) GTEST_SKIP();
    const ERLimites u = surface_->getBoundU(), v = surface_->getBoundV();
    if (is(IsNotSplit)) {
        Held before(surface_), after;
        EXPECT_EQ(surface_->SplitInU(before, after, u(0.5)) + surface_->SplitInU(before, after), 0);
        EXPECT_EQ(surface_->SplitInV(before, after, v(0.5)) + surface_->SplitInV(before, after), 0);
        EXPECT_TRUE(before == surface_ && after == nullptr);
        return;
    }
    for (const double s : {0.25, 0.6}) {
        Held before, after;
        ASSERT_EQ(surface_->SplitInU(before, after, u(s)), 1);
        expectPart(*before, part(u, 0.0, s), v);
        expectPart(*after, part(u, s, 1.0), v);
        ASSERT_EQ(surface_->SplitInV(before, after, v(s)), 1);
        expectPart(*before, u, part(v, 0.0, s));
        expectPart(*after, u, part(v, s, 1.0));
    }
    Held before, after;
    ASSERT_EQ(surface_->SplitInU(before, after), 1);
    near(at(*before, 1.0, 0.5), at(*after, 0.0, 0.5), 1e-11);
    ASSERT_EQ(surface_->SplitInV(before, after), 1);
    near(at(*before, 0.5, 1.0), at(*after, 0.5, 0.0), 1e-11);
    // The surface may be given up for one of its parts.
    Held whole = copy();
    ASSERT_EQ(whole->SplitInU(whole, after), 1);
    near(at(*whole, 0.0, 0.5), at(0.0, 0.5), 1e-11);
}

// The copies that move leave the sample, which is the oracle, where it is.
TEST_P(SurfaceContract, MovesPointByPointWithItsGrid) {
    EXPECT_STREQ(copy()->className(), surface_->className());
    EXPECT_EQ(copy()->getObjectID(), -1);
    EXPECT_EQ(printed(*copy()), printed(*surface_));
    const auto expectMoved = [&](auto move, auto image) {
        const Held other = copy();
        other->getMatricePoint(3, 3);
        move(*other);
        expectImage(*other, image, 1e-11);
        expectGridOfACopy(*other);
    };
    const auto expectCarried = [&](const auto& t) {
        expectMoved([&](ERAnyBoundedSurface& s) { s.transformFrom(t); },
                    [&](const ERPoint3D& p) { return t >> p; });
        expectMoved([&](ERAnyBoundedSurface& s) { s.transformTo(t); },
                    [&](const ERPoint3D& p) { return t << p; });
    };
    for (const ERPmIsometrie3D& t : isometries()) expectCarried(t);
    for (const ERPmSimilitude3D& t : similitudes()) expectCarried(t);
    for (const double factor : {2.5, 0.5, -1.5}) {
        expectMoved([=](ERAnyBoundedSurface& s) { s.scale(factor); },
                    [=](const ERPoint3D& p) { return p * factor; });
    }
    const ERPoint3D by(-3, 7, 2);
    expectMoved([&](ERAnyBoundedSurface& s) { s.translate(by); },
                [&](const ERPoint3D& p) { return p + by; });
}

TEST_P(SurfaceContract, ReversingTwiceChangesNothing) {
    const Held other = copy();
    other->getMatricePoint(3, 3);
    other->reverse();
    EXPECT_EQ(other->isDirty(), 1);
    if (!is(ReversingExchangesNothing)) {
        EXPECT_EQ(other->getBoundU(), surface_->getBoundV());
        for (const double s : ratios)
            for (const double t : ratios) near(at(*other, t, s), at(s, t), 1e-12);
    }
    expectGridOfACopy(*other);
    other->reverse();
    expectImage(
        *other, [](const ERPoint3D& p) { return p; }, 1e-12);
    expectGridOfACopy(*other);
}

// Oracle: a copy, which starts with nothing kept.
TEST_P(SurfaceContract, ChangesReachWhatIsKeptInMemory) {
    const auto everything = [](const ERAnyBoundedSurface& surface) {
        std::ostringstream text;
        for (unsigned int i = 0; i < 3; ++i)
            text << surface.getBox().lower(i) << " " << surface.getBox().upper(i) << " ";
        text << surface.upperEstimateInU() << " " << surface.upperEstimateInV();
        ERPoint2D uv;
        const ERPoint3D near = at(surface, 0.4, 0.6);
        text << surface.ProjectionNormale(near, 1.0, uv, 0) << uv;
        Held before, after;
        surface.SplitInU(before, after);
        for (unsigned int i = 0; i < 3 && before != nullptr; ++i)
            text << " " << before->getBox().upper(i);
        return text.str();
    };
    const auto expectFresh = [&](auto change) {
        const Held changed = copy();
        everything(*changed);
        change(*changed);
        EXPECT_EQ(changed->isDirty(), 1);
        const Held fresh(ERAnyBoundedSurface::castdown(changed->getCopy()));
        fresh->CleanUpTemporaries(-1);
        EXPECT_EQ(everything(*changed), everything(*fresh));
    };
    expectFresh([](ERAnyBoundedSurface& s) { s.translate(ERPoint3D(1000, 1000, 1000)); });
    expectFresh([](ERAnyBoundedSurface& s) { s.transformFrom(isometries()[1]); });
    expectFresh([](ERAnyBoundedSurface& s) { s.reverse(); });
    expectFresh([](ERAnyBoundedSurface& s) {
        ERBoundedSurface* const bounded = dynamic_cast<ERBoundedSurface*>(&s);
        if (bounded == nullptr) return s.setDirty();
        bounded->setBound(part(s.getBoundU(), 0.2, 0.7), part(s.getBoundV(), 0.1, 0.6));
        bounded->adjust();
    });
}

// A point off the surface along its normal has its foot where it came from.
TEST_P(SurfaceContract, FeetAreWhereTheNormalsStart) {
    if (isEmpty(*surface_)) GTEST_SKIP();
    for (const double s : {0.3, 0.62}) {
        for (const double t : {0.35, 0.8}) {
            SCOPED_TRACE(testing::Message() << s << " " << t);
            const ERInfoPoint3DSurf info =
                surface_->PtCur(surface_->getBoundU()(s), surface_->getBoundV()(t));
            const ERPoint3D p = info.point() + info.normale() * (1e-3 * size_);
            ERPoint2D uv(-7, -7);
            const int found = surface_->ProjectionNormale(p, size_, uv, 1);
            ERPoint3D foot;
            ERVector3D normal;
            if (is(NoFoot)) {
                EXPECT_EQ(found, 0);
                EXPECT_EQ(uv, ERPoint2D(-7, -7));
                continue;
            }
            if (is(FootIsMeasuredFromTheCorner)) continue;
            ASSERT_EQ(found, 1);
            near((*surface_)(uv), info.point(), 1e-9);
            ASSERT_EQ(surface_->ProjectionNormale(p, foot, normal), 1);
            near(foot, info.point(), 1e-9);
            EXPECT_NEAR(std::fabs(normal * info.normale()), 1.0, 1e-7);
        }
    }
}

TEST_P(SurfaceContract, RaysMeetItWhereTheyWereAimedAt) {
    if (is(NoRay) || isEmpty(*surface_)) GTEST_SKIP();
    for (const double s : {0.3, 0.62}) {
        const ERInfoPoint3DSurf info =
            surface_->PtCur(surface_->getBoundU()(s), surface_->getBoundV()(0.45));
        ERRaySurfaceResult result;
        const ERVector3D direction = info.normale();
        surface_->ProjectPoint(info.point() + direction * size_, direction, result, 1);
        double nearest = infinity;
        for (unsigned int i = 0; i < result.entries(); ++i)
            nearest = std::min(nearest, distance(result.at(i).point(), info.point()));
        EXPECT_LE(nearest, 1e-3 * size_);  // the solve ends when it is within 2.3e-4
    }
}

TEST_P(SurfaceContract, UnusualArgumentsAreSurvived) {
    for (const double x : {nan, infinity, -infinity, 1e300, -1e300, 1e10, -7.5}) {
        for (const double y : {x, 0.5}) {
            surface_->PtCur(x, y);
            (*surface_)(y, x);
        }
        surface_->getEntityIsoU(x);
        surface_->getEntityIsoV(x);
        Held before, after;
        surface_->SplitInU(before, after, x);
        surface_->SplitInV(before, after, x);
        ERPoint2D uv;
        ERPoint3D foot;
        ERVector3D normal;
        double d = 0.0;
        ERRaySurfaceResult result;
        for (const ERPoint3D& p : {ERPoint3D(x, x, x), ERPoint3D(x, 0, 1)}) {
            surface_->ProjectionNormale(p, x, uv, 1);
            surface_->ProjectionNormale(p, foot, normal);
            surface_->SignedMinimalDistance(p, d);
            surface_->ProjectPoint(p, result, 1);
            surface_->ProjectPoint(p, ERVector3D(0, 1, x), result, 0);
        }
    }
    ERVec<double> jumps(3, 7.0);
    EXPECT_EQ(surface_->GetDiscontinuitiesU(0, jumps), 1);
    EXPECT_EQ(surface_->GetDiscontinuitiesV(0, jumps), 1);
    ERSimpleVec2<ERMinimax3D> boxes;
    int inU = 0, inV = 0;
    surface_->GetNumberOfSpans(inU, inV);
    surface_->GetSpanBoxes(boxes);
    EXPECT_EQ(boxes.rows(), static_cast<unsigned int>(inU));
    EXPECT_EQ(boxes.cols(), static_cast<unsigned int>(inV));
}

TEST_P(SurfaceContract, IsRestoredToTheLastBit) {
    if (is(SurfaceIsNotStored)) GTEST_SKIP();
    const CurrentDatabase forParts;
    const std::string bytes = recordOf(*surface_);
    EXPECT_EQ(bytes.size(), surface_->binaryStoreSize());
    const auto create = ERClassRegistration::findCreator(surface_->className());
    ASSERT_NE(create, nullptr);
    const Held restored(ERAnyBoundedSurface::castdown(create()));
    restored->getMatricePoint(4, 3);
    restored->getBox();
    restoreFrom(bytes, *restored);
    for (const double s : ratios)
        for (const double t : ratios) EXPECT_EQ(at(*restored, s, t), at(s, t));
    EXPECT_EQ(restored->getBox(), surface_->getBox());
    EXPECT_EQ(restored->getMatricePoint(4, 3), surface_->getMatricePoint(4, 3));
    EXPECT_EQ(recordOf(*restored), bytes);
    EXPECT_EQ(printed(*restored), printed(*surface_));
    EXPECT_FALSE(printed(*surface_).empty());
}

TEST_P(SurfaceContract, DamagedRecordsAreSurvived) {
    if (is(SurfaceIsNotStored)) GTEST_SKIP();
    const CurrentDatabase forParts;
    forDamaged(recordOf(*surface_), [&](const std::string& broken) {
        const Held restored(ERAnyBoundedSurface::castdown(
            ERClassRegistration::findCreator(surface_->className())()));
        restoreFrom(broken, *restored);
        restored->PtCur(0.5, 0.5);
        restored->getBox();
        restored->getMatricePoint(3, 3);
        restored->getEntityIsoU(0.5);
        ERPoint2D uv;
        restored->ProjectionNormale(ERPoint3D(1, 1, 1), 1.0, uv, 1);
        Held before, after;
        restored->SplitInV(before, after);
        printed(*restored);
    });
}

// Every corner and every sample of the NURBS form has a point of the surface near it, and the other
// way round.
TEST_P(SurfaceContract, NurbsFormTracesTheSamePoints) {
    if (!GetParam().makeNurbs) GTEST_SKIP();
    const Held nurbs(GetParam().makeNurbs());
    EXPECT_NEAR(nurbs->udeb(), surface_->udeb(), 1e-12 * size_);
    EXPECT_NEAR(nurbs->vfin(), surface_->vfin(), 1e-12 * size_);
    constexpr int n = 80;
    const ERMatrix<ERPoint3D> dense = surface_->getMatricePoint(n + 1, n + 1);
    double longest = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        for (unsigned int j = 0; j < n; ++j) {
            longest = std::max({longest, distance(dense(i, j), dense(i + 1, j)),
                                distance(dense(i, j), dense(i, j + 1))});
        }
    }
    for (const double s : ratios) {
        for (const double t : ratios) {
            const ERPoint3D p = at(*nurbs, s, t);
            double nearest = infinity;
            for (const ERPoint3D& q : dense) nearest = std::min(nearest, distance(p, q));
            EXPECT_LE(nearest, longest);
            double off = 0.0;
            surface_->SignedMinimalDistance(p, off);
            EXPECT_LE(std::fabs(off), 1e-12 * size_);
            if ((s == 0.0 || s == 1.0) && (t == 0.0 || t == 1.0)) near(p, at(s, t), 1e-12);
        }
    }
}

}  // namespace kerf::test
