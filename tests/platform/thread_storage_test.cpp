#include "kerf/platform/thread_storage.h"

#include <gtest/gtest.h>

#include <atomic>
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
        askedLate.GetData()->value = 1;  // even when all others are gone
    }
};

TEST(ThreadLocal, TheLastBuiltGoesFirstAndMayStillAskForObjects) {
    CThreadLocal<Named<'a'>> a;
    CThreadLocal<Named<'b'>> b;
    std::thread([&] {
        a.GetData();
        b.GetData();
    }).join();
    EXPECT_TRUE(order == "ba" && living == 0);
}

}  // namespace
}  // namespace kerf
