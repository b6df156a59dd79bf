#include "kerf/values/point_list.h"

#include <algorithm>

#include "kerf/core/file.h"
#include "kerf/core/store_size.h"

namespace kerf {

ER_DEFINE_CLASS(ERVecPoint23, ERObject)

namespace {

template <class T>
bool areEqual(const ERVec<T>& a, const ERVec<T>& b) {
    return a.block() == b.block() || a == b;
}

}  // namespace

ERVecPoint23::ERVecPoint23(ERPoint23List& list)
    : parameters_(list.toVec2D()), points_(list.toVec()) {}

bool ERVecPoint23::operator==(const ERVecPoint23& other) const {
    return areEqual(parameters_, other.parameters_) && areEqual(points_, other.points_);
}

ERVecPoint23* ERVecPoint23::getCopy() const { return new ERVecPoint23(*this); }

void ERVecPoint23::printOn(std::ostream& os) const { ERObject::printOn(os); }

void ERVecPoint23::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    points_.saveGuts(file);
    parameters_.saveGuts(file);
}

void ERVecPoint23::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    points_.restoreGuts(file);
    parameters_.restoreGuts(file);
    const unsigned int common = std::min(points_.length(), parameters_.length());
    points_.troncat(common);
    parameters_.troncat(common);
}

ERULong ERVecPoint23::binaryStoreSize() const {
    return storeSizeSum(ERObject::binaryStoreSize(), points_.binaryStoreSize(),
                        parameters_.binaryStoreSize());
}

}  // namespace kerf
