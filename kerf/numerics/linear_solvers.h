#pragma once
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"

// Direct solution of small dense systems: elimination with partial pivoting, the LU decomposition
// and what can be read from it.
namespace kerf {

KERF_DECLARE_SIMPLE_VECTOR(int)

/// The decomposition P A = L U with partial pivoting of a matrix, packed in the base: U on and
/// above the diagonal, the multipliers of L below.
///
/// Degenerate: a matrix with more rows than columns is singular. Of a matrix with more columns than
///             rows the leading square part is factored, and the further columns are right-hand
///             sides that hold their solutions afterwards.
/// Tolerance:  a pivot below 1e-20 makes the matrix singular.
/// Failure:    a singular matrix sets the flag and stays partly eliminated. Nothing else tests the
///             flag: read isSingular() before solve, which otherwise returns infinities or NaNs.
class KERF_EXPORT ERLUDecomp : public ERMatrix<double> {
public:
    ERLUDecomp(const ERMatrix<double>& a);
    ERLUDecomp& operator=(const ERMatrix<double>& a);

    int isSingular() const { return singular_; }
    /// The rows of P A = L U: row i of P A is row permutation()[i] of A. One entry per row.
    const int* permutation() const { return rows() <= fewRows ? shortOrder_ : longOrder_.data(); }
    int exchanges() const { return exchangeCount_; }
    const ERMatrix<double>& original() const { return given_; }

    ERMatrix<double> L() const;  ///< rows by rows, unit diagonal
    ERMatrix<double> U() const;  ///< rows by cols
    ERMatrix<double> P() const;  ///< rows by rows, 1.0 at (i, permutation()[i])

    /// The rank as the diagonal of U tells it: the number of rows, less one for each trailing
    /// diagonal element within 1e-11 of 0.
    /// Kept: of a singular decomposition it is the number of rows.
    unsigned int rang() const;

private:
    void factor();

    ERMatrix<double> given_;
    // The order of few rows lies in the object. That of more is a vector, so that factoring in a loop
    // takes its memory from the thread's block cache.
    static constexpr unsigned int fewRows = 6;
    int shortOrder_[fewRows] = {};
    ERSimpleVec<int> longOrder_;
    int singular_ = 0;
    int exchangeCount_ = 0;
};

/// Gaussian elimination in place of a matrix with m rows. The leading m by m part becomes its
/// packed LU decomposition; columns from m on are right-hand sides and become their solutions.
/// Parameter: permutation receives a new array of one int per row; a former pointer is not looked
///            at. exchanges receives the number of row exchanges.
/// Returns:   1, or 0 at the first pivot below tol in absolute value, with the matrix partly
///            eliminated. Also 0 for more rows than columns.
/// Ownership: the caller releases the array with delete[], whatever the result.
KERF_EXPORT int MatriceGaussPivot(ERMatrix<double>& m, int*& permutation, int& exchanges,
                                  double tol);

/// The determinant of the matrix that was factored; 1 for an empty one.
KERF_EXPORT double determinant(const ERLUDecomp& lu);

/// The solution of A x = b, with b of one element per row. A is square; of another shape the
/// leading square system is solved and further unknowns are 0.
KERF_EXPORT ERVec<double> solve(const ERLUDecomp& lu, const ERVec<double>& b);
/// The same for each column of B.
KERF_EXPORT ERMatrix<double> solve(const ERLUDecomp& lu, const ERMatrix<double>& B);
/// The solution for a zero right-hand side: zeros, of one element per column, if A is not singular.
KERF_EXPORT ERVec<double> solve(const ERLUDecomp& lu);
KERF_EXPORT ERMatrix<double> inverse(const ERLUDecomp& lu);
KERF_EXPORT ERMatrix<double> IdentityMatrix(unsigned int n);

/// The coefficients of the hyperplane through the origin that holds the given row points, one for
/// each column: a solution x of a x = 0 that is not zero, of no particular length. The first
/// cols - 1 rows decide; further rows must follow from them.
/// Kept: rows are exchanged only where a leading element is exactly 0.0, so a tiny one costs digits.
///       A column of zeros gives the unit vector of its coordinate.
KERF_EXPORT ERVec<double> ResolveHyperPlan(const ERMatrix<double>& a);

}  // namespace kerf

// Found beside the matrix, so that calls need no qualification.
namespace kerf::QuickAlgebra {
using kerf::MatriceGaussPivot;
using kerf::ResolveHyperPlan;
}  // namespace kerf::QuickAlgebra
