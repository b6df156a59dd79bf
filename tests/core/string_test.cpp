#include "kerf/core/string.h"

#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/core/regexp.h"
#include "tests/platform/disturbed_file.h"

namespace kerf {
namespace {

constexpr unsigned int npos = ERCString::npos;

template <class Text>
std::string toStd(const Text& text) {
    return {text.data(), text.length()};
}

ERCString fromStd(const std::string& s) { return {s.data(), static_cast<unsigned int>(s.size())}; }

TEST(String, CopiesShareABlockAndEmptyStringsOneThatIsNeverWritten) {
    ERCString a;
    const ERCString b, none(ERCString("x").strip(ERCString::both, 'x'));
    EXPECT_TRUE(a.data() == b.data() && b.data() == none.data());
    a.append('x');
    std::vector<ERCString>(100)[1].toUpper();  // releasing holders leaves it in place
    EXPECT_TRUE(a == "x" && b == "");
    ERCString copy;
    copy = a;
    const ERCString moved(std::move(a));
    EXPECT_TRUE(copy.data() == moved.data() && a.isNull());
    copy.toUpper();
    EXPECT_EQ(copy + moved, "Xx");
}

// Oracle: std::string. The texts put in come from elsewhere or from the string itself; each string
// has a copy that must not change with it.
TEST(String, EditsMatchStdString) {
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](unsigned int n) { return static_cast<unsigned int>(random() % n); };
        ERCString text;
        std::string expected;
        for (int step = 0; step < 600; ++step) {
            const auto size = static_cast<unsigned int>(expected.size());
            const std::string before = expected;
            const ERCString held = below(3) == 0 ? text : text.copy();

            std::string source(below(4) == 0 ? below(70) : below(6), ' ');
            for (char& c : source) c = static_cast<char>(below(4) == 0 ? 0 : 'a' + below(26));
            const char* given = source.data();
            auto count = static_cast<unsigned int>(source.size());
            if (below(4) == 0) {  // from the string itself
                const unsigned int from = below(size + 1);
                given = text.data() + from;
                count = below(size - from + 1);
                source = expected.substr(from, count);
            }
            const unsigned int position = below(size + 1);
            const unsigned int n = below(8) == 0 ? npos : below(20);
            const auto both = [&](auto edit) { edit(expected), edit(text); };
            const unsigned int way = below(11);
            if (way == 0) both([&](auto& s) { s.append(given, count); });
            if (way == 1) both([&](auto& s) { s.insert(position, given, count); });
            if (way == 2) both([&](auto& s) { s.replace(position, n, given, count); });
            if (way == 3) both([&](auto& s) { s = given; });  // up to its first 0
            if (way == 4 && size > 0) both([&](auto& s) { s[position % size] = 'w'; });
            if (way == 5) text.prepend(given, count), expected.insert(0, source);
            if (way == 6) text.remove(position, n), expected.erase(position, n);
            if (way == 7) text.resize(n % 50), expected.resize(n % 50, ' ');
            if (way == 8) text(position, n) = fromStd(source);
            if (way == 9) text.replace(position, n, text, count), source = before.substr(0, count);
            if (way == 8 || way == 9) expected.replace(position, n, source);
            if (way == 10) {
                text(position, n).toUpper();
                for (std::size_t i = position; i < expected.size() && i - position < n; ++i)
                    expected[i] = static_cast<char>(std::toupper(expected[i]));
            }
            ASSERT_EQ(toStd(text), expected) << "seed " << seed << ", step " << step;
            ASSERT_EQ(text.data()[text.length()], '\0');
            ASSERT_EQ(toStd(held), before);
        }
    }
}

TEST(String, PositionsBehindTheEndAndNullTextsAreHarmless) {
    ERCString a("abc");
    const char* null = nullptr;
    a.insert(99, "d").remove(50).replace(77, 5, "e").append(null).prepend(null, 4);
    a.append(ERCString("fgh"), 99).append("i\0j", 3);
    EXPECT_EQ(toStd(a), std::string("abcdefghi\0j", 11));
    a.remove(1, npos).append('x', npos);            // past what a string can hold: not made
    EXPECT_TRUE(!a(2, 1) && a(1, 1).start() == 1);  // an empty part at the end
    EXPECT_TRUE(a.index(null) == 0 && a.compareTo(null) == 1 && a == "a");
}

TEST(String, ComparesAndHashesUnsignedBytes) {
    const ERCString a("abc");
    for (const char* less : {"", "ab", "ABD", "abb"}) EXPECT_EQ(a.compareTo(less), 1) << less;
    for (const char* more : {"abcd", "ab\xE9", "b"}) EXPECT_EQ(a.compareTo(more), -1) << more;
    EXPECT_EQ(a.compareTo("AbC", ERCString::ignoreCase), 0);
    // Hashes by the definition, worked by hand.
    EXPECT_EQ(ERCString("abcdef").hash(), 0x8C6C314Au);  // rotl(646362A1, 5) ^ 6566
    EXPECT_EQ(ERCString("\xE9").hash(), 0xC9u);          // a byte, not a negative number
    EXPECT_EQ(ERCString("A1bz").hash(ERCString::ignoreCase), 0x604C1Au);
}

// Oracle: std::string::find, over the lower-case texts when case is ignored.
TEST(String, IndexFindsWhatStdStringFinds) {
    std::mt19937 random(5);
    const auto lower = [](std::string text) {
        for (char& c : text) c = static_cast<char>(std::tolower(c));
        return text;
    };
    for (int i = 0; i < 20000; ++i) {
        std::string hay(random() % 40, ' '), needle(random() % (i % 2 ? 4 : 12), ' ');
        for (char& c : hay) c = "aAb\0"[random() % 4];
        for (char& c : needle) c = "aAb\0"[random() % 4];
        const auto start = static_cast<unsigned int>(random() % 44);
        const ERCString text = fromStd(hay);
        const auto count = static_cast<unsigned int>(needle.size());
        ASSERT_EQ(text.index(needle.data(), count, start),
                  static_cast<unsigned int>(hay.find(needle, start)));
        ASSERT_EQ(text.index(fromStd(needle), start, ERCString::ignoreCase),
                  static_cast<unsigned int>(lower(hay).find(lower(needle), start)));
    }
    const ERCString zeros("ab\0ab/c", 7);
    EXPECT_TRUE(zeros.last('b') == 1 && zeros.first("/c") == npos);  // seen up to the first 0
}

TEST(String, ViewsWriteThroughToTheString) {
    ERCString text("  key = value ");
    text.subString("key") = "a longer key";
    EXPECT_EQ(toStd(text.strip()), "  a longer key = value");
    text.strip(ERCString::both) = "x";
    EXPECT_EQ(text, "  x ");
    ERCString numbers("one two three");
    ERCSubString two = numbers(4, 3);
    numbers("thre+") = "";  // a pattern
    EXPECT_EQ(numbers, "one two ");
    numbers = "on";  // shorter than the view: it is empty now, and writes at the end
    two = "ly";
    EXPECT_EQ(numbers, "only");
}

TEST(String, ReadsLinesWordsAndDelimitedFields) {
    std::istringstream in(std::string("\n  first line\n\nlast a;b;\0word1  word2", 37));
    ERCString text("before");
    std::string read;
    const auto take = [&](bool) { read += toStd(text) + '|'; };
    take(!text.readLine(in)), take(!text.readLine(in, 0)), take(!text.readToken(in));
    take(!text.readToDelim(in, ';')), take(!text.readString(in));
    while (in >> text) take(true);
    EXPECT_EQ(read, "first line||last| a|b;|word1|word2|");
}

using StringInAFile = test::DisturbedFile<ERFile>;

TEST_F(StringInAFile, IsItsLengthAndBytesOrEmptyWhenDamaged) {
    const ERCString stored("a\0bc", 4);
    file << stored << ERCString();
    EXPECT_EQ(temporary.bytes(), std::string("\4\0\0\0a\0bc\0\0\0\0", 12));
    ERCString restored("before"), empty("not yet");
    file.SeekTo(0);
    file >> restored >> empty;
    EXPECT_TRUE(restored == stored && empty.isNull());
    for (const unsigned int length : {4u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u}) {
        file.SetLength(7);
        file.SeekTo(0);
        file.Write(length);
        ERCString text("before");
        file.SeekTo(0);
        file >> text;
        EXPECT_TRUE(text.isNull() && file.CurOffset() <= 4);
    }
}

}  // namespace
}  // namespace kerf
