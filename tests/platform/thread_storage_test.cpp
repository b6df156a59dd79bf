#include "kerf/platform/thread_storage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <set>
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
    CThreadLocal<Counted> local;
    const int before = living;
    EXPECT_EQ(local.GetDataNA(), nullptr);
    EXPECT_EQ(living, before);
    Counted* const mine = local.GetData();
    mine->value = 1;
    std::mutex mutex;
    std::set<Counted*> seen;
    std::vector<std::thread> threads;
    std::atomic<int> ready{0};
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            EXPECT_EQ(local.GetDataNA(), nullptr);
            Counted* const own = local.GetData();
            EXPECT_EQ(own->value, 0);
            EXPECT_EQ(local.GetData(), own);
            EXPECT_EQ(local.GetDataNA(), own);
            {
                const std::lock_guard<std::mutex> guard(mutex);
                seen.insert(own);
            }
            ++ready;
            while (ready < 8) std::this_thread::yield();  // all alive at once
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(seen.size(), 8u);
    EXPECT_EQ(living, before + 1);
    EXPECT_EQ(local.GetData(), mine);
    EXPECT_EQ(local->value, 1);
}

TEST(ThreadLocal, TwoOfOneTypeAreApart) {
    CThreadLocal<Counted> one, two;
    one.GetData()->value = 1;
    two.GetData()->value = 2;
    EXPECT_EQ(one.GetData()->value, 1);
    EXPECT_EQ(two.GetData()->value, 2);
    EXPECT_EQ(one.GetDataNA()->value, 1);
}

TEST(ThreadLocal, ANewOneAtTheSamePlaceStartsAfreshInEveryThread) {
    alignas(CThreadLocal<Counted>) unsigned char place[sizeof(CThreadLocal<Counted>)];
    const int before = living;
    auto* local = new (place) CThreadLocal<Counted>;
    std::atomic<int> step{0};
    std::thread other([&] {
        local->GetData()->value = 5;
        step = 1;
        while (step != 2) std::this_thread::yield();
        EXPECT_EQ(local->GetData()->value, 0);
    });
    local->GetData()->value = 6;
    while (step != 1) std::this_thread::yield();
    local->~CThreadLocal<Counted>();
    EXPECT_EQ(living, before + 1);  // the other thread keeps its object to its end
    local = new (place) CThreadLocal<Counted>;
    step = 2;
    other.join();
    EXPECT_EQ(living, before);
    EXPECT_EQ(local->GetData()->value, 0);
    local->~CThreadLocal<Counted>();
    EXPECT_EQ(living, before);
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
    const int before = living;
    std::thread([&] {
        a.GetData();
        b.GetData();
    }).join();
    EXPECT_EQ(order, "ba");
    EXPECT_EQ(living, before);
}

struct Throwing : CNoTrackObject {
    Throwing() { throw 1; }
};

TEST(ThreadLocal, AConstructorThatThrowsLeavesNothing) {
    CThreadLocal<Throwing> local;
    EXPECT_THROW(local.GetData(), int);
    EXPECT_EQ(local.GetDataNA(), nullptr);
    EXPECT_THROW(local.GetData(), int);
}

TEST(CriticalSection, IsRecursiveAndExcludesOtherThreads) {
    CriticalSection section;
    int sum = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                section.Lock();
                const std::lock_guard<CriticalSection> again(section);
                ++sum;
                section.Unlock();
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(sum, 20000);
}

}  // namespace
}  // namespace kerf
