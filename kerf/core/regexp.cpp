#include "kerf/core/regexp.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <vector>

// A compiled pattern is a row of items with a 0 at the end. An item is one byte that stands for itself,
// or `[` followed by a set of 16 bytes. A repetition comes before the item that it applies to:
//
//     ab*[c]d   'a' '*' 'b' '[' <16 bytes> 'd' 0
//
// An escaped `[` is followed by 16 bytes too. A reader cannot tell it from the beginning of a set, and
// would read past the end of the pattern.

namespace kerf {

namespace {

constexpr int setSize = 16;

bool isRepetition(int c) { return c == '*' || c == '+' || c == '?'; }

int itemSize(unsigned char firstByte) { return firstByte == '[' ? 1 + setSize : 1; }

class CharacterSet {
public:
    // Kept: a byte has room for the bits 0 to 7 only, so a character whose low four bits are 8 or
    // more, such as h to o, never is in a set.
    void add(unsigned int c) { bytes_[c >> 4] |= static_cast<unsigned char>(1u << (c & 15u)); }
    void addRange(unsigned int a, unsigned int b) {
        for (unsigned int c = std::min(a, b); c <= std::max(a, b); ++c) add(c);
    }
    void complement() {
        for (unsigned char& byte : bytes_) byte = static_cast<unsigned char>(~byte);
    }
    const unsigned char* data() const { return bytes_.data(); }

private:
    std::array<unsigned char, setSize> bytes_{};
};

// Writes items as long as they fit, and the 0 at the end.
class PatternWriter {
public:
    PatternWriter(unsigned char* pattern, int size) : pattern_(pattern), size_(size) {}

    void addByte(unsigned char c) {
        if (!makeRoom(1)) return;
        item_ = used_;
        pattern_[used_++] = c;
    }
    void addSet(const CharacterSet& set) {
        if (!makeRoom(1 + setSize)) return;
        item_ = used_;
        pattern_[used_] = '[';
        std::memcpy(pattern_ + used_ + 1, set.data(), setSize);
        used_ += 1 + setSize;
    }
    void repeatLastItem(unsigned char repetition) {
        if (!makeRoom(1)) return;
        std::memmove(pattern_ + item_ + 1, pattern_ + item_,
                     static_cast<std::size_t>(used_ - item_));
        pattern_[item_++] = repetition;
        ++used_;
    }
    bool finish() {
        if (!makeRoom(0)) return false;
        pattern_[used_] = 0;
        return true;
    }

private:
    bool makeRoom(int bytes) {
        full_ = full_ || size_ - used_ <= bytes;
        return !full_;
    }

    unsigned char* pattern_;
    int size_;
    int used_ = 0;
    int item_ = 0;  // where the last item begins, after its repetition
    bool full_ = false;
};

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Takes one character, or an escape, off the front of a text that is not empty, and returns the
// character that it means.
unsigned char takeCharacter(const char*& text) {
    const auto c = static_cast<unsigned char>(*text++);
    if (c != '\\' || *text == '\0') return c;
    const auto escaped = static_cast<unsigned char>(*text++);
    switch (escaped) {
        case 'b':
        case 'B':
            return 8;
        case 'e':
        case 'E':
            return 27;
        case 'f':
        case 'F':
            return 12;
        case 'n':
        case 'N':
            return 10;
        case 'r':
        case 'R':
            return 13;
        case 's':
        case 'S':
            return 32;
        case 't':
        case 'T':
            return 9;
        case 'x':
        case 'X': {
            if (hexDigit(*text) < 0) return escaped;
            int value = hexDigit(*text++);
            if (hexDigit(*text) >= 0) value = value * 16 + hexDigit(*text++);
            return static_cast<unsigned char>(value);
        }
        case '^':
            if (*text == '\0') return escaped;
            return static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(*text++)) -
                                              64);
        default:
            return escaped;
    }
}

// Takes the members of a set and the closing bracket off the front of the text; false when the text
// ends first.
bool takeSet(const char*& text, CharacterSet& set) {
    const bool complemented = *text == '^';
    if (complemented) ++text;
    int previous = -1;
    while (*text != ']') {
        if (*text == '\0') return false;
        if (*text == '-' && previous >= 0 && text[1] != ']' && text[1] != '\0') {
            ++text;
            const unsigned char last = takeCharacter(text);
            set.addRange(static_cast<unsigned int>(previous), last);
            previous = last;
        } else {
            previous = takeCharacter(text);
            set.add(static_cast<unsigned int>(previous));
        }
    }
    ++text;
    if (complemented) set.complement();
    return true;
}

ERCRegexp::statVal compilePattern(const char* text, unsigned char* pattern, int size) {
    if (text == nullptr || *text == '\0' || isRepetition(*text)) return ERCRegexp::illegal;
    if (pattern == nullptr) return ERCRegexp::noPattern;
    PatternWriter items(pattern, size);
    while (*text != '\0') {
        if (isRepetition(*text)) {
            items.repeatLastItem(static_cast<unsigned char>(*text++));
        } else if (*text == '[') {
            CharacterSet set;
            if (!takeSet(++text, set)) return ERCRegexp::tooLong;
            items.addSet(set);
        } else {
            const unsigned char c = takeCharacter(text);
            if (c == '[')
                items.addSet(CharacterSet());
            else
                items.addByte(c);
        }
    }
    return items.finish() ? ERCRegexp::ok : ERCRegexp::tooLong;
}

// One step of a match: a byte, and how often it may occur.
struct Item {
    char repetition;  // 0 for exactly once
    char byte;        // the only byte that the item matches, for sets too
};

// Takes one item off the front of a pattern that is not empty. Returns false when the pattern ends
// after the repetition, which happens with an escaped one.
bool takeItem(const unsigned char*& pattern, Item& item) {
    item.repetition = '\0';
    if (isRepetition(*pattern)) item.repetition = static_cast<char>(*pattern++);
    if (*pattern == 0) return false;
    item.byte = static_cast<char>(*pattern);
    pattern += itemSize(*pattern);
    return true;
}

// Tries whether a pattern matches at a place: takes as many bytes as it can for a repetition, and fewer
// while the rest of the pattern does not match. It gives up after a number of steps; whether the
// pattern matches is then not known.
class Backtracker {
public:
    Backtracker(const char* textEnd, std::uint64_t steps) : end_(textEnd), steps_(steps) {}

    bool gaveUp() const { return steps_ == 0; }

    // The end of the match at this place, or null.
    const char* match(const char* text, const unsigned char* pattern, int depth = 0) {
        if (depth > maximumDepth) steps_ = 0;
        while (*pattern != 0) {
            if (gaveUp()) return nullptr;
            --steps_;
            Item item;
            if (!takeItem(pattern, item)) return item.repetition == '+' ? nullptr : text;
            const bool here = text != end_ && *text == item.byte;
            switch (item.repetition) {
                case '\0':
                    if (!here) return nullptr;
                    ++text;
                    break;
                case '?':  // stays taken
                    if (here) ++text;
                    break;
                default:
                    if (item.repetition == '+' && !here) return nullptr;
                    return matchRun(text + (item.repetition == '+'), item.byte, pattern, depth);
            }
        }
        return text;
    }

private:
    static constexpr int maximumDepth = 64;

    const char* matchRun(const char* text, char byte, const unsigned char* rest, int depth) {
        const char* farthest = std::find_if(text, end_, [byte](char c) { return c != byte; });
        if (*rest == 0) return farthest;
        steps_ -= std::min<std::uint64_t>(steps_, static_cast<std::uint64_t>(farthest - text));
        for (;; --farthest) {
            if (const char* found = match(farthest, rest, depth + 1)) return found;
            if (farthest == text || gaveUp()) return nullptr;
        }
    }

    const char* end_;
    std::uint64_t steps_;
};

// The same search in time proportional to items x length. From the last item back to the first, it
// computes for every place in the text where a match of the pattern from that item on would end.
const char* matchByTable(const char* text, unsigned int length, const unsigned char* pattern,
                         const char** start) {
    constexpr unsigned int none = 0xFFFFFFFFu;
    std::vector<Item> items;
    bool possible = true;
    while (*pattern != 0) {
        Item item;
        if (!takeItem(pattern, item)) {
            possible = item.repetition != '+';
            break;
        }
        items.push_back(item);
    }

    // ends[i]: the end of a match that begins at text + i. The next item can be worked in place, since
    // it needs only the former values at i and i + 1.
    std::vector<unsigned int> ends(std::size_t{length} + 1, none);
    if (possible)
        for (unsigned int i = 0; i <= length; ++i) ends[i] = i;
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        if (item->repetition == '*' || item->repetition == '+')
            for (unsigned int i = length; i-- > 0;)
                if (text[i] == item->byte && ends[i + 1] != none) ends[i] = ends[i + 1];
        if (item->repetition == '*') continue;
        for (unsigned int i = 0; i < length; ++i) {
            if (text[i] == item->byte)
                ends[i] = ends[i + 1];
            else if (item->repetition != '?')
                ends[i] = none;
        }
        if (item->repetition != '?') ends[length] = none;
    }

    const auto found =
        std::find_if(ends.begin(), ends.end(), [](unsigned int e) { return e != none; });
    if (found == ends.end()) return nullptr;
    *start = text + (found - ends.begin());
    return text + *found;
}

bool matchesEmptyText(const unsigned char* pattern) {
    if (*pattern == '^' && pattern[1] == 0) return true;
    if (*pattern == '^') ++pattern;
    return *pattern == '$' && pattern[1] == 0;
}

}  // namespace

ERCRegexp::statVal ermakepat(const char* text, unsigned char* pattern, int size) {
    const ERCRegexp::statVal outcome = compilePattern(text, pattern, size);
    if (outcome != ERCRegexp::ok && pattern != nullptr && size > 0) pattern[0] = 0;
    return outcome;
}

const char* ermatchs(const char* text, unsigned int length, const unsigned char* pattern,
                     const char** start) {
    if (text == nullptr || pattern == nullptr || *pattern == 0) return nullptr;
    if (length == 0) {
        if (!matchesEmptyText(pattern)) return nullptr;
        *start = text;
        return text;
    }

    // A pattern that must begin with a certain byte is tried only where that byte is.
    const unsigned char* rest = pattern;
    Item head{};
    const bool anchored =
        takeItem(rest, head) && (head.repetition == '\0' || head.repetition == '+');

    const char* const end = text + length;
    Backtracker backtracker(end, 8 * std::uint64_t{length} + 1024);
    for (const char* place = text; place != end; ++place) {
        if (anchored) {
            place = static_cast<const char*>(
                std::memchr(place, head.byte, static_cast<std::size_t>(end - place)));
            if (place == nullptr) return nullptr;
        }
        const char* matchEnd = backtracker.match(place, pattern);
        if (matchEnd != nullptr) {
            *start = place;
            return matchEnd;
        }
        if (backtracker.gaveUp())
            return matchByTable(place, static_cast<unsigned int>(end - place), pattern, start);
    }
    return nullptr;
}

ERCRegexp::ERCRegexp(const char* text) : pattern_(new unsigned char[patternSize]{}) {
    compile(text);
}

ERCRegexp::ERCRegexp(const ERCString& text) : ERCRegexp(text.data()) {}

ERCRegexp::ERCRegexp(const ERCRegexp& other)
    : pattern_(new unsigned char[patternSize]), status_(other.status_) {
    std::memcpy(pattern_.get(), other.pattern_.get(), patternSize);
}

ERCRegexp::~ERCRegexp() = default;

ERCRegexp& ERCRegexp::operator=(const char* text) {
    compile(text);
    return *this;
}

ERCRegexp& ERCRegexp::operator=(const ERCString& text) { return *this = text.data(); }

ERCRegexp& ERCRegexp::operator=(const ERCRegexp& other) {
    std::memmove(pattern_.get(), other.pattern_.get(), patternSize);
    status_ = other.status_;
    return *this;
}

void ERCRegexp::compile(const char* text) {
    status_ = ermakepat(text, pattern_.get(), patternSize);
}

unsigned int ERCRegexp::index(const ERCString& string, unsigned int* matchLength,
                              unsigned int start) const {
    unsigned int ignored;
    unsigned int& matched = matchLength == nullptr ? ignored : *matchLength;
    matched = 0;
    if (start > string.length()) return ERCString::npos;
    const char* matchStart = nullptr;
    const char* matchEnd =
        ermatchs(string.data() + start, string.length() - start, pattern_.get(), &matchStart);
    if (matchEnd == nullptr) return ERCString::npos;
    matched = static_cast<unsigned int>(matchEnd - matchStart);
    return static_cast<unsigned int>(matchStart - string.data());
}

ERCRegexp::statVal ERCRegexp::status() {
    const statVal last = status_;
    status_ = ok;
    return last;
}

}  // namespace kerf
