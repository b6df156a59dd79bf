#include "kerf/platform/module_state.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace kerf {
namespace {

struct Library : CDynLinkLibrary {
    Library(ExtensionModule& module, int& deleted) : CDynLinkLibrary(module), deleted_(deleted) {}
    ~Library() override { ++deleted_; }
    int& deleted_;
};

TEST(ExtensionModule, IsInitialisedOnceAndTakesItsLibrariesWithIt) {
    // Kerf itself is attached to the application, once, by being loaded.
    const std::vector<CDynLinkLibrary*> before = CDynLinkLibrary::attachedTo(AfxGetModuleState());
    ASSERT_EQ(before.size(), 1u);
    ExtensionModule module{"ours"}, other{"other"};
    EXPECT_EQ(initExtensionModule(module), 1);
    EXPECT_EQ(initExtensionModule(module), 0);
    int deleted = 0, kept = 0;
    auto* const first = new Library(module, deleted);
    Library foreign(other, kept);
    ModuleState own;
    ModuleState* const application = setModuleState(&own);
    auto* const second = new Library(module, deleted);
    std::thread([&] { EXPECT_EQ(AfxGetModuleState(), application); }).join();
    EXPECT_EQ(setModuleState(nullptr), &own);
    EXPECT_EQ(CDynLinkLibrary::attachedTo(application),
              (std::vector<CDynLinkLibrary*>{&foreign, first, before[0]}));
    EXPECT_EQ(CDynLinkLibrary::attachedTo(&own), (std::vector<CDynLinkLibrary*>{second}));
    termExtensionModule(module);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(kept, 0);
    EXPECT_EQ(CDynLinkLibrary::attachedTo(application),
              (std::vector<CDynLinkLibrary*>{&foreign, before[0]}));
    EXPECT_EQ(initExtensionModule(module), 1);
}

}  // namespace
}  // namespace kerf
