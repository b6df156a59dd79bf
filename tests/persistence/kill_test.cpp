// Processes that are killed while they store at full speed: what they had stored must be there.
#if defined(__linux__)

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "tests/persistence/database_support.h"
#include "tests/persistence/disk_btree_support.h"

namespace kerf {
namespace {

using namespace test;
using Clock = std::chrono::steady_clock;

/// Runs work(from), which raises the count for each thing stored, in a child that is killed after a
/// random time, again and again on one file. After each kill check(count) looks at the file.
class Kill : public testing::Test {
protected:
    void run(const std::function<void(unsigned int)>& work,
             const std::function<void(unsigned int)>& check) {
        const auto end = Clock::now() + std::chrono::seconds(8);
        int kills = 0;
        for (; kills < 250 && Clock::now() < end && !HasFailure(); ++kills) {
            if (stored >= mostStored) {
                std::filesystem::remove(file.path());
                stored = 0;
            }
            killOne(work);
            SCOPED_TRACE(testing::Message() << "kill " << kills);
            check(stored);
        }
        std::cout << kills << " kills\n";
    }

    TemporaryFile file;
    // Raised by the child and read after its death. It is memory that both have, so that reporting
    // costs the child no call of the system: nearly all of its time goes into writing, which is what
    // a kill is to meet.
    std::atomic<unsigned int>& stored =
        *new (::mmap(nullptr, sizeof(std::atomic<unsigned int>), PROT_READ | PROT_WRITE,
                     MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<unsigned int>(0);

private:
    static constexpr unsigned int mostStored = 20000;

    void killOne(const std::function<void(unsigned int)>& work) {
        const unsigned int before = stored;
        const pid_t child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            work(before);
            ::_exit(0);
        }
        while (stored == before && ::waitpid(child, nullptr, WNOHANG) == 0) ::usleep(50);
        ::usleep(draw_(5000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }

    Draws draw_{1};
};

std::string nameOfNumber(unsigned int number) {
    return std::string(10 + number * 7 % 300, static_cast<char>('a' + number % 26));
}

// Every object that Store has returned an ID for, and the last version of each.
TEST_F(Kill, LosesNoStoredObject) {
    constexpr std::size_t mostKept = 20;
    run(
        [&](unsigned int number) {
            ERObjectDataBase base;
            if (!base.Open(file.path(), 0)) return;
            std::vector<t_SmartPtr<ERDBObject>> kept;
            for (;;) {
                const t_SmartPtr<ERDBObject> object = newNamed(nameOfNumber(number + 1));
                if (base.Store(*object) == -1) return;
                stored = ++number;
                kept.push_back(object);
                if (kept.size() < mostKept) continue;
                // A new record each, in the space of objects stored again before.
                for (const t_SmartPtr<ERDBObject>& again : kept)
                    if (base.Store(*again) == -1) return;
                kept.clear();
            }
        },
        [&](unsigned int count) {
            OpenedBase base(file, 1);
            // The kill may have come between a store and its count.
            unsigned int found = 0;
            ERLong id = 0;
            for (unsigned int missing = 0; missing < 3 && found < count; ++id) {
                const t_SmartPtr<ERObject> object = base.RetrieveAndCreate(id + 1);
                if (nameOf(object) == nameOfNumber(found + 1))
                    ++found;
                else if (nameOf(object) != nameOfNumber(found))
                    ++missing;
            }
            EXPECT_EQ(found, count);
        });
}

// Nodes as long as a page are hit by most kills.
TEST_F(Kill, LosesNoKeyOfATreeWithLargeNodes) {
    const Shape shape{4, 170, 170, 1, 10};
    const auto keyOf = [](unsigned int number) { return binaryKey(number * 2654435761u); };
    run(
        [&](unsigned int number) {
            OpenedTree opened(file, shape);
            for (;;) {
                const std::string key = keyOf(number + 1);
                if (!opened.tree.contains(key.data()) &&
                    !opened.tree.insertKeyAndValue(key.data(), static_cast<ERLong>(number + 1)))
                    return;
                stored = ++number;
            }
        },
        [&](unsigned int count) {
            OpenedTree opened(file, shape, -1, 1);
            unsigned int found = 0;
            while (found < count &&
                   opened.tree.findValue(keyOf(found + 1).data()) == static_cast<ERLong>(found + 1))
                ++found;
            EXPECT_EQ(found, count);
            EXPECT_GE(contentOf(opened.tree).size(), count);
        });
}

}  // namespace
}  // namespace kerf

#endif
