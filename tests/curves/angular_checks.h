#pragma once
#include "kerf/curves/segment.h"
#include "kerf/values/box.h"
#include "tests/support/value_checks.h"

// What the arcs of circles and of ellipses must satisfy alike.
namespace kerf::test {

/// Oracle: changes of side between many points of the arc.
template <class InSpace, class Flat>
void expectCutsOnTheArc(const Flat& arc, const ERPmIsometrie3D& frame, const ERPoint2D& onLine) {
    const ERLimites bound = arc.getBound();
    for (int i = 0; i < 16; ++i) {
        SCOPED_TRACE(i);
        const ERVector2D normal(std::cos(0.1 + i), std::sin(0.1 + i));
        const auto height = [&](double u) { return ERVector2D(onLine, arc(u)) * normal; };
        unsigned int changes = 0;
        bool above = height(bound(0.0)) > 0;
        for (int k = 1; k <= 20000; ++k) {
            const bool before = std::exchange(above, height(bound(k / 20000.0)) > 0);
            changes += before != above;
        }
        ERVec<double> found, inSpace;
        arc.intersectWith(onLine, normal, found);
        // A turn and a half passes some places twice, which count once.
        if (bound.amplitude() <= 2 * pi) {
            EXPECT_EQ(found.length(), changes);
        }
        for (unsigned int k = 0; k < found.length(); ++k) {
            EXPECT_TRUE(bound.inBound(found[k]));
            EXPECT_NEAR(height(found[k]), 0, 1e-12);
        }
        InSpace(frame, arc)
            .intersectWith(frame >> onLine.castToPoint3D(Coord3D::CoordZ, 0),
                           frame >> ERVector3D(normal.i(), normal.j(), 0.5), inSpace);
        EXPECT_EQ(inSpace.length(), found.length());
    }
}

/// Oracle: the box of many projected points, along the edge. `whole` is what is projected, of which
/// the points of the arc within the bounds are all.
template <class Arc>
void expectEdgeOnReach(const EREntity3DWF& whole, const Arc& arc, const ERLimites& bound,
                       const ERPmIsometrie3D& frame) {
    const ERPmIsometrie3D t = ERChgRepere3D(frame >> ERVector3D(0.6, 0.8, 0), ERPoint3D(1, 1, 1));
    const t_SmartPtr<EREntity2DWF> projected = whole.get2DEntProjectedOn(t);
    ASSERT_STREQ(projected->className(), "ERSegment2D");
    const ERMinimax2D box = ERSegment2D::castdown(projected.getObject())->getBox();
    ERMinimax2D sampled;
    for (int k = 0; k <= 5000; ++k) sampled.Update(t.Project(arc(bound(k / 5000.0))));
    expectNear(box.MinPoint(), sampled.MinPoint(), 1e-5);
    expectNear(box.MaxPoint(), sampled.MaxPoint(), 1e-5);
}

}  // namespace kerf::test
