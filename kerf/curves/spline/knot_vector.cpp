#include "kerf/curves/spline/knot_vector.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/core/object.h"
#include "kerf/core/store_size.h"
#include "kerf/curves/spline/basis_functions.h"

namespace kerf {

namespace {

constexpr unsigned int none = 0xFFFFFFFF;

unsigned int runAtStart(const double* knots, unsigned int n) {
    unsigned int run = n > 0 ? 1 : 0;
    while (run < n && run > 0 && knots[run] == knots[0]) ++run;
    return run;
}

unsigned int runAtEnd(const double* knots, unsigned int n) {
    unsigned int run = n > 0 ? 1 : 0;
    while (run < n && run > 0 && knots[n - 1 - run] == knots[n - 1]) ++run;
    return run;
}

}  // namespace

ERKnotVector::ERKnotVector() : degree_(none) {}

ERKnotVector::~ERKnotVector() = default;

ERKnotVector::ERKnotVector(const ERVec<double>& knots) : knots_(knots) { _ComputeDegree(); }

ERKnotVector::ERKnotVector(const double* knots, unsigned int length) : knots_(knots, length) {
    _ComputeDegree();
}

ERKnotVector::ERKnotVector(unsigned int degree, const ERVec<double>& knots)
    : knots_(knots), degree_(degree) {
    isUnclamped(degree);
}

ERKnotVector::ERKnotVector(unsigned int degree, const double* knots, unsigned int length)
    : knots_(knots, length), degree_(degree) {
    isUnclamped(degree);
}

ERKnotVector::ERKnotVector(unsigned int degree, const ERLimites& limits)
    : knots_(2 * degree + 2, limits.start()), degree_(degree) {
    double* const knots = knots_.data();
    std::fill(knots + length() / 2, knots + length(), limits.end());
    isUnclamped(degree);
}

ERKnotVector::ERKnotVector(unsigned int degree, unsigned int nbPoles, const ERLimites& limits)
    : knots_(degree + nbPoles + 1), degree_(degree) {
    double* const knots = knots_.data();
    const double spans = static_cast<double>(nbPoles) - degree;
    for (unsigned int i = 0; i < length(); ++i) {
        if (i >= nbPoles)
            knots[i] = limits.end();
        else if (i <= degree)
            knots[i] = limits.start();
        else
            knots[i] = limits.start() + ((i - degree) / spans) * limits.amplitude();
    }
    isUnclamped(degree);
}

void ERKnotVector::_ComputeDegree() { degree_ = runAtStart(data(), length()) - 1; }

int ERKnotVector::isUnclamped(unsigned int degree) {
    const bool clamped =
        runAtStart(data(), length()) == degree + 1 && runAtEnd(data(), length()) == degree + 1;
    unclamped_ = clamped ? 0 : 1;
    return unclamped_;
}

void ERKnotVector::saveGuts(ERFile& file) const {
    knots_.saveGuts(file);
    file.Write(degree_);
    file.Write(unclamped_);
}

void ERKnotVector::restoreGuts(ERFile& file) {
    knots_.restoreGuts(file);
    file.Read(degree_);
    file.Read(unclamped_);
}

ERULong ERKnotVector::binaryStoreSize() const { return storeSizeSum(knots_.binaryStoreSize(), 8); }

void ERKnotVector::printOn(std::ostream& os) const {
    os << "KnotVector degree " << degree_
       << (unclamped_ != 0 ? "  (**UNCLAMPLED**)" : "  ( Regular )") << "\n"
       << knots_;
    if (length() == 0) return;
    ERKnot knot(*this);
    do {
        os << " index  =" << knot.index() << " Mult   =" << knot.multiplicity()
           << " Valeur = " << knot.value() << "\n";
    } while (++knot != 0);
}

double ERKnotVector::at(std::int64_t position) const {
    if (length() == 0) return 0.0;
    const std::int64_t last = static_cast<std::int64_t>(length()) - 1;
    return data()[std::clamp<std::int64_t>(position, 0, last)];
}

ERLimites ERKnotVector::limites() const {
    const std::int64_t degree = degree_;
    return ERLimites(at(degree), at(length() - degree));
}

ERLimites ERKnotVector::getSpanLimites(int i) const {
    const std::int64_t position = static_cast<std::int64_t>(degree_) + i;
    return ERLimites(at(position), at(position + 1));
}

unsigned int ERKnotVector::nbSpans() const {
    const std::int64_t spans = length() - 2 * static_cast<std::int64_t>(degree_) - 1;
    return static_cast<unsigned int>(std::max<std::int64_t>(spans, 0));
}

bool ERKnotVector::fits(unsigned int nbPoles) const {
    if (nbPoles <= degree_ || length() != std::uint64_t{nbPoles} + degree_ + 1) return false;
    const double* const knots = data();
    for (unsigned int i = 1; i < length(); ++i)
        if (!(knots[i - 1] <= knots[i])) return false;
    return std::isfinite(first()) && std::isfinite(last());
}

void ERKnotVector::insertAt(unsigned int position, const double& value, unsigned int count) {
    knots_.insertAt(position, value, count);
}

void ERKnotVector::removeAt(unsigned int position) { knots_.remove(position); }

void ERKnotVector::concat(const ERKnotVector& other) {
    const unsigned int replaced = std::min(degree_ + 1, length());
    knots_.replace(length() - replaced, replaced, other.knots_);
}

ERKnotVector ERKnotVector::subVector(unsigned int start, unsigned int count) const {
    const unsigned int from = std::min(start, length());
    return ERKnotVector(degree_, data() + from, std::min(count, length() - from));
}

void ERKnotVector::incDegree(unsigned int k) {
    if (length() > 0 && k > 0) {
        ERVec<double> raised;
        ERKnot knot(*this);
        unsigned int distinct = 1;
        while (++knot != 0) ++distinct;
        raised.capacity(length() + distinct * k);
        knot.reset();
        do raised.append(knot.value(), knot.multiplicity() + k);
        while (++knot != 0);
        knots_ = raised;
    }
    degree_ += k;
}

void ERKnotVector::reverse() {
    const unsigned int n = length();
    const double first = at(0);
    const double extent = last() - first;
    if (extent == 0.0) return;
    const ERVec<double> former(knots_);
    const double* const from = former.data();
    double* const knots = knots_.data();
    // In this form: the inner knots are rounded so, and knots are compared exactly.
    for (unsigned int i = 0; i < n; ++i)
        knots[i] = first + (1.0 - (from[n - 1 - i] - first) / extent) * extent;
}

void ERKnotVector::reparametrize(const ERLimites& limits) {
    if (length() == 0) return;
    const double extent = last() - first();
    const double factor = extent == 0.0 ? 1.0 : limits.amplitude() / extent;
    double* const knots = knots_.data();
    for (unsigned int i = 0; i < length(); ++i) knots[i] *= factor;
    const double shift = limits.start() - knots[0];
    for (unsigned int i = 0; i < length(); ++i) knots[i] += shift;
}

ERKnotVector ERKnotVector::GetPrautzsch(unsigned int i) const {
    const unsigned int period = degree_ + 1;
    ERVec<double> doubled;
    doubled.capacity(length() + (period > 0 ? length() / period + 1 : 0));
    for (unsigned int position = 0; position < length(); ++position) {
        const bool twice = period > 0 && position >= i && (position - i) % period == 0;
        doubled.append(knots_[position], twice ? 2 : 1);
    }
    return ERKnotVector(doubled);
}

unsigned int ERKnotVector::FindSpan(double u) const {
    const unsigned int p = degree_;
    const unsigned int n = length();
    if (n < 2 * (std::uint64_t{p} + 1)) return p;
    const double* const knots = data();
    unsigned int low = p;
    unsigned int high = n - p - 1;
    const double start = knots[low], end = knots[high];
    if (u <= start) {
        while (low < high && knots[low + 1] == start) ++low;
        return low < high ? low : p;
    }
    if (u >= end) {
        while (high > p && knots[high - 1] == end) --high;
        return high > p ? high - 1 : p;
    }
    if (!(start < u && u < end)) return p;
    while (high - low > 1) {
        const unsigned int middle = (low + high) / 2;
        if (u >= knots[middle])
            low = middle;
        else
            high = middle;
    }
    return knots[low] <= u && u < knots[low + 1] ? low : p;
}

unsigned int ERKnotVector::quicklyFind(double u) const {
    const double* const knots = data();
    unsigned int low = 0;
    unsigned int high = length();
    while (low < high) {
        const unsigned int middle = low + (high - low) / 2;
        if (knots[middle] == u) return middle;
        if (knots[middle] < u)
            low = middle + 1;
        else
            high = middle;
    }
    return none;
}

bool ERKnotVector::isSpan(unsigned int span) const {
    return span >= degree_ && std::uint64_t{span} + degree_ < length() && span + 1 < length();
}

ERVec<double> ERKnotVector::BasisFuns(unsigned int span, double u) const {
    if (!isSpan(span)) return ERVec<double>();
    ERVec<double> values(degree_ + 1);
    spline::basisFunctions(data(), span, u, degree_, values.data());
    return values;
}

ERMatrix<double> ERKnotVector::DersBasisFuns(unsigned int span, double u, unsigned int n) const {
    if (!isSpan(span)) return ERMatrix<double>();
    ERMatrix<double> table(n + 1, degree_ + 1);
    spline::basisDerivatives(data(), span, u, degree_, n, table.data());
    return table;
}

int ERKnotVector::IsContinuous(int order) const {
    ERKnot knot(*this);
    while (static_cast<int>(degree_) - static_cast<int>(knot.multiplicity()) >= order)
        if (++knot == 0) return 1;
    return 0;
}

int ERKnotVector::GetDiscontinuities(int order, ERVec<double>& params) const {
    if (length() == 0) return 1;
    ERKnot knot(*this);
    do {
        if (static_cast<int>(degree_) - static_cast<int>(knot.multiplicity()) < order)
            params.append(knot.value());
    } while (++knot != 0);
    return 1;
}

void ERKnotVector::AssertValid() const {
    if (degree_ == none) return;
    if (!std::is_sorted(data(), data() + length()))
        ER_assert("ERKnotVector", "knot_vector.cpp", __LINE__);
}

ERKnotVector UniformeKnotVector(unsigned int degree, unsigned int nbPoles,
                                const ERLimites& limits) {
    return ERKnotVector(degree, nbPoles, limits);
}

ERKnotVector BezierKnotVector(unsigned int degree, const ERLimites& limits) {
    return ERKnotVector(degree, limits);
}

ERKnot::ERKnot(const ERKnotVector& knots) : knots_(knots.getVec()) { reset(); }

ERKnot::ERKnot(const ERKnotVector& knots, double u) : knots_(knots.getVec()) { *this = u; }

ERKnot& ERKnot::operator=(double u) {
    if (reach(u) == 0) status_ |= errorBit;
    return *this;
}

void ERKnot::place(unsigned int position) {
    const double* const knots = knots_.data();
    const unsigned int n = knots_.length();
    status_ = 0;
    index_ = position;
    multiplicity_ = 0;
    positioned_ = position < n;
    if (!positioned_) return;
    unsigned int next = position + 1;
    while (index_ > 0 && knots[index_ - 1] == knots[position]) --index_;
    while (next < n && knots[next] == knots[position]) ++next;
    multiplicity_ = next - index_;
}

int ERKnot::reach(double u) {
    const double* const knots = knots_.data();
    unsigned int low = 0;
    unsigned int high = knots_.length();
    // The knots before `low` are not above u.
    while (low < high) {
        const unsigned int middle = low + (high - low) / 2;
        if (knots[middle] <= u)
            low = middle + 1;
        else
            high = middle;
    }
    place(low > 0 ? low - 1 : 0);
    return positioned_ && knots_[index_] == u;
}

int ERKnot::operator++() {
    if (!positioned_ || isLast()) {
        status_ |= overflowBit;
        return 0;
    }
    place(index_ + multiplicity_);
    return 1;
}

int ERKnot::operator--() {
    if (!positioned_ || isFirst()) {
        status_ |= underflowBit;
        return 0;
    }
    place(index_ - 1);
    return 1;
}

}  // namespace kerf
