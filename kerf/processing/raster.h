#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

// Rasters: small whole numbers for the cells of a box of the plane, and the raster of a region, which
// tells with one read where most points lie.
namespace kerf {

class ERRegion2D;

/// A packed array of nx by ny cells, which divide a box evenly. Cell (i, j) is the i-th along x and the
/// j-th along y, from 0. A new raster has every bit of every cell set.
/// Degenerate: a side of the box that is flat, or not finite, has all its points in cell 0. Without
///             cells (nx or ny of 0 and below) every point is off the raster.
/// Storage:    cells of 1 to 32 bits in words of 32, the low bits first, as many to a word as are
///             whole; the cells of one i begin a word.
/// Kept:       copies share the cells, and each has an outside value of its own.
class KERF_EXPORT ERGrid2D {
public:
    /// `bits` is brought into 1 to 32.
    ERGrid2D(int nx, int ny, int bits, const ERMinimax2D& box);
    ERGrid2D(const ERGrid2D&);
    ERGrid2D& operator=(const ERGrid2D&);
    ~ERGrid2D();

    /// What points off the raster have; at first the value of a new cell.
    void set_outside_value(unsigned int value) { outsideValue_ = value; }
    unsigned int get_outside_value() const { return outsideValue_; }

    /// Sets the cell to the low bits of the value; nothing off the raster.
    void set(int i, int j, unsigned int value);
    /// Sets the cells from (i1, j1) to (i2, j2), both included, as far as they are there; none when a
    /// bound is above the other.
    void set(int i1, int j1, int i2, int j2, unsigned int value);
    /// The cell's value; the outside value off the raster.
    unsigned int get(int i, int j) const;
    /// Where the cell is: the index of its word, and of its lowest bit in that. The indices are those
    /// of a cell, and the raster has fewer than 2^31 words.
    void bits_position(int i, int j, int& word, int& bit) const;
    /// The corners of the cell, the upper one not beyond the box.
    void get_cell_dims(int i, int j, ERPoint2D& min, ERPoint2D& max) const;

    /// The cell in which p lies, by these corners; a point between two may be in either.
    /// Returns 1, or 0 when p is off the box or is not a pair of numbers.
    int indices(const ERPoint2D& p, int& i, int& j) const;
    /// The value of the cell in which p lies; the outside value off the box.
    unsigned int check_point(const ERPoint2D& p) const;
    /// 1 when all cells under the box have one value, which `value` becomes; of a box in part off the
    /// raster, when that is the outside value too. Else 0, with anything in `value`.
    int check_box(const ERMinimax2D& box, unsigned int& value) const;

protected:
    int cellsAlongX() const { return nx_; }
    int cellsAlongY() const { return ny_; }

private:
    std::size_t wordOf(int i, int j) const {
        return static_cast<std::size_t>(wordsPerRow_) * static_cast<std::size_t>(i) +
               static_cast<std::size_t>(j / cellsPerWord_);
    }
    int bitOf(int j) const { return bitsPerCell_ * (j % cellsPerWord_); }
    unsigned int valueOf(int i, int j) const {
        return data_.get()[wordOf(i, j)] >> bitOf(j) & mask_;
    }
    bool isCell(int i, int j) const { return i >= 0 && i < nx_ && j >= 0 && j < ny_; }
    // Calls act(word, mask) for the words of row i that hold cells j1 to j2, with the bits of these,
    // until it returns false.
    template <class Act>
    bool forWords(int i, int j1, int j2, Act act) const;
    std::uint32_t pattern(unsigned int value) const;

    std::uint32_t mask_;
    std::uint32_t outsideValue_;
    int nx_, ny_;
    int bitsPerCell_;
    int cellsPerWord_;
    int wordsPerRow_;
    std::shared_ptr<std::uint32_t[]> data_;
    ERMinimax2D box_;
    double dx_, dy_;
};

/// A raster of 64 by 64 cells on the box of a region's first contour, which tells at once where most
/// points and boxes lie.
/// Degenerate: without contours no point is on the raster.
/// Lifetime:   the region must outlive it. Contours added later are not on it; init() draws it anew,
///             on the same box.
/// Kept:       a region of holes only has no cell inside, since it tells no box to be inside. Off the
///             box of its first hole all points are inside, even those in other holes.
class KERF_EXPORT ERRegion2DGrid : public ERGrid2D {
public:
    /// What a cell holds.
    enum STATE { CellOutside = 0, CellInside = 1, CellPartial = 2, CellUnset = 3 };
    /// Where a box lies to the region.
    enum RegionPos { BoxInRegion = 0, BoxCrossesRegion = 1, BoxOutOfRegion = 2 };

    explicit ERRegion2DGrid(const ERRegion2D& region);

    /// Where the cell of p lies; CellPartial leaves the point open. Off the box: CellOutside, with holes
    /// only CellInside.
    STATE inside(const ERPoint2D& p) const;
    /// BoxCrossesRegion also where the cells leave it open.
    /// Kept: BoxOutOfRegion where all are CellUnset, although inside() leaves a point there open.
    RegionPos relative_position(const ERMinimax2D& box) const;
    /// Draws all cells from the region.
    void init();

protected:
    /// Where a box lies to the region itself.
    STATE find_relative_position(const ERMinimax2D& box) const;

private:
    ERMinimax2D regionBox_;
    const ERRegion2D* region_;
};

}  // namespace kerf
