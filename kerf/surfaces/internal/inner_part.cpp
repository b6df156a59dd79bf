#include "kerf/surfaces/internal/inner_part.h"

namespace kerf {

int& RestoredLevel::depth() {
    static constinit thread_local int levels = 0;
    return levels;
}

}  // namespace kerf
