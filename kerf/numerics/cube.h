#pragma once
#include "kerf/core/store_size.h"
#include "kerf/numerics/matrix.h"

namespace kerf::QuickAlgebra {

/// A block of nx * ny * nz doubles on a shared vector. Element (x, y, z) is element
/// (ny * z + y) * nx + x of the vector.
///
/// Kept: the sticks address the elements as if they were laid out (nz * y + z) * nx + x. Where ny
///       and nz are equal, a stick through (y, z) runs through the elements that operator() has at
///       (z, y); else the two orders have nothing to do with each other.
class KERF_EXPORT ERDoubleCube : public ERVec<double> {
public:
    ERDoubleCube() = default;
    ERDoubleCube(unsigned int nx, unsigned int ny, unsigned int nz);  ///< zeros
    ERDoubleCube(const ERDoubleCube&) = default;
    ERDoubleCube& operator=(const ERDoubleCube&) = default;

    unsigned int nx() const { return nx_; }
    unsigned int ny() const { return ny_; }
    unsigned int nz() const { return nz_; }
    const ERVec<double>& asVector() const { return *this; }
    ERVec<double>& asVector() { return *this; }

    unsigned int inVec(unsigned int x, unsigned int y, unsigned int z) const {
        return (ny_ * z + y) * nx_ + x;
    }
    const double& operator()(unsigned int x, unsigned int y, unsigned int z) const {
        return (*this)[inVec(x, y, z)];
    }
    double& operator()(unsigned int x, unsigned int y, unsigned int z) {
        return (*this)[inVec(x, y, z)];
    }

    // Along x: nx elements in a row. Along y: ny, nz * nx apart. Along z: nz, nx apart.

    const ERSlice<double> stickX(unsigned int y, unsigned int z) const;
    ERSlice<double> stickX(unsigned int y, unsigned int z);
    const ERSlice<double> stickY(unsigned int x, unsigned int z) const;
    ERSlice<double> stickY(unsigned int x, unsigned int z);
    const ERSlice<double> stickZ(unsigned int x, unsigned int y) const;
    ERSlice<double> stickZ(unsigned int x, unsigned int y);

    /// Same extents and equal elements, without tolerance.
    bool operator==(const ERDoubleCube& other) const;

    /// nx, ny, nz (32 bits each), then the vector.
    void saveGuts(ERFile& file) const;
    /// Damage: extents that do not match the number of elements restore as an empty cube.
    void restoreGuts(ERFile& file);
    ERULong binaryStoreSize() const { return storeSizeSum(ERVec<double>::binaryStoreSize(), 12); }

private:
    unsigned int nx_ = 0;
    unsigned int ny_ = 0;
    unsigned int nz_ = 0;
};

/// The plane x of the cube as a matrix of ny rows and nz columns, taken in the order of the sticks:
/// element (y, z) is element (nz * y + z) * nx + x of the vector.
KERF_EXPORT ERMatrix<double> ExtractMatFromX(const ERDoubleCube& cube, unsigned int x);
/// The inverse: writes a matrix of ny * nz elements to the plane x. Returns the cube.
KERF_EXPORT ERDoubleCube& SetMatFromX(ERDoubleCube& cube, const ERMatrix<double>& plane,
                                      unsigned int x);

KERF_EXPORT ERFile& operator<<(ERFile& file, const ERDoubleCube& cube);
KERF_EXPORT ERFile& operator>>(ERFile& file, ERDoubleCube& cube);

}  // namespace kerf::QuickAlgebra

namespace kerf {
using QuickAlgebra::ERDoubleCube;
using QuickAlgebra::ExtractMatFromX;
using QuickAlgebra::SetMatFromX;
}  // namespace kerf
