#include "kerf/core/memory_pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kerf/core/thread_data.h"

namespace kerf {
namespace {

// Follows the chain of chunks, whose links must agree both ways.
unsigned int chunksOf(const ERMemPool& pool) {
    unsigned int count = 0;
    const ERChunk* previous = nullptr;
    for (const ERChunk* c = pool.chunks(); c != nullptr; previous = c, c = c->GetNext(), ++count)
        EXPECT_EQ(c->GetPrevious(), previous);
    return count;
}

TEST(Pool, ItemsAreDisjointAndKeepTheirContent) {
    for (const unsigned int objectSize : {0u, 1u, 7u, 8u, 24u, 100u, 500u, 1900u, 4000u}) {
        ERMemPool pool(objectSize, 20);
        std::mt19937 random(objectSize + 1);
        std::vector<std::pair<void*, std::string>> items;
        for (int step = 0; step < 4000; ++step) {
            if (items.empty() || random() % 100 < (step < 2000 ? 60u : 40u)) {
                const std::string mark(objectSize + 4, static_cast<char>(random()));
                items.emplace_back(pool.alloc(), mark);
                ASSERT_EQ(reinterpret_cast<std::uintptr_t>(items.back().first) % sizeof(void*), 0u);
                std::memcpy(items.back().first, mark.data(), mark.size());
            } else {
                std::swap(items[random() % items.size()], items.back());
                const auto& [item, mark] = items.back();
                ASSERT_EQ(std::memcmp(item, mark.data(), mark.size()), 0);
                pool.free(item);
                items.pop_back();
            }
            ASSERT_LE(pool.freeCount(), 20u);
        }
        for (const auto& item : items) pool.free(item.first);
        pool.collateFreeSpace();
        EXPECT_EQ(pool.chunks(), nullptr);
    }
}

TEST(Pool, FreedChunksLeaveTheChainAnywhere) {
    ERMemPool pool(1000, 0);  // few items a chunk, and none may wait
    const std::size_t perChunk = chunkSlots(1004) - 1;
    for (const std::size_t emptied : {0u, 1u, 2u}) {
        std::vector<void*> items(3 * perChunk);
        for (void*& item : items) item = pool.alloc();
        pool.free(items.back());
        EXPECT_EQ(pool.alloc(), items.back()) << "returned items go out before new ones";
        for (std::size_t i = 0; i < perChunk; ++i) pool.free(items[emptied * perChunk + i]);
        EXPECT_EQ(chunksOf(pool), 2u);
        pool.purge();  // forgets items in use
        EXPECT_EQ(pool.chunks(), nullptr);
    }
}

TEST(Pool, ItsChunksHoldTheirSlotsAndNothingElse) {
    ERMemPool pool(100, 5);
    pool.alloc();
    const ERChunk& chunk = *pool.chunks();
    const char* const first = reinterpret_cast<const char*>(&chunk + 1);
    const char* const end = first + chunk.capacity() * chunkSlotSize(chunk.itemSize());
    EXPECT_EQ(chunk.IsInBound(first - 1), 0);
    EXPECT_EQ(chunk.IsInBound(first), 1);
    EXPECT_EQ(chunk.IsInBound(end - 1), 1);
    EXPECT_EQ(chunk.IsInBound(end), 0);
}

TEST(Pool, PurgingForgetsTheWaitingItemsToo) {
    ERMemPool pool(100, 5);
    pool.free(pool.alloc());
    pool.purge();
    EXPECT_EQ(pool.freeCount(), 0u);
    void* const item = pool.alloc();
    ASSERT_NE(pool.chunks(), nullptr);
    EXPECT_EQ(pool.chunks()->IsInBound(item), 1);
}

TEST(PoolObject, RequestsGoToThePoolOfTheirSize) {
    for (std::size_t bytes = 1; bytes <= 400; ++bytes) {
        void* const object = std::memset(ERMemoryPool::operator new(bytes), 0xA5, bytes);
        const std::size_t pair = 2 * sizeof(void*), narrow = bytes < 8 ? 4 : 8;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object) % (bytes < pair ? narrow : pair), 0u);
        const auto index = static_cast<unsigned int>((bytes + 4) / 4);
        ERChunk* const chunk = ERChunk::of(object);  // the word before an object
        ASSERT_EQ(chunk != nullptr, index < 48);
        EXPECT_EQ(chunk == nullptr ? nullptr : chunk->pool(),
                  chunk == nullptr ? nullptr : &threadData().pool(index));
        EXPECT_EQ(chunk == nullptr ? 0 : chunk->itemSize(), chunk == nullptr ? 0 : 4 * (index + 1));
        ERMemoryPool::operator delete(object);
    }
}

TEST(PoolObject, GoesBackToThePoolThatMadeItFromAnyThread) {
    struct Small : ERMemoryPool {
        char content[30];
    };
    auto* const small = new Small;
    ERMemPool* const home = ERChunk::of(small)->pool();
    ERMemPool own(sizeof(Small), 10);
    auto* const owned = new (own) Small;
    const unsigned int waiting = home->freeCount();
    std::thread([&] {
        EXPECT_NE(&threadData().pool(8), home);
        delete small;
        delete owned;
    }).join();
    EXPECT_EQ(home->freeCount(), waiting + 1);
    EXPECT_EQ(own.freeCount(), 1u);
}

}  // namespace
}  // namespace kerf
