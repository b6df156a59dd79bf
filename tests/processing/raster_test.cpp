#include "kerf/processing/raster.h"

#include "kerf/processing/region.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

constexpr int most = std::numeric_limits<int>::max();

TEST(Raster, AgreesWithAnArray) {
    std::mt19937 random(1);
    for (int bits = 1; bits <= 32; ++bits) {
        const int nx = 1 + static_cast<int>(random() % 9), ny = 1 + static_cast<int>(random() % 80);
        SCOPED_TRACE(drawnFrom(1, bits));
        const unsigned int mask = bits == 32 ? ~0u : (1u << bits) - 1;
        ERGrid2D grid(nx, ny, bits, ERMinimax2D(0, nx, 0, ny));
        std::vector<std::vector<unsigned int>> model(static_cast<std::size_t>(nx));
        for (auto& row : model) row.resize(static_cast<std::size_t>(ny), mask);
        EXPECT_EQ(grid.get_outside_value(), mask);
        grid.set_outside_value(mask - 1);
        const auto index = [&](int n) {
            return static_cast<int>(random() % static_cast<unsigned int>(n + 2)) - 1;
        };
        for (int step = 0; step < 300; ++step) {
            // Bounds go past the raster.
            const int i1 = index(nx), i2 = index(nx), j1 = index(ny), j2 = index(ny);
            const unsigned int value = random() % 3 ? static_cast<unsigned int>(random()) : mask;
            step % 3 == 0 ? grid.set(i1, j1, value) : grid.set(i1, j1, i2, j2, value);
            for (int i = 0; i < nx; ++i)
                for (int j = 0; j < ny; ++j)
                    if (step % 3 == 0 ? i == i1 && j == j1
                                      : i >= i1 && i <= i2 && j >= j1 && j <= j2)
                        model[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] =
                            value & mask;

            // Cells under a box.
            const ERMinimax2D box(i1 + 0.5, i2 + 0.5, j1 + 0.5, j2 + 0.5);
            unsigned int told = 0;
            const int same = grid.check_box(box, told);
            if (i1 > i2 || j1 > j2) continue;
            bool expected = true;
            for (int i = i1; i <= i2; ++i) {
                for (int j = j1; j <= j2; ++j) {
                    const bool on = i >= 0 && i < nx && j >= 0 && j < ny;
                    const unsigned int cell =
                        on ? model[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)]
                           : mask - 1;
                    ASSERT_EQ(grid.get(i, j), cell);
                    ASSERT_EQ(grid.check_point(ERPoint2D(i + 0.5, j + 0.5)), cell);
                    if (i == i1 && j == j1 && !same) told = cell;
                    expected &= cell == told;
                }
            }
            ASSERT_EQ(same, expected);
        }
    }
}

TEST(Raster, LaysCellsLowBitsFirstInRowsOfWords) {
    const ERGrid2D grid(3, 12, 5, ERMinimax2D(0, 3, 0, 12));  // six to a word
    int word = 0, bit = 0;
    grid.bits_position(2, 10, word, bit);
    EXPECT_EQ(word, 2 * 2 + 1);
    EXPECT_EQ(bit, 5 * 4);
}

TEST(Raster, PointsLieInTheCellOfTheirIndices) {
    std::mt19937 random(2);
    std::uniform_real_distribution<double> coordinate(-1e3, 1e3);
    for (int draw = 0; draw < 20000; ++draw) {
        const int nx = 1 + draw % 97, ny = 1 + draw % 31;
        const ERMinimax2D box(ERPoint2D(coordinate(random), coordinate(random)),
                              ERPoint2D(coordinate(random), coordinate(random)));
        const ERGrid2D grid(nx, ny, 2, box);
        ERPoint2D p(coordinate(random), coordinate(random)), min, max;
        int i = -1, j = -1;
        if (draw % 2) {  // a corner of a cell
            grid.get_cell_dims(draw % nx, draw % ny, min, max);
            p = draw % 4 == 1 ? min : max;
        }
        ASSERT_EQ(grid.indices(p, i, j), box.contains(p)) << drawnFrom(2, draw);
        if (!box.contains(p)) continue;
        ASSERT_TRUE(i >= 0 && i < nx && j >= 0 && j < ny);
        grid.get_cell_dims(i, j, min, max);
        ASSERT_TRUE(ERMinimax2D(min, max).contains(p) || (i == nx - 1 && p.x() > max.x()) ||
                    (j == ny - 1 && p.y() > max.y()))
            << drawnFrom(2, draw);
    }
}

TEST(Raster, FlatInfiniteAndEmptyRastersHoldTheirPoints) {
    int i = 5, j = 5;
    const ERGrid2D flat(4, 4, 2, ERMinimax2D(1, 1, 0, 4)),
        whole(4, 4, 2, ERMinimax2D(-infinity, infinity, -1.7e308, 1.7e308));
    EXPECT_EQ(flat.indices(ERPoint2D(1, 3.5), i, j), 1);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(j, 3);
    EXPECT_EQ(whole.indices(ERPoint2D(1, 1e300), i, j), 1);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(j, 0);
    EXPECT_EQ(whole.indices(ERPoint2D(nan, 1), i, j), 0);
    unsigned int value = 0;
    EXPECT_EQ(flat.check_box(ERMinimax2D(0, 1, nan, nan), value), 0);
    ERGrid2D none(0, -3, 99, ERMinimax2D(0, 1, 0, 1));
    none.set(0, 0, 5, 5, 1);
    EXPECT_EQ(none.check_point(ERPoint2D(0.5, 0.5)), none.get_outside_value());
    EXPECT_EQ(none.get(0, 0), ~0u);
    none.check_box(ERMinimax2D(0, 1, 0, 1), value);
    ERGrid2D copy(flat);
    copy.set(0, 0, most, most, 2);
    EXPECT_EQ(flat.get(3, 3), 2u);
}

// Oracle: the region itself, at points of each cell.
TEST(RegionRaster, TellsNothingThatTheRegionDenies) {
    std::mt19937 random(3);
    for (int draw = 0; draw < 12; ++draw) {
        SCOPED_TRACE(drawnFrom(3, draw));
        const bool outer = draw % 3 != 0;
        ERRegion2D region(4, outer);
        for (int c = 0; c < 1 + draw % 3; ++c) {
            ERVec<ERPoint2D> contour;
            const ERPoint2D centre =
                c == 0 ? ERPoint2D() : randomGridPoint(random, 80) - ERPoint2D(40, 40);
            for (int k = 0; k < 60; ++k) {
                const double angle = k * 0.1047,
                             r = (c == 0 ? 80 : 15) + static_cast<double>(random() % 10);
                contour.append(centre + ERPoint2D(r * std::cos(angle), r * std::sin(angle)));
            }
            region.Add(contour);
        }
        const ERRegion2DGrid raster(region);
        int told[3] = {}, settled = 0;
        for (const ERPoint2D& p : grid(-92, 92, 2)) {
            int contour = 0;
            const bool inside = region.CheckPoint(p, contour) == InRegion;
            const bool on = region.getBox().contains(p);
            const ERRegion2DGrid::STATE state = raster.inside(p);
            ++told[state];
            if (!on) {
                ASSERT_EQ(state, outer ? ERRegion2DGrid::CellOutside : ERRegion2DGrid::CellInside);
                continue;
            }
            ASSERT_TRUE(state == ERRegion2DGrid::CellPartial ||
                        inside == (state == ERRegion2DGrid::CellInside));
            const ERMinimax2D box(p, p + randomGridPoint(random, 9));
            const auto position = region.IsInDomain(box);
            const auto byRaster = raster.relative_position(box);
            settled += byRaster != ERRegion2DGrid::BoxCrossesRegion;
            ASSERT_TRUE(byRaster != ERRegion2DGrid::BoxInRegion || position == PolygonInside);
            ASSERT_TRUE(byRaster != ERRegion2DGrid::BoxOutOfRegion || position == PolygonOutside);
        }
        EXPECT_GT(told[ERRegion2DGrid::CellOutside], outer ? 500 : 3000);
        EXPECT_GT(settled, 1000);
        // Kept: with holes only no cell is inside.
        if (!outer) {
            for (int i = 0; i < 64; ++i)
                for (int j = 0; j < 64; ++j)
                    ASSERT_NE(raster.get(i, j), ERRegion2DGrid::CellInside);
        } else {
            EXPECT_LT(told[ERRegion2DGrid::CellPartial], 1500);
        }
    }
    const ERRegion2D plane(0, 1);
    const ERRegion2DGrid raster(plane);
    EXPECT_EQ(raster.inside(ERPoint2D(1, 1)), ERRegion2DGrid::CellOutside);
    EXPECT_EQ(raster.get(63, 63), static_cast<unsigned int>(ERRegion2DGrid::CellPartial));

    // Kept: cells that are not set leave points open, but boxes are out.
    ERRegion2D square(1, 1);
    square.Add(vectorOf({{0, 0}, {1, 0}, {1, 1}, {0, 1}}));
    ERRegion2DGrid unset(square);
    unset.set(0, 0, 63, 63, ERRegion2DGrid::CellUnset);
    EXPECT_EQ(unset.inside(ERPoint2D(0.5, 0.5)), ERRegion2DGrid::CellPartial);
    EXPECT_EQ(unset.relative_position(ERMinimax2D(0.4, 0.6, 0.4, 0.6)),
              ERRegion2DGrid::BoxOutOfRegion);
}

}  // namespace
}  // namespace kerf
