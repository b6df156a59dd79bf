#include "kerf/processing/best_fit.h"

#include <cmath>

#include "kerf/numerics/internal/growth.h"
#include "kerf/processing/internal/point_pair_sums.h"

namespace kerf {

int ERPointSetBestFitSolverBase::nb_points() const { return static_cast<int>(first.length()); }

void ERPointSetBestFitSolverBase::add_point(const ERPoint3D& p, const ERPoint3D& q) {
    doubleWhenFull(first);
    doubleWhenFull(second);
    first.append(p);
    second.append(q);
}

void ERPointSetBestFitSolverBase::reset(int capacity) {
    for (ERVec<ERPoint3D>* const list : {&first, &second}) {
        list->cow();
        list->clear();
        if (capacity > 0) list->capacity(static_cast<unsigned int>(capacity));
    }
}

double ERPointSetBestFitSolverBase::get_deviation() {
    if (deviation == notComputed) deviation = std::sqrt(meanSquaredDistance(lastTransform));
    return deviation;
}

ERPointSetBestFitSolverBase::~ERPointSetBestFitSolverBase() = default;

double ERPointSetBestFitSolverBase::meanSquaredDistance(const ERPmIsometrie3D& transform) const {
    const unsigned int n = first.length();
    if (n == 0) return 0.0;
    return sumOfSquaredDistances(first.data(), second.data(), n, LinearMap(transform.getMatrix()),
                                 transform.getTrans()) /
           n;
}

}  // namespace kerf
