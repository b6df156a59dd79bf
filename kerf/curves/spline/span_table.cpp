#include "kerf/curves/spline/span_table.h"

#include <algorithm>
#include <cmath>

namespace kerf::spline {

SpanTable::SpanTable(const double* knots, unsigned int length, unsigned int degree) {
    const unsigned int end = length - degree - 1;
    for (unsigned int i = degree; i < end; ++i) {
        if (!(knots[i] < knots[i + 1]) || !std::isfinite(1.0 / (knots[i + 1] - knots[i]))) continue;
        knots_.push_back(i);
        starts_.push_back(knots[i]);
    }
    starts_.push_back(knots[end]);
    const unsigned int n = count();
    if (n == 0) return;

    const unsigned int size = 2 * n;
    const double range = starts_[n] - starts_[0];
    bucketsPerUnit_ = std::isfinite(size / range) ? size / range : 0.0;
    buckets_.resize(size);
    unsigned int span = 0;
    for (unsigned int i = 0; i < size; ++i) {
        const double first = starts_[0] + range * i / size;
        while (span + 1 < n && first >= starts_[span + 1]) ++span;
        buckets_[i] = span;
    }
}

unsigned int SpanTable::find(double u) const {
    const unsigned int n = count();
    const double at = std::max(0.0, (u - starts_[0]) * bucketsPerUnit_);  // 0 for a NaN
    const double limit = static_cast<double>(buckets_.size() - 1);
    unsigned int span = buckets_[static_cast<unsigned int>(std::min(at, limit))];
    if (span + 1 < n && u >= starts_[span + 1]) ++span;
    const bool within =
        (u >= starts_[span] || span == 0) && (!(u >= starts_[span + 1]) || span + 1 == n);
    if (within) return span;
    // Several spans in a bucket, or rounding that put u into the neighbour of its own.
    const auto next = std::upper_bound(starts_.begin() + 1, starts_.end() - 1, u);
    return std::isnan(u) ? 0 : static_cast<unsigned int>(next - starts_.begin()) - 1;
}

}  // namespace kerf::spline
