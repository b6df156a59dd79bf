#pragma once
#include <algorithm>
#include <iomanip>
#include <istream>

#include "kerf/core/file.h"
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector_impl.h"

// The bodies of the matrix; only for sources that instantiate it (see vector.h).
namespace kerf::QuickAlgebra {

/// Whether extents read from a file describe that many elements. Without elements one extent may
/// still be positive; damage may not make it so large that a loop over it takes long.
inline bool isShapeOf(std::uint64_t length, unsigned int rows, unsigned int cols) {
    constexpr unsigned int largestEmptyExtent = 0xFFFF;
    if (length == 0 && std::max(rows, cols) > largestEmptyExtent) return false;
    return std::uint64_t{rows} * cols == length;
}

template <class T>
ERMatrix<T>::ERMatrix(unsigned int rows, unsigned int cols)
    : Base(typename Base::Owning{ERVecRep::getRep(Base::bytesOf(std::uint64_t{rows} * cols), 0)}),
      cols_(cols),
      rows_(rows) {}

template <class T>
ERMatrix<T>::ERMatrix(unsigned int rows, unsigned int cols, const T& value)
    : Base(typename Base::Owning{ERVecRep::getRep(Base::bytesOf(std::uint64_t{rows} * cols), 1)}),
      cols_(cols),
      rows_(rows) {
    fillElements(this->data(), this->length(), SavedElement<T>(value).get());
}

template <class T>
ERMatrix<T>::ERMatrix(const T* values, unsigned int rows, unsigned int cols)
    : Base(typename Base::Owning{ERVecRep::getRep(static_cast<const void*>(values),
                                                  Base::bytesOf(std::uint64_t{rows} * cols))}),
      cols_(cols),
      rows_(rows) {}

template <class T>
ERMatrix<T>::ERMatrix(const ERVec<T>& values, unsigned int rows, unsigned int cols)
    : Base(values), cols_(cols), rows_(rows) {
    KERF_CHECK_ARGUMENT(std::uint64_t{rows} * cols == values.length());
}

template <class T>
ERMatrix<T>::ERMatrix(const ERSlice<T>& values, unsigned int rows, unsigned int cols)
    : Base(values), cols_(cols), rows_(rows) {
    KERF_CHECK_ARGUMENT(std::uint64_t{rows} * cols == values.length());
}

template <class T>
ERMatrix<T>& ERMatrix<T>::operator=(const T& value) {
    asVector() = value;
    return *this;
}

template <class T>
void ERMatrix<T>::swapRow(unsigned int a, unsigned int b) {
    KERF_CHECK_ARGUMENT(a < rows_ && b < rows_);
    if (a == b) return;
    ERSlice<T> first = row(a);
    std::swap_ranges(first.begin(), first.end(), row(b).begin());
}

template <class T>
void ERMatrix<T>::swapCol(unsigned int a, unsigned int b) {
    KERF_CHECK_ARGUMENT(a < cols_ && b < cols_);
    if (a == b) return;
    ERSlice<T> first = col(a);
    std::swap_ranges(first.begin(), first.end(), col(b).begin());
}

// Drops the extents that a matrix without elements may still have.
template <class T>
void ERMatrix<T>::becomeEmpty() {
    this->clear();
    rows_ = 0;
    cols_ = 0;
}

// Opens n undefined rows of that width, which must be the matrix's own unless it has no elements.
// Returns where the first of them starts.
template <class T>
T* ERMatrix<T>::openRows(unsigned int pos, unsigned int n, unsigned int width) {
    if (this->length() == 0 && width != cols_) {
        pos = rows_ = 0;
        cols_ = width;
    }
    KERF_CHECK_ARGUMENT(pos <= rows_ && width == cols_);
    this->setblock(ERVecRep::replace(this->block(), Base::bytesOf(std::uint64_t{pos} * cols_), 0,
                                     nullptr, Base::bytesOf(std::uint64_t{n} * cols_)));
    rows_ += n;
    return this->data() + std::size_t{pos} * cols_;
}

// Opens n undefined columns of that height, as openRows does. Returns the place of the first of them
// in row 0; in the next row it lies cols() elements later.
template <class T>
T* ERMatrix<T>::openCols(unsigned int pos, unsigned int n, unsigned int height) {
    if (this->length() == 0 && height != rows_) {
        pos = cols_ = 0;
        rows_ = height;
    }
    KERF_CHECK_ARGUMENT(pos <= cols_ && height == rows_);
    if (this->length() == 0)
        this->setblock(ERVecRep::getRep(Base::bytesOf(std::uint64_t{n} * rows_), 1));
    else
        this->polyInsert(pos, n, cols_);
    cols_ += n;
    return this->data() + pos;
}

template <class T>
void ERMatrix<T>::insertRow(unsigned int pos, const T& value, unsigned int n) {
    const SavedElement<T> saved(value);
    T* const to = openRows(pos, n, cols_);
    fillElements(to, std::size_t{n} * cols_, saved.get());
}

template <class T>
void ERMatrix<T>::insertRow(unsigned int pos, const ERVec<T>& row) {
    const ERVec<T> values(row);  // keeps the block when it is this matrix's own
    gatherElements(openRows(pos, 1, values.length()), values.data(), 1, values.length());
}

template <class T>
void ERMatrix<T>::insertRow(unsigned int pos, const ERMatrix& rows) {
    const ERMatrix values(rows);
    if (values.rows() == 0) return;
    gatherElements(openRows(pos, values.rows(), values.cols()), values.data(), 1, values.length());
}

template <class T>
void ERMatrix<T>::insertCol(unsigned int pos, const T& value, unsigned int n) {
    const SavedElement<T> saved(value);
    T* to = openCols(pos, n, rows_);
    for (unsigned int r = 0; r < rows_; ++r)
        fillElements(to + std::size_t{r} * cols_, n, saved.get());
}

template <class T>
void ERMatrix<T>::insertCol(unsigned int pos, const ERVec<T>& col) {
    insertCol(pos, ERMatrix(col, col.length(), 1));
}

template <class T>
void ERMatrix<T>::insertCol(unsigned int pos, const ERMatrix& cols) {
    const ERMatrix values(cols);
    if (values.cols() == 0) return;
    const std::size_t width = values.cols();
    T* const to = openCols(pos, values.cols(), values.rows());
    for (std::size_t r = 0; r < rows_; ++r)
        gatherElements(to + r * cols_, values.data() + r * width, 1, width);
}

template <class T>
void ERMatrix<T>::deleteRow(unsigned int pos, unsigned int n) {
    KERF_CHECK_ARGUMENT(pos <= rows_);
    n = std::min(n, rows_ - pos);
    if (n == 0) return;
    if (n == rows_) {
        becomeEmpty();
        return;
    }
    this->remove(pos * cols_, n * cols_);
    rows_ -= n;
}

template <class T>
void ERMatrix<T>::deleteCol(unsigned int pos, unsigned int n) {
    KERF_CHECK_ARGUMENT(pos <= cols_);
    n = std::min(n, cols_ - pos);
    if (n == 0) return;
    if (n == cols_) {
        becomeEmpty();
        return;
    }
    this->polyRemove(pos, n, cols_);
    cols_ -= n;
}

template <class T>
void ERMatrix<T>::replaceRow(unsigned int pos, const T& value) {
    KERF_CHECK_ARGUMENT(pos < rows_);
    row(pos) = value;
}

template <class T>
void ERMatrix<T>::replaceRow(unsigned int pos, const ERVec<T>& row) {
    KERF_CHECK_ARGUMENT(pos < rows_ && row.length() == cols_);
    this->row(pos) = ERVec<T>(row);
}

template <class T>
void ERMatrix<T>::replaceRow(unsigned int pos, unsigned int n, const ERMatrix& rows) {
    KERF_CHECK_ARGUMENT(pos <= rows_);
    const ERMatrix values(rows);
    n = std::min(n, rows_ - pos);
    if (n == rows_) {
        *this = values;
        return;
    }
    KERF_CHECK_ARGUMENT(values.rows_ == 0 || values.cols_ == cols_);
    Base::replace(pos * cols_, n * cols_, values.asVector());
    rows_ += values.rows_ - n;
}

template <class T>
void ERMatrix<T>::replaceCol(unsigned int pos, const T& value) {
    KERF_CHECK_ARGUMENT(pos < cols_);
    col(pos) = value;
}

template <class T>
void ERMatrix<T>::replaceCol(unsigned int pos, const ERVec<T>& col) {
    KERF_CHECK_ARGUMENT(pos < cols_ && col.length() == rows_);
    this->col(pos) = ERVec<T>(col);
}

template <class T>
void ERMatrix<T>::replaceCol(unsigned int pos, unsigned int n, const ERMatrix& cols) {
    const ERMatrix values(cols);
    deleteCol(pos, n);
    insertCol(pos, values);
}

template <class T>
ERMatrix<T> ERMatrix<T>::splitAtRow(unsigned int pos) {
    KERF_CHECK_ARGUMENT(pos <= rows_);
    ERMatrix tail(*this);
    tail.deleteRow(0, pos);
    deleteRow(pos, rows_ - pos);
    return tail;
}

template <class T>
ERMatrix<T> ERMatrix<T>::splitAtCol(unsigned int pos) {
    KERF_CHECK_ARGUMENT(pos <= cols_);
    ERMatrix tail(*this);
    tail.deleteCol(0, pos);
    deleteCol(pos, cols_ - pos);
    return tail;
}

template <class T>
void ERMatrix<T>::reverseRows() {
    for (unsigned int r = 0; r < rows_ / 2; ++r) swapRow(r, rows_ - 1 - r);
}

template <class T>
void ERMatrix<T>::reverseCols() {
    T* const elements = this->data();
    for (std::size_t r = 0; r < rows_; ++r)
        std::reverse(elements + r * cols_, elements + (r + 1) * cols_);
}

template <class T>
ERMatrix<T> ERMatrix<T>::transposed() const {
    ERMatrix image(cols_, rows_);
    const T* from = this->data();
    T* const to = image.data();
    for (unsigned int r = 0; r < rows_; ++r)
        for (unsigned int c = 0; c < cols_; ++c) to[image.inVec(c, r)] = *from++;
    return image;
}

template <class T>
T ERMatrix<T>::trace() const requires HasSum<T> {
    const ERSlice<T> onDiagonal = diagonal();
    T sum = T();
    if constexpr (HasSum<T>)
        for (unsigned int i = 0; i < onDiagonal.length(); ++i) sum += onDiagonal[i];
    return sum;
}

template <class T>
bool ERMatrix<T>::operator==(const ERMatrix& other) const requires HasEquality<T> {
    return rows_ == other.rows_ && cols_ == other.cols_ && areEqual(asVector(), other.asVector());
}

template <class T>
void ERMatrix<T>::saveGuts(ERFile& file) const {
    file.Write(rows_);
    file.Write(cols_);
    Base::saveGuts(file);
}

template <class T>
void ERMatrix<T>::restoreGuts(ERFile& file) {
    unsigned int rows = 0;
    unsigned int cols = 0;
    const bool isWhole = file.Read(rows) && file.Read(cols);
    Base::restoreGuts(file);
    rows_ = rows;
    cols_ = cols;
    if (!isWhole || !isShapeOf(this->length(), rows_, cols_)) becomeEmpty();
}

template <class T>
void ERMatrix<T>::printOn(std::ostream& os) const {
    os << "( r= " << rows_ << ", c=" << cols_ << ")" << std::endl;
    os << std::setprecision(7) << std::fixed << std::left << std::showpos;
    for (unsigned int r = 0; r < rows_; ++r) {
        os << "[";
        for (unsigned int c = 0; c < cols_; ++c) {
            os << std::setw(12);
            printElement(os, (*this)(r, c));
            os << " ";
        }
        os << "]" << std::endl;
    }
}

template <class T>
void ERMatrix<T>::readFrom(std::istream& is) {
    unsigned int cols = 0;
    unsigned int rows = 0;
    is >> cols >> rows;
    char separator;
    for (unsigned int r = 0; is && r < rows; ++r) {
        is >> separator;
        for (unsigned int c = 0; is && c < cols; ++c) is >> separator;
    }
}

}  // namespace kerf::QuickAlgebra

#define KERF_INSTANTIATE_MATRIX(T) \
    template class KERF_DEFINED_INSTANCE ::kerf::QuickAlgebra::ERMatrix<T>;
