#pragma once
#include <vector>

#include "kerf/platform/config.h"
#include "kerf/platform/thread_storage.h"

namespace kerf {

/// Factorials as doubles, kept as far as they were asked for. Any thread may ask.
class KERF_EXPORT ERFactorialFactory {
public:
    ERFactorialFactory();
    ~ERFactorialFactory();
    ERFactorialFactory(const ERFactorialFactory&) = delete;
    ERFactorialFactory& operator=(const ERFactorialFactory&) = delete;

    /// n!: exact to 22, then rounded once a factor; infinity above 170.
    double Fact(unsigned int n);

private:
    std::vector<double> known_;  ///< empty until one above 27 is asked for
    CriticalSection growth_;
};

}  // namespace kerf
