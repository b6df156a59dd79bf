#include "kerf/processing/raster.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "kerf/processing/region.h"

namespace kerf {

namespace {

constexpr int wordBits = 32;
constexpr int regionCells = 64;
constexpr int regionBits = 2;

// The bits from `first` to before `end` of a word.
std::uint32_t bitsFrom(int first, int end) {
    const std::uint32_t fromFirst = ~std::uint32_t{0} << first;
    return end >= wordBits ? fromFirst : fromFirst & ~(~std::uint32_t{0} << end);
}

// The index, of n, in which a coordinate lies that is not off the range.
int indexIn(double value, double from, double step, int n) {
    const double index = (value - from) / step;
    if (!(index > 0.0) || !std::isfinite(step)) return 0;
    return index < n ? static_cast<int>(index) : n - 1;
}

// Corrects the index where rounding has taken the neighbour.
int corrected(int index, int n, double value, double min, double max) {
    if (value < min)
        --index;
    else if (value > max)
        ++index;
    return std::clamp(index, 0, n - 1);
}

std::size_t product(int a, int b) {
    const std::uint64_t words = static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b);
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(words, std::numeric_limits<std::size_t>::max()));
}

}  // namespace

ERGrid2D::ERGrid2D(int nx, int ny, int bits, const ERMinimax2D& box)
    : nx_(std::max(nx, 0)),
      ny_(std::max(ny, 0)),
      bitsPerCell_(std::clamp(bits, 1, wordBits)),
      cellsPerWord_(wordBits / bitsPerCell_),
      wordsPerRow_((ny_ - 1) / cellsPerWord_ + 1),
      box_(box),
      dx_(box.xlength() / nx_),
      dy_(box.ylength() / ny_) {
    mask_ = outsideValue_ = bitsFrom(0, bitsPerCell_);
    const std::size_t words = product(nx_, wordsPerRow_);
    data_.reset(new std::uint32_t[words]);
    std::fill_n(data_.get(), words, ~std::uint32_t{0});
}

ERGrid2D::ERGrid2D(const ERGrid2D&) = default;
ERGrid2D& ERGrid2D::operator=(const ERGrid2D&) = default;
ERGrid2D::~ERGrid2D() = default;

template <class Act>
bool ERGrid2D::forWords(int i, int j1, int j2, Act act) const {
    std::uint32_t* const last = data_.get() + wordOf(i, j2);
    int from = bitOf(j1);
    for (std::uint32_t* word = data_.get() + wordOf(i, j1); word != last; ++word) {
        if (!act(*word, bitsFrom(from, bitsPerCell_ * cellsPerWord_))) return false;
        from = 0;
    }
    return act(*last, bitsFrom(from, bitOf(j2) + bitsPerCell_));
}

// A word of which every cell has the value.
std::uint32_t ERGrid2D::pattern(unsigned int value) const {
    std::uint32_t word = 0;
    for (int k = 0; k < cellsPerWord_; ++k) word |= (value & mask_) << bitsPerCell_ * k;
    return word;
}

void ERGrid2D::set(int i, int j, unsigned int value) { set(i, j, i, j, value); }

void ERGrid2D::set(int i1, int j1, int i2, int j2, unsigned int value) {
    i1 = std::max(i1, 0);
    j1 = std::max(j1, 0);
    i2 = std::min(i2, nx_ - 1);
    j2 = std::min(j2, ny_ - 1);
    if (j1 > j2) return;
    const std::uint32_t repeated = pattern(value);
    for (int i = i1; i <= i2; ++i) {
        forWords(i, j1, j2, [repeated](std::uint32_t& word, std::uint32_t bits) {
            word = (word & ~bits) | (repeated & bits);
            return true;
        });
    }
}

unsigned int ERGrid2D::get(int i, int j) const {
    return isCell(i, j) ? valueOf(i, j) : outsideValue_;
}

void ERGrid2D::bits_position(int i, int j, int& word, int& bit) const {
    KERF_CHECK_ARGUMENT(isCell(i, j));
    word = static_cast<int>(wordOf(i, j));
    bit = bitOf(j);
}

void ERGrid2D::get_cell_dims(int i, int j, ERPoint2D& min, ERPoint2D& max) const {
    const double x = i, y = j;
    min = ERPoint2D(box_.xmin() + x * dx_, box_.ymin() + y * dy_);
    max = ERPoint2D(box_.xmin() + (x + 1.0) * dx_, box_.ymin() + (y + 1.0) * dy_);
    if (max.x() > box_.xmax()) max.x() = box_.xmax();
    if (max.y() > box_.ymax()) max.y() = box_.ymax();
}

int ERGrid2D::indices(const ERPoint2D& p, int& i, int& j) const {
    const double x = p.x(), y = p.y();
    if (std::isnan(x) || std::isnan(y) || nx_ == 0 || ny_ == 0) return 0;
    if (x < box_.xmin() || x > box_.xmax() || y < box_.ymin() || y > box_.ymax()) return 0;
    i = indexIn(x, box_.xmin(), dx_, nx_);
    j = indexIn(y, box_.ymin(), dy_, ny_);
    ERPoint2D min, max;
    get_cell_dims(i, j, min, max);
    i = corrected(i, nx_, x, min.x(), max.x());
    j = corrected(j, ny_, y, min.y(), max.y());
    return 1;
}

unsigned int ERGrid2D::check_point(const ERPoint2D& p) const {
    int i = 0, j = 0;
    return indices(p, i, j) ? valueOf(i, j) : outsideValue_;
}

int ERGrid2D::check_box(const ERMinimax2D& box, unsigned int& value) const {
    if (box | box_) {
        value = outsideValue_;
        return 1;
    }
    const ERMinimax2D inside(std::max(box.xmin(), box_.xmin()), std::min(box.xmax(), box_.xmax()),
                             std::max(box.ymin(), box_.ymin()), std::min(box.ymax(), box_.ymax()));
    int i1 = 0, j1 = 0, i2 = 0, j2 = 0;
    if (!indices(inside.MinPoint(), i1, j1) || !indices(inside.MaxPoint(), i2, j2)) return 0;
    value = valueOf(i1, j1);
    if (inside != box && value != outsideValue_) return 0;
    const std::uint32_t repeated = pattern(value);
    if (j1 > j2) return 1;
    for (int i = i1; i <= i2; ++i) {
        const bool same = forWords(i, j1, j2, [repeated](std::uint32_t word, std::uint32_t bits) {
            return ((word ^ repeated) & bits) == 0;
        });
        if (!same) return 0;
    }
    return 1;
}

ERRegion2DGrid::ERRegion2DGrid(const ERRegion2D& region)
    : ERGrid2D(regionCells, regionCells, regionBits, region.getBox()),
      regionBox_(region.getBox()),
      region_(&region) {
    init();
}

void ERRegion2DGrid::init() {
    set_outside_value(region_->IsFirstOuter() ? CellOutside : CellInside);
    if (region_->entries() == 0) {
        set(0, 0, cellsAlongX() - 1, cellsAlongY() - 1, CellPartial);
        return;
    }
    struct Cells {
        int i1, j1, i2, j2;
    };
    std::vector<Cells> open = {{0, 0, cellsAlongX() - 1, cellsAlongY() - 1}};
    while (!open.empty()) {
        const Cells cells = open.back();
        open.pop_back();
        const auto [i1, j1, i2, j2] = cells;
        if (i1 > i2 || j1 > j2) continue;
        ERPoint2D min, max, ignored;
        get_cell_dims(i1, j1, min, ignored);
        get_cell_dims(i2, j2, ignored, max);
        const STATE state = find_relative_position(ERMinimax2D(min.x(), max.x(), min.y(), max.y()));
        if (state == CellPartial && (i1 < i2 || j1 < j2)) {
            const int i = (i1 + i2) / 2, j = (j1 + j2) / 2;
            open.push_back({i1, j1, i, j});
            open.push_back({i + 1, j1, i2, j});
            open.push_back({i1, j + 1, i, j2});
            open.push_back({i + 1, j + 1, i2, j2});
        } else {
            set(i1, j1, i2, j2, state);
        }
    }
}

ERRegion2DGrid::STATE ERRegion2DGrid::inside(const ERPoint2D& p) const {
    const unsigned int value = check_point(p);
    return value == CellUnset ? CellPartial : static_cast<STATE>(value);
}

ERRegion2DGrid::RegionPos ERRegion2DGrid::relative_position(const ERMinimax2D& box) const {
    unsigned int value = CellPartial;
    if (!check_box(box, value) || value == CellPartial) return BoxCrossesRegion;
    return value == CellInside ? BoxInRegion : BoxOutOfRegion;
}

ERRegion2DGrid::STATE ERRegion2DGrid::find_relative_position(const ERMinimax2D& box) const {
    if (RelativePosition(box, regionBox_) == BoxDisjoint) return CellOutside;
    const ER_MINMAX_POSITION_POLYGONE position = region_->IsInDomain(box);
    if (position == PolygonOutside) return CellOutside;
    return position == PolygonInside ? CellInside : CellPartial;
}

}  // namespace kerf
