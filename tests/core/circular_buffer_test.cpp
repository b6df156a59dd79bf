#include "kerf/core/circular_buffer.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

namespace kerf {
namespace {

TEST(CircularBuffer, KeepsOneLessThanItsSizeAndLosesAllWhenFull) {
    ER_CirBuf buffer(4);
    buffer.Put("abc");
    EXPECT_EQ(buffer.GetNbChar(), 3);
    buffer.Put('d');
    EXPECT_EQ(buffer.GetNbChar(), 1);
    EXPECT_EQ(buffer.Get(), 'd');
    EXPECT_EQ(buffer.Get(), -1);
    EXPECT_EQ(buffer.GetTaille(), 4);
}

TEST(CircularBuffer, TellsEveryByteFromEmpty) {
    ER_CirBuf buffer(4);
    buffer.Put("\xFF\x00\x80", 3);
    EXPECT_EQ(buffer[0], 0xFF);
    EXPECT_EQ(buffer[2], 0x80);
    EXPECT_EQ(buffer[3], -1);
    EXPECT_EQ(buffer.Get(), 0xFF);
    EXPECT_EQ(buffer.Get(), 0);
}

// Oracle: a deque that is emptied when a byte would not fit.
TEST(CircularBuffer, ActsAsAQueue) {
    const int size = 11;
    ER_CirBuf buffer(size);
    std::deque<char> queue;
    std::mt19937 random(5);
    const auto put = [&](char c) {
        if (queue.size() == size - 1) queue.clear();
        queue.push_back(c);
    };
    for (int step = 0; step < 20000; ++step) {
        const char c = static_cast<char>('a' + random() % 26);
        switch (random() % 6) {
            case 0:
            case 1:
                buffer.Put(c);
                put(c);
                break;
            case 2: {
                const std::string text(random() % 15, c);
                if (random() % 2 == 0)
                    buffer.Put(text.c_str());
                else
                    buffer.Put(text.data(), static_cast<int>(text.size()));
                for (const char letter : text) put(letter);
                break;
            }
            case 3: {
                const int wanted = queue.empty() ? -1 : queue.front();
                ASSERT_EQ(buffer.Get(), wanted);
                if (!queue.empty()) queue.pop_front();
                break;
            }
            case 4: {
                const std::size_t n = random() % (queue.size() + 1);
                buffer.Consomme(static_cast<int>(n));
                queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(n));
                break;
            }
            default:
                if (random() % 20 == 0) {
                    buffer.RAZ();
                    queue.clear();
                }
        }
        ASSERT_EQ(buffer.GetNbChar(), static_cast<int>(queue.size()));
        for (int i = 0; i < size; ++i) {
            const auto place = static_cast<std::size_t>(i);
            ASSERT_EQ(buffer[i], place < queue.size() ? queue[place] : -1);
        }
    }
}

TEST(CircularBuffer, ConsumingTooMuchLeavesANegativeCount) {
    ER_CirBuf buffer(8);
    buffer.Put("abc");
    buffer.Consomme(5);
    EXPECT_EQ(buffer.GetNbChar(), -2);
    EXPECT_EQ(buffer.Get(), -1);
    EXPECT_EQ(buffer[0], -1);
    buffer.RAZ();
    EXPECT_EQ(buffer.GetNbChar(), 0);
    buffer.Put("abc", -2);
    EXPECT_EQ(buffer.GetNbChar(), 0);
}

TEST(CircularBuffer, AnOverrideMayKeepWhatItHas) {
    struct DropOldest : ER_CirBuf {
        using ER_CirBuf::ER_CirBuf;
        int dropped = 0;
        void OnDebord() override {
            Consomme(1);
            ++dropped;
        }
    };
    DropOldest buffer(4);
    buffer.Put("abcdefg");
    EXPECT_EQ(buffer.dropped, 4);
    EXPECT_EQ(buffer.Get(), 'e');
    EXPECT_EQ(buffer.Get(), 'f');
    EXPECT_EQ(buffer.Get(), 'g');
}

}  // namespace
}  // namespace kerf
