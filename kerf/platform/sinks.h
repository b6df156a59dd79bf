#pragma once
#include <cstddef>
#include <functional>
#include <string>

#include "kerf/platform/config.h"

// Where the library's texts go to and come from: debug text, messages to the user, strings by
// number. The application replaces each by a function of its own. All functions may be called from
// any thread, and before and after the life of static objects. Calls of one sink never overlap; a
// sink may itself call the functions of this header.
namespace kerf {

using DebugTextSink = std::function<void(const char* text)>;
using MessageSink = std::function<void(const char* title, const char* text)>;
/// Stores the text of that number and answers true, or answers false when it has none.
using StringSource = std::function<bool(unsigned int number, std::string& text)>;

/// Writes to the debug output: the sink if one is set, else the debugger on Windows and nothing
/// elsewhere. Texts that came before the first sink was ever set are kept up to 64 KiB in all (what
/// would pass that is lost) and handed to that sink.
KERF_EXPORT void outputDebugText(const char* text);

/// Answers the former sink. An empty function puts the default back.
KERF_EXPORT DebugTextSink setDebugTextSink(DebugTextSink sink);

/// Tells the user something: through the sink if one is set, else on standard error.
KERF_EXPORT void showMessage(const char* title, const char* text);

/// Answers the former sink. An empty function puts the default back.
KERF_EXPORT MessageSink setMessageSink(MessageSink sink);

/// A sink for setMessageSink: a message box on Windows, standard error elsewhere.
KERF_EXPORT void showMessageBox(const char* title, const char* text);

struct StringResource {
    unsigned int number;
    const char* text;
};

/// Adds strings of the library's own; the table must last as long as the program. Asked after the
/// application's source, so that an application can translate them.
KERF_EXPORT void addStringTable(const StringResource* table, std::size_t count);

/// The text of that number from the application's source, else from the library's tables. False
/// when nobody has it: the text is then empty.
KERF_EXPORT bool loadString(unsigned int number, std::string& text);

/// Sets where the application's texts come from; answers the former source.
KERF_EXPORT StringSource setStringSource(StringSource source);

}  // namespace kerf
