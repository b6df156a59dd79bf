#include "kerf/core/hash_dictionary.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace kerf {
namespace {

unsigned int identity(const int& key) { return static_cast<unsigned int>(key); }
using Dictionary = ERTValHashDictionary<int, std::string>;

template <class D>
std::vector<std::pair<int, std::string>> contents(const D& dictionary) {
    std::vector<std::pair<int, std::string>> all;
    dictionary.applyToKeyAndValue(
        [](const int& key, const std::string& value, void* context) {
            static_cast<decltype(all)*>(context)->emplace_back(key, value);
        },
        &all);
    return all;
}

unsigned int bucketsInUse(const Dictionary& dictionary) {
    unsigned int used = 0;
    for (unsigned int i = 0; i < dictionary.length(); ++i) used += dictionary.data()[i] != nullptr;
    return used;
}

TEST(HashDictionary, StartsWithAtLeastTwoBuckets) {
    EXPECT_EQ(Dictionary(identity, 0).length(), 2u);
    EXPECT_EQ(Dictionary(identity, 1).length(), 1u);
    EXPECT_EQ(Dictionary(identity, 7).length(), 7u);
}

TEST(HashDictionary, ReadingCreatesNothing) {
    Dictionary dictionary(identity, 5);
    std::string value = "kept";
    int found = 9;
    EXPECT_FALSE(dictionary.contains(3));
    EXPECT_FALSE(dictionary.find(3, found));
    EXPECT_FALSE(dictionary.findValue(3, value));
    EXPECT_FALSE(dictionary.findKeyAndValue(3, found, value));
    EXPECT_FALSE(dictionary.remove(3));
    EXPECT_EQ(value, "kept");
    EXPECT_EQ(found, 9);
    EXPECT_EQ(bucketsInUse(dictionary), 0u);
    EXPECT_EQ(dictionary[3], "");
    EXPECT_EQ(dictionary.entries(), 1u);
    EXPECT_EQ(bucketsInUse(dictionary), 1u);
}

TEST(HashDictionary, DefaultValuesAreInitialised) {
    ERTValHashDictionary<int, double> dictionary(identity, 3);
    for (int key = 0; key < 50; ++key) dictionary[key] = 1.5;
    dictionary.clear();
    for (int key = 0; key < 50; ++key) EXPECT_EQ(dictionary[key], 0.0);
}

// Oracle: std::map.
TEST(HashDictionary, FollowsAMapThroughRandomOperations) {
    Dictionary dictionary(identity, 7);
    std::map<int, std::string> wanted;
    std::mt19937 random(21);
    for (int step = 0; step < 20000; ++step) {
        const int key = static_cast<int>(random() % 60);
        const std::string value = std::to_string(random());
        switch (random() % 8) {
            case 0:
            case 1:
                dictionary.insertKeyAndValue(key, value);
                wanted[key] = value;
                break;
            case 2:
                dictionary[key] += 'x';
                wanted[key] += 'x';
                break;
            case 3:
            case 4:
                ASSERT_EQ(dictionary.remove(key), static_cast<int>(wanted.erase(key)));
                break;
            case 5: {
                std::string read;
                int found = -1;
                const auto place = wanted.find(key);
                ASSERT_EQ(dictionary.findKeyAndValue(key, found, read), place != wanted.end());
                if (place != wanted.end()) {
                    ASSERT_EQ(found, key);
                    ASSERT_EQ(read, place->second);
                }
                break;
            }
            case 6:
                if (random() % 40 == 0) dictionary.resize(static_cast<unsigned int>(random() % 30));
                break;
            default:
                if (random() % 200 == 0) {
                    dictionary.clear();
                    wanted.clear();
                }
        }
        ASSERT_EQ(dictionary.entries(), wanted.size());
        if (step % 50 == 0) {
            const auto all = contents(dictionary);
            ASSERT_EQ((std::map<int, std::string>(all.begin(), all.end())), wanted);
            ASSERT_EQ(all.size(), wanted.size());
        }
    }
}

TEST(HashDictionary, WalksItsBucketsInOrderOfArrival) {
    Dictionary dictionary(identity, 4);
    for (const int key : {9, 2, 5, 1, 4, 13}) dictionary[key] = std::string(1, 'v');
    const auto keys = [](const Dictionary& d) {
        std::vector<int> all;
        for (const auto& entry : contents(d)) all.push_back(entry.first);
        return all;
    };
    EXPECT_EQ(keys(dictionary), (std::vector{4, 9, 5, 1, 13, 2}));
    Dictionary copy(dictionary);
    EXPECT_EQ(keys(copy), keys(dictionary));
    copy[4] = "changed";
    EXPECT_EQ(dictionary[4], "v");
    dictionary.resize(3);
    EXPECT_EQ(keys(dictionary), (std::vector{9, 4, 1, 13, 5, 2}));
    dictionary = copy;
    EXPECT_EQ(dictionary.length(), 4u);
    EXPECT_EQ(keys(dictionary), (std::vector{4, 9, 5, 1, 13, 2}));
    EXPECT_EQ(dictionary[4], "changed");
}

TEST(HashDictionary, ValuesStayInPlaceAndAreChangedByTheWalk) {
    Dictionary dictionary(identity, 2);
    std::string& first = dictionary[1];
    for (int key = 2; key < 200; ++key) dictionary[key] = std::string(1, 'v');
    dictionary.resize(50);
    EXPECT_EQ(&dictionary[1], &first);
    dictionary.applyToKeyAndValue(
        [](const int& key, std::string& value, void* context) {
            value = std::to_string(key);
            if (key % 2 == 0) static_cast<Dictionary*>(context)->remove(key);
        },
        &dictionary);
    EXPECT_EQ(dictionary.entries(), 100u);
    EXPECT_EQ(dictionary[199], "199");
}

}  // namespace
}  // namespace kerf
