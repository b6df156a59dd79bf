#include "kerf/platform/config.h"

#include <cstdio>
#include <cstdlib>

namespace kerf {

void argumentCheckFailed(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: argument check failed: %s\n", file, line, condition);
    std::abort();
}

}  // namespace kerf
