#pragma once
#include <vector>

#include "kerf/platform/config.h"

// Modules of a program: the application and the libraries that extend it. A module state lists the
// module objects of the libraries attached to it. All functions may be called from any thread.
namespace kerf {

class CDynLinkLibrary;

/// The state of the application, or of a library with a state of its own.
struct KERF_EXPORT ModuleState {
    bool isApplication = false;  ///< the application's own state
};

/// The record of one extension library: a static object of that library.
struct KERF_EXPORT ExtensionModule {
    const char* name;
    bool initialised = false;
};

/// The calling thread's state: the one it last set, else the application's.
KERF_EXPORT ModuleState* AfxGetModuleState();

/// Sets the calling thread's state, null for the application's; returns the former one.
KERF_EXPORT ModuleState* setModuleState(ModuleState* state);

/// Marks the record as initialised. Returns 1, or 0 when it was marked before.
KERF_EXPORT int initExtensionModule(ExtensionModule& module);

/// Deletes the module objects of the record that are still attached to any state, and marks the
/// record as not initialised.
KERF_EXPORT void termExtensionModule(ExtensionModule& module);

/// The entry of an extension library in a module state.
/// Lifetime: built on the heap by the library; termExtensionModule deletes it, unless its maker has
///           deleted it before.
class KERF_EXPORT CDynLinkLibrary {
public:
    /// Attaches the library to the calling thread's module state.
    explicit CDynLinkLibrary(ExtensionModule& module);
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;
    virtual ~CDynLinkLibrary();

    ExtensionModule& module() const { return module_; }
    ModuleState* state() const { return state_; }

    /// The libraries attached to a state, the last attached first.
    static std::vector<CDynLinkLibrary*> attachedTo(const ModuleState* state);

private:
    ExtensionModule& module_;
    ModuleState* state_;
};

}  // namespace kerf
