#include "kerf/core/circular_buffer.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

namespace kerf {
namespace {

// Oracle: a deque that is emptied when a byte would not fit.
TEST(CircularBuffer, ActsAsAQueueThatLosesAllWhenFull) {
    const int size = 11;
    ER_CirBuf buffer(size);
    std::deque<unsigned char> queue;
    std::mt19937 random(5);
    for (int step = 0; step < 20000; ++step) {
        const std::string text(random() % 15, static_cast<char>(random() % 255 + 1));
        const std::size_t n = random() % (queue.size() + 1);
        const auto action = random() % 5;
        if (action == 0) {
            buffer.Put(text.c_str());
            for (const char c : text) {
                if (queue.size() == size - 1) queue.clear();
                queue.push_back(static_cast<unsigned char>(c));
            }
        } else if (action == 1) {
            buffer.Consomme(static_cast<int>(n));
            queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(n));
        } else if (action == 2 && queue.size() > 8) {
            buffer.RAZ();
            queue.clear();
        } else {
            ASSERT_EQ(buffer.Get(), queue.empty() ? -1 : queue.front());
            if (!queue.empty()) queue.pop_front();
        }
        ASSERT_EQ(buffer.GetNbChar(), static_cast<int>(queue.size()));
        for (std::size_t i = 0; i < size; ++i)
            ASSERT_EQ(buffer[static_cast<int>(i)], i < queue.size() ? queue[i] : -1);
    }
}

TEST(CircularBuffer, ConsumingMoreThanThereIsMakesTheCountNegative) {
    ER_CirBuf buffer(11);
    buffer.Put("ab");
    buffer.Consomme(5);
    EXPECT_EQ(buffer.GetNbChar(), -3);
    EXPECT_EQ(buffer.Get(), -1);
}

}  // namespace
}  // namespace kerf
