#include "kerf/platform/sinks.h"

#include <gtest/gtest.h>

#include <string>

#include "kerf/platform/root_object.h"

namespace kerf {
namespace {

// Runs while static objects are built, before any test can have set a sink.
struct EarlyText {
    EarlyText() {
        outputDebugText("early\n");
        for (int i = 0; i < 10; ++i) outputDebugText(std::string(10000, 'k').c_str());
        setDebugTextSink([this](const char* text) { kept += text; });
        setDebugTextSink({});
    }
    std::string kept;
};
const EarlyText early;

TEST(EarlyDebugText, IsKeptBoundedForTheFirstSink) {
    EXPECT_NE(early.kept.find("early\n" + std::string(50000, 'k')), std::string::npos);
    EXPECT_EQ(early.kept.size(), 65536u);
}

class DebugText : public ::testing::Test {
protected:
    void SetUp() override {
        setDebugTextSink([this](const char* part) { text += part; });
        EXPECT_EQ(text, "");  // only the first sink gets what came before
    }
    ~DebugText() override { setDebugTextSink({}); }
    std::string text;
};

struct Base : CObject {
    static CRuntimeClass record;
    CRuntimeClass* GetRuntimeClass() const override { return &record; }
};
CRuntimeClass Base::record = {"Base", 4, 0xFFFF, nullptr, &CObject::GetThisClass};

TEST_F(DebugText, ARootObjectKnowsAndDumpsItsClass) {
    const Base base;
    EXPECT_TRUE(base.IsKindOf(CObject::GetThisClass()));
    CDumpContext dump;
    dump << "a " << std::string("b ") << 'c' << -1 << ' ' << 3L << ' ' << 18446744073709551615ULL
         << ' ' << 0.1 << ' ' << 1e300 << ' ' << reinterpret_cast<const void*>(0x1a2b)
         << static_cast<const char*>(nullptr);
    base.Dump(dump);
    EXPECT_EQ(text.find("a b c-1 3 18446744073709551615 0.1 1e+300 0x1a2ba Base at 0x"), 0u);
}

TEST_F(DebugText, ASinkMayReplaceItselfWhileItRuns) {
    std::string seen;
    setDebugTextSink([&seen](const char* part) {
        setDebugTextSink({});
        seen += part;  // what the sink holds is still there
    });
    outputDebugText("1");
    outputDebugText("unheard");
    EXPECT_EQ(seen, "1");
}

TEST(Message, GoesToStandardErrorWithoutASink) {
    ::testing::internal::CaptureStderr();
    showMessage("title", nullptr);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "title: \n");
}

TEST(Strings, TheApplicationIsAskedBeforeTheLibrary) {
    static const StringResource table[] = {{990001, "library one"}, {990002, "library two"}};
    addStringTable(table, 2);
    const auto found = [](unsigned int number) {
        std::string text = "former";
        return loadString(number, text) ? text : "none" + text;
    };
    setStringSource([](unsigned int number, std::string& text) {
        text = number == 990001 ? "application one" : "spoilt";
        return number == 990001;
    });
    EXPECT_EQ(found(990001), "application one");
    EXPECT_EQ(found(990002), "library two");
    EXPECT_EQ(found(990003), "none");
    setStringSource({});
}

}  // namespace
}  // namespace kerf
