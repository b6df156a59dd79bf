#pragma once
#include <iosfwd>

#include "kerf/core/store_size.h"
#include "kerf/numerics/vector.h"

namespace kerf::QuickAlgebra {

/// A dense matrix on a shared vector: element (r, c) is element cols * r + c of the vector.
///
/// Parameter:  indices and shapes are the caller's duty. In edits the position comes first, then the
///             rows or columns to insert, which may be those of the matrix itself; a position equal
///             to the count appends.
/// Degenerate: a matrix without elements takes its other extent from what is inserted.
/// Ownership, Failure: as for ERSimpleVec.
template <class T>
class ERMatrix : public ERVec<T> {
    using Base = ERVec<T>;

public:
    ERMatrix() = default;                            ///< 0 by 0
    ERMatrix(unsigned int rows, unsigned int cols);  ///< elements of zero bytes
    ERMatrix(unsigned int rows, unsigned int cols, const T& value);
    ERMatrix(const T* values, unsigned int rows, unsigned int cols);  ///< row by row
    ERMatrix(const ERVec<T>& values, unsigned int rows,
             unsigned int cols);  ///< shares the vector's block
    ERMatrix(const ERSlice<T>& values, unsigned int rows,
             unsigned int cols);  ///< copies the elements
    ERMatrix(const ERMatrix&) = default;
    ERMatrix& operator=(const ERMatrix&) = default;
    ERMatrix& operator=(const T& value);  ///< fills all elements

    unsigned int rows() const { return rows_; }
    unsigned int cols() const { return cols_; }
    const ERVec<T>& asVector() const { return *this; }
    ERVec<T>& asVector() { return *this; }

    unsigned int inVec(unsigned int r, unsigned int c) const { return cols_ * r + c; }
    const T& operator()(unsigned int r, unsigned int c) const {
        return this->asVector()[inVec(r, c)];
    }
    T& operator()(unsigned int r, unsigned int c) { return this->asVector()[inVec(r, c)]; }

    // Views, good until the next edit of rows or columns.

    const ERSlice<T> operator[](unsigned int r) const { return row(r); }
    ERSlice<T> operator[](unsigned int r) { return row(r); }
    const ERSlice<T> row(unsigned int r) const { return this->slice(cols_ * r, 1, cols_); }
    ERSlice<T> row(unsigned int r) { return this->slice(cols_ * r, 1, cols_); }
    const ERSlice<T> col(unsigned int c) const { return this->slice(c, stride(), rows_); }
    ERSlice<T> col(unsigned int c) { return this->slice(c, stride(), rows_); }
    /// Kept: as long as the matrix has rows, whatever its columns. Of a matrix with more rows than
    ///       columns its last elements lie past the end of the matrix.
    const ERSlice<T> diagonal() const { return this->slice(0, stride() + 1, rows_); }
    ERSlice<T> diagonal() { return this->slice(0, stride() + 1, rows_); }

    ERMatrixConstIterator<T> begin() const { return this->data(); }  ///< row by row
    ERMatrixConstIterator<T> end() const { return this->data() + this->length(); }
    ERVecIterator<T> begin() { return this->data(); }
    ERVecIterator<T> end() { return this->data() + this->length(); }

    void swapRow(unsigned int a, unsigned int b);
    void swapCol(unsigned int a, unsigned int b);

    void insertRow(unsigned int pos, const T& value,
                   unsigned int n = 1);                      ///< n rows filled with value
    void insertRow(unsigned int pos, const ERVec<T>& row);   ///< cols() elements
    void insertRow(unsigned int pos, const ERMatrix& rows);  ///< all its rows
    void insertCol(unsigned int pos, const T& value, unsigned int n = 1);
    void insertCol(unsigned int pos, const ERVec<T>& col);
    void insertCol(unsigned int pos, const ERMatrix& cols);

    /// Deletes n rows, cut to those there are; n = 0 does nothing. Without its last row, as without
    /// its last column, the matrix is 0 by 0.
    void deleteRow(unsigned int pos, unsigned int n = 1);
    void deleteCol(unsigned int pos, unsigned int n = 1);

    void replaceRow(unsigned int pos, const T& value);
    void replaceRow(unsigned int pos, const ERVec<T>& row);
    /// Puts all rows of another matrix in the place of n rows of this one.
    void replaceRow(unsigned int pos, unsigned int n, const ERMatrix& rows);
    void replaceCol(unsigned int pos, const T& value);
    void replaceCol(unsigned int pos, const ERVec<T>& col);
    void replaceCol(unsigned int pos, unsigned int n, const ERMatrix& cols);

    /// Keeps the rows (columns) before pos and returns those from pos on. A part with none of them
    /// is 0 by 0.
    ERMatrix splitAtRow(unsigned int pos);
    ERMatrix splitAtCol(unsigned int pos);

    void reverseRows();  ///< the last row becomes the first
    void reverseCols();  ///< the last column becomes the first
    ERMatrix transposed() const;

    /// The sum of the diagonal of a square matrix; T() of an empty one.
    T trace() const requires HasSum<T>;

    /// Same shape and equal elements, as for ERVec.
    bool operator==(const ERMatrix& other) const requires HasEquality<T>;

    /// Rows, columns (32 bits each), then the vector.
    void saveGuts(ERFile& file) const;
    /// Damage: a shape that does not match the number of elements restores as 0 by 0.
    void restoreGuts(ERFile& file);
    ERULong binaryStoreSize() const { return storeSizeSum(Base::binaryStoreSize(), 8); }

    /// "( r= " rows ", c=" cols ")" and end of line; then each row as "[", each element at width 12
    /// and a space, "]" and end of line. Elements are fixed with 7 decimals, left-aligned, signed.
    /// Kept: the stream stays set so, and what is printed next is fixed and signed too.
    void printOn(std::ostream& os) const;

    /// Kept: consumes a text without filling the matrix, which stays as it is. It reads columns,
    ///       rows, then one separator character for each row and each element, or up to where the
    ///       stream fails.
    void readFrom(std::istream& is);

private:
    int stride() const { return static_cast<int>(cols_); }
    T* openRows(unsigned int pos, unsigned int n, unsigned int width);
    T* openCols(unsigned int pos, unsigned int n, unsigned int height);
    void becomeEmpty();

    unsigned int cols_ = 0;
    unsigned int rows_ = 0;
};

template <class T>
std::ostream& operator<<(std::ostream& os, const ERMatrix<T>& matrix) {
    matrix.printOn(os);
    return os;
}

/// saveGuts and restoreGuts.
template <class T>
ERFile& operator<<(ERFile& file, const ERMatrix<T>& matrix) {
    matrix.saveGuts(file);
    return file;
}
template <class T>
ERFile& operator>>(ERFile& file, ERMatrix<T>& matrix) {
    matrix.restoreGuts(file);
    return file;
}

}  // namespace kerf::QuickAlgebra

namespace kerf {
using QuickAlgebra::ERMatrix;
}  // namespace kerf

// After KERF_DECLARE_VECTOR(T); see vector.h.
#define KERF_DECLARE_MATRIX(T) \
    extern template class KERF_DECLARED_INSTANCE ::kerf::QuickAlgebra::ERMatrix<T>;

namespace kerf {
KERF_DECLARE_MATRIX(double)
}
