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

TEST(String, EmptyStringsShareOneBlockThatIsNeverWritten) {
    ERCString a;
    const ERCString b, none(ERCString("x").strip(ERCString::both, 'x')), roomless(ERSize_T(0));
    EXPECT_TRUE(a.data() == b.data() && b.data() == none.data() && b.data() == roomless.data());
    a.append('x');
    std::vector<ERCString>(100)[1].toUpper();  // releasing holders leaves it in place
    EXPECT_TRUE(a == "x" && b == "");
}

TEST(String, BlocksAreKeptWhileAtMostFifteenBytesStayFree) {
    EXPECT_EQ(ERCString("0123456789abcdef0123456789abcde").capacity(), 45u);
    static_assert(!std::is_constructible_v<ERCString, int>);
    ERCString cut('x', 60), reserved("abc");
    const char* const block = cut.data();
    EXPECT_EQ(cut.remove(45).data(), block);  // 15 free
    EXPECT_NE(cut.remove(44).data(), block);  // 16 free
    EXPECT_EQ(cut.capacity(), 45u);
    EXPECT_TRUE(reserved.capacity(3) == 15 && reserved.capacity(100) == 100);
    EXPECT_EQ(reserved.append('d').capacity(), 15u);  // reserved for one change only
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

TEST(String, CopiesShareUntilOneIsWritten) {
    ERCString a("Shared"), b(a), c(ERCString("x"));
    c = a;
    EXPECT_TRUE(std::as_const(b)[0] == 'S' && a.data() == b.data() && b.data() == c.data());
    b(0) = 's';
    c.toUpper();
    EXPECT_EQ(a + b + c, "SharedsharedSHARED");
    ERCString d(std::move(a));
    d = static_cast<const ERCString&>(d);
    EXPECT_TRUE(a.isNull() && d == "Shared");
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
    for (const char* less : {"", "ab", "ABD", "aBc", "abb"})
        EXPECT_EQ(a.compareTo(less), 1) << less;
    for (const char* more : {"abcd", "ab\xE9", "b"}) EXPECT_EQ(a.compareTo(more), -1) << more;
    EXPECT_EQ(a.compareTo("AbC", ERCString::ignoreCase), 0);
    // Hashes by the definition, worked by hand.
    EXPECT_EQ(ERCString("abcdef").hash(), 0x8C6C314Au);  // rotl(646362A1, 5) ^ 6566
    EXPECT_EQ(ERCString("\xE9").hash(), 0xC9u);          // a byte, not a negative number
    EXPECT_EQ(ERCString("A1bz").hash(ERCString::ignoreCase), 0x604C1Au);
    EXPECT_TRUE("abc" == a && a < "abd" && "b" > a && a != ERCString("abc\0", 4));
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
    EXPECT_TRUE(zeros.isAscii() && !ERCString("\xB0").isAscii());
}

TEST(String, ViewsWriteThroughToTheString) {
    ERCString text("  key = value ");
    const ERCString held = text;
    text.subString("key") = "a longer key";
    EXPECT_EQ(toStd(text.strip()), "  a longer key = value");
    text.strip(ERCString::both) = "x";
    EXPECT_TRUE(text == "  x " && held == "  key = value ");
    ERCString same("aaaa"), numbers("one two three");
    same.strip(ERCString::both, 'a') = "nothing";
    EXPECT_EQ(same, "aaaa");
    ERCSubString two = numbers(4, 3);
    two = numbers(8, 5);  // from the same string
    two[0] = 'T';
    numbers("Thre+ ") = "";  // a pattern
    EXPECT_EQ(numbers, "one three");
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
    text = "left from before";
    EXPECT_TRUE(text.readFile(in).fail() && text.isNull());
    for (unsigned int n : {0u, 15u, 16u, 30u, 31u, 10000u}) {  // grows by fifteen
        std::istringstream all(std::string(n, 'x'));
        ERCString whole;
        EXPECT_TRUE(whole.readFile(all).fail() == (n == 0) && toStd(whole) == std::string(n, 'x'));
        EXPECT_EQ(whole.capacity(), n <= 15 ? 15u : (n + 14) / 15 * 15);
    }
}

using StringInAFile = test::DisturbedFile<ERFile>;

TEST_F(StringInAFile, IsItsLengthAndBytes) {
    const ERCString text("a\0bc", 4);
    file << text << ERCString();
    EXPECT_EQ(temporary.bytes(), std::string("\4\0\0\0a\0bc\0\0\0\0", 12));
    ERCString restored("before"), empty("not yet");
    const ERCString held = restored;
    file.SeekTo(0);
    file >> restored >> empty;
    EXPECT_TRUE(restored == text && empty.isNull() && held == "before");
}

TEST_F(StringInAFile, DamagedLengthsReadAsEmpty) {
    for (const unsigned int length : {4u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u}) {
        file.SetLength(7);
        file.SeekTo(0);
        file.Write(length);
        for (const ERLong start : {0, 5}) {  // the second cuts the length itself
            ERCString text("before");
            file.SeekTo(start);
            file >> text;
            EXPECT_TRUE(text.isNull() && file.CurOffset() <= start + 4);
        }
    }
}

TEST_F(StringInAFile, StaysWholeWhenTheFileFailsUnderIt) {
    file << ERCString("abc");
    for (std::uint64_t call : {1u, 2u}) {
        ERCString text("before"), held = text;
        file.SeekTo(0);
        backend.failCall(test::FileCall::read, call);
        EXPECT_ANY_THROW(text.restoreFrom(file));
        EXPECT_TRUE(text.data()[text.length()] == '\0' && held == "before");
    }
    backend.failCall(test::FileCall::write, 1);
    EXPECT_ANY_THROW(ERCString("abc").saveOn(file));
}

}  // namespace
}  // namespace kerf
