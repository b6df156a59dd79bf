#include "kerf/surfaces/bezier_patches.h"

#include <memory>

#include "tests/support/object_checks.h"
#include "tests/surfaces/pole_samples.h"

namespace kerf::test {
namespace {

constexpr unsigned int seed = 101;

// Every patch, within its ranges, is the surface; the ranges make up those of the surface.
void expectPatches(Nurbs3DToBezier3DRDecomposer& patches, const ERSpoleNURBS3D& surface) {
    int inU = 0, inV = 0;
    surface.GetNumberOfSpans(inU, inV);
    ASSERT_EQ(patches.nu(), static_cast<unsigned int>(inU));
    ASSERT_EQ(patches.nv(), static_cast<unsigned int>(inV));
    for (unsigned int i = 0; i < patches.nu(); ++i) {
        for (unsigned int j = 0; j < patches.nv(); ++j) {
            const t_SmartPtr<ERSpoleBezier3DR> patch = patches.Bezier(i, j);
            const ERLimites u = patch->getBoundU(), v = patch->getBoundV();
            EXPECT_EQ(u.start(), i == 0 ? surface.udeb() : patches.Bezier(i - 1, j)->ufin());
            EXPECT_EQ(v.start(), j == 0 ? surface.vdeb() : patches.Bezier(i, j - 1)->vfin());
            for (const double s : {0.05, 0.5, 0.95})
                for (const double t : {0.05, 0.4, 0.95})
                    expectNear((*patch)(u(s), v(t)), surface(u(s), v(t)), 1e-11);
            EXPECT_EQ(patches.Bezier(i, j), patch);
        }
    }
    const t_SmartPtr<ERSpoleBezier3DR> last = patches.Bezier(patches.nu() - 1, patches.nv() - 1);
    EXPECT_EQ(last->ufin(), surface.ufin());
    EXPECT_EQ(last->vfin(), surface.vfin());
}

TEST(BezierPatches, AreThePiecesOfTheSurface) {
    Random random(seed);
    for (unsigned int degree = 0; degree < 6; ++degree) {
        for (const bool clamped : {true, false}) {
            SCOPED_TRACE(testing::Message() << "degree " << degree << " clamped " << clamped);
            const ERSpoleNURBS3D surface =
                RandomNurbs(degree, degree / 2 + 1, random, clamped).surface();
            Nurbs3DToBezier3DRDecomposer patches(surface);
            expectPatches(patches, surface);
        }
    }
}

TEST(BezierPatches, KnotsBeyondABreakAreDropped) {
    Random random(seed);
    const double knots[] = {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 3, 3, 3, 3};
    const ERKnotVector u(2, knots, 15), v(1, 3, ERLimites(0, 1));
    const ERSpoleNURBS3D surface(randomGrid<ERPole3DH>(12, 3, random), u, v);
    Nurbs3DToBezier3DRDecomposer patches(surface);
    expectPatches(patches, surface);
}

TEST(BezierPatches, FollowTheMovesMadeOrNot) {
    Random random(seed);
    const ERSpoleNURBS3D before = RandomNurbs(2, 3, random).surface();
    const auto expectMoved = [&](auto move) {
        ERSpoleNURBS3D surface = before;
        Nurbs3DToBezier3DRDecomposer patches(surface);
        const t_SmartPtr<ERSpoleBezier3DR> made = patches.Bezier(0, 0);
        made->getBox();
        const std::unique_ptr<Nurbs3DToBezier3DRDecomposer> copy(patches.getCopy());
        move(patches);
        move(surface);
        EXPECT_EQ(patches.Bezier(0, 0), made);
        expectPatches(patches, surface);
        expectPatches(*copy, before);
    };
    expectMoved([](auto& object) { object.translate(ERPoint3D(1, 2, 3)); });
    expectMoved([](auto& object) { object.scale(-1.5); });
    expectMoved([](auto& object) { object.transformFrom(isometries()[1]); });
    expectMoved([](auto& object) { object.transformTo(isometries()[2]); });
    expectMoved([](auto& object) { object.transformFrom(similitudes()[1]); });
    expectMoved([](auto& object) { object.transformTo(similitudes()[2]); });
    expectMoved([](auto& object) { object.reverse(); });
}

TEST(BezierPatches, ADummyHasNone) {
    const ERKnotVector flat(1, ERLimites(2, 2)), unit(1, ERLimites(0, 1));
    const ERMatrix<ERPole3DH> poles(2, 2, ERPole3DH(1, 1, 1, 1));
    for (const ERSpoleNURBS3D& surface : {ERSpoleNURBS3D(), ERSpoleNURBS3D(poles, flat, unit)}) {
        Nurbs3DToBezier3DRDecomposer patches(surface);
        EXPECT_EQ(patches.nu() * patches.nv(), 0u);
        patches.scale(2);
        patches.reverse();
    }
}

}  // namespace
}  // namespace kerf::test
