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

/// A count that the child raises and the parent reads after the child's death. It is memory that
/// both have, so that reporting costs the child no call of the system: nearly all of its time goes
/// into writing, which is what a kill is to meet.
class SharedCount {
public:
    SharedCount()
        : count_(new (::mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Count(0)) {}
    SharedCount(const SharedCount&) = delete;
    SharedCount& operator=(const SharedCount&) = delete;
    ~SharedCount() { ::munmap(count_, sizeof(Count)); }

    unsigned int get() const { return *count_; }
    void set(unsigned int value) { *count_ = value; }

private:
    using Count = std::atomic<unsigned int>;
    Count* count_;
};

/// Runs work(from), which raises the count for each thing stored, in a child that is killed after a
/// random time, again and again on one file. After each kill check(count) looks at the file.
class Killer {
public:
    explicit Killer(unsigned int seed) : draw_(seed) {}

    void run(const TemporaryFile& file, const std::function<void(unsigned int, SharedCount&)>& work,
             const std::function<void(unsigned int)>& check) {
        const auto end = Clock::now() + std::chrono::seconds(8);
        int kills = 0;
        for (; kills < 250 && Clock::now() < end; ++kills) {
            if (stored_.get() >= mostStored) {
                std::filesystem::remove(file.path());
                stored_.set(0);
            }
            killOne(work);
            SCOPED_TRACE(testing::Message() << "kill " << kills);
            check(stored_.get());
            if (testing::Test::HasFailure()) break;
        }
        std::cout << kills << " kills\n";
    }

private:
    static constexpr unsigned int mostStored = 20000;

    void killOne(const std::function<void(unsigned int, SharedCount&)>& work) {
        const unsigned int before = stored_.get();
        const pid_t child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            work(before, stored_);
            ::_exit(0);
        }
        while (stored_.get() == before && ::waitpid(child, nullptr, WNOHANG) == 0) ::usleep(50);
        ::usleep(draw_(5000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }

    Draws draw_;
    SharedCount stored_;
};

class Kill : public testing::TestWithParam<unsigned int> {
protected:
    TemporaryFile file;
    Killer killer{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(Seeds, Kill, testing::Values(1u), testing::PrintToStringParamName());

std::string nameOfNumber(unsigned int number) {
    return std::string(10 + number * 7 % 300, static_cast<char>('a' + number % 26));
}

// Every object that Store has returned an ID for, and the last version of each.
TEST_P(Kill, LosesNoStoredObject) {
    constexpr std::size_t mostKept = 20;
    killer.run(
        file,
        [&](unsigned int stored, SharedCount& count) {
            ERObjectDataBase base;
            if (!base.Open(file.path(), 0)) return;
            std::vector<t_SmartPtr<ERDBObject>> kept;
            for (;;) {
                const t_SmartPtr<ERDBObject> object = newNamed(nameOfNumber(stored + 1));
                if (base.Store(*object) == -1) return;
                count.set(++stored);
                kept.push_back(object);
                if (kept.size() < mostKept) continue;
                // A new record each, in the space of objects stored again before.
                for (const t_SmartPtr<ERDBObject>& again : kept)
                    if (base.Store(*again) == -1) return;
                kept.clear();
            }
        },
        [&](unsigned int stored) {
            OpenedBase base(file, 1);
            // The kill may have come between a store and its count.
            unsigned int found = 0;
            ERLong id = 0;
            for (unsigned int missing = 0; missing < 3 && found < stored; ++id) {
                const t_SmartPtr<ERObject> object = base.RetrieveAndCreate(id + 1);
                if (nameOf(object) == nameOfNumber(found + 1))
                    ++found;
                else if (nameOf(object) != nameOfNumber(found))
                    ++missing;
            }
            EXPECT_EQ(found, stored);
        });
}

// Nodes as long as a page are hit by most kills.
TEST_P(Kill, LosesNoKeyOfATreeWithLargeNodes) {
    const Shape shape{4, 170, 170, 1, 10};
    const auto keyOf = [](unsigned int number) { return binaryKey(number * 2654435761u); };
    killer.run(
        file,
        [&](unsigned int stored, SharedCount& count) {
            OpenedTree opened(file, shape);
            for (;;) {
                const std::string key = keyOf(stored + 1);
                if (!opened.tree.contains(key.data()) &&
                    !opened.tree.insertKeyAndValue(key.data(), static_cast<ERLong>(stored + 1)))
                    return;
                count.set(++stored);
            }
        },
        [&](unsigned int stored) {
            OpenedTree opened(file, shape, -1, 1);
            unsigned int found = 0;
            while (found < stored &&
                   opened.tree.findValue(keyOf(found + 1).data()) == static_cast<ERLong>(found + 1))
                ++found;
            EXPECT_EQ(found, stored);
            EXPECT_GE(contentOf(opened.tree).size(), stored);
        });
}

}  // namespace
}  // namespace kerf

#endif
