#pragma once
#include "kerf/curves/spline/binomials.h"
#include "kerf/platform/config.h"
#include "kerf/platform/module_state.h"

namespace kerf {

/// The library's place in the module chain of the program that loads it.
class KERF_EXPORT CDynLinkLibraryKERF : public CDynLinkLibrary {
public:
    explicit CDynLinkLibraryKERF(ExtensionModule& module);
    ~CDynLinkLibraryKERF() override;

    ERFactorialFactory& factorials() { return factorials_; }

private:
    ERFactorialFactory factorials_;
};

/// Attaches the library to the calling thread's module state. Loading the library does this by itself
/// for the application's own state; a program that works in another state calls this.
KERF_EXPORT void InitKerfDLL();

}  // namespace kerf
