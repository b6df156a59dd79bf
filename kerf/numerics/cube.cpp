#include "kerf/numerics/cube.h"

#include <algorithm>

#include "kerf/core/file.h"

namespace kerf::QuickAlgebra {

namespace {

constexpr std::uint64_t tooMany = ~std::uint64_t{0};

// The number of elements; tooMany when 64 bits do not hold it.
std::uint64_t volume(unsigned int nx, unsigned int ny, unsigned int nz) {
    const std::uint64_t plane = std::uint64_t{nx} * ny;
    if (nz > 0 && plane > tooMany / nz) return tooMany;
    return plane * nz;
}

}  // namespace

ERDoubleCube::ERDoubleCube(unsigned int nx, unsigned int ny, unsigned int nz)
    : ERVec<double>(Owning{ERVecRep::getRep(bytesOf(volume(nx, ny, nz)), 0)}),
      nx_(nx),
      ny_(ny),
      nz_(nz) {}

ERSlice<double> ERDoubleCube::stickX(unsigned int y, unsigned int z) {
    return slice((nz_ * y + z) * nx_, 1, nx_);
}
ERSlice<double> ERDoubleCube::stickY(unsigned int x, unsigned int z) {
    return slice(nx_ * z + x, static_cast<int>(nz_ * nx_), ny_);
}
ERSlice<double> ERDoubleCube::stickZ(unsigned int x, unsigned int y) {
    return slice(nx_ * nz_ * y + x, static_cast<int>(nx_), nz_);
}
const ERSlice<double> ERDoubleCube::stickX(unsigned int y, unsigned int z) const {
    return const_cast<ERDoubleCube*>(this)->stickX(y, z);
}
const ERSlice<double> ERDoubleCube::stickY(unsigned int x, unsigned int z) const {
    return const_cast<ERDoubleCube*>(this)->stickY(x, z);
}
const ERSlice<double> ERDoubleCube::stickZ(unsigned int x, unsigned int y) const {
    return const_cast<ERDoubleCube*>(this)->stickZ(x, y);
}

bool ERDoubleCube::operator==(const ERDoubleCube& other) const {
    return nx_ == other.nx_ && ny_ == other.ny_ && nz_ == other.nz_ &&
           asVector() == other.asVector();
}

void ERDoubleCube::saveGuts(ERFile& file) const {
    file.Write(nx_);
    file.Write(ny_);
    file.Write(nz_);
    ERVec<double>::saveGuts(file);
}

void ERDoubleCube::restoreGuts(ERFile& file) {
    // Without elements two extents may still be positive; damage may not make them so large that
    // loops over them take long.
    constexpr unsigned int largestEmptyExtent = 0xFF;
    unsigned int nx = 0;
    unsigned int ny = 0;
    unsigned int nz = 0;
    file.Read(nx);
    file.Read(ny);
    file.Read(nz);
    ERVec<double>::restoreGuts(file);
    nx_ = nx;
    ny_ = ny;
    nz_ = nz;
    if (volume(nx_, ny_, nz_) != length() ||
        (length() == 0 && std::max({nx_, ny_, nz_}) > largestEmptyExtent))
        *this = ERDoubleCube();
}

ERMatrix<double> ExtractMatFromX(const ERDoubleCube& cube, unsigned int x) {
    const ERSlice<double> plane = cube.slice(x, static_cast<int>(cube.nx()), cube.ny() * cube.nz());
    return ERMatrix<double>(plane, cube.ny(), cube.nz());
}

ERDoubleCube& SetMatFromX(ERDoubleCube& cube, const ERMatrix<double>& plane, unsigned int x) {
    cube.slice(x, static_cast<int>(cube.nx()), cube.ny() * cube.nz()) = plane.asVector();
    return cube;
}

ERFile& operator<<(ERFile& file, const ERDoubleCube& cube) {
    cube.saveGuts(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERDoubleCube& cube) {
    cube.restoreGuts(file);
    return file;
}

}  // namespace kerf::QuickAlgebra
