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
using Entries = std::vector<std::pair<int, std::string>>;

Entries contents(const Dictionary& dictionary) {
    Entries all;
    dictionary.applyToKeyAndValue(
        [](const int& key, const std::string& value, void* context) {
            static_cast<Entries*>(context)->emplace_back(key, value);
        },
        &all);
    return all;
}

// Oracle: std::map.
TEST(HashDictionary, FollowsAMapThroughRandomOperations) {
    Dictionary dictionary(identity, 7);
    std::map<int, std::string> wanted;
    std::mt19937 random(21);
    for (int step = 0; step < 20000; ++step) {
        const int key = static_cast<int>(random() % 60);
        const std::string value = std::to_string(random());
        const auto action = random() % 400;
        if (action < 150) {
            dictionary.insertKeyAndValue(key, wanted[key] = value);
        } else if (action < 250) {
            dictionary[key] += 'x';
            wanted[key] += 'x';
        } else {
            ASSERT_EQ(dictionary.remove(key), static_cast<int>(wanted.erase(key)));
        }
        if (action % 40 == 0) dictionary.resize(static_cast<unsigned int>(random() % 30));
        if (action == 0) dictionary.clear(), wanted.clear();
        const int sought = static_cast<int>(random() % 60);
        int found = -1;
        std::string read = "former";
        const auto place = wanted.find(sought);
        const bool there = dictionary.findKeyAndValue(sought, found, read);
        ASSERT_EQ(there, place != wanted.end());
        ASSERT_EQ(found, there ? sought : -1);
        ASSERT_EQ(read, there ? place->second : "former");
        ASSERT_EQ(dictionary.entries(), wanted.size());
        if (step % 50 != 0) continue;
        const Entries all = contents(dictionary);
        ASSERT_EQ((std::map<int, std::string>(all.begin(), all.end())), wanted);
    }
}

TEST(HashDictionary, ValuesStayInPlaceAndMayBeRemovedWhileVisited) {
    Dictionary dictionary(identity, 2);
    std::string& first = dictionary[1];
    for (int key = 2; key < 200; ++key) dictionary[key] = "v";
    dictionary.resize(50);
    dictionary.applyToKeyAndValue(
        [](const int& key, std::string& value, void* context) {
            value = std::to_string(key);
            if (key % 2 == 0) static_cast<Dictionary*>(context)->remove(key);
        },
        &dictionary);
    EXPECT_EQ(dictionary.entries(), 100u);
    EXPECT_EQ(first, "1");
    EXPECT_EQ(&dictionary[1], &first);
}

}  // namespace
}  // namespace kerf
