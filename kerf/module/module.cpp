#include "kerf/module/module.h"

#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

constinit ExtensionModule kerfModule{"kerf"};

// Built when the library is loaded, destroyed when it is unloaded.
struct LoadNotification {
    LoadNotification() {
        outputDebugText("KERF.DLL Initializing!\n");
        if (!initExtensionModule(kerfModule)) return;
        if (AfxGetModuleState()->isApplication) new CDynLinkLibraryKERF(kerfModule);
    }
    ~LoadNotification() { termExtensionModule(kerfModule); }
};

const LoadNotification loadNotification;

}  // namespace

CDynLinkLibraryKERF::CDynLinkLibraryKERF(ExtensionModule& module) : CDynLinkLibrary(module) {}

CDynLinkLibraryKERF::~CDynLinkLibraryKERF() = default;

void InitKerfDLL() { new CDynLinkLibraryKERF(kerfModule); }

}  // namespace kerf
