#include "kerf/numerics/factorial.h"

#include <array>
#include <limits>
#include <mutex>

namespace kerf {

namespace {

constexpr unsigned int largestFinite = 170;
constexpr unsigned int growthStep = 16;

constexpr std::array<double, 28> firstFactorials = [] {
    std::array<double, 28> table{};
    table[0] = 1.0;
    for (unsigned int i = 1; i < table.size(); ++i) table[i] = i * table[i - 1];
    return table;
}();

}  // namespace

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
