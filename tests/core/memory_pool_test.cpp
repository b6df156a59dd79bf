#include "kerf/core/memory_pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kerf/core/thread_data.h"
#include "kerf/platform/sinks.h"

namespace kerf {
namespace {

unsigned int chunksOf(const ERMemPool& pool) {
    unsigned int count = 0;
    for (const ERChunk* chunk = pool.chunks(); chunk != nullptr; chunk = chunk->GetNext()) ++count;
    return count;
}

template <std::size_t bytes>
struct Sized : ERMemoryPool {
    unsigned char content[bytes];
};

// The word before an object, which tells where it came from.
ERChunk* chunkOf(void* object) { return ERChunk::of(object); }

TEST(Chunk, SlotsFollowFromItemAndWordSize) {
    EXPECT_EQ(chunkSlots(4, 4), 508u);
    EXPECT_EQ(chunkSlots(8, 4), 338u);
    for (const std::size_t word : {4u, 8u}) {
        for (std::size_t item = 4; item <= 4096; ++item) {
            const std::size_t slot = chunkSlotSize(item, word);
            ASSERT_GE(slot, item + word);
            ASSERT_EQ(slot % word, 0u);
            // The object behind back pointer and header of a pool for objects of item - 4 bytes.
            if (item >= 4 + 2 * word) {
                ASSERT_EQ(slot % (2 * word), 0u);
            }
            ASSERT_LE(16 + 4 * word + chunkSlots(item, word) * slot, 4096u);
        }
    }
}

TEST(Chunk, LeavesItsLastSlotUnused) {
    for (const unsigned int objectSize : {0u, 4u, 20u, 188u, 1000u}) {
        ERMemPool pool(objectSize, 0);
        std::vector<void*> items{pool.alloc()};
        ERChunk* const chunk = pool.chunks();
        EXPECT_EQ(chunk->capacity(), chunkSlots(objectSize + 4));
        while (void* const item = chunk->GetNextFreeItem()) {
            EXPECT_TRUE(chunk->IsInBound(item));
            EXPECT_EQ(ERChunk::of(item), chunk);
            items.push_back(item);
        }
        EXPECT_EQ(items.size(), chunk->capacity() - 1);
        EXPECT_EQ(chunk->used(), items.size());
        EXPECT_FALSE(chunk->IsInBound(chunk));
        EXPECT_FALSE(chunk->IsInBound(reinterpret_cast<char*>(chunk) + ERChunk::size));
        EXPECT_EQ(chunk->sizeOfBlock(), objectSize + 8);
    }
}

TEST(Pool, ItemsAreDisjointAndKeepTheirContent) {
    for (const unsigned int objectSize : {0u, 1u, 7u, 8u, 24u, 100u, 500u, 1900u, 4000u}) {
        SCOPED_TRACE(objectSize);
        ERMemPool pool(objectSize, 20);
        std::mt19937 random(objectSize + 1);
        struct Item {
            unsigned char* bytes;
            unsigned char mark;
        };
        std::vector<Item> items;
        const std::size_t width = objectSize + 4;
        for (int step = 0; step < 4000; ++step) {
            if (items.empty() || random() % 100 < (step < 2000 ? 60u : 40u)) {
                auto* const bytes = static_cast<unsigned char*>(pool.alloc());
                ASSERT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % sizeof(void*), 0u);
                items.push_back({bytes, static_cast<unsigned char>(random())});
                std::memset(bytes, items.back().mark, width);
            } else {
                const std::size_t i = random() % items.size();
                for (std::size_t b = 0; b < width; ++b) ASSERT_EQ(items[i].bytes[b], items[i].mark);
                pool.free(items[i].bytes);
                items[i] = items.back();
                items.pop_back();
            }
            ASSERT_LE(pool.freeCount(), 20u);
        }
        for (const Item& item : items) pool.free(item.bytes);
        pool.collateFreeSpace();
        EXPECT_EQ(pool.chunks(), nullptr);
    }
}

TEST(Pool, GivesItemsStraightBackWhenNoneMayWait) {
    ERMemPool pool(20, 0);
    void* const first = pool.alloc();
    void* const second = pool.alloc();
    pool.free(first);
    EXPECT_EQ(pool.freeCount(), 0u);
    EXPECT_EQ(pool.chunks()->live(), 1u);
    EXPECT_EQ(pool.alloc(), first) << "a chunk hands out returned items before it carves";
    pool.free(first);
    pool.free(second);
    EXPECT_EQ(pool.chunks(), nullptr);
}

TEST(Pool, FreedChunksLeaveTheChainAnywhere) {
    ERMemPool pool(1000, 0);  // few items a chunk
    const std::size_t perChunk = chunkSlots(1004) - 1;
    for (const std::size_t emptied : {0u, 1u, 2u}) {
        std::vector<void*> items;
        for (std::size_t i = 0; i < 3 * perChunk; ++i) items.push_back(pool.alloc());
        ASSERT_EQ(chunksOf(pool), 3u);
        for (std::size_t i = 0; i < perChunk; ++i) pool.free(items[emptied * perChunk + i]);
        EXPECT_EQ(chunksOf(pool), 2u);
        const ERChunk* previous = nullptr;
        for (const ERChunk* c = pool.chunks(); c != nullptr; previous = c, c = c->GetNext())
            EXPECT_EQ(c->GetPrevious(), previous);
        pool.purge();
        EXPECT_EQ(chunksOf(pool), 0u);
    }
}

TEST(Pool, TheFreeBeyondTheLimitCollates) {
    std::string text;
    const DebugTextSink former = setDebugTextSink([&](const char* part) { text += part; });
    text.clear();
    ERMemPool::debug_MemPool = 1;
    {
        ERMemPool pool(12, 1024);
        std::vector<void*> items;
        for (int i = 0; i < 1026; ++i) items.push_back(pool.alloc());
        for (std::size_t i = 0; i < 1024; ++i) pool.free(items[i]);
        EXPECT_EQ(pool.freeCount(), 1024u);
        EXPECT_EQ(text, "");
        pool.free(items[1024]);
        EXPECT_EQ(pool.freeCount(), 0u);
        EXPECT_EQ(text, "Garbage Collecting done\n");
        ERMemPool::debug_MemPool = 0;
        EXPECT_EQ(chunksOf(pool), 1u) << "only the chunk of the last item in use is left";

        ERMemPool endless(12, ERMemPool::unlimited);
        for (void*& item : items) item = endless.alloc();
        for (void* const item : items) endless.free(item);
        EXPECT_EQ(endless.freeCount(), 1026u);
    }
    EXPECT_EQ(text, "Garbage Collecting done\n");
    setDebugTextSink(former);
}

TEST(Pool, PurgeForgetsItemsInUse) {
    ERMemPool pool(40, 1024);
    for (int i = 0; i < 500; ++i) {
        void* const item = pool.alloc();
        if (i % 3 == 0) pool.free(item);
    }
    pool.purge();
    EXPECT_EQ(pool.chunks(), nullptr);
    EXPECT_EQ(pool.freeCount(), 0u);
    std::memset(pool.alloc(), 1, 44);
}

TEST(PoolObject, RequestsGoToThePoolOfTheirSize) {
    EXPECT_EQ(ERMemoryPool::poolIndex(184), 47u);
    for (std::size_t bytes = 1; bytes <= 400; ++bytes) {
        void* const object = ERMemoryPool::operator new(bytes);
        std::memset(object, 0xA5, bytes);
        const std::uintptr_t wanted = bytes >= 2 * sizeof(void*) ? 2 * sizeof(void*) : 8;
        if (bytes >= 8) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object) % wanted, 0u) << bytes;
        }
        const std::size_t index = (bytes + 4) / 4;
        if (index < 48) {
            ASSERT_NE(chunkOf(object), nullptr) << bytes;
            EXPECT_EQ(chunkOf(object)->pool(), &threadData().pool(static_cast<unsigned>(index)));
            EXPECT_EQ(chunkOf(object)->itemSize(), 4 * (index + 1));
        } else {
            EXPECT_EQ(chunkOf(object), nullptr) << bytes;
        }
        ERMemoryPool::operator delete(object);
    }
    ERMemoryPool::operator delete(nullptr);
}

TEST(PoolObject, TheCountMultipliesTheRequest) {
    void* const block = ERMemoryPool::operator new(12, 10);
    EXPECT_EQ(chunkOf(block)->pool(), &threadData().pool(31));
    ERMemoryPool::operator delete(block, 10);
}

TEST(PoolObject, TakesAPoolOfItsOwn) {
    ERMemPool pool(sizeof(Sized<28>), 10);
    auto* const object = new (pool) Sized<28>;
    EXPECT_EQ(chunkOf(object)->pool(), &pool);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object) % (2 * sizeof(void*)), 0u);
    delete object;
    EXPECT_EQ(pool.freeCount(), 1u);
    auto* const again = new (pool) Sized<28>;
    EXPECT_EQ(again, object) << "the last item freed is the first handed out";
    delete again;
}

TEST(PoolObject, GoesBackToThePoolThatMadeItFromAnyThread) {
    auto* const small = new Sized<30>;
    auto* const large = new Sized<300>;
    ERMemPool* const home = chunkOf(small)->pool();
    const unsigned int waiting = home->freeCount();
    ERMemPool* elsewhere = nullptr;
    std::thread([&] {
        auto* const other = new Sized<30>;
        elsewhere = chunkOf(other)->pool();
        delete other;
        delete small;
        delete large;
    }).join();
    EXPECT_NE(elsewhere, home);
    EXPECT_EQ(home->freeCount(), waiting + 1);
}

TEST(ThreadPools, ServeSizesInStepsOfFour) {
    std::thread([] {
        for (unsigned int i = 0; i < ERMemoryPool::poolCount; ++i) {
            EXPECT_EQ(threadData().pool(i).itemSize(), 4 * (i + 1));
            EXPECT_EQ(threadData().pool(i).maxFree(), 1024u);
        }
    }).join();
}

}  // namespace
}  // namespace kerf
