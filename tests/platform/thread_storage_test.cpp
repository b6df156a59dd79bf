#include "kerf/platform/thread_storage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kerf {
namespace {

std::atomic<int> living{0};

struct Counted : CNoTrackObject {
    Counted() { ++living; }
    ~Counted() override { --living; }
    int value = 0;
};

TEST(ThreadLocal, EachThreadHasItsOwnUntilItEnds) {
    CThreadLocal<Counted> local, another;
    std::vector<std::thread> threads;
    std::atomic<int> ready{0};
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            EXPECT_EQ(local.GetDataNA(), nullptr);
            EXPECT_EQ(local->value++ + another->value, 0);
            ++ready;
            while (ready < 8) std::this_thread::yield();  // all alive at once
            EXPECT_EQ(local->value, 1);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(living, 0);
}

TEST(ThreadLocal, ANewOneAtTheSamePlaceStartsAfreshInEveryThread) {
    std::optional<CThreadLocal<Counted>> local(std::in_place);
    std::atomic<int> step{0};
    std::thread other([&] {
        (*local)->value = 5;
        step = 1;
        while (step != 2) std::this_thread::yield();
        EXPECT_EQ((*local)->value, 0);
    });
    (*local)->value = 6;
    while (step != 1) std::this_thread::yield();
    local.reset();
    EXPECT_EQ(living, 1);  // the other thread keeps its object to its end
    local.emplace();
    step = 2;
    other.join();
    EXPECT_EQ(living, 0);
    EXPECT_EQ((*local)->value, 0);
}

std::string order;
CThreadLocal<Counted> askedLate;

template <char name>
struct Named : CNoTrackObject {
    ~Named() override {
        order += name;
        askedLate.GetData()->value = 1;
        order += static_cast<char>('0' + living);
    }
};

// What the destructor of b asks for is destroyed before that of a runs, which gets a new one.
TEST(ThreadLocal, TheLastBuiltGoesFirstAndMayStillAskForObjects) {
    CThreadLocal<Named<'a'>> a;
    CThreadLocal<Named<'b'>> b;
    std::thread([&] {
        a.GetData();
        b.GetData();
    }).join();
    EXPECT_EQ(order, "b1a1");
    EXPECT_EQ(living, 0);
}

#if defined(__linux__)

struct Reporting : CNoTrackObject {
    ~Reporting() override { std::fprintf(stderr, "destroyed with %d", value); }
    int value = 0;
};

struct SetLate {
    explicit SetLate(CThreadLocal<Reporting>& object) : object_(object) {}
    ~SetLate() { object_->value = 5; }
    CThreadLocal<Reporting>& object_;
};

TEST(ThreadLocalDeathTest, ObjectsOfTheLoadingThreadLastAsLongAsStaticObjects) {
    const auto program = [] {
        static CThreadLocal<Reporting> object;
        static SetLate late(object);
        object->value = 1;
        std::exit(0);  // ends the thread, then destroys `late`, then `object`
    };
    EXPECT_EXIT(program(), ::testing::ExitedWithCode(0), "^destroyed with 5$");
}

#endif

}  // namespace
}  // namespace kerf
