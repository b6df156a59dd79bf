#include "kerf/platform/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

#include "kerf/platform/random.h"
#include "kerf/platform/sinks.h"

namespace kerf {
namespace {

using namespace std::string_literals;

TEST(MessageFormat, PutsInsertsWhereTheirNumbersStand) {
    EXPECT_EQ(formatMessage("%2 before %1, %2 again", {"one"s, "two"s}),
              "two before one, two again");
    EXPECT_EQ(formatMessage("%9%8", {1, 2, 3, 4, 5, 6, 7, 8, 9}), "98");
    EXPECT_EQ(formatMessage("%10", {7}), "70");
    EXPECT_EQ(formatMessage("%1 %2 %3", {-12, 0.5, ""s}), "-12 0.5 ");
}

TEST(MessageFormat, ReadsAResultFormat) {
    EXPECT_EQ(formatMessage("Droite    :%O    : %1 %2 %3 %nV  : %4 %5 %6 %nEcart Maxi: %7  ( "
                            "point %8!#4d! )%n",
                            {"a"s, "b"s, "c"s, "d"s, "e"s, "f"s, "g"s, 12}),
              "Droite    :O    : a b c \nV  : d e f \nEcart Maxi: g  ( point   12 )\n");
}

TEST(MessageFormat, EscapesStandForThemselves) {
    EXPECT_EQ(formatMessage("100%% %! %. % x%n", {}), "100% ! .  x\n");
    EXPECT_EQ(formatMessage("seen%0unseen", {}), "seen");
    EXPECT_EQ(formatMessage("end%", {}), "end");
    EXPECT_EQ(formatMessage("Hello %1!", {"you"s}), "Hello you!");
    EXPECT_EQ(formatMessage("", {}), "");
}

TEST(MessageFormat, PrintsThroughPrintfFormats) {
    const struct {
        const char* pattern;
        MessageInsert insert;
        const char* expected;
    } cases[] = {
        {"%1!d!", 5, "5"},
        {"%1!04d!", -5, "-005"},
        {"%1!-6d!|", 5, "5     |"},
        {"%1!+ld!", 5, "+5"},
        {"%1!I64d!", 5, "5"},
        {"%1!#x!", 255, "0xff"},
        {"%1!u!", -1, "4294967295"},
        {"%1!c!", 'A', "A"},
        {"%1!8.2lf!", 3.14159, "    3.14"},
        {"%1!.0f!", 2.0, "2"},
        {"%1!e!", 1.0, "1.000000e+00"},
        {"%1!s!", "text"s, "text"},
        {"%1!6.2s!", "text"s, "    te"},
        {"%1!-6s!|", "text"s, "text  |"},
        {"%1!!", 5, "5"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatMessage(c.pattern, {c.insert}), c.expected) << c.pattern;
}

TEST(MessageFormat, WhatDoesNotSuitPrintsAsEmptyText) {
    for (const char* format : {"s", "f", "n", "p", "*d", "4*d", "d%", "dd", "4", "lllld", " ", "$d",
                               "1$d", ".", "Z", "-+ #0"})
        EXPECT_EQ(formatMessage("<%1!"s + format + "!>", {7}), "<>") << format;
    for (const char* format : {"d", "s", "x", "c", "n"})
        EXPECT_EQ(formatMessage("<%1!"s + format + "!>", {7.0}), "<>") << format;
    for (const char* format : {"d", "f", "n", "c"})
        EXPECT_EQ(formatMessage("<%1!"s + format + "!>", {"text"s}), "<>") << format;
    EXPECT_EQ(formatMessage("<%2><%3!d!>", {1}), "<><>");
}

TEST(MessageFormat, WidthsAreBounded) {
    EXPECT_EQ(formatMessage("%1!999999999999999999999d!", {7}), std::string(511, ' ') + "7");
    EXPECT_EQ(formatMessage("%1!.99999999999d!", {7}), std::string(511, '0') + "7");
    EXPECT_EQ(formatMessage("%1!99999s!", {"x"s}), std::string(511, ' ') + "x");
    const std::string longest = formatMessage("%1!99999.99999f!", {-1.7976931348623157e308});
    EXPECT_EQ(longest.size(), 1u + 309 + 1 + 512);
}

TEST(MessageFormat, HostilePatternsNeverCrash) {
    std::mt19937 random(7);
    const std::string alphabet = "%%%!!!123490.*-+# dDifgGsSnxXcplhLI64\n";
    for (int i = 0; i < 20000; ++i) {
        std::string pattern;
        for (std::size_t n = random() % 24; n > 0; --n)
            pattern += alphabet[random() % alphabet.size()];
        EXPECT_LT(formatMessage(pattern, {INT_MIN, -1e308, "text"s, 0}).size(), 24u * 900);
    }
}

TEST(Text, ConvertsComparesAndJoins) {
    const CString hello = "hello";
    EXPECT_STREQ(hello, "hello");
    EXPECT_TRUE(CString(nullptr).IsEmpty());
    EXPECT_EQ(CString("abc\0d", 5).GetLength(), 3);
    EXPECT_EQ(CString('x', 3), "xxx");
    EXPECT_TRUE(hello == "hello" && "hello" == hello && hello != CString("world"));
    EXPECT_TRUE(hello < "world" && "abc" < hello && CString("a") < CString("\xE9"));
    EXPECT_EQ(hello + ", " + CString("you") + '!', "hello, you!");
    EXPECT_EQ("oh " + hello, "oh hello");
    CString twice = hello;
    twice += twice;
    EXPECT_EQ(twice, "hellohello");
    twice.SetAt(0, 'j');
    EXPECT_EQ(twice.GetAt(0), 'j');
    EXPECT_EQ(twice[1], 'e');
}

TEST(Text, PartsAreCutToTheText) {
    const CString text = "abcdef";
    EXPECT_EQ(text.Left(2), "ab");
    EXPECT_EQ(text.Left(99), "abcdef");
    EXPECT_EQ(text.Left(-1), "");
    EXPECT_EQ(text.Right(2), "ef");
    EXPECT_EQ(text.Right(99), "abcdef");
    EXPECT_EQ(text.Right(-1), "");
    EXPECT_EQ(text.Mid(2), "cdef");
    EXPECT_EQ(text.Mid(2, 3), "cde");
    EXPECT_EQ(text.Mid(6), "");
    EXPECT_EQ(text.Mid(99, 1), "");
    EXPECT_EQ(text.Mid(-1, INT_MAX), "abcdef");
    EXPECT_EQ(text.Find('c'), 2);
    EXPECT_EQ(text.Find('c', 3), -1);
    EXPECT_EQ(text.Find("ef"), 4);
    EXPECT_EQ(text.Find("ef", 99), -1);
    EXPECT_EQ(text.Find("a", -1), -1);
}

TEST(Text, FormatsItselfToo) {
    CString text = "self";
    text.Format("%s %d %.2f", static_cast<const char*>(text), 7, 0.5);
    EXPECT_EQ(text, "self 7 0.50");
    text.Format("%0700d", 1);
    EXPECT_EQ(text.GetLength(), 700);
    text.FormatMessage("%1%n", {text.Right(1).str()});
    EXPECT_EQ(text, "1\n");
    setStringSource([](unsigned int number, std::string& answer) {
        answer = "loaded";
        return number == 4;
    });
    EXPECT_TRUE(text.LoadString(4));
    EXPECT_EQ(text, "loaded");
    EXPECT_FALSE(text.LoadString(990005));
    EXPECT_EQ(text, "");
    setStringSource({});
}

TEST(Text, ArraysGrowAndShrink) {
    CStringArray texts;
    EXPECT_EQ(texts.Add("a"), 0);
    EXPECT_EQ(texts.Add("b"), 1);
    texts.SetSize(3);
    EXPECT_EQ(texts.GetAt(2), "");
    texts.SetAt(2, "c");
    texts[0] = texts[2];
    EXPECT_EQ(texts[0] + texts[1], "cb");
    texts.SetSize(-1);
    EXPECT_EQ(texts.GetSize(), 0);
    texts.Add("d");
    texts.RemoveAll();
    EXPECT_TRUE(texts.IsEmpty());
}

TEST(RandomDraw, FillsFifteenBitsAndFollowsTheSeed) {
    std::srand(1);
    const int first = randomDraw();
    int all = first;
    for (int i = 0; i < 1000; ++i) {
        const int draw = randomDraw();
        ASSERT_GE(draw, 0);
        ASSERT_LE(draw, 32767);
        all |= draw;
    }
    EXPECT_EQ(all, 32767);
    std::srand(1);
    EXPECT_EQ(randomDraw(), first);
}

}  // namespace
}  // namespace kerf
