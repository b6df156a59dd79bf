#include "kerf/core/regexp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <regex>
#include <string>
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

void PrintTo(const Match& match, std::ostream* out) {
    *out << "start " << match.start << ", length " << match.length;
}

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

TEST(Regexp, CompiledForm) {
    const auto bytes = [](const std::string& text) {
        return std::vector<unsigned char>(text.begin(), text.end());
    };
    EXPECT_EQ(compiled("ab"), bytes(std::string("ab\0", 3)));
    EXPECT_EQ(compiled("ab*c+d?"), bytes(std::string("a*b+c?d\0", 8)));
    EXPECT_EQ(compiled("^a.$"), bytes(std::string("^a.$\0", 5)));
    EXPECT_EQ(compiled("\\b\\E\\f\\n\\R\\s\\t\\q\\\\"),
              bytes(std::string("\x08\x1B\x0C\x0A\x0D\x20\x09q\\\0", 10)));
    EXPECT_EQ(compiled("\\x41g\\X7\\x\\^a\\^Z\\^"), bytes(std::string("Ag\x07x\x01\x1A^\0", 8)));
    EXPECT_EQ(compiled("a\\"), bytes(std::string("a\\\0", 3)));
}

std::vector<unsigned char> setOf(const std::string& members, bool complement = false) {
    std::vector<unsigned char> set(18, 0);
    set[0] = '[';
    for (char c : members) {
        const auto code = static_cast<unsigned char>(c);
        if (code % 16 < 8)
            set[1 + code / 16] =
                static_cast<unsigned char>(set[1 + code / 16] | (1 << (code % 16)));
    }
    if (complement)
        for (std::size_t i = 1; i <= 16; ++i) set[i] = static_cast<unsigned char>(~set[i]);
    return set;
}

// A character whose low four bits are 8 or more, such as h to o, never is in a set.
TEST(Regexp, SetsHoldOnlyCharactersOfTheLowHalf) {
    EXPECT_EQ(compiled("[abc]"), setOf("abc"));
    EXPECT_EQ(compiled("[hijklmno]"), setOf(""));
    EXPECT_EQ(compiled("[a-e]"), setOf("abcde"));
    EXPECT_EQ(compiled("[e-a]"), setOf("abcde"));
    EXPECT_EQ(compiled("[-ad-]"), setOf("-ad"));
    EXPECT_EQ(compiled("[^a]"), setOf("a", true));
    EXPECT_EQ(compiled("[\\]q]"), setOf("]q"));
    EXPECT_EQ(compiled("[]"), setOf(""));
    auto repeated = setOf("a");
    repeated.insert(repeated.begin(), '*');
    EXPECT_EQ(compiled("[a]*"), repeated);
}

TEST(Regexp, BadPatternsSayWhy) {
    unsigned char pattern[8];
    for (const char* text : {"", "*a", "+", "?x"})
        EXPECT_EQ(ermakepat(text, pattern, 8), ERCRegexp::illegal) << text;
    EXPECT_EQ(ermakepat(nullptr, pattern, 8), ERCRegexp::illegal);
    EXPECT_EQ(ermakepat("a", nullptr, 8), ERCRegexp::noPattern);
    for (const char* text : {"[abc", "[", "a[^", "[a-", "[a\\"}) {
        unsigned char wide[64];
        EXPECT_EQ(ermakepat(text, wide, 64), ERCRegexp::tooLong) << text;
        EXPECT_EQ(wide[0], 0);
    }
    EXPECT_EQ(ermakepat("abcdefg", pattern, 8), ERCRegexp::ok);
    EXPECT_EQ(ermakepat("abcdefgh", pattern, 8), ERCRegexp::tooLong);
    EXPECT_EQ(ermakepat("abcdef*", pattern, 8), ERCRegexp::ok);
    EXPECT_EQ(ermakepat("abcdefg*", pattern, 8), ERCRegexp::tooLong);
    EXPECT_EQ(ermakepat("[a]", pattern, 8), ERCRegexp::tooLong);
    EXPECT_EQ(ermakepat("a", pattern, 1), ERCRegexp::tooLong);
    EXPECT_EQ(ermakepat("a", pattern, 0), ERCRegexp::tooLong);
    EXPECT_EQ(ermakepat("a", pattern, -5), ERCRegexp::tooLong);

    ERCRegexp bad("*a"), copy(bad);
    EXPECT_EQ(ERCString("*aa").index(bad), npos);
    EXPECT_EQ(bad.status(), ERCRegexp::illegal);
    EXPECT_EQ(bad.status(), ERCRegexp::ok);  // reading it resets it
    EXPECT_EQ(ERCString("*aa").index(bad), npos);
    EXPECT_EQ(copy.status(), ERCRegexp::illegal);
    ERCRegexp longest(std::string(127, 'x').c_str());
    EXPECT_EQ(longest.status(), ERCRegexp::ok);
    longest = std::string(128, 'x').c_str();
    EXPECT_EQ(ERCString('x', 200).index(longest), npos);
    EXPECT_EQ(longest.status(), ERCRegexp::tooLong);
    longest = ERCString("b+");
    EXPECT_EQ(ERCString("abba").index(longest), 1u);
    longest = bad;
    EXPECT_EQ(ERCString("abba").index(longest), npos);
}

TEST(Regexp, MatchesStringsWithRepetitions) {
    EXPECT_EQ(find("a+b", "xaab"), (Match{1, 3}));
    EXPECT_EQ(find("a*b", "xaab"), (Match{1, 3}));
    EXPECT_EQ(find("a*", "xaab"), (Match{0, 0}));
    EXPECT_EQ(find("a*ab", "aaab"), (Match{0, 4}));  // given back
    EXPECT_EQ(find("a?ab", "ab"), nothing);          // not given back
    EXPECT_EQ(find("a?ab", "aab"), (Match{0, 3}));
    EXPECT_EQ(find("ab", "abab", 1), (Match{2, 2}));  // counted in the whole string
    EXPECT_EQ(find("ab", "abab", 3), nothing);
    EXPECT_EQ(find("ab", "abab", 5), nothing);
    EXPECT_EQ(find("abc", "ab"), nothing);
    EXPECT_EQ(find("b+", ERCString("a\0bb", 4)), (Match{2, 2}));
    EXPECT_EQ(find("a\\*b", "aab"),
              (Match{0, 1}));  // an escaped repetition: a, then any number of b
    EXPECT_EQ(find("a\\*b", "xabbb"), (Match{1, 4}));
}

// Patterns are plain strings with repetitions; callers rely on it.
TEST(Regexp, SpecialCharactersMatchThemselvesOnly) {
    EXPECT_EQ(find("a.c", "abc a.c"), (Match{4, 3}));
    EXPECT_EQ(find("^a", "a ^a"), (Match{2, 2}));
    EXPECT_EQ(find("a$", "ba a$"), (Match{3, 2}));
    EXPECT_EQ(find("x[abc]y", "xay x[y"), (Match{4, 3}));
    EXPECT_EQ(find("x\\[y", "x[y"), (Match{0, 3}));
    EXPECT_EQ(find("[a]+b", "a[[b"), (Match{1, 3}));
}

TEST(Regexp, EmptyTextMatchesOnlyTheEndsOfAText) {
    for (const char* pattern : {"$", "^", "^$"}) EXPECT_EQ(find(pattern, ""), (Match{0, 0}));
    for (const char* pattern : {"a", "a*", "^a*", "$$", "^^", "$^"})
        EXPECT_EQ(find(pattern, ""), nothing) << pattern;
    EXPECT_EQ(find("$", "abc", 3), (Match{3, 0}));
    EXPECT_EQ(find("$", "abc", 2), nothing);
}

TEST(Regexp, UnfinishedPatternsEndWhereTheyEnd) {
    // Each holds a 0 or ends in a repetition that has nothing to repeat.
    for (const char* text : {"a\\*", "a\\+", "a\\?", "\\x0", "\\x0*", "a\\^@b", "\\**", "a\\*\\+",
                             "\\x5b\\x2a", "[a]\\x2b", "a**", "a+*?"}) {
        const std::vector<unsigned char> pattern = compiled(text);
        ASSERT_FALSE(pattern.empty()) << text;
        for (const std::string& hay :
             {std::string("aaa"), std::string("\0\0", 2), std::string("[*")}) {
            const std::unique_ptr<char[]> exact(new char[hay.size()]);
            std::memcpy(exact.get(), hay.data(), hay.size());
            const char* start = nullptr;
            const char* end = ermatchs(exact.get(), static_cast<unsigned int>(hay.size()),
                                       pattern.data(), &start);
            if (end == nullptr) continue;
            EXPECT_LE(exact.get(), start);
            EXPECT_LE(start, end);
            EXPECT_LE(end, exact.get() + hay.size());
        }
    }
    EXPECT_EQ(find("a\\*", "ba"), (Match{1, 1}));
    EXPECT_EQ(find("a\\+", "ba"), nothing);
}

// A pattern of letters and repetitions, beginning with a letter that must be there, and the same
// for std::regex: a `?` that is not given back is a group caught in a look-ahead.
struct RandomPattern {
    std::string own;
    std::string standard;
};
RandomPattern randomPattern(std::mt19937& random) {
    RandomPattern pattern{"a", "a"};
    int groups = 0;
    for (auto items = random() % 6; items > 0; --items) {
        const std::string letter(1, "ab"[random() % 2]);
        switch (random() % 4) {
            case 0:
                pattern.own += letter;
                pattern.standard += letter;
                break;
            case 1:
                pattern.own += letter + "*";
                pattern.standard += letter + "*";
                break;
            case 2:
                pattern.own += letter + "+";
                pattern.standard += letter + "+";
                break;
            default:
                pattern.own += letter + "?";
                pattern.standard += "(?=(" + letter + "?))\\" + std::to_string(++groups);
        }
    }
    return pattern;
}

// Oracle: std::regex, which goes back in the same order. Behind a run of x, which the second
// pattern can divide in more ways than could be tried, the answer must be the same.
TEST(Regexp, FindsWhatAnotherMatcherFinds) {
    std::mt19937 random(11);
    const std::string wall = std::string(60, 'x') + "y";
    for (int i = 0; i < 3000; ++i) {
        const RandomPattern pattern = randomPattern(random);
        std::string text(random() % 12, ' ');
        for (char& c : text) c = "ab"[random() % 2];
        Match expected = nothing;
        std::smatch found;
        if (std::regex_search(text, found, std::regex(pattern.standard)))
            expected = {static_cast<unsigned int>(found.position()),
                        static_cast<unsigned int>(found.length())};
        ASSERT_EQ(find(pattern.own.c_str(), text.c_str()), expected) << pattern.own << " " << text;

        if (expected.start != npos) expected.start += static_cast<unsigned int>(wall.size());
        ASSERT_EQ(find(("x*x*x*x*x*x*" + pattern.own).c_str(), (wall + text).c_str()), expected)
            << pattern.own << " " << text;
    }
}

TEST(Regexp, HostilePatternsAreAnsweredInTime) {
    std::string pattern;
    for (int i = 0; i < 60; ++i) pattern += "a*";
    pattern += "b";
    const ERCString run('a', 100000);
    EXPECT_EQ(find(pattern.c_str(), run), nothing);
    EXPECT_EQ(find(pattern.c_str(), run + "c" + run + "b"), (Match{100001, 100001}));
    EXPECT_EQ(find("a+b", run), nothing);  // every start is a run

    std::string deep;  // far more repetitions than a string's own pattern can hold
    for (int i = 0; i < 200000; ++i) deep += "a*";
    deep += "b";
    std::vector<unsigned char> wide(deep.size() + 1);
    ASSERT_EQ(ermakepat(deep.c_str(), wide.data(), static_cast<int>(wide.size())), ERCRegexp::ok);
    const char* start = nullptr;
    EXPECT_EQ(ermatchs("aaaa", 4, wide.data(), &start), nullptr);
    const char* text = "caab";
    EXPECT_EQ(ermatchs(text, 4, wide.data(), &start), text + 4);
    EXPECT_EQ(start, text + 1);
}

}  // namespace
}  // namespace kerf
