#include "kerf/platform/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>

namespace kerf {
namespace {

using namespace std::string_literals;

TEST(MessageFormat, PutsInsertsWhereTheirNumbersStand) {
    EXPECT_EQ(formatMessage("%2 before %1, %2 again", {"one"s, -12}), "-12 before one, -12 again");
    EXPECT_EQ(formatMessage("%9%8%10", {1, 2, 3, 4, 5, 6, 7, 8, 0.5}), "0.5810");
    EXPECT_EQ(formatMessage("100%% %! %. %O % x%n%1!", {"you"s}), "100% ! . O  x\nyou!");
    EXPECT_EQ(formatMessage("end%", {}) + formatMessage("<%2><%3!d!>%0unseen", {1}), "end<><>");
}

TEST(MessageFormat, PrintsThroughPrintfFormats) {
    const struct {
        const char* pattern;
        MessageInsert insert;
        std::string expected;
    } cases[] = {
        {"%1!08.2lf!", -3.14159, "-0003.14"},
        {"%1!-6I64d!|", 5, "5     |"},
        {"%1!6.2s!", "text"s, "    te"},
        // Widths are bounded.
        {"%1!999999999999999999999d!", 7, std::string(511, ' ') + "7"},
        {"%1!99999s!", "x"s, std::string(511, ' ') + "x"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatMessage(c.pattern, {c.insert}), c.expected) << c.pattern;
}

TEST(MessageFormat, HostilePatternsNeverCrash) {
    std::mt19937 random(7);
    const std::string alphabet = "%%%!!!123490.*-+# dDifgGsSnxXcplhLI64\n";
    for (int i = 0; i < 2000; ++i) {
        std::string pattern(random() % 24, ' ');
        for (char& c : pattern) c = alphabet[random() % alphabet.size()];
        EXPECT_LT(formatMessage(pattern, {INT_MIN, -1e308, "text"s, 0}).size(), 24u * 900)
            << pattern;
    }
}

TEST(Text, ConvertsComparesAndJoins) {
    CString hello = "hello";
    EXPECT_EQ(CString(nullptr).GetLength() + CString("abc\0d", 5).GetLength(), 3);
    EXPECT_EQ("hello", hello);
    EXPECT_LT("abc", hello);
    EXPECT_LT(CString("a"), CString("\xE9"));
    EXPECT_EQ("oh " + hello + ", " + CString('x', 3) + '!', "oh hello, xxx!");
    hello += hello;
    hello.Format("%s %d %.2f", static_cast<const char*>(hello), 7, 0.5);
    EXPECT_EQ(hello, "hellohello 7 0.50");
    hello.FormatMessage("%1%n", {hello.Right(1).str()});
    EXPECT_EQ(hello, "0\n");
    EXPECT_FALSE(hello.LoadString(990005));
    EXPECT_TRUE(hello.IsEmpty());
}

TEST(Text, PartsAreCutToTheText) {
    const std::string text = "abcdef";
    for (const int n : {-1, 0, 2, 6, 99, INT_MAX}) {
        const auto within = static_cast<std::size_t>(std::clamp(n, 0, 6));
        const CString cut = "abcdef";
        EXPECT_EQ(cut.Left(n) + cut.Right(n),
                  (text.substr(0, within) + text.substr(6 - within)).c_str());
        EXPECT_EQ(cut.Mid(n, 3), text.substr(within, 3).c_str());
        EXPECT_EQ(cut.Mid(2, n), text.substr(2, within).c_str());
        EXPECT_EQ(cut.Find("ef", n), n < 0 || n > 4 ? -1 : 4);
    }
}

}  // namespace
}  // namespace kerf
