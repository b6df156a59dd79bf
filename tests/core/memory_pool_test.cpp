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
#include "kerf/platform/sinks.h"

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

TEST(Chunk, SlotsFollowFromItemAndWordSize) {
    EXPECT_EQ(chunkSlots(8, 4), 338u);
    for (const std::size_t word : {4u, 8u}) {
        for (std::size_t item = 4; item <= 4096; ++item) {
            const std::size_t slot = chunkSlotSize(item, word);
            ASSERT_GE(slot, item + word);
            ASSERT_EQ(slot % (item >= 4 + 2 * word ? 2 * word : word), 0u);
            ASSERT_LE(16 + 4 * word + chunkSlots(item, word) * slot, 4096u);
        }
    }
    for (const unsigned int objectSize : {0u, 20u, 1000u}) {
        ERMemPool pool(objectSize, 0);
        pool.alloc();
        ERChunk* const chunk = pool.chunks();
        while (void* const item = chunk->GetNextFreeItem())
            EXPECT_TRUE(chunk->IsInBound(item) && ERChunk::of(item) == chunk);
        EXPECT_EQ(chunk->used(), chunkSlots(objectSize + 4) - 1);  // the last is left
        EXPECT_FALSE(chunk->IsInBound(chunk) ||
                     chunk->IsInBound(reinterpret_cast<char*>(chunk) + ERChunk::size));
    }
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
        ASSERT_EQ(chunksOf(pool), 3u);
        pool.free(items.back());
        EXPECT_EQ(pool.alloc(), items.back()) << "returned items go out before new ones";
        for (std::size_t i = 0; i < perChunk; ++i) pool.free(items[emptied * perChunk + i]);
        EXPECT_EQ(chunksOf(pool), 2u);
        pool.purge();  // forgets items in use
        EXPECT_EQ(pool.chunks(), nullptr);
    }
}

TEST(Pool, TheFreeBeyondTheLimitCollates) {
    std::string text;
    const DebugTextSink former = setDebugTextSink([&](const char* part) { text += part; });
    text.clear();
    ERMemPool::debug_MemPool = 1;
    ERMemPool pool(12, 1024), endless(12, ERMemPool::unlimited);
    std::vector<void*> items(1026);
    for (void*& item : items) item = endless.alloc();
    for (void* const item : items) endless.free(item);
    for (void*& item : items) item = pool.alloc();
    for (std::size_t i = 0; i < 1024; ++i) pool.free(items[i]);
    EXPECT_EQ(text, "");
    pool.free(items[1024]);
    ERMemPool::debug_MemPool = 0;
    EXPECT_EQ(text, "Garbage Collecting done\n");
    setDebugTextSink(former);
    EXPECT_EQ(chunksOf(pool), 1u) << "only the chunk of the last item in use is left";
    EXPECT_TRUE(pool.freeCount() == 0 && endless.freeCount() == 1026);
}

TEST(PoolObject, RequestsGoToThePoolOfTheirSize) {
    for (std::size_t bytes = 1; bytes <= 400; ++bytes) {
        SCOPED_TRACE(bytes);
        void* const object = ERMemoryPool::operator new(bytes);
        std::memset(object, 0xA5, bytes);
        const std::size_t alignment = bytes >= 2 * sizeof(void*) ? 2 * sizeof(void*) : 4;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object) % alignment, 0u);
        const auto index = static_cast<unsigned int>((bytes + 4) / 4);
        ERChunk* const chunk = ERChunk::of(object);  // told by the word before an object
        ASSERT_EQ(chunk != nullptr, index < 48);
        EXPECT_TRUE(chunk == nullptr || (chunk->pool() == &threadData().pool(index) &&
                                         chunk->itemSize() == 4 * (index + 1)));
        ERMemoryPool::operator delete(object);
    }
    ERMemoryPool::operator delete(nullptr);
    void* const block = ERMemoryPool::operator new(12, 10);  // the count multiplies the request
    EXPECT_EQ(ERChunk::of(block)->pool(), &threadData().pool(31));
    ERMemoryPool::operator delete(block, 10);
}

TEST(PoolObject, GoesBackToThePoolThatMadeItFromAnyThread) {
    struct Small : ERMemoryPool {
        char content[30];
    };
    auto* const small = new Small;
    auto* const large = ERMemoryPool::operator new(300);
    ERMemPool* const home = ERChunk::of(small)->pool();
    ERMemPool own(sizeof(Small), 10);
    auto* const owned = new (own) Small;
    const unsigned int waiting = home->freeCount();
    std::thread([&] {
        EXPECT_NE(&threadData().pool(8), home);
        delete small;
        ERMemoryPool::operator delete(large);
        delete owned;
    }).join();
    EXPECT_EQ(home->freeCount(), waiting + 1);
    EXPECT_EQ(own.freeCount(), 1u);
}

}  // namespace
}  // namespace kerf
