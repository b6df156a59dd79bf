#pragma once
#include <concepts>
#include <iosfwd>

#include "kerf/core/value_vector.h"
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/newton_solvers.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"

// Polynomials in the power basis, and their real roots on an interval.
namespace kerf {

enum polyConstruct { polyDegree };  ///< a polynomial of given degree, all coefficients zero
enum polyValue { polyConstant };    ///< a polynomial of degree 0 with a given value

/// What polynomials have in common whatever the number of their variables: the operations on all
/// coefficients, and the text and stored form, which are those of the container of the coefficients.
template <class Polynomial, class Coefficients>
class PolynomialBase {
public:
    virtual ~PolynomialBase() = default;

    const Coefficients& coefficients() const { return coefficients_; }

    Polynomial& operator*=(double factor);
    Polynomial& operator/=(double divisor);
    Polynomial& operator+=(const Polynomial& other) { return addMultipleOf(other, 1.0); }
    Polynomial& operator-=(const Polynomial& other) { return addMultipleOf(other, -1.0); }
    friend Polynomial operator/(const Polynomial& p, double divisor) {
        Polynomial quotient(p);
        quotient /= divisor;
        return quotient;
    }

    /// As many coefficients and equal ones, exactly: a further coefficient of zero makes a
    /// difference.
    friend bool operator==(const Polynomial& a, const Polynomial& b) {
        return a.coefficients_ == b.coefficients_;
    }

    virtual void printOn(std::ostream& os) const;
    virtual ERULong binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);

    friend std::ostream& operator<<(std::ostream& os, const Polynomial& p) {
        p.printOn(os);
        return os;
    }
    friend ERFile& operator<<(ERFile& file, const Polynomial& p) {
        p.saveGuts(file);
        return file;
    }
    friend ERFile& operator>>(ERFile& file, Polynomial& p) {
        p.restoreGuts(file);
        return file;
    }

protected:
    PolynomialBase() = default;
    explicit PolynomialBase(const Coefficients& coefficients) : coefficients_(coefficients) {}
    PolynomialBase(const PolynomialBase&) = default;
    PolynomialBase& operator=(const PolynomialBase&) = default;

    Coefficients coefficients_;

private:
    Polynomial& self() { return static_cast<Polynomial&>(*this); }
    Polynomial& addMultipleOf(const Polynomial& other, double factor);
};

/// The value at x of the polynomial with n coefficients c[0], c[1] ..., by Horner's scheme; 0 for none.
inline double evaluatePolynomial(const double* c, unsigned int n, double x) {
    if (n == 0) return 0.0;
    double value = c[n - 1];
    for (unsigned int i = n - 1; i-- > 0;) value = value * x + c[i];
    return value;
}

class ERPolynome;
class ERPolynome2Var;
extern template class KERF_DECLARED_INSTANCE PolynomialBase<ERPolynome, ERVec<double>>;
extern template class KERF_DECLARED_INSTANCE PolynomialBase<ERPolynome2Var, ERMatrix<double>>;

/// A polynomial p(x) = c[0] + c[1] x + ... in one variable.
///
/// The degree is that of the last coefficient stored, zero or not; only reduce() drops any, so a sum
/// has the larger of both degrees and a product their sum. Sharing and threads are those of ERVec: a
/// copy costs one increment.
/// Parameter:  the index of a coefficient is the caller's duty.
/// Degenerate: without any coefficient the polynomial is zero and its degree 0.
class KERF_EXPORT ERPolynome : public PolynomialBase<ERPolynome, ERVec<double>> {
public:
    ERPolynome() = default;  ///< no coefficient
    ERPolynome(enum polyConstruct, unsigned int degree)
        : PolynomialBase(ERVec<double>(degree + 1)) {}
    ERPolynome(enum polyValue, double value) : PolynomialBase(ERVec<double>(1, value)) {}
    ERPolynome(const double* coefficients, unsigned int n)
        : PolynomialBase(ERVec<double>(coefficients, n)) {}
    explicit ERPolynome(const ERVec<double>& coefficients) : PolynomialBase(coefficients) {}

    unsigned int degree() const {
        const unsigned int n = coefficients_.length();
        return n > 0 ? n - 1 : 0;
    }
    void adjustDegree(unsigned int degree);  ///< cuts, or fills with 0
    /// Drops coefficients from the last down while their magnitude is at most tol, down to none.
    void reduce(double tol);

    double evaluate(double x) const;

    double operator()(unsigned int power) const { return coefficients_[power]; }
    double& operator()(unsigned int power) { return coefficients_[power]; }
    /// p(0.5) would be a coefficient: evaluate(0.5) is the value.
    template <std::floating_point Number>
    double operator()(Number) const = delete;
    double operator[](unsigned int power) const { return coefficients_[power]; }
    double& operator[](unsigned int power) { return coefficients_[power]; }

    /// The composition x -> p(inner(x)), with the product of both degrees.
    ERPolynome operator()(const ERPolynome& inner) const;

    using PolynomialBase::operator*=;
    ERPolynome& operator*=(const ERPolynome& other);

    /// The derivative of that order; above the degree it is the constant 0.
    ERPolynome getDerived(unsigned int order) const;

private:
    friend class PolynomialBase<ERPolynome, ERVec<double>>;
    void makeRoomFor(const ERPolynome& other);
};

/// degree() + 1 entries: the polynomial itself, then each derivative in order.
KERF_EXPORT ERTValVector<ERPolynome> getAllDerivate(const ERPolynome& p);

/// A polynomial in two variables, the sum of c(i, j) u^i v^j: the tensor-product form of
/// ERPolynome, to which all that is said there applies in each variable.
class KERF_EXPORT ERPolynome2Var : public PolynomialBase<ERPolynome2Var, ERMatrix<double>> {
public:
    ERPolynome2Var() = default;  ///< no coefficient
    ERPolynome2Var(enum polyConstruct, unsigned int degreeU, unsigned int degreeV)
        : PolynomialBase(ERMatrix<double>(degreeU + 1, degreeV + 1)) {}
    ERPolynome2Var(enum polyValue, double value) : PolynomialBase(ERMatrix<double>(1, 1, value)) {}
    /// Row i holds the coefficients of u^i, in ascending powers of v.
    ERPolynome2Var(const double* coefficients, unsigned int rows, unsigned int cols)
        : PolynomialBase(ERMatrix<double>(coefficients, rows, cols)) {}
    explicit ERPolynome2Var(const ERMatrix<double>& coefficients) : PolynomialBase(coefficients) {}

    unsigned int degreeU() const { return coefficients_.rows() > 0 ? coefficients_.rows() - 1 : 0; }
    unsigned int degreeV() const { return coefficients_.cols() > 0 ? coefficients_.cols() - 1 : 0; }
    void adjustDegree(unsigned int degreeU, unsigned int degreeV);
    /// Drops the last rows, then the last columns, without an element above tol in magnitude.
    void reduce(double tol);

    double evaluate(double u, double v) const;

    double operator()(unsigned int i, unsigned int j) const { return coefficients_(i, j); }
    double& operator()(unsigned int i, unsigned int j) { return coefficients_(i, j); }
    /// The coefficients of u^i, as a view.
    const ERSlice<double> operator[](unsigned int i) const { return coefficients_[i]; }
    ERSlice<double> operator[](unsigned int i) { return coefficients_[i]; }

    /// The composition t -> p(u(t), v(t)), of degree degreeU() u.degree() + degreeV() v.degree().
    ERPolynome operator()(const ERPolynome& u, const ERPolynome& v) const;

    using PolynomialBase::operator*=;
    ERPolynome2Var& operator*=(const ERPolynome2Var& other);

    /// The derivative of order orderU by u and orderV by v.
    ERPolynome2Var getDerived(unsigned int orderU, unsigned int orderV) const;

private:
    friend class PolynomialBase<ERPolynome2Var, ERMatrix<double>>;
    void makeRoomFor(const ERPolynome2Var& other);
};

/// (degreeU() + 1) (degreeV() + 1) entries: the derivative of orders i and j is entry
/// i (degreeV() + 1) + j.
KERF_EXPORT ERTValVector<ERPolynome2Var> getAllDerivate(const ERPolynome2Var& p);

/// The equation p(x) = 0. Keeps both polynomials, at the cost of two increments.
class KERF_EXPORT ERCNewtonSPolynome : public ERCNewtonS {
public:
    ERCNewtonSPolynome(const ERPolynome& p, const ERPolynome& derivative)
        : polynomial_(p), derived_(derivative) {}
    double f(double x) override { return polynomial_.evaluate(x); }
    double fprime(double x) override { return derived_.evaluate(x); }

private:
    ERPolynome polynomial_;
    ERPolynome derived_;
};

// Real roots, limits included. Tolerances are absolute: they suit coefficients of the order of 1.
// There are two methods, which differ on multiple roots.

/// The real roots by a general method for complex roots, each as often as its multiplicity and in
/// the order of that method.
/// Tolerance: a leading coefficient up to 1e-10 counts as zero; without a degree left there is no
///            root.
/// Kept:      a multiple root that comes out with an imaginary part is missing.
KERF_EXPORT ERVec<double> Zeros1(const ERPolynome& p, const ERLimites& limits);

/// Replaces roots by the result of Zeros1 and returns their count. A stored degree of 0 is a
/// constant: -1 as unsigned when it is exactly 0, else 0, with roots empty.
/// Kept: coefficients of zero and a degree above 0 make no constant, and give 0.
KERF_EXPORT unsigned int Zeros(const ERPolynome& p, const ERLimites& limits, ERVec<double>& roots);
/// The same as Zeros with an output.
KERF_EXPORT unsigned int ZerosMethode1(const ERPolynome& p, const ERLimites& limits,
                                       ERVec<double>& roots);

/// The real roots in ascending order, each once, by Newton's method between the roots of the
/// derivative, which come from those of the next one.
/// Tolerance:  where |p| is at most 1e-11 a root of the derivative, or a limit, is a root.
///             Elsewhere a product below 1e-9 of the values at both ends of an interval opens a
///             search, from the middle, then from each end. A start where |p| is larger and no step
///             can be made, the derivative being zero, has failed.
/// Degenerate: the constant 0 has the limits as roots.
/// Kept:       the product may be positive, and what a search ends with inside its interval is a
///             root, converged or not: there are roots where p only comes near zero.
/// Kept:       an interval that all three searches leave gives no root. In a derivative that hides
///             an extremum of p, and both roots beside it.
KERF_EXPORT ERVec<double> Zeros(const ERPolynome& p, const ERLimites& limits);

/// The same for n coefficients c[0], c[1] ..., without any memory but the caller's.
/// Parameter: `roots` has room for rootsRoom(n) numbers and `work` for rootsWork(n).
/// Returns:   the number of roots.
KERF_EXPORT unsigned int Zeros(const double* c, unsigned int n, const ERLimites& limits,
                               double* roots, double* work);
constexpr unsigned int rootsRoom(unsigned int n) { return n + 2; }
constexpr unsigned int rootsWork(unsigned int n) { return 3 * n + 2; }

}  // namespace kerf
