#include "kerf/core/string.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/core/regexp.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::FileCall;
using test::ScopedFileBackend;
using test::TemporaryFile;
using test::TestFileBackend;

constexpr unsigned int npos = ERCString::npos;

std::string toStd(const ERCString& text) { return {text.data(), text.length()}; }
std::string toStd(const ERCSubString& text) { return {text.data(), text.length()}; }

ERCString fromStd(const std::string& text) {
    return ERCString(text.data(), static_cast<unsigned int>(text.size()));
}

bool sharesBlock(const ERCString& a, const ERCString& b) { return a.data() == b.data(); }

TEST(String, EmptyStringsShareOneBlockThatIsNeverWritten) {
    ERCString a;
    const ERCString b, none(ERCString("x").strip(ERCString::both, 'x')), roomless(ERSize_T(0));
    EXPECT_TRUE(sharesBlock(a, b) && sharesBlock(b, none) && sharesBlock(b, roomless));
    EXPECT_EQ(a.capacity(), 0u);

    a.append('x');
    EXPECT_STREQ(a, "x");
    EXPECT_EQ(b.length(), 0u);
    EXPECT_STREQ(b, "");

    for (int round = 0; round < 3; ++round) {  // releasing holders leaves it in place
        std::vector<ERCString> many(100);
        many[0] = "text";
        many[1].resize(0);
        many[2].toUpper();
        many[3].capacity(40);
    }
    EXPECT_STREQ(ERCString(), "");
}

TEST(String, BuiltWithTheStatedCapacity) {
    EXPECT_EQ(ERCString(ERSize_T(7)).capacity(), 7u);
    EXPECT_TRUE(ERCString(ERSize_T(7)).isNull());
    EXPECT_EQ(ERCString('c').capacity(), 15u);
    EXPECT_EQ(ERCString("").capacity(), 15u);
    EXPECT_EQ(ERCString('c', 15).capacity(), 15u);
    EXPECT_EQ(ERCString('c', 16).capacity(), 30u);
    EXPECT_EQ(ERCString("0123456789abcdef0123456789abcde").capacity(), 45u);
    EXPECT_EQ(toStd(ERCString("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(ERCString(static_cast<const char*>(nullptr), 9).length(), 0u);
    static_assert(!std::is_constructible_v<ERCString, int>);

    alignas(ERCString) unsigned char storage[3 * sizeof(ERCString)];
    auto* built = reinterpret_cast<ERCString*>(storage);
    ERCString::constructElements(built, 3);
    built[2] = "third";
    EXPECT_EQ(built[0] + built[2], "third");
    for (int i = 0; i < 3; ++i) built[i].~ERCString();
}

TEST(String, ChangesKeepTheBlockOnlyWhenAtMostFifteenBytesStayFree) {
    ERCString grown("0123456789abcde");
    grown.append('f');
    EXPECT_EQ(grown.capacity(), 30u);

    ERCString cut('x', 60);
    const char* block = cut.data();
    cut.remove(45);  // 15 free
    EXPECT_EQ(cut.data(), block);
    cut.remove(44);  // 16 free
    EXPECT_NE(cut.data(), block);
    EXPECT_EQ(cut.capacity(), 45u);
    ERCString allButOne('x', 60);
    EXPECT_EQ(allButOne.remove(1).capacity(), 15u);

    ERCString reserved("abc");
    EXPECT_EQ(reserved.capacity(3), 15u);  // not above the length
    EXPECT_EQ(reserved.capacity(4), 4u);
    EXPECT_EQ(reserved.capacity(100), 100u);
    EXPECT_STREQ(reserved, "abc");
    EXPECT_EQ(reserved.append('d').capacity(), 15u);

    // The text lies inside: a new block, though it would fit.
    ERCString own("abc");
    block = own.data();
    own.append(own.data() + 1, 2);
    EXPECT_NE(own.data(), block);
    EXPECT_STREQ(own, "abcbc");

    EXPECT_EQ(ERCString::resizeIncrement(99) + ERCString::maxWaste(1), 100u);
    EXPECT_EQ(ERCString::getResizeIncrement(), 15u);
    EXPECT_EQ(ERCString::getMaxWaste(), 15u);
}

// Oracle: std::string. The texts put in come from elsewhere or from the string itself; each string
// has a copy that must not change with it.
TEST(String, EditsMatchStdString) {
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        auto below = [&](unsigned int n) { return static_cast<unsigned int>(random() % n); };
        ERCString text;
        std::string expected;
        for (int step = 0; step < 600; ++step) {
            const auto size = static_cast<unsigned int>(expected.size());
            ERCString held;
            if (below(3) == 0) held = text;
            const std::string before = toStd(held);

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
            switch (below(12)) {
                case 0:
                    text.append(given, count);
                    expected.append(source);
                    break;
                case 1:
                    text.prepend(given, count);
                    expected.insert(0, source);
                    break;
                case 2:
                    text.insert(position, given, count);
                    expected.insert(position, source);
                    break;
                case 3:
                    text.replace(position, n, given, count);
                    expected.replace(position, n, source);
                    break;
                case 4:
                    text.remove(position, n);
                    expected.erase(position, n);
                    break;
                case 5:
                    text.replace(position, n, text, count);
                    expected.replace(position, n, expected.substr(0, count));
                    break;
                case 6:
                    text.resize(n % 50);
                    expected.resize(n % 50, ' ');
                    break;
                case 7:
                    text.prepend('p', count).append('a', 2);
                    expected = std::string(count, 'p') + expected + "aa";
                    break;
                case 8:
                    text(position, n) = fromStd(source);
                    expected.replace(position, n, source);
                    break;
                case 9:
                    text(position, n).toUpper();
                    for (std::size_t i = position; i < expected.size() && i - position < n; ++i)
                        expected[i] = static_cast<char>(std::toupper(expected[i]));
                    break;
                case 10:
                    text = text.data() + position;  // up to its first 0
                    expected = std::string(expected.c_str() + position);
                    break;
                default:
                    if (size == 0) break;
                    text[position % size] = 'w';
                    expected[position % size] = 'w';
            }
            ASSERT_EQ(toStd(text), expected) << "step " << step;
            ASSERT_EQ(text.data()[text.length()], '\0');
            ASSERT_GE(text.capacity(), text.length());
            ASSERT_EQ(toStd(held), before) << "step " << step;
        }
    }
}

TEST(String, CopiesShareUntilOneIsWritten) {
    ERCString a("Shared"), b(a), c(ERCString("x"));
    c = a;
    EXPECT_TRUE(sharesBlock(a, b) && sharesBlock(b, c));
    const ERCString& constant = b;
    EXPECT_EQ(constant[0], 'S');  // reading shares on
    EXPECT_TRUE(sharesBlock(a, b));
    b(0) = 's';
    c.toUpper();
    EXPECT_STREQ(a, "Shared");
    EXPECT_STREQ(b, "shared");
    EXPECT_STREQ(c, "SHARED");
    EXPECT_FALSE(sharesBlock(a.copy(), a));

    ERCString d(std::move(a));
    EXPECT_STREQ(d, "Shared");
    EXPECT_TRUE(a.isNull());
    ERCString e = d;
    e = std::move(d);
    ERCString& self = e;
    e = self;
    EXPECT_STREQ(e, "Shared");
}

TEST(String, PositionsBehindTheEndAndNullTextsAreHarmless) {
    ERCString a("abc");
    const char* null = nullptr;
    a.insert(99, "d").remove(50).replace(77, 5, "e").append(null).prepend(null, 4);
    EXPECT_STREQ(a, "abcde");
    a.append(ERCString("fgh"), 99).append("i\0j", 3);
    EXPECT_EQ(toStd(a), std::string("abcdefghi\0j", 11));
    a.remove(1, npos);
    EXPECT_STREQ(a, "a");
    EXPECT_TRUE(!a(2, 1));
    EXPECT_FALSE(!a(1, 1));  // an empty part at the end
    EXPECT_EQ(a.index(null), 0u);
    EXPECT_EQ(a.compareTo(null), 1);
    a.append('x', npos);  // past what a string can hold: not made
    EXPECT_STREQ(a, "a");
}

TEST(String, ComparesUnsignedBytesThenLength) {
    const ERCString a("abc");
    EXPECT_EQ(a.compareTo("abc"), 0);
    EXPECT_EQ(a.compareTo("abcd"), -1);
    EXPECT_EQ(a.compareTo("ab"), 1);
    EXPECT_EQ(a.compareTo("ab\xE9"), -1);
    EXPECT_EQ(a.compareTo("ABD"), 1);
    EXPECT_EQ(a.compareTo("ABD", ERCString::ignoreCase), -1);
    EXPECT_EQ(a.compareTo("AbC", ERCString::ignoreCase), 0);
    EXPECT_EQ(a.compareTo(ERCString("ABCD"), ERCString::ignoreCase), -1);
    EXPECT_EQ(ERCString("_").compareTo("A", ERCString::ignoreCase), -1);  // '_' < 'a'
    EXPECT_EQ(a.compareTo(ERCString("abc\0", 4)), -1);
    EXPECT_TRUE(a == "abc" && "abc" == a && a != ERCString("abd") && a < "abd" && "b" > a);
    EXPECT_FALSE(ERCString("abc\0", 4) == "abc");
}

// Oracle: the definition, worked by hand.
TEST(String, HashesAreTheStatedFunctions) {
    EXPECT_EQ(ERCString().hash(), 0u);
    EXPECT_EQ(ERCString("a").hash(), 0x41u);             // rotl(1, 5) ^ 61
    EXPECT_EQ(ERCString("abc").hash(), 0x616203u);       // rotl(3, 5) ^ 616263
    EXPECT_EQ(ERCString("abcd").hash(), 0x646362E1u);    // rotl(4, 5) ^ 64636261
    EXPECT_EQ(ERCString("abcde").hash(), 0x8C6C5849u);   // rotl(646362C1, 5) ^ 65
    EXPECT_EQ(ERCString("abcdef").hash(), 0x8C6C314Au);  // rotl(646362A1, 5) ^ 6566
    EXPECT_EQ(ERCString("\xE9").hash(), 0xC9u);          // a byte, not a negative number
    EXPECT_EQ(ERCString("ab").hash(ERCString::ignoreCase), 0x62u);
    EXPECT_EQ(ERCString("A1bz").hash(ERCString::ignoreCase), 0x604C1Au);
    EXPECT_NE(ERCString("AB").hash(), ERCString("AB").hash(ERCString::ignoreCase));
}

// Oracle: std::string::find, over the lower-case texts when case is ignored.
TEST(String, IndexFindsWhatStdStringFinds) {
    std::mt19937 random(5);
    auto randomText = [&](unsigned int longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char& c : text) c = "aAb\0"[random() % 4];
        return text;
    };
    auto lower = [](std::string text) {
        for (char& c : text) c = static_cast<char>(std::tolower(c));
        return text;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string hay = randomText(40), needle = randomText(i % 2 ? 3 : 12);
        const auto start = static_cast<unsigned int>(random() % 44);
        const ERCString text = fromStd(hay);
        const auto count = static_cast<unsigned int>(needle.size());
        ASSERT_EQ(text.index(needle.data(), count, start),
                  static_cast<unsigned int>(hay.find(needle, start)));
        ASSERT_EQ(text.index(fromStd(needle), start, ERCString::ignoreCase),
                  static_cast<unsigned int>(lower(hay).find(lower(needle), start)));
    }
    const ERCString abc("abc");
    EXPECT_EQ(abc.index("", 2), 2u);
    EXPECT_EQ(abc.index("", 3), 3u);
    EXPECT_EQ(abc.index("", 4), npos);
    EXPECT_EQ(abc.index("bcd"), npos);
    EXPECT_TRUE(abc.contains("bc") && !abc.contains("BC") &&
                abc.contains("BC", ERCString::ignoreCase));
    const ERCString zeros("ab\0ab/c", 7);
    EXPECT_EQ(zeros.first('b'), 1u);
    EXPECT_EQ(zeros.last('b'), 1u);  // the C library sees up to the first 0
    EXPECT_EQ(zeros.first("/c"), npos);
    EXPECT_EQ(ERCString("ab/c").first("c/"), 2u);
    EXPECT_EQ(zeros.first('\0'), npos);
    EXPECT_TRUE(abc.isAscii() && !ERCString("\xB0").isAscii());
}

TEST(String, ViewsWriteThroughToTheString) {
    ERCString text("  key = value ");
    const ERCString held = text;
    text.subString("key") = "a longer key";
    EXPECT_EQ(text, "  a longer key = value ");
    text.strip(ERCString::both) = "x";
    EXPECT_EQ(text, "  x ");
    EXPECT_EQ(toStd(text.strip()), "  x");
    EXPECT_EQ(toStd(text.strip(ERCString::leading)), "x ");
    EXPECT_EQ(held, "  key = value ");

    ERCString same("aaaa");
    for (auto type : {ERCString::leading, ERCString::trailing, ERCString::both}) {
        ERCSubString part = same.strip(type, 'a');
        EXPECT_TRUE(!part);
        part = "nothing";
        part.toUpper();
    }
    EXPECT_EQ(same, "aaaa");
    EXPECT_TRUE(ERCString(same.subString("b")).isNull());

    ERCString numbers("one two three");
    ERCSubString two = numbers(4, 3);
    two = numbers(8, 5);  // from the same string
    EXPECT_EQ(numbers, "one three three");
    two[0] = 'T';
    two(4) = 'E';
    EXPECT_EQ(toStd(two), "ThreE");
    two.toLower();
    EXPECT_EQ(numbers("e+").start(), 2u);  // a pattern
    numbers("thre+ ") = "";
    EXPECT_EQ(numbers, "one three");
    EXPECT_TRUE(!numbers("x+"));

    numbers = "on";  // shorter than the view: it is empty now, and writes at the end
    EXPECT_EQ(two.length(), 0u);
    two = "ly";
    EXPECT_EQ(numbers, "only");
}

TEST(String, ReadsLinesWordsAndDelimitedFields) {
    std::istringstream in(std::string("\n  first line\n\nlast a;b;\0word1  word2", 37));
    ERCString text("before");
    text.readLine(in);
    EXPECT_EQ(text, "first line");
    text.readLine(in, 0);
    EXPECT_EQ(text, "");
    text.readToken(in);
    EXPECT_EQ(text, "last");
    EXPECT_EQ(in.peek(), ' ');
    text.readToDelim(in, ';').get();
    EXPECT_EQ(text, " a");
    text.readString(in);
    EXPECT_EQ(text, ";");
    std::vector<std::string> words;
    while (in >> text) words.push_back(toStd(text));
    EXPECT_EQ(words, (std::vector<std::string>{"word1", "word2"}));
    EXPECT_TRUE(in.fail() && text.isNull());
    text = "left from before";
    EXPECT_TRUE(text.readFile(in).fail() && text.isNull());
}

TEST(String, ReadingGrowsByFifteenAndRoundsWhatIsLeft) {
    for (unsigned int n : {0u, 15u, 16u, 30u, 31u, 10000u}) {
        std::istringstream in(std::string(n, 'x'));
        ERCString text;
        text.readFile(in);
        EXPECT_EQ(text.length(), n);
        EXPECT_EQ(text.capacity(), n <= 15 ? 15u : (n + 14) / 15 * 15);
        EXPECT_TRUE(in.eof());
        EXPECT_EQ(in.fail(), n == 0);
    }
    std::istringstream in("short");
    ERCString roomy(ERSize_T(100));
    roomy.readLine(in);
    EXPECT_EQ(roomy, "short");
    EXPECT_EQ(roomy.capacity(), 105u);
}

TEST(String, FailingStreamEndsTheReading) {
    struct Failing : std::streambuf {
        char buffer[3] = {'a', 'b', 'c'};
        Failing() { setg(buffer, buffer, buffer + 3); }
        int_type underflow() override { throw 1; }
    };
    Failing buffer;
    std::istream in(&buffer);
    ERCString text("before");
    EXPECT_TRUE(text.readFile(in).bad());
    EXPECT_TRUE(text.readLine(in).fail());
    EXPECT_TRUE(text.isNull());
}

TEST(String, StoredAsLengthAndBytes) {
    TemporaryFile temporary;
    const ERCString text("a\0bc", 4);
    ERFile file(temporary.path(), CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary);
    file << text << ERCString();
    EXPECT_EQ(temporary.bytes(), std::string("\4\0\0\0a\0bc\0\0\0\0", 12));
    EXPECT_EQ(text.binaryStoreSize(), 8u);
    EXPECT_EQ(ERCString().binaryStoreSize(), 4u);

    ERCString restored('x', 40), held = restored, empty("not yet");
    file.SeekTo(0);
    file >> restored >> empty;
    EXPECT_EQ(restored, text);
    EXPECT_TRUE(empty.isNull());
    EXPECT_EQ(held, ERCString('x', 40));
}

TEST(String, DamagedLengthsReadAsEmpty) {
    TemporaryFile temporary;
    for (const char* bytes : {"\4\0\0\0abc",
                              "\xFF\xFF\xFF\xFF"
                              "abc",
                              "\xFF\xFF\xFF\x7F"
                              "abc",
                              "\0\0\0\x80"
                              "abc"}) {
        temporary.setBytes(std::string(bytes, 7));
        ERFile file(temporary.path(), CFile::modeRead | CFile::typeBinary);
        ERCString text("before");
        text.restoreFrom(file);
        EXPECT_TRUE(text.isNull());
        EXPECT_EQ(file.CurOffset(), 4);
    }
    temporary.setBytes("\3\0");  // the length itself is cut
    ERFile file(temporary.path(), CFile::modeRead | CFile::typeBinary);
    ERCString text("before");
    file >> text;
    EXPECT_TRUE(text.isNull());
}

TEST(String, StaysWholeWhenTheFileFailsUnderIt) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    TemporaryFile temporary;
    temporary.setBytes(std::string("\3\0\0\0abc", 7));
    ERFile file(temporary.path(), CFile::modeReadWrite | CFile::typeBinary);
    for (std::uint64_t call : {1u, 2u}) {
        ERCString text("before"), held = text;
        file.SeekTo(0);
        backend.failCall(FileCall::read, call);
        EXPECT_ANY_THROW(text.restoreFrom(file));
        backend.clear();
        EXPECT_EQ(text.data()[text.length()], '\0');
        EXPECT_EQ(held, "before");
    }
    backend.failCall(FileCall::write, 1);
    EXPECT_ANY_THROW(ERCString("abc").saveOn(file));
}

}  // namespace
}  // namespace kerf
