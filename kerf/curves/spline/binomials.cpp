#include "kerf/curves/spline/binomials.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kerf {

namespace {

constexpr unsigned int rowStep = 20;

constexpr unsigned int largestFinite = 170;
constexpr unsigned int growthStep = 16;

constexpr std::array<double, 28> firstFactorials = [] {
    std::array<double, 28> table{};
    table[0] = 1.0;
    for (unsigned int i = 1; i < table.size(); ++i) table[i] = i * table[i - 1];
    return table;
}();

// Ends after some hundred steps: each but the first few doubles the product or more.
double product(unsigned int n, unsigned int p) {
    double value = 1.0;
    for (unsigned int i = 1; i <= std::min(p, n - p) && !std::isinf(value); ++i)
        value *= (static_cast<double>(n) - i + 1.0) / i;
    return value;
}

}  // namespace

// Constant-initialised, for the static objects of programs are evaluated with it.
constinit TableauDePascal theCnpTableau;
ERFactorialFactory theFactorielleFactory;

TableauDePascal::~TableauDePascal() = default;

double TableauDePascal::Cnp(unsigned int n, unsigned int p) {
    if (p > n) return 0.0;
    const double* const row = Cnp(n);
    return row ? row[p] : product(n, p);
}

const double* TableauDePascal::grownTo(unsigned int n) {
    if (n > lastRow) return nullptr;
    ComputeTo((n / rowStep + 1) * rowStep);
    return values_.load(std::memory_order_acquire) + getBaseIndex(n);
}

// An array that holds the rows there are and has room for that one. Each is twice the former, so
// that those kept for their readers are no more than it together.
double* TableauDePascal::roomFor(unsigned int row) {
    if (newest_ && row <= newest_->lastRow) return newest_->values.get();
    const unsigned int doubled = newest_ ? 2 * newest_->lastRow : rowStep;
    const unsigned int last = std::min(std::max(row, doubled), lastRow);
    auto block = std::make_unique<Block>();
    block->values.reset(new double[getInternalArraySize(last)]);
    block->lastRow = last;
    if (newest_)
        std::copy_n(newest_->values.get(), getBaseIndex(rows_.load(std::memory_order_relaxed)),
                    block->values.get());
    block->former = std::move(newest_);
    newest_ = std::move(block);
    return newest_->values.get();
}

void TableauDePascal::ComputeTo(unsigned int rows) {
    const unsigned int last = std::clamp(rows, 1u, lastRow);
    const std::lock_guard lock(growth_);
    const unsigned int there = rows_.load(std::memory_order_relaxed);
    if (last < there) return;
    double* const values = roomFor(last);
    for (unsigned int n = there; n <= last; ++n) {
        double* const row = values + getBaseIndex(n);
        row[0] = 1.0;
        row[n] = 1.0;
        const double* const above = row - n;
        for (unsigned int p = 1; p < n; ++p) row[p] = above[p - 1] + above[p];
    }
    // In this order: who sees the rows sees an array that holds them. It may be a newer one, so the
    // array is published for itself too.
    values_.store(values, std::memory_order_release);
    rows_.store(last + 1, std::memory_order_release);
}

ERFactorialFactory::ERFactorialFactory() = default;

ERFactorialFactory::~ERFactorialFactory() = default;

double ERFactorialFactory::Fact(unsigned int n) {
    if (n < firstFactorials.size()) return firstFactorials[n];
    if (n > largestFinite) return std::numeric_limits<double>::infinity();
    const std::lock_guard lock(growth_);
    if (n >= known_.size()) {
        if (known_.empty()) known_.assign(firstFactorials.begin(), firstFactorials.end());
        const unsigned int top = ((n + 1) / growthStep + 1) * growthStep;
        known_.reserve(top + 1);
        for (std::size_t i = known_.size(); i <= top; ++i)
            known_.push_back(static_cast<double>(i) * known_[i - 1]);
    }
    return known_[n];
}

}  // namespace kerf
