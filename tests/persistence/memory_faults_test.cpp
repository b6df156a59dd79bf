// Memory that runs out in the middle of a store.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "tests/persistence/database_support.h"

namespace {

// Counts the requests of this program and of the library down to the one that fails; 0: none does.
unsigned int untilFailure = 0;

void* take(std::size_t size) {
    if (untilFailure != 0 && --untilFailure == 0) return nullptr;
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* const memory = take(size)) return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace kerf {
namespace {

using namespace test;

using MemoryFaults = DatabaseTest;

// The class is new to the base.
TEST_F(MemoryFaults, AStoreThatRanOutOfMemoryCanBeRepeated) {
    bool failed = true;
    for (unsigned int n = 1; failed; ++n) {
        SCOPED_TRACE(testing::Message() << "request " << n);
        const TemporaryFile own;
        OpenedBase base(own);
        const auto object = newNamed("object", newNamed("part"));
        untilFailure = n;
        failed = false;
        try {
            EXPECT_EQ(object->Save(&base), 1);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        untilFailure = 0;
        if (failed) {
            EXPECT_EQ(object->getObjectID(), -1);
        }
        ASSERT_EQ(object->Save(&base), 1);
        const t_SmartPtr<ERObject> back = base.RetrieveAndCreate(object->getObjectID());
        ASSERT_EQ(nameOf(back), "object");
        ASSERT_EQ(nameOf(ERDBObject::castdown(back.getObject())->object()), "part");
    }
}

}  // namespace
}  // namespace kerf
