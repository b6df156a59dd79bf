#include "kerf/values/limits.h"

#include <ostream>

#include "kerf/core/file.h"

namespace kerf {

void ERLimites::printOn(std::ostream& os) const {
    const double ends[] = {start_, end_};
    coordinates::print(os, ends, 2, "Limites( ", " )");
    os << '\n';
}

void ERLimites::saveGuts(ERFile& file) const {
    const double ends[] = {start_, end_};
    file.Write(ends, 2);
}

void ERLimites::restoreGuts(ERFile& file) {
    double ends[] = {0.0, 0.0};
    file.Read(ends, 2);
    start_ = ends[0];
    end_ = ends[1];
}

}  // namespace kerf
