#include "kerf/platform/sinks.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kerf/platform/root_object.h"

namespace kerf {
namespace {

// Runs while static objects are built, before any test can have set a sink.
struct EarlyText {
    EarlyText() {
        outputDebugText("early\n");
        const std::string block(10000, 'k');
        for (int i = 0; i < 10; ++i) outputDebugText(block.c_str());
        setDebugTextSink([this](const char* text) { kept += text; });
        setDebugTextSink({});
        outputDebugText("nobody hears this");
        setDebugTextSink([this](const char* text) { second += text; });
        setDebugTextSink({});
    }
    std::string kept;
    std::string second;
};
const EarlyText early;

TEST(EarlyDebugText, IsKeptBoundedForTheFirstSink) {
    EXPECT_NE(early.kept.find("early\n"), std::string::npos);
    EXPECT_NE(early.kept.find(std::string(50000, 'k')), std::string::npos);
    EXPECT_EQ(early.kept.size(), 65536u);
    EXPECT_EQ(early.second, "");
}

class DebugText : public ::testing::Test {
protected:
    DebugText() {
        setDebugTextSink([this](const char* part) { text += part; });
    }
    ~DebugText() override { setDebugTextSink({}); }
    std::string text;
};

TEST_F(DebugText, ReachesTheSinkFromEveryThreadWhole) {
    std::vector<std::thread> threads;
    for (char name : {'a', 'b', 'c', 'd'})
        threads.emplace_back([name] {
            for (int i = 0; i < 500; ++i) outputDebugText((std::string(7, name) + "\n").c_str());
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(text.size(), 4u * 500 * 8);
    for (std::size_t i = 0; i < text.size(); i += 8)
        ASSERT_EQ(text.substr(i, 8), std::string(7, text[i]) + "\n");
}

TEST_F(DebugText, ASinkMayWriteAndMayReplaceItself) {
    std::string seen;
    setDebugTextSink([&seen](const char* part) {
        seen += part;
        if (seen.size() > 1) return;
        outputDebugText("2");
        setDebugTextSink({});
        seen += "3";  // still whole, though replaced
    });
    outputDebugText("1");
    outputDebugText("unheard");
    outputDebugText(nullptr);
    EXPECT_EQ(seen, "123");
}

TEST_F(DebugText, DumpsReadBack) {
    CDumpContext dump;
    dump << "a " << std::string("b ") << 'c' << -1 << ' ' << 2u << ' ' << 3L << ' ' << 4UL << ' '
         << -5LL << ' ' << 18446744073709551615ULL << ' ' << 0.1 << ' ' << 1e300 << ' '
         << static_cast<const void*>(nullptr) << static_cast<const char*>(nullptr);
    EXPECT_EQ(text, "a b c-1 2 3 4 -5 18446744073709551615 0.1 1e+300 0x0");
}

struct Base : CObject {
    static CRuntimeClass record;
    CRuntimeClass* GetRuntimeClass() const override { return &record; }
};
CRuntimeClass Base::record = {"Base", static_cast<int>(sizeof(Base)), 0xFFFF, nullptr,
                              &CObject::GetThisClass};
CRuntimeClass unrelated = {"Unrelated", 0, 0xFFFF, nullptr, nullptr};

TEST_F(DebugText, ARootObjectKnowsItsClass) {
    const Base base;
    EXPECT_TRUE(base.IsKindOf(&Base::record));
    EXPECT_TRUE(base.IsKindOf(CObject::GetThisClass()));
    EXPECT_FALSE(base.IsKindOf(&unrelated));
    EXPECT_FALSE(CObject::GetThisClass()->IsDerivedFrom(&Base::record));
    CDumpContext dump;
    base.Dump(dump);
    EXPECT_EQ(text.find("a Base at 0x"), 0u);
}

TEST(Message, GoesToTheSinkElseToStandardError) {
    std::vector<std::pair<std::string, std::string>> seen;
    setMessageSink([&](const char* title, const char* text) { seen.emplace_back(title, text); });
    showMessage("title", "text");
    showMessage(nullptr, nullptr);
    const MessageSink former = setMessageSink({});
    EXPECT_TRUE(former);
    ::testing::internal::CaptureStderr();
    showMessage("title", "unsunk");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "title: unsunk\n");
    EXPECT_EQ(seen,
              (std::vector<std::pair<std::string, std::string>>{{"title", "text"}, {"", ""}}));
}

TEST(Strings, TheApplicationIsAskedBeforeTheLibrary) {
    static const StringResource table[] = {{990001, "library one"}, {990002, "library two"}};
    addStringTable(table, 2);
    std::string text = "former";
    EXPECT_FALSE(loadString(990003, text));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(loadString(990001, text));
    EXPECT_EQ(text, "library one");
    setStringSource([](unsigned int number, std::string& answer) {
        answer = "spoilt";
        if (number != 990001) return false;
        answer = "application one";
        return true;
    });
    EXPECT_TRUE(loadString(990001, text));
    EXPECT_EQ(text, "application one");
    EXPECT_TRUE(loadString(990002, text));
    EXPECT_EQ(text, "library two");
    EXPECT_FALSE(loadString(990003, text));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(setStringSource({}));
}

}  // namespace
}  // namespace kerf
