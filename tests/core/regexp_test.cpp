#include "kerf/core/regexp.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace kerf {
namespace {

constexpr unsigned int npos = ERCString::npos;

struct Match {
    unsigned int start;
    unsigned int length;
    bool operator==(const Match&) const = default;
};
constexpr Match nothing{npos, 0};

Match find(const char* pattern, const ERCString& text, unsigned int start = 0) {
    Match match{77, 77};
    match.start = ERCRegexp(pattern).index(text, &match.length, start);
    return match;
}

// Exact blocks on the heap, so that any read past a pattern or a text is seen.
std::vector<unsigned char> compiled(const std::string& text) {
    unsigned char wide[1024];
    if (ermakepat(text.c_str(), wide, sizeof wide) != ERCRegexp::ok) return {};
    for (int size = 1;; ++size) {
        std::vector<unsigned char> exact(static_cast<std::size_t>(size), 0xEE);
        if (ermakepat(text.c_str(), exact.data(), size) == ERCRegexp::ok) return exact;
    }
}

std::vector<unsigned char> bytes(const std::string& text) { return {text.begin(), text.end()}; }

TEST(Regexp, TextsAreSearchedFromAStartOrForALength) {
    unsigned int length = 0;
    EXPECT_EQ(ERCString("hello").index(ERCRegexp("l+"), 0), 2u);
    EXPECT_EQ(ERCString("hello").index(ERCRegexp("l+"), &length, 3), 3u);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(ERCString("Hello").index("LO", ERCString::ignoreCase), 3u);
}

TEST(Regexp, CompiledForm) {
    EXPECT_EQ(compiled("^a.$b*c+d?"), bytes(std::string("^a.$*b+c?d\0", 11)));
    EXPECT_EQ(compiled("\\b\\E\\f\\n\\R\\s\\t\\q\\\\"),
              bytes(std::string("\x08\x1B\x0C\x0A\x0D\x20\x09q\\\0", 10)));
    EXPECT_EQ(compiled("\\x41g\\X7\\x\\^a\\^Z\\^"), bytes(std::string("Ag\x07x\x01\x1A^\0", 8)));
}

std::vector<unsigned char> setOf(const std::string& members, int flip = 0) {
    std::vector<unsigned char> set(18, static_cast<unsigned char>(flip));
    for (const char c : members) {
        auto& byte = set[1 + static_cast<std::size_t>(c / 16)];
        byte = static_cast<unsigned char>(byte ^ (1 << (c % 16)));
    }
    set.front() = '[';
    set.back() = 0;
    return set;
}

// Kept: a character whose low four bits are 8 or more, such as h to o, never is in a set.
TEST(Regexp, SetsHoldOnlyCharactersOfTheLowHalf) {
    EXPECT_EQ(compiled("[hijklmno]"), setOf(""));
    EXPECT_EQ(compiled("[e-a]"), setOf("abcde"));
    EXPECT_EQ(compiled("[^a]"), setOf("a", 0xFF));
    EXPECT_EQ(compiled("[a-]"), setOf("a"));  // no range; - is of the high half
}

TEST(Regexp, BadPatternsSayWhy) {
    unsigned char pattern[8];
    for (const char* text : {"", "*a", static_cast<const char*>(nullptr)})
        EXPECT_EQ(ermakepat(text, pattern, 8), ERCRegexp::illegal);
    for (const char* text : {"[abc", "[", "a[^", "[a-", "[a\\", "abcdefgh", "abcdefg*", "[a]"})
        EXPECT_EQ(ermakepat(text, pattern, 8), ERCRegexp::tooLong) << text;
    EXPECT_EQ(ermakepat("abcdef*", pattern, 8), ERCRegexp::ok);

    ERCRegexp bad("*a"), copy(bad);
    EXPECT_EQ(bad.status(), ERCRegexp::illegal);
    EXPECT_EQ(copy.status(), ERCRegexp::illegal);
    EXPECT_EQ(bad.status(), ERCRegexp::ok);  // reading it resets it
    EXPECT_EQ(ERCRegexp(std::string(128, 'x').c_str()).status(), ERCRegexp::tooLong);
}

// Kept: patterns are plain strings with repetitions.
TEST(Regexp, SpecialCharactersMatchThemselvesOnly) {
    const struct {
        const char *pattern, *text;
        unsigned int start;
        Match expected;
    } cases[] = {{"a.c", "abc a.c", 0, {4, 3}},
                 {"^a", "a ^a", 0, {2, 2}},
                 {"x[abc]y", "xay x[y", 0, {4, 3}},
                 {"[a]+b", "a[[b", 0, {1, 3}},
                 // An escaped repetition acts as one; positions count in the whole string.
                 {"a\\*b", "xabbb", 0, {1, 4}},
                 {"a\\*", "ba", 0, {1, 1}},
                 {"ab", "abab", 1, {2, 2}},
                 {"ab", "abab", 5, nothing},
                 // An empty text is matched by the ends of a text alone.
                 {"$", "", 0, {0, 0}},
                 {"a*", "", 0, nothing},
                 {"$", "abc", 3, {3, 0}},
                 {"$", "abc", 2, nothing}};
    for (const auto& c : cases)
        EXPECT_EQ(find(c.pattern, c.text, c.start), c.expected) << c.pattern << " in " << c.text;
}

// A pattern of letters and repetitions, beginning with a letter that must be there, and the same
// for std::regex: a `?` that is not given back is a group caught in a look-ahead.
std::pair<std::string, std::string> randomPattern(std::mt19937& random) {
    std::string own = "a", standard = "a";
    int groups = 0;
    for (auto items = random() % 6; items > 0; --items) {
        const std::string item =
            std::array{"a", "a*", "a+", "a?", "b", "b*", "b+", "b?"}[random() % 8];
        own += item;
        standard += item.back() == '?' ? "(?=(" + item + "))\\" + std::to_string(++groups) : item;
    }
    return {own, standard};
}

// Oracle: std::regex, which tries the same lengths in the same order. The second pattern can divide a
// run of x in more ways than could be tried; after the run it must find the same.
TEST(Regexp, FindsWhatAnotherMatcherFinds) {
    std::mt19937 random(11);
    const std::string wall = std::string(60, 'x') + "y";
    for (int i = 0; i < 3000; ++i) {
        const auto [own, standard] = randomPattern(random);
        std::string text(random() % 12, ' ');
        for (char& c : text) c = "ab"[random() % 2];
        Match expected = nothing;
        std::smatch found;
        if (std::regex_search(text, found, std::regex(standard)))
            expected = {static_cast<unsigned int>(found.position()),
                        static_cast<unsigned int>(found.length())};
        ASSERT_EQ(find(own.c_str(), text.c_str()), expected) << own << " " << text;
        if (expected.start != npos) expected.start += static_cast<unsigned int>(wall.size());
        ASSERT_EQ(find(("x*x*x*x*x*x*" + own).c_str(), (wall + text).c_str()), expected)
            << own << " " << text;
    }
}

TEST(Regexp, HostilePatternsEndInTime) {
    std::string pattern;
    for (int i = 0; i < 60; ++i) pattern += "a*";
    const ERCString run('a', 100000);
    EXPECT_EQ(find((pattern + "b").c_str(), run + "c" + run + "b"), (Match{100001, 100001}));
    EXPECT_EQ(find("a+b", run), nothing);  // every start is a run
}

}  // namespace
}  // namespace kerf
