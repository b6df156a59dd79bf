#include <cmath>

#include "kerf/curves/circle.h"
#include "kerf/curves/infinite_line.h"

namespace kerf {

int intersect(const ERCircle2D& circle, const ERInfLine2D& line, ERPoint2D& p, ERPoint2D& q) {
    const ERPoint2D foot = line.projectPt(circle.center());
    const ERVector2D w(circle.center(), foot);
    const double r2 = circle.radius() * circle.radius();
    if (w.norme2() > r2) return 0;
    if (std::fabs(w.norme() - r2) > 1e-11) {
        const ERVector2D half = line.dirVector() * std::sqrt(r2 - w.norme2());
        p = foot + half;
        q = foot - half;
    } else {
        p = q = foot;
    }
    return 1;
}

}  // namespace kerf
