#pragma once
#include <vector>

#include "kerf/platform/config.h"

// Modules of a program: the application and the libraries that extend it. Each has a state, and to
// a state the module objects of the libraries attached to it belong. All functions may be called
// from every thread.
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

/// The state that the calling thread works in: what it last set, else the application's.
KERF_EXPORT ModuleState* AfxGetModuleState();

/// Sets the calling thread's state, null for the application's; answers the former one.
KERF_EXPORT ModuleState* setModuleState(ModuleState* state);

/// Marks the record as initialised. Answers 1, or 0 when it already was.
KERF_EXPORT int initExtensionModule(ExtensionModule& module);

/// Deletes the module objects that are still attached to the record, in whatever state, and marks
/// it as not initialised.
KERF_EXPORT void termExtensionModule(ExtensionModule& module);

/// The object by which an extension library takes its place in a module state. Built on the heap by
/// the library; termExtensionModule deletes it, unless its maker has done so before.
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
