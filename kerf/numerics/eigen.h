#pragma once
#include <vector>

#include "kerf/platform/config.h"

namespace kerf::Mgc {

/// The eigensystem of a real symmetric matrix: Householder reduction to tridiagonal form, then the
/// implicit QL iteration (Bowdler, Martin, Reinsch, Wilkinson, Handbook for Automatic Computation
/// II/3). Fill the matrix, call one of the EigenStuff operations, read the results; the
/// eigenvectors replace the matrix, so it must be filled again for the next one.
///
/// Parameter: elements of any size. An eigenvalue beyond the range of the doubles becomes infinity.
/// Failure:   an eigenvalue that is not found within 32 iterations ends the work; the operations
///            then return false and the eigenvalues stay as they stand. A matrix with NaNs ends so.
/// Storage:   up to size 4 in the object itself, where the reduction is written out.
class KERF_EXPORT Eigen {
public:
    explicit Eigen(int size);  ///< size below 0 counts as 0; the matrix starts as zeros
    Eigen(const Eigen& other);
    Eigen& operator=(const Eigen& other);

    int GetSize() const { return size_; }
    double& Matrix(int row, int col) {
        KERF_CHECK_ARGUMENT(row >= 0 && row < size_ && col >= 0 && col < size_);
        return rows_[row][col];
    }
    /// Copies size rows of size elements.
    void SetMatrix(const double* const* source);

    const double* GetEigenvalue() const { return diagonal_; }  ///< `size` values
    double GetEigenvalue(int i) const {
        KERF_CHECK_ARGUMENT(i >= 0 && i < size_);
        return diagonal_[i];
    }
    /// Element `row` of the eigenvector of eigenvalue `col`. The vectors are orthonormal.
    double GetEigenvector(int row, int col) const {
        KERF_CHECK_ARGUMENT(row >= 0 && row < size_ && col >= 0 && col < size_);
        return rows_[row][col];
    }

    /// The eigensystem in the order in which it is found; a diagonal matrix keeps its order.
    bool EigenStuff();
    bool DecrSortEigenStuff();  ///< the largest eigenvalue first
    bool IncrSortEigenStuff();  ///< the smallest eigenvalue first

    // The same for a known size, which must be that of the object; N takes any.
    bool EigenStuff2();
    bool EigenStuff3();
    bool EigenStuff4();
    bool EigenStuffN();
    bool DecrSortEigenStuff2();
    bool DecrSortEigenStuff3();
    bool DecrSortEigenStuff4();
    bool DecrSortEigenStuffN();
    bool IncrSortEigenStuff2();
    bool IncrSortEigenStuff3();
    bool IncrSortEigenStuff4();
    bool IncrSortEigenStuffN();

    // The steps, for elements far from both ends of the doubles' range. `diag` and `subd` hold n
    // elements, subd[i] couples i and i + 1 and the last is 0; `mat` is replaced by the orthogonal
    // matrix of the reduction, or multiplied by the rotations.
    static void Tridiagonal2(double** mat, double* diag, double* subd);
    static void Tridiagonal3(double** mat, double* diag, double* subd);
    static void Tridiagonal4(double** mat, double* diag, double* subd);
    static void TridiagonalN(int n, double** mat, double* diag, double* subd);
    static bool QLAlgorithm(int n, double* diag, double* subd, double** mat);
    static void DecreasingSort(int n, double* eigval, double** eigvec);
    static void IncreasingSort(int n, double* eigval, double** eigvec);

private:
    void makeRoom();
    void copyFrom(const Eigen& other);
    template <class Reduce>
    bool solve(Reduce reduce);

    static constexpr int inlineSize = 4;

    int size_;
    double** rows_;
    double* diagonal_;
    double* subdiagonal_;
    double inlineElements_[inlineSize * (inlineSize + 2)] = {};
    double* inlineRows_[inlineSize] = {};
    std::vector<double> heapElements_;
    std::vector<double*> heapRows_;
};

}  // namespace kerf::Mgc
