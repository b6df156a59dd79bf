#include "kerf/core/string.h"

#include <gtest/gtest.h>

#include <cctype>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/core/regexp.h"
#include "kerf/platform/text.h"
#include "tests/support/disturbed_file.h"

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
    EXPECT_EQ(a.data(), b.data());
    EXPECT_EQ(b.data(), none.data());
    a.append('x');
    std::vector<ERCString>(100)[1].toUpper();  // releasing holders leaves it in place
    EXPECT_EQ(a, "x");
    EXPECT_EQ(b, "");
    ERCString copy;
    copy = a;
    const ERCString moved(std::move(a));
    EXPECT_EQ(copy.data(), moved.data());
    EXPECT_EQ(a.isNull(), 1);  // NOLINT(bugprone-use-after-move)
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
            const unsigned int action = below(11);
            if (action == 0) both([&](auto& s) { s.append(given, count); });
            if (action == 1) both([&](auto& s) { s.insert(position, given, count); });
            if (action == 2) both([&](auto& s) { s.replace(position, n, given, count); });
            if (action == 3) both([&](auto& s) { s = given; });  // up to its first 0
            if (action == 4 && size > 0) both([&](auto& s) { s[position % size] = 'w'; });
            if (action == 5) text.prepend(given, count), expected.insert(0, source);
            if (action == 6) text.remove(position, n), expected.erase(position, n);
            if (action == 7) text.resize(n % 50), expected.resize(n % 50, ' ');
            if (action == 8) text(position, n) = fromStd(source);
            if (action == 9)
                text.replace(position, n, text, count), source = before.substr(0, count);
            if (action == 8 || action == 9) expected.replace(position, n, source);
            if (action == 10) {
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

TEST(String, TakesTheTextsOfTheStandardLibrary) {
    const std::string withZero("a\0b", 3);
    const std::string_view part = std::string_view(withZero).substr(1);
    ERCString text = withZero;
    EXPECT_EQ(text.length(), 3u);
    text += part;
    EXPECT_TRUE(text == std::string("a\0b\0b", 5));
    EXPECT_EQ(text.index(part, 2), 3u);
    text = part;
    EXPECT_LT(text, withZero);
    EXPECT_EQ(CString(part.substr(1)), "b");
    EXPECT_EQ(ERCString("x9")(ERCRegexp(std::string("9"))).start(), 1u);
}

TEST(String, PositionsPastTheEndAndNullTextsAreHarmless) {
    ERCString a("abc");
    const char* null = nullptr;
    a.insert(99, "d").remove(50).replace(77, 5, "e").append(null).prepend(null, 4);
    a.append(ERCString("fgh"), 99).append("i\0j", 3);
    EXPECT_EQ(toStd(a), std::string("abcdefghi\0j", 11));
    a.remove(1, npos).append('x', npos);  // more than a string can hold: nothing is done
    EXPECT_EQ(a, "a");
    EXPECT_TRUE(!a(2, 1));
    EXPECT_EQ(a(1, 1).start(), 1u);  // an empty part at the end
    EXPECT_EQ(a.index(null), 0u);
    EXPECT_EQ(a.compareTo(null), 1);
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
    EXPECT_EQ(zeros.last('b'), 1u);  // Kept: up to the first 0
    EXPECT_EQ(zeros.first("/c"), npos);
}

TEST(String, TellsAsciiAndWhatItContains) {
    const ERCString text("Caf\x7F");
    EXPECT_EQ(text.isAscii(), 1);
    EXPECT_EQ(ERCString("Caf\x80").isAscii(), 0);
    EXPECT_EQ(text.contains("af"), 1);
    EXPECT_EQ(text.contains("AF"), 0);
    EXPECT_EQ(text.contains(ERCString("AF"), ERCString::ignoreCase), 1);
}

TEST(String, LowerCaseReachesNoCopy) {
    const ERCString first("ABC-\xC9");
    ERCString second(first), third(first);
    second.toLower();
    third(1, 2).toLower();
    EXPECT_EQ(first, "ABC-\xC9");
    EXPECT_EQ(second, "abc-\xC9");
    EXPECT_EQ(third, "Abc-\xC9");
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
    numbers = "on";  // ends before the view: it is empty now, and writes at the end
    two = "ly";
    EXPECT_EQ(numbers, "only");
    two = "ce more";
    two = "e";  // the whole of the text assigned before
    EXPECT_EQ(numbers, "one");
    numbers.subString("NE", ERCString::ignoreCase) = "ther";
    EXPECT_EQ(numbers, "other");
}

TEST(String, ReadsLinesWordsAndDelimitedFields) {
    std::istringstream in(std::string("\n  first line\n\nlast a;b;\0word1  word2", 37));
    ERCString text("before");
    std::string read;
    const auto take = [&](bool) { read += toStd(text) + '|'; };
    take(!text.readLine(in)), take(!text.readLine(in, 0)), take(!text.readToken(in));
    take(!text.readToDelim(in, ';')), take(!text.readString(in));
    while (in >> std::setw(3) >> text) take(true);  // a width cuts no word
    EXPECT_EQ(read, "first line||last| a|b;|word1|word2|");
}

TEST(String, ReadsAllThatIsLeft) {
    const std::string all = std::string("\0 x\n", 4) + std::string(5000, 'y');
    std::istringstream in(all);
    ERCString text("before");
    text.readFile(in);
    EXPECT_EQ(toStd(text), all);
    EXPECT_FALSE(in.fail());
    in.clear();
    EXPECT_TRUE(text.readFile(in).fail());
    EXPECT_EQ(text.isNull(), 1);
}

using StringInAFile = test::DisturbedFile<ERFile>;

TEST_F(StringInAFile, IsItsLengthAndBytesOrEmptyWhenDamaged) {
    const ERCString stored("a\0bc", 4);
    file << stored << ERCString();
    EXPECT_EQ(temporary.bytes(), std::string("\4\0\0\0a\0bc\0\0\0\0", 12));
    ERCString restored("before"), empty("not yet");
    file.SeekTo(0);
    file >> restored >> empty;
    EXPECT_EQ(restored, stored);
    EXPECT_EQ(empty.isNull(), 1);
    file.SetLength(8);  // the string is the last thing in the file
    file.SeekTo(0);
    file >> empty;
    EXPECT_EQ(empty, stored);
    for (const unsigned int length : {4u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u}) {
        file.SetLength(7);
        file.SeekTo(0);
        file.Write(length);
        ERCString text("before");
        file.SeekTo(0);
        file >> text;
        EXPECT_EQ(text.isNull(), 1) << length;
        EXPECT_LE(file.CurOffset(), 4);
    }
}

}  // namespace
}  // namespace kerf
