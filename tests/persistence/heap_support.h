#pragma once
#include <gtest/gtest.h>

#include <initializer_list>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kerf/platform/config.h"

// A reader of a heap's bytes that knows the layout and nothing of the code.
namespace kerf::test {

/// Repeatable draws.
class Draws {
public:
    explicit Draws(unsigned int seed) : engine_(seed) {}
    /// 0 to below - 1.
    unsigned int operator()(std::size_t below) {
        return static_cast<unsigned int>(engine_() % below);
    }

private:
    std::mt19937 engine_;
};

inline ERLong wordAt(const std::string& bytes, std::size_t offset) {
    ERULong value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= static_cast<ERULong>(static_cast<unsigned char>(bytes.at(offset + i))) << (8 * i);
    return static_cast<ERLong>(value);
}

inline void setWord(std::string& bytes, std::size_t offset, ERLong value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes.at(offset + i) = static_cast<char>(static_cast<ERULong>(value) >> (8 * i));
}

inline std::string words(std::initializer_list<ERLong> values) {
    std::string bytes(4 * values.size(), '\0');
    std::size_t offset = 0;
    for (const ERLong value : values) {
        setWord(bytes, offset, value);
        offset += 4;
    }
    return bytes;
}

/// Hands out the bytes of a file with each byte changed in three ways, and cut at each length.
template <class Use>
void forEachDamage(const std::string& sound, Use use) {
    for (std::size_t offset = 0; offset < sound.size(); ++offset) {
        SCOPED_TRACE(testing::Message() << "damaged at " << offset);
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string damaged = sound;
            damaged[offset] = static_cast<char>(damaged[offset] ^ change);
            use(damaged);
        }
        use(sound.substr(0, offset));
    }
}

inline std::string newHeap() {
    return words({-1, 280, 268, /*node*/ 588}) + std::string(260, '\0') + words({12});
}

struct FreeNode {
    std::size_t location;
    std::vector<std::pair<ERLong, ERLong>> entries;  // start, size
    bool operator==(const FreeNode&) const = default;
};

inline std::vector<FreeNode> freeList(const std::string& bytes) {
    std::vector<FreeNode> nodes;
    std::size_t location = 12;
    do {
        nodes.push_back({location, {}});
        for (std::size_t i = 0; i < static_cast<std::size_t>(wordAt(bytes, location + 260)); ++i)
            nodes.back().entries.emplace_back(wordAt(bytes, location + 4 + 4 * i),
                                              wordAt(bytes, location + 132 + 4 * i));
        location = static_cast<std::size_t>(wordAt(bytes, location + 264));
    } while (location != 12 && nodes.size() < 10000);
    return nodes;
}

/// What must hold of every heap: the nodes form a ring, entries ascend, and nothing that is free,
/// allocated or a node overlaps anything else.
template <class Locations>
void expectSoundHeap(const std::string& bytes, const Locations& allocated) {
    std::map<ERLong, ERLong> taken;  // start to end
    const auto take = [&](ERLong start, ERLong size, const char* what) {
        ASSERT_GE(start, 280) << what;
        ASSERT_GT(size, 0) << what;
        ASSERT_LE(start + size, wordAt(bytes, 4)) << what;
        const auto next = taken.lower_bound(start);
        ASSERT_TRUE(next == taken.end() || start + size <= next->first) << what << " at " << start;
        ASSERT_TRUE(next == taken.begin() || std::prev(next)->second <= start) << what;
        taken[start] = start + size;
    };
    for (const FreeNode& node : freeList(bytes)) {
        ASSERT_EQ(wordAt(bytes, node.location) & 0xFFFF, 588);
        if (node.location != 12) take(static_cast<ERLong>(node.location), 268, "node");
        ERLong last = 0;
        for (const auto& [start, size] : node.entries) {
            EXPECT_GT(start, std::exchange(last, start));
            take(start, size, "free block");
        }
    }
    for (const ERLong location : allocated)
        take(location - 4, wordAt(bytes, static_cast<std::size_t>(location) - 4), "block");
}

}  // namespace kerf::test
