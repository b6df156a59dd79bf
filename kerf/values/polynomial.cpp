#include "kerf/values/polynomial.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

#include "kerf/core/file.h"
#include "kerf/numerics/vector_arithmetic.h"

namespace kerf {

namespace {

// sum(i + ..., j + ...) += factor * terms(...), for a sum with room for all of them.
void addMultiple(ERMatrix<double>& sum, unsigned int i, unsigned int j, double factor,
                 const ERMatrix<double>& terms) {
    double* to = sum.data() + sum.inVec(i, j);
    for (unsigned int row = 0; row < terms.rows(); ++row)
        axpy(factor, terms.data() + row * terms.cols(), to + row * sum.cols(), terms.cols());
}

void addMultiple(ERVec<double>& sum, double factor, const ERVec<double>& terms) {
    axpy(factor, terms.data(), sum.data(), terms.length());
}

void addMultiple(ERMatrix<double>& sum, double factor, const ERMatrix<double>& terms) {
    addMultiple(sum, 0, 0, factor, terms);
}

// Coefficient k of the derivative of that order is c[k + order] times (k + 1) ... (k + order).
double derivationFactor(unsigned int k, unsigned int order) {
    double factor = 1.0;
    for (unsigned int i = 1; i <= order; ++i) factor *= k + i;
    return factor;
}

}  // namespace

template <class Polynomial, class Coefficients>
Polynomial& PolynomialBase<Polynomial, Coefficients>::operator*=(double factor) {
    for (double& c : coefficients_) c *= factor;
    return self();
}

template <class Polynomial, class Coefficients>
Polynomial& PolynomialBase<Polynomial, Coefficients>::operator/=(double divisor) {
    for (double& c : coefficients_) c /= divisor;
    return self();
}

template <class Polynomial, class Coefficients>
Polynomial& PolynomialBase<Polynomial, Coefficients>::addMultipleOf(const Polynomial& other,
                                                                    double factor) {
    const Coefficients terms = other.coefficients_;
    self().makeRoomFor(other);
    addMultiple(coefficients_, factor, terms);
    return self();
}

template <class Polynomial, class Coefficients>
void PolynomialBase<Polynomial, Coefficients>::printOn(std::ostream& os) const {
    coefficients_.printOn(os);
}

template <class Polynomial, class Coefficients>
ERULong PolynomialBase<Polynomial, Coefficients>::binaryStoreSize() const {
    return coefficients_.binaryStoreSize();
}

template <class Polynomial, class Coefficients>
void PolynomialBase<Polynomial, Coefficients>::saveGuts(ERFile& file) const {
    coefficients_.saveGuts(file);
}

template <class Polynomial, class Coefficients>
void PolynomialBase<Polynomial, Coefficients>::restoreGuts(ERFile& file) {
    coefficients_.restoreGuts(file);
}

template class KERF_DEFINED_INSTANCE PolynomialBase<ERPolynome, ERVec<double>>;
template class KERF_DEFINED_INSTANCE PolynomialBase<ERPolynome2Var, ERMatrix<double>>;

void ERPolynome::adjustDegree(unsigned int degree) { coefficients_.resize(degree + 1); }

void ERPolynome::reduce(double tol) {
    const double* const c = std::as_const(coefficients_).data();
    unsigned int n = coefficients_.length();
    while (n > 0 && std::fabs(c[n - 1]) <= tol) --n;
    if (n != coefficients_.length()) coefficients_.troncat(n);
}

double ERPolynome::evaluate(double x) const {
    return evaluatePolynomial(coefficients_.data(), coefficients_.length(), x);
}

ERPolynome ERPolynome::operator()(const ERPolynome& inner) const {
    const double* const c = coefficients_.data();
    if (coefficients_.length() == 0) return ERPolynome();
    ERPolynome result(polyConstant, c[degree()]);
    for (unsigned int i = degree(); i-- > 0;) {
        result *= inner;
        result[0] += c[i];
    }
    return result;
}

void ERPolynome::makeRoomFor(const ERPolynome& other) {
    const unsigned int n = other.coefficients_.length();
    if (n > coefficients_.length()) coefficients_.resize(n);
}

ERPolynome& ERPolynome::operator*=(const ERPolynome& other) {
    ERVec<double> result(degree() + other.degree() + 1);
    const unsigned int n = coefficients_.length();
    const double* const a = std::as_const(coefficients_).data();
    for (unsigned int i = 0; i < n; ++i)
        axpy(a[i], other.coefficients_.data(), result.data() + i, other.coefficients_.length());
    coefficients_ = result;
    return *this;
}

ERPolynome ERPolynome::getDerived(unsigned int order) const {
    if (order == 0) return *this;
    if (order > degree()) return ERPolynome(polyConstant, 0.0);
    ERPolynome result(polyDegree, degree() - order);
    double* const derived = result.coefficients_.data();
    for (unsigned int k = 0; k <= degree() - order; ++k)
        derived[k] = derivationFactor(k, order) * (*this)[k + order];
    return result;
}

ERTValVector<ERPolynome> getAllDerivate(const ERPolynome& p) {
    ERTValVector<ERPolynome> derivatives(p.degree() + 1);
    derivatives[0] = p;
    for (unsigned int k = 1; k <= p.degree(); ++k)
        derivatives[k] = derivatives[k - 1].getDerived(1);
    return derivatives;
}

void ERPolynome2Var::adjustDegree(unsigned int degreeU, unsigned int degreeV) {
    if (coefficients_.length() > 0 && degreeU == this->degreeU() && degreeV == this->degreeV())
        return;
    ERMatrix<double> adjusted(degreeU + 1, degreeV + 1);
    const unsigned int rows = std::min(coefficients_.rows(), adjusted.rows());
    const unsigned int cols = std::min(coefficients_.cols(), adjusted.cols());
    const double* from = std::as_const(coefficients_).data();
    double* to = adjusted.data();
    for (unsigned int i = 0; i < rows; ++i) {
        std::copy_n(from, cols, to);
        from += coefficients_.cols();
        to += adjusted.cols();
    }
    coefficients_ = adjusted;
}

void ERPolynome2Var::reduce(double tol) {
    const ERMatrix<double>& c = coefficients_;
    unsigned int rows = c.rows();
    unsigned int cols = c.cols();
    const auto small = [&](unsigned int i, unsigned int j) { return std::fabs(c(i, j)) <= tol; };
    const auto smallRow = [&](unsigned int i) {
        for (unsigned int j = 0; j < cols; ++j)
            if (!small(i, j)) return false;
        return true;
    };
    const auto smallCol = [&](unsigned int j) {
        for (unsigned int i = 0; i < rows; ++i)
            if (!small(i, j)) return false;
        return true;
    };
    while (rows > 0 && smallRow(rows - 1)) --rows;
    while (cols > 0 && smallCol(cols - 1)) --cols;
    if (rows == 0 || cols == 0)
        coefficients_ = ERMatrix<double>();
    else
        adjustDegree(rows - 1, cols - 1);
}

double ERPolynome2Var::evaluate(double u, double v) const {
    const unsigned int rows = coefficients_.rows(), cols = coefficients_.cols();
    if (rows == 0) return 0.0;
    const double* row = coefficients_.data() + (rows - 1) * cols;
    double value = evaluatePolynomial(row, cols, v);
    for (unsigned int i = rows - 1; i-- > 0;) {
        row -= cols;
        value = value * u + evaluatePolynomial(row, cols, v);
    }
    return value;
}

ERPolynome ERPolynome2Var::operator()(const ERPolynome& u, const ERPolynome& v) const {
    ERPolynome result;
    const unsigned int cols = coefficients_.cols();
    for (unsigned int i = coefficients_.rows(); i-- > 0;) {
        result += ERPolynome(coefficients_.data() + i * cols, cols)(v);
        if (i > 0) result *= u;
    }
    return result;
}

void ERPolynome2Var::makeRoomFor(const ERPolynome2Var& other) {
    adjustDegree(std::max(degreeU(), other.degreeU()), std::max(degreeV(), other.degreeV()));
}

ERPolynome2Var& ERPolynome2Var::operator*=(const ERPolynome2Var& other) {
    ERMatrix<double> result(degreeU() + other.degreeU() + 1, degreeV() + other.degreeV() + 1);
    const ERMatrix<double>& c = coefficients_;
    for (unsigned int i = 0; i < c.rows(); ++i)
        for (unsigned int j = 0; j < c.cols(); ++j)
            addMultiple(result, i, j, c(i, j), other.coefficients_);
    coefficients_ = result;
    return *this;
}

ERPolynome2Var ERPolynome2Var::getDerived(unsigned int orderU, unsigned int orderV) const {
    if (orderU == 0 && orderV == 0) return *this;
    if (orderU > degreeU() || orderV > degreeV()) return ERPolynome2Var(polyConstant, 0.0);
    ERPolynome2Var result(polyDegree, degreeU() - orderU, degreeV() - orderV);
    for (unsigned int i = 0; i <= result.degreeU(); ++i)
        for (unsigned int j = 0; j <= result.degreeV(); ++j)
            result(i, j) = derivationFactor(i, orderU) * derivationFactor(j, orderV) *
                           (*this)(i + orderU, j + orderV);
    return result;
}

ERTValVector<ERPolynome2Var> getAllDerivate(const ERPolynome2Var& p) {
    const unsigned int perRow = p.degreeV() + 1;
    ERTValVector<ERPolynome2Var> derivatives((p.degreeU() + 1) * perRow);
    derivatives[0] = p;
    for (unsigned int k = 1; k < derivatives.entries(); ++k)
        derivatives[k] = k % perRow == 0 ? derivatives[k - perRow].getDerived(1, 0)
                                         : derivatives[k - 1].getDerived(0, 1);
    return derivatives;
}

}  // namespace kerf
