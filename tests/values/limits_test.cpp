#include "kerf/values/limits.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <sstream>

#include "kerf/core/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

TEST(Limites, RatioUndoesTheValueAtARatio) {
    for (const ERLimites& l : {ERLimites(2, 10), ERLimites(10, 2), ERLimites(-1, 1)}) {
        EXPECT_EQ(l(0.0), l.start());
        EXPECT_EQ(l(1.0), l.end());
        for (double t : {-1.0, 0.25, 0.5, 3.0}) EXPECT_EQ(l.ratio(l(t)), t);
        const ERLimites ratios(0.25, 0.75);
        EXPECT_EQ(l.ratio(l(ratios)), ratios);
    }
    EXPECT_EQ(ERLimites(2, 10)(ERLimites(0.25, 2)), ERLimites(4, 18));
    EXPECT_EQ(ERLimites(10, 2).amplitude(), -8);
}

TEST(Limites, BoundsAreExactAndNeverReordered) {
    const ERLimites unit(0, 1);
    EXPECT_EQ(unit.inBound(1.0), 1);
    EXPECT_EQ(unit.inBound(0.0), 1);
    EXPECT_EQ(unit.inBound(1.0 + 1e-15), 0);
    EXPECT_EQ(unit.strictlyInBound(1.0), 0);
    EXPECT_EQ(unit.strictlyInBound(0.5), 1);
    EXPECT_EQ(unit.inBound(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(ERLimites(1, 0).inBound(0.5), 0);
    EXPECT_EQ(ERLimites(1, 1.5).isEmpty(0.5), 1);
    EXPECT_EQ(ERLimites(1.5, 1).isEmpty(0.25), 0);
    EXPECT_EQ(ERLimites(), ERLimites(0, 0));
}

TEST(Limites, ANegativeFactorReversesTheInterval) {
    ERLimites l(0, 1);
    l *= -1;
    EXPECT_EQ(l.start(), 0);
    EXPECT_EQ(l.end(), -1);
    EXPECT_EQ(l.inBound(-0.5), 0);
    l += 3;
    l -= 1;
    EXPECT_EQ(l, ERLimites(2, 1));
    EXPECT_NE(l, ERLimites(1, 2));
}

TEST(Limites, PrintsBothEndsAtTheGivenWidth) {
    std::ostringstream text;
    text << ERLimites(0, 2.5) << std::setw(4) << ERLimites(1, 2);
    EXPECT_EQ(text.str(), "Limites( 0,2.5 )\nLimites(    1,   2 )\n");
}

TEST(Limites, StoresItsTwoEnds) {
    const test::TemporaryFile place;
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << ERLimites(3, -4);
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()), ERLimites().binaryStoreSize());
    }
    ERFile file(place.path(), CFile::modeRead);
    ERLimites restored;
    file >> restored;
    EXPECT_EQ(restored, ERLimites(3, -4));
}

TEST(Radian, IsADoubleThatIsNeverReduced) {
    const ERRadian angle = 100.0;
    const double back = angle;
    EXPECT_EQ(back, 100.0);
    EXPECT_EQ(-angle * 2, -200.0);
    EXPECT_EQ(ERRadian(), 0.0);
}

}  // namespace
}  // namespace kerf
