#include "kerf/platform/sinks.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "kerf/platform/internal/windows_headers.h"

namespace kerf {

namespace {

constexpr std::size_t keptTextLimit = 65536;

// A function that runs in one thread at a time and may be replaced while it runs. The mutex is
// recursive, so that a sink may write to itself or set its successor.
template <class Function>
class Sink {
public:
    Function exchange(Function replacement) {
        const std::lock_guard<std::recursive_mutex> guard(mutex);
        Function former = function ? *function : Function();  // a copy: it may be running
        function = replacement ? std::make_shared<Function>(std::move(replacement)) : nullptr;
        return former;
    }

    std::recursive_mutex mutex;
    std::shared_ptr<Function> function;
};

struct Seams {
    Sink<DebugTextSink> debugText;
    std::string keptText;
    bool keepsText = true;
    Sink<MessageSink> message;
    Sink<StringSource> strings;
    std::vector<std::pair<const StringResource*, std::size_t>> stringTables;
};

// Never destroyed: static objects write debug text from their destructors.
Seams& seams() {
    static Seams* const instance = new Seams;
    return *instance;
}

void writeToStandardError(const char* title, const char* text) {
    std::fprintf(stderr, "%s: %s\n", title, text);
}

}  // namespace

void outputDebugText(const char* text) {
    if (text == nullptr) return;
    Seams& s = seams();
    const std::lock_guard<std::recursive_mutex> guard(s.debugText.mutex);
    if (const std::shared_ptr<DebugTextSink> sink = s.debugText.function) {
        (*sink)(text);
        return;
    }
    if (s.keepsText) s.keptText.append(std::string(text), 0, keptTextLimit - s.keptText.size());
#if defined(_WIN32)
    OutputDebugStringA(text);
#endif
}

DebugTextSink setDebugTextSink(DebugTextSink sink) {
    Seams& s = seams();
    const std::lock_guard<std::recursive_mutex> guard(s.debugText.mutex);
    DebugTextSink former = s.debugText.exchange(std::move(sink));
    if (s.debugText.function && s.keepsText) {
        s.keepsText = false;
        const std::string kept = std::exchange(s.keptText, std::string());
        if (!kept.empty()) outputDebugText(kept.c_str());
    }
    return former;
}

void showMessage(const char* title, const char* text) {
    if (title == nullptr) title = "";
    if (text == nullptr) text = "";
    Seams& s = seams();
    const std::lock_guard<std::recursive_mutex> guard(s.message.mutex);
    if (const std::shared_ptr<MessageSink> sink = s.message.function)
        (*sink)(title, text);
    else
        writeToStandardError(title, text);
}

MessageSink setMessageSink(MessageSink sink) { return seams().message.exchange(std::move(sink)); }

void showMessageBox(const char* title, const char* text) {
#if defined(_WIN32)
    MessageBoxA(nullptr, text, title, MB_OK | MB_ICONERROR);
#else
    writeToStandardError(title, text);
#endif
}

void addStringTable(const StringResource* table, std::size_t count) {
    Seams& s = seams();
    const std::lock_guard<std::recursive_mutex> guard(s.strings.mutex);
    s.stringTables.emplace_back(table, count);
}

bool loadString(unsigned int number, std::string& text) {
    Seams& s = seams();
    const std::lock_guard<std::recursive_mutex> guard(s.strings.mutex);
    text.clear();
    if (const std::shared_ptr<StringSource> source = s.strings.function) {
        if ((*source)(number, text)) return true;
        text.clear();
    }
    for (const auto& [table, count] : s.stringTables) {
        const StringResource* const found = std::find_if(
            table, table + count,
            [number](const StringResource& string) { return string.number == number; });
        if (found != table + count) {
            text = found->text;
            return true;
        }
    }
    return false;
}

StringSource setStringSource(StringSource source) {
    return seams().strings.exchange(std::move(source));
}

}  // namespace kerf
