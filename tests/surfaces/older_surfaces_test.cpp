#include "kerf/surfaces/older_surfaces.h"

#include <gtest/gtest.h>

#include "kerf/core/class_registry.h"

namespace kerf::test {
namespace {

class Patch : public ERSpoleRep3D {
public:
    Patch() : ERSpoleRep3D(ERLimites(1, 2), ERLimites(3, 5)) {}
    Patch* getCopy() const override { return new Patch(*this); }
    void printOn(std::ostream&) const override {}
};

TEST(OlderSurfaces, HoldTwoRectanglesAndAreNotRegistered) {
    Patch patch;
    EXPECT_EQ(patch.isRational() + patch.isBezier(), 2);
    patch.setBound(ERLimites(1.5, 2), ERLimites(3, 4));
    EXPECT_EQ(patch.isDirty(), 1);
    EXPECT_EQ(patch.udeb(), 1.5);
    EXPECT_EQ(patch.vfin(), 4.0);
    EXPECT_EQ(patch.NUdeb(), 1.0);
    EXPECT_EQ(patch.NVfin(), 5.0);
    patch.adjust();
    EXPECT_EQ(patch.NUdeb(), 1.5);
    EXPECT_EQ(patch.NVfin(), 4.0);
    EXPECT_EQ(patch.isA(), ERObject::desc());
}

}  // namespace
}  // namespace kerf::test
