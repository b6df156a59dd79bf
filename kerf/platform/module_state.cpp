#include "kerf/platform/module_state.h"

#include <algorithm>
#include <iterator>
#include <mutex>

namespace kerf {

namespace {

constinit ModuleState applicationState{true};
constinit thread_local ModuleState* stateOfThread = nullptr;

struct ModuleChain {
    std::mutex mutex;
    std::vector<CDynLinkLibrary*> libraries;  // in the order of attachment
};

// Never destroyed: libraries leave the chain while the program ends.
ModuleChain& moduleChain() {
    static ModuleChain* const instance = new ModuleChain;
    return *instance;
}

}  // namespace

ModuleState* AfxGetModuleState() {
    return stateOfThread != nullptr ? stateOfThread : &applicationState;
}

ModuleState* setModuleState(ModuleState* state) {
    ModuleState* const former = AfxGetModuleState();
    stateOfThread = state;
    return former;
}

int initExtensionModule(ExtensionModule& module) {
    const std::lock_guard<std::mutex> guard(moduleChain().mutex);
    if (module.initialised) return 0;
    module.initialised = true;
    return 1;
}

void termExtensionModule(ExtensionModule& module) {
    std::vector<CDynLinkLibrary*> ending;
    {
        ModuleChain& chain = moduleChain();
        const std::lock_guard<std::mutex> guard(chain.mutex);
        std::copy_if(
            chain.libraries.rbegin(), chain.libraries.rend(), std::back_inserter(ending),
            [&module](const CDynLinkLibrary* library) { return &library->module() == &module; });
        module.initialised = false;
    }
    for (CDynLinkLibrary* library : ending) delete library;
}

CDynLinkLibrary::CDynLinkLibrary(ExtensionModule& module)
    : module_(module), state_(AfxGetModuleState()) {
    ModuleChain& chain = moduleChain();
    const std::lock_guard<std::mutex> guard(chain.mutex);
    chain.libraries.push_back(this);
}

CDynLinkLibrary::~CDynLinkLibrary() {
    ModuleChain& chain = moduleChain();
    const std::lock_guard<std::mutex> guard(chain.mutex);
    std::erase(chain.libraries, this);
}

std::vector<CDynLinkLibrary*> CDynLinkLibrary::attachedTo(const ModuleState* state) {
    ModuleChain& chain = moduleChain();
    const std::lock_guard<std::mutex> guard(chain.mutex);
    std::vector<CDynLinkLibrary*> attached;
    std::copy_if(chain.libraries.rbegin(), chain.libraries.rend(), std::back_inserter(attached),
                 [state](const CDynLinkLibrary* library) { return library->state() == state; });
    return attached;
}

}  // namespace kerf
