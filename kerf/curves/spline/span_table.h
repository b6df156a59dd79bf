#pragma once
#include <vector>

#include "kerf/platform/config.h"

namespace kerf::spline {

/// The spans of a knot vector that have a length, in order, and which of them holds a parameter: a
/// table of buckets over the domain, so that a search does not depend on how many there are.
class KERF_EXPORT SpanTable {
public:
    SpanTable() = default;  ///< not built
    /// Of the domain from knot `degree` to knot length - degree - 1, in which the knots ascend. Too
    /// short a span to divide by counts as empty.
    SpanTable(const double* knots, unsigned int length, unsigned int degree);

    bool isBuilt() const { return !starts_.empty(); }
    unsigned int count() const { return static_cast<unsigned int>(knots_.size()); }
    /// The position in the knot vector at which span i begins.
    unsigned int knot(unsigned int i) const { return knots_[i]; }
    double start(unsigned int i) const { return starts_[i]; }
    double end(unsigned int i) const { return starts_[i + 1]; }  ///< the start of the next

    /// The span that holds u: the first or last one for what lies outside, the first for a NaN. There
    /// must be one.
    unsigned int find(double u) const;

private:
    std::vector<unsigned int> knots_;
    std::vector<double> starts_;         // and the end of the last one
    std::vector<unsigned int> buckets_;  // the span at equal steps of the parameter
    double bucketsPerUnit_ = 0.0;
};

}  // namespace kerf::spline
