#pragma once
#include <cstddef>
#include <functional>
#include <string>

#include "kerf/platform/config.h"

// Where the library's texts go to and come from: debug text, messages to the user, strings by
// number. The application may replace each by a function of its own.
//
// Threads: all functions may be called from any thread, also while static objects are built or
// destroyed. Calls of one sink never overlap. A sink may itself call the functions of this header.
namespace kerf {

using DebugTextSink = std::function<void(const char* text)>;
using MessageSink = std::function<void(const char* title, const char* text)>;
/// Stores the text of that number and returns true; returns false when it has none.
using StringSource = std::function<bool(unsigned int number, std::string& text)>;

/// Writes to the debug output: the sink if one is set, else the debugger on Windows and nothing
/// elsewhere. The first 64 KiB of text written before any sink was ever set are kept and handed to
/// the first sink.
KERF_EXPORT void outputDebugText(const char* text);

/// Returns the former sink. An empty function restores the default.
KERF_EXPORT DebugTextSink setDebugTextSink(DebugTextSink sink);

/// Shows the user a message: through the sink if one is set, else on standard error.
KERF_EXPORT void showMessage(const char* title, const char* text);

/// Returns the former sink. An empty function restores the default.
KERF_EXPORT MessageSink setMessageSink(MessageSink sink);

/// A sink for setMessageSink: a message box on Windows, standard error elsewhere.
KERF_EXPORT void showMessageBox(const char* title, const char* text);

struct StringResource {
    unsigned int number;
    const char* text;
};

/// Adds strings of the library's own. They are looked up after the application's source, so that an
/// application can translate them.
/// Lifetime: the table must live as long as the program.
KERF_EXPORT void addStringTable(const StringResource* table, std::size_t count);

/// The text of that number from the application's source, else from the library's tables. Returns
/// false, and an empty text, when none of them has it.
KERF_EXPORT bool loadString(unsigned int number, std::string& text);

/// Sets where the application's texts come from; returns the former source.
KERF_EXPORT StringSource setStringSource(StringSource source);

}  // namespace kerf
