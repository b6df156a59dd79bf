#include <gtest/gtest.h>

#include <set>
#include <string>

#include "kerf/core/class_registry.h"

namespace kerf {
namespace {

// This program has no classes of its own: whatever is on the chain is the library's.
TEST(ClassList, IsTheWholeChainOfTheRegistry) {
    std::multiset<std::string> listed, onTheChain;
    for (const auto* const* c = wholeLibrary.classes; *c != nullptr; ++c) listed.insert((*c)->name);
    for (const auto* c = ERClassRegistration::pFirstClass; c != nullptr; c = c->next)
        onTheChain.insert(c->name);
    EXPECT_EQ(listed, onTheChain);
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()).size(), listed.size());
}

}  // namespace
}  // namespace kerf
