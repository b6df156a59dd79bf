#pragma once
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

// The command line of an example, "PATH... --name=value... --flag...", and how it ends.

/// An argument that starts with "--".
struct CommandOption {
    std::string text, name, value;  // as given; up to the first "=", and after it

    explicit CommandOption(const std::string& argument)
        : text(argument), name(argument.substr(0, argument.find('='))) {
        if (name.size() < text.size()) value = text.substr(name.size() + 1);
    }
};

/// Sorts the arguments into paths and options. `take` returns whether it has taken an option.
/// False, after a message, for an option that it has not. At "--help" `help` is set and the rest not read.
template <class Take>
bool readArguments(int argc, char** argv, std::vector<std::string>& paths, bool& help, Take take) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help") return help = true;
        if (!argument.starts_with("--")) {
            paths.push_back(argument);
        } else if (!take(CommandOption(argument))) {
            std::cerr << argument << ": no such option\n";
            return false;
        }
    }
    return true;
}

/// The exit code where the usage is all there is to say: 2, on standard error, for arguments that were not
/// understood, and 0 for "--help".
inline std::optional<int> endWithUsage(bool understood, bool help, const char* usage) {
    if (understood && !help) return std::nullopt;
    (understood ? std::cout : std::cerr) << usage;
    return understood ? 0 : 2;
}

/// 0 for a good end; 1 for another, and, after a message, when what was printed is not all written.
inline int exitCode(bool good) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return good ? 0 : 1;
    std::cerr << "standard output could not be written\n";
    return 1;
}
