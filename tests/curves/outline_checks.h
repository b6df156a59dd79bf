#pragma once
#include <string>

#include "kerf/curves/outline.h"
#include "kerf/values/transformed_entity.h"
#include "tests/support/value_checks.h"

// What every outline must satisfy.
namespace kerf::test {

/// Oracle: many points of the outline, and the side of the point by the turns of these around it.
template <class Outline>
void expectNearestFeet(const Outline& outline, unsigned int pieces) {
    const unsigned int steps = 400 * pieces;
    const ERMinimax2D box = outline.getBox();
    ERMinimax2D sampled;
    std::vector<ERPoint2D> points;
    for (unsigned int k = 0; k < steps; ++k) {
        points.push_back(outline.PtCur(k / 400.0).point());
        sampled.Update(points.back());
    }
    ERMinimax2D widened = box;
    widened.Inflate(1e-13);
    EXPECT_EQ(Union(sampled, widened), widened);
    expectNear(sampled.MinPoint(), box.MinPoint(), 1e-4);
    expectNear(sampled.MaxPoint(), box.MaxPoint(), 1e-4);
    std::mt19937 random(9);
    std::uniform_real_distribution<double> draw(-6, 6);
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(drawnFrom(9, i));
        const ERPoint2D p(draw(random), draw(random));
        double least = largest, turns = 0.0;
        for (unsigned int k = 0; k < steps; ++k) {
            least = std::min(least, distance(points[k], p));
            const ERVector2D a(p, points[k]), b(p, points[(k + 1) % steps]);
            turns += std::atan2(a ^ b, a * b);
        }
        ERPoint2D foot;
        double u = -1.0, signedDistance = 0.0;
        int index = -1, piece = -1;
        ASSERT_EQ(outline.Project(p, foot, u, index), 1);
        EXPECT_LE(distance(foot, p), least + 1e-12);
        expectNear(outline.PtCur(u).point(), foot, 1e-13);
        EXPECT_GE(u, index);
        EXPECT_LE(u, index + 1);
        EXPECT_EQ(outline.Get_Entity_Number(p, piece), 1);
        EXPECT_EQ(piece, index);
        EXPECT_EQ(outline.SignedMinimalDistance(p, signedDistance), EREntity::SingleNearestPoint);
        EXPECT_NEAR(std::fabs(signedDistance), distance(foot, p), 1e-13);
        EXPECT_EQ(signedDistance<0.0, std::fabs(turns)> 3.0);
    }
}

/// Whether both trace the same points; piece by piece where the parameters agree.
template <class Outline, class Map>
void expectImage(const Outline& image, const Outline& outline, Map map) {
    for (double u = 0.05; u < 4.0; u += 0.31) {
        const auto p = map(outline.PtCur(u).point());
        auto foot = p;
        ASSERT_NE(image.ProjectPt(p, foot), 0);
        EXPECT_LE(distance(p, foot), 1e-12) << u;
    }
}

template <class Outline>
void expectCarriedInThePlane(const Outline& outline) {
    for (const ERTransfo2D& t :
         {ERTransfo2D(ERVector2D(3, -2)), ERTransfo2D::rotation(0.7) * ERTransfo2D::Scaling(1.75),
          ERTransfo2D(Coord2D::CoordX), ERTransfo2D::Symmetry(ERVector2D(2, 1))}) {
        expectImage(t >> outline, outline, [&](const ERPoint2D& p) { return t >> p; });
        expectImage(t << outline, outline, [&](const ERPoint2D& p) { return t << p; });
    }
    Outline image = outline;
    image.scale(-1.5);
    image.translate(ERPoint2D(1, 2));
    EXPECT_EQ(image.isDirty(), 1);
    expectImage(image, outline, [](const ERPoint2D& p) { return p * -1.5 + ERPoint2D(1, 2); });
}

template <class Outline>
void expectCarriedInSpace(const Outline& outline) {
    for (const ERPmSimilitude3D& t :
         {ERPmSimilitude3D(ERRotation3D(ERVector3D(1, 2, -0.5), 1.1)),
          ERPmSimilitude3D(ERSymetrie3D(ERVector3D(1, -2, 0.5))),
          ERChgRepere3D(ERVector3D(1, 1, 2), ERPoint3D(4, 0, -1)) * ERScaling3D(-0.75)}) {
        expectImage(t >> outline, outline, [&](const ERPoint3D& p) { return t >> p; });
        expectImage(t << outline, outline, [&](const ERPoint3D& p) { return t << p; });
    }
    Outline image = outline;
    image.reverse();
    expectImage(image, outline, [](const ERPoint3D& p) { return p; });
    expectNear(image.normale(), -outline.normale());
    // Seen from the other side it is counter-clockwise again.
    const ERVector3D side = image.PtCur(0.5).tangente();
    const ERVector3D next = image.PtCur(1.5).tangente();
    EXPECT_GT((side ^ next) * image.normale(), 0.0);
    image.scale(2.0);
    image.translate(ERPoint3D(1, 2, 3));
    expectImage(image, outline, [](const ERPoint3D& p) { return p * 2.0 + ERPoint3D(1, 2, 3); });
}

/// Oracle: the frame's own map of points.
template <class InSpace, class Flat>
void expectPlanarTwin(const Flat& flat, const ERPmIsometrie3D& frame) {
    const t_SmartPtr<EREntity3DWF> lifted = flat.get3DEquiv(frame);
    const InSpace* const twin = InSpace::castdown(lifted.getObject());
    ASSERT_NE(twin, nullptr);
    const auto lift = [&](const ERPoint2D& p, double z) {
        return frame >> p.castToPoint3D(Coord3D::CoordZ, z);
    };
    ERMinimax3D sampled;
    for (int k = 0; k < 6000; ++k) {
        const ERPoint3D p = twin->PtCur(k / 1000.0).point();
        expectNear(p, lift(flat.PtCur(k / 1000.0).point(), 0.0));
        sampled.Update(p);
    }
    expectNear(twin->getBox().MinPoint(), sampled.MinPoint(), 1e-4);
    expectNear(twin->getBox().MaxPoint(), sampled.MaxPoint(), 1e-4);
    expectNear(twin->main_direction() ^ twin->auxiliary_direction(), twin->normale());
    for (const ERPoint2D& p : {ERPoint2D(9, 2), flat.PtCur(0.3).point() * 0.6}) {
        ERPoint2D flatFoot;
        ERPoint3D foot;
        double u = 0.0, v = 0.0, d = 0.0, flatDistance = 0.0;
        int index = -1, flatIndex = -1;
        const EREntity::DISTMINRES found = flat.Project(p, flatFoot, u, flatIndex),
                                   found3D = twin->Project(lift(p, 4.0), foot, v, index);
        EXPECT_EQ(found3D, found);
        expectNear(foot, lift(flatFoot, 0.0));
        EXPECT_NEAR(u, v, 1e-13);
        EXPECT_EQ(index, flatIndex);
        flat.SignedMinimalDistance(p, flatDistance);
        EXPECT_EQ(twin->SignedMinimalDistance(lift(p, 4.0), d), EREntity::SingleNearestPoint);
        EXPECT_NEAR(d, std::copysign(std::hypot(flatDistance, 4.0), flatDistance), 1e-13);
    }
}

/// Stored, restored and stored again; cut short anywhere it restores to something usable.
template <class Outline>
void expectStored(const Outline& outline, unsigned int bytes) {
    TemporaryFile place, cut;
    {
        ERFile file(place.path(), createFile);
        outline.saveGuts(file);
    }
    const std::string record = place.bytes();
    EXPECT_EQ(record.size(), bytes);
    EXPECT_EQ(outline.binaryStoreSize(), bytes);
    const t_SmartPtr<ERObject> made(ERClassRegistration::findCreator(outline.className())());
    Outline* const restored = Outline::castdown(made.getObject());
    ASSERT_NE(restored, nullptr);
    {
        ERFile file(place.path(), CFile::modeRead);
        restored->restoreGuts(file);
    }
    EXPECT_EQ(restored->PtCur(1.3).point(), outline.PtCur(1.3).point());
    EXPECT_EQ(printed(*restored), printed(outline));
    EXPECT_FALSE(printed(outline).empty());
    for (std::size_t i = 0; i < record.size(); i += 7) {
        cut.setBytes(record.substr(0, i));
        ERFile file(cut.path(), CFile::modeRead);
        restored->restoreGuts(file);
        restored->PtCur(2.5);
        restored->getBox();
        restored->main_direction();
    }
}

}  // namespace kerf::test
