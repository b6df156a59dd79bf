#include "kerf/values/limits.h"

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

TEST(Limites, RatioUndoesTheValueAtARatio) {
    for (const ERLimites& l : {ERLimites(2, 10), ERLimites(10, 2)}) {
        for (double t : {-1.0, 0.25, 3.0}) EXPECT_EQ(l.ratio(l(t)), t);
    }
    EXPECT_EQ(ERLimites(2, 10)(ERLimites(0.25, 2)), ERLimites(4, 18));
}

TEST(Limites, BoundsAreExactAndNeverReordered) {
    ERLimites l(0, 1);
    EXPECT_EQ(l.inBound(0.0) + l.inBound(1.0) + l.strictlyInBound(0.5), 3);
    EXPECT_EQ(l.inBound(1.0 + 1e-15) + l.inBound(nan) + l.strictlyInBound(1.0), 0);
    EXPECT_EQ(ERLimites(1, 1.5).isEmpty(0.5), 1);
    EXPECT_EQ(ERLimites(1.5, 1).isEmpty(0.25), 0);
    l *= -1;  // reverses the interval
    EXPECT_EQ(l.inBound(-0.5), 0);
    l += 3;
    l -= 1;
    EXPECT_EQ(l, ERLimites(2, 1));
    EXPECT_EQ(l.amplitude(), -1);
}

TEST(Limites, PrintsAndStoresBothEnds) {
    EXPECT_EQ(printed(ERLimites(1, 2.5), 4), "Limites(    1, 2.5 )\n");
    expectStoredAsItLies(ERLimites(3, -4));
}

TEST(Radian, IsADoubleThatIsNeverReduced) { EXPECT_EQ(-ERRadian(100.0) * 2, -200.0); }

}  // namespace
}  // namespace kerf
