#include "kerf/core/string.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>
#include <functional>
#include <istream>
#include <limits>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "kerf/core/file.h"
#include "kerf/core/regexp.h"
#include "kerf/platform/internal/byte_order.h"

namespace kerf {

namespace {

static_assert(sizeof(ERCStringRef) == 12);

struct EmptyBlock {
    ERCStringRef head;
    char end;
};

// Constant-initialised: strings may be built before any other static object and used after it.
constinit EmptyBlock emptyBlock{{ERCStringRef::permanent, 0, 0}, '\0'};

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

std::string_view viewOf(const ERCString& text) { return {text.data(), text.length()}; }
std::string_view viewOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

// memcpy that takes a null pointer for an empty text.
void copyBytes(char* to, const char* from, unsigned int count) {
    if (count != 0) std::memcpy(to, from, count);
}

std::uint32_t wordAt(const char* text) {
    std::uint32_t word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

bool equalBytes(const char* a, const char* b, unsigned int count) {
    for (; count >= 4; a += 4, b += 4, count -= 4)
        if (wordAt(a) != wordAt(b)) return false;
    for (; count > 0; ++a, ++b, --count)
        if (*a != *b) return false;
    return true;
}

bool equalFolded(const char* a, const char* b, unsigned int count) {
    return std::equal(a, a + count, b, [](char x, char y) { return lower(x) == lower(y); });
}

int compareBytes(std::string_view a, std::string_view b) {
    const int order = a.compare(b);  // bytes as unsigned, then the lengths
    return order < 0 ? -1 : order > 0;
}

int compareFolded(std::string_view a, std::string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int x = std::tolower(static_cast<unsigned char>(a[i]));
        const int y = std::tolower(static_cast<unsigned char>(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    return a.size() < b.size() ? -1 : a.size() > b.size();
}

}  // namespace

// The shared block.

ERCStringRef* ERCStringRef::empty() { return &emptyBlock.head; }

ERCStringRef* ERCStringRef::make(unsigned int capacity, unsigned int length) {
    // A size that the address space cannot hold is left to the allocator to refuse.
    const std::uint64_t bytes = sizeof(ERCStringRef) + std::uint64_t{capacity} + 1;
    const std::uint64_t most = std::numeric_limits<std::size_t>::max();
    void* memory = ::operator new(static_cast<std::size_t>(std::min(bytes, most)));
    auto* block = ::new (memory) ERCStringRef{0, 0, capacity};
    block->setLength(length);
    return block;
}

ERCStringRef* ERCStringRef::clone(unsigned int newCapacity) const {
    const unsigned int kept = std::min(length, newCapacity);
    ERCStringRef* block = make(newCapacity, kept);
    std::memcpy(block->text(), text(), kept);
    return block;
}

void ERCStringRef::destroy() { ::operator delete(this); }

unsigned int ERCStringRef::hash() const {
    std::uint32_t h = length;
    const char* at = text();
    unsigned int left = length;
    for (; left >= 4; at += 4, left -= 4) {
        std::uint32_t word = wordAt(at);
        swapToLittleEndian(&word, 1);
        h = std::rotl(h, 5) ^ word;
    }
    if (left > 0) {
        // In these last bytes the first is the highest, in the words it is the lowest.
        std::uint32_t tail = 0;
        for (; left > 0; ++at, --left) tail = (tail << 8) | static_cast<unsigned char>(*at);
        h = std::rotl(h, 5) ^ tail;
    }
    return h;
}

unsigned int ERCStringRef::hashFoldCase() const {
    std::uint32_t h = length;
    for (char c : std::string_view(text(), length))
        h = std::rotl(h, 5) ^ static_cast<unsigned char>(upper(c));
    return h;
}

// Construction and assignment.

ERCString::ERCString(ERSize_T capacity)
    : ref_(capacity == 0 ? ERCStringRef::empty() : ERCStringRef::make(capacity, 0)) {}

ERCString::ERCString(char c) : ref_(ERCStringRef::make(adjustCapacity(1), 1)) {
    ref_->text()[0] = c;
}

ERCString::ERCString(char c, unsigned int count) {
    count = std::min(count, maximumLength);
    ref_ = ERCStringRef::make(adjustCapacity(count), count);
    std::memset(ref_->text(), c, count);
}

ERCString::ERCString(const char* text)
    : ERCString(text, static_cast<unsigned int>(
                          std::min<std::size_t>(viewOf(text).size(), maximumLength))) {}

ERCString::ERCString(const char* text, unsigned int length) {
    length = text == nullptr ? 0 : std::min(length, maximumLength);
    ref_ = ERCStringRef::make(adjustCapacity(length), length);
    copyBytes(ref_->text(), text, length);
}

ERCString::ERCString(const ERCSubString& part) : ref_(ERCStringRef::empty()) {
    if (!part.isNull()) *this = part;
}

ERCString& ERCString::operator=(const ERCString& other) {
    other.ref_->addReference();
    ref_->release();
    ref_ = other.ref_;
    return *this;
}

ERCString& ERCString::operator=(ERCString&& other) noexcept {
    if (this != &other) {
        ref_->release();
        ref_ = other.ref_;
        other.ref_ = ERCStringRef::empty();
    }
    return *this;
}

ERCString& ERCString::operator=(const char* text) { return replace(0, length(), text); }

ERCString& ERCString::operator=(const ERCSubString& part) {
    return replace(0, length(), part.data(), part.length());
}

void ERCString::constructElements(ERCString* storage, int count) {
    for (int i = 0; i < count; ++i) ::new (static_cast<void*>(storage + i)) ERCString;
}

ERCString ERCString::copy() const { return ERCString(data(), length()); }

// Capacity.

unsigned int ERCString::adjustCapacity(unsigned int n) {
    if (n <= increment) return increment;
    const std::uint64_t rounded = (std::uint64_t{n} + increment - 1) / increment * increment;
    return rounded > 0xFFFFFFFFu ? n : static_cast<unsigned int>(rounded);
}

unsigned int ERCString::capacity(unsigned int n) {
    if (n > length() && n != capacity()) hold(ref_->clone(n));
    return capacity();
}

void ERCString::unshare() {
    if (ref_->isShared()) hold(ref_->clone(capacity()));
}

// Replaces this string's block by one that already counts this string. Does nothing when it is the
// same block.
void ERCString::hold(ERCStringRef* block) {
    if (block == ref_) return;
    ref_->release();
    ref_ = block;
}

// Makes the string empty, with a block of its own that has at least the given room.
void ERCString::clear(unsigned int room) {
    if (!ref_->isShared() && capacity() >= room)
        ref_->setLength(0);
    else
        hold(room == 0 ? ERCStringRef::empty() : ERCStringRef::make(room, 0));
}

// Changes.

// Returns a block with this string's text in which the n bytes at the position are replaced by `size`
// bytes that the caller will copy from `text`; null when the result would be too long.
//
// It is the string's own block when no other string shares it, it has the room and wastes at most 15
// bytes, and `text` does not lie in it. Otherwise it is a new one. `text` is unchanged in both cases.
ERCStringRef* ERCString::blockForEdit(unsigned int position, unsigned int n, unsigned int size,
                                      const char* text) const {
    const std::uint64_t wanted = std::uint64_t{length()} - n + size;
    if (wanted > maximumLength) return nullptr;
    const auto newLength = static_cast<unsigned int>(wanted);
    const unsigned int tail = length() - position - n;

    const std::less<const char*> before;
    const bool ownText = !before(text, data()) && !before(data() + capacity(), text);
    const bool inPlace = !ref_->isShared() && capacity() >= newLength &&
                         capacity() - newLength <= getMaxWaste() && !ownText;
    ERCStringRef* block = ref_;
    if (!inPlace) {
        block = ERCStringRef::make(adjustCapacity(newLength), newLength);
        std::memcpy(block->text(), data(), position);
    }
    std::memmove(block->text() + position + size, data() + position + n, tail);
    block->setLength(newLength);
    return block;
}

ERCString& ERCString::replace(unsigned int position, unsigned int n, const char* text,
                              unsigned int count) {
    if (text == nullptr) count = 0;
    position = std::min(position, length());
    n = std::min(n, length() - position);
    if (ERCStringRef* block = blockForEdit(position, n, count, text)) {
        copyBytes(block->text() + position, text, count);
        hold(block);
    }
    return *this;
}

ERCString& ERCString::insertCharacters(unsigned int position, char c, unsigned int count) {
    if (ERCStringRef* block = blockForEdit(position, 0, count, nullptr)) {
        std::memset(block->text() + position, c, count);
        hold(block);
    }
    return *this;
}

ERCString& ERCString::replace(unsigned int position, unsigned int n, const char* text) {
    const std::size_t count = viewOf(text).size();
    if (count > maximumLength) return *this;
    return replace(position, n, text, static_cast<unsigned int>(count));
}

ERCString& ERCString::replace(unsigned int position, unsigned int n, const ERCString& text) {
    return replace(position, n, text.data(), text.length());
}

ERCString& ERCString::replace(unsigned int position, unsigned int n, const ERCString& text,
                              unsigned int count) {
    return replace(position, n, text.data(), std::min(count, text.length()));
}

ERCString& ERCString::append(char c, unsigned int count) {
    return insertCharacters(length(), c, count);
}
ERCString& ERCString::append(const char* text) { return replace(length(), 0, text); }
ERCString& ERCString::append(const char* text, unsigned int count) {
    return replace(length(), 0, text, count);
}
ERCString& ERCString::append(const ERCString& text) { return replace(length(), 0, text); }
ERCString& ERCString::append(const ERCString& text, unsigned int count) {
    return replace(length(), 0, text, count);
}

ERCString& ERCString::prepend(char c, unsigned int count) { return insertCharacters(0, c, count); }
ERCString& ERCString::prepend(const char* text) { return replace(0, 0, text); }
ERCString& ERCString::prepend(const char* text, unsigned int count) {
    return replace(0, 0, text, count);
}
ERCString& ERCString::prepend(const ERCString& text) { return replace(0, 0, text); }
ERCString& ERCString::prepend(const ERCString& text, unsigned int count) {
    return replace(0, 0, text, count);
}

ERCString& ERCString::insert(unsigned int position, const char* text) {
    return replace(position, 0, text);
}
ERCString& ERCString::insert(unsigned int position, const char* text, unsigned int count) {
    return replace(position, 0, text, count);
}
ERCString& ERCString::insert(unsigned int position, const ERCString& text) {
    return replace(position, 0, text);
}
ERCString& ERCString::insert(unsigned int position, const ERCString& text, unsigned int count) {
    return replace(position, 0, text, count);
}

ERCString& ERCString::remove(unsigned int position) { return remove(position, length()); }
ERCString& ERCString::remove(unsigned int position, unsigned int n) {
    return replace(position, n, nullptr, 0);
}

void ERCString::resize(unsigned int n) {
    if (n > length())
        append(' ', n - length());
    else
        remove(n);
}

void ERCString::toLower() {
    unshare();
    std::transform(data(), data() + length(), ref_->text(), lower);
}

void ERCString::toUpper() {
    unshare();
    std::transform(data(), data() + length(), ref_->text(), upper);
}

// Queries.

int ERCString::isAscii() const {
    return std::all_of(data(), data() + length(),
                       [](char c) { return static_cast<unsigned char>(c) < 128; });
}

int ERCString::compareTo(const char* text, caseCompare mode) const {
    return mode == exact ? compareBytes(viewOf(*this), viewOf(text))
                         : compareFolded(viewOf(*this), viewOf(text));
}

int ERCString::compareTo(const ERCString& text, caseCompare mode) const {
    return mode == exact ? compareBytes(viewOf(*this), viewOf(text))
                         : compareFolded(viewOf(*this), viewOf(text));
}

int ERCString::contains(const char* text, caseCompare mode) const {
    return index(text, 0u, mode) != npos;
}

int ERCString::contains(const ERCString& text, caseCompare mode) const {
    return index(text, 0u, mode) != npos;
}

unsigned int ERCString::first(char c) const {
    const char* found = c == '\0' ? nullptr : std::strchr(data(), c);
    return found == nullptr ? npos : static_cast<unsigned int>(found - data());
}

unsigned int ERCString::first(const char* anyOf) const {
    const char* found = anyOf == nullptr ? nullptr : std::strpbrk(data(), anyOf);
    return found == nullptr ? npos : static_cast<unsigned int>(found - data());
}

unsigned int ERCString::last(char c) const {
    const char* found = c == '\0' ? nullptr : std::strrchr(data(), c);
    return found == nullptr ? npos : static_cast<unsigned int>(found - data());
}

unsigned int ERCString::hash(caseCompare mode) const {
    return mode == exact ? ref_->hash() : ref_->hashFoldCase();
}

unsigned int ERCString::index(const char* text, unsigned int count, unsigned int start,
                              caseCompare mode) const {
    if (text == nullptr) count = 0;
    if (start > length() || count > length() - start) return npos;
    if (count == 0) return start;

    const char* const lastPlace = data() + (length() - count);
    const char* place = data() + start;
    if (mode == exact) {
        for (; place <= lastPlace; ++place) {
            const auto places = static_cast<std::size_t>(lastPlace - place) + 1;
            place = static_cast<const char*>(std::memchr(place, *text, places));
            if (place == nullptr) return npos;
            if (equalBytes(place + 1, text + 1, count - 1))
                return static_cast<unsigned int>(place - data());
        }
    } else {
        const char firstLower = lower(*text);
        for (; place <= lastPlace; ++place)
            if (lower(*place) == firstLower && equalFolded(place + 1, text + 1, count - 1))
                return static_cast<unsigned int>(place - data());
    }
    return npos;
}

unsigned int ERCString::index(const char* text, unsigned int start, caseCompare mode) const {
    const std::size_t count = viewOf(text).size();
    if (count > maximumLength) return npos;
    return index(text, static_cast<unsigned int>(count), start, mode);
}

unsigned int ERCString::index(const ERCString& text, unsigned int start, caseCompare mode) const {
    return index(text.data(), text.length(), start, mode);
}

unsigned int ERCString::index(const ERCString& text, unsigned int count, unsigned int start,
                              caseCompare mode) const {
    return index(text.data(), std::min(count, text.length()), start, mode);
}

unsigned int ERCString::index(const ERCRegexp& pattern, unsigned int* matchLength,
                              unsigned int start) const {
    return pattern.index(*this, matchLength, start);
}

// Parts. The const forms return constant views, which cannot write through the pointer they hold.

ERCSubString ERCString::view(unsigned int position, unsigned int n) const {
    return ERCSubString(const_cast<ERCString*>(this), position, position == npos ? 0 : n);
}

const ERCSubString ERCString::operator()(unsigned int position, unsigned int n) const {
    if (position > length()) return view(npos, 0);
    return view(position, std::min(n, length() - position));
}

const ERCSubString ERCString::operator()(const ERCRegexp& pattern, unsigned int start) const {
    unsigned int matched = 0;
    const unsigned int position = index(pattern, &matched, start);
    return view(position, matched);
}

const ERCSubString ERCString::strip(stripType type, char c) const {
    unsigned int head = 0;
    unsigned int end = length();
    if (type & leading)
        while (head < end && data()[head] == c) ++head;
    if (type & trailing)
        while (end > head && data()[end - 1] == c) --end;
    return head == end ? view(npos, 0) : view(head, end - head);
}

const ERCSubString ERCString::subString(const char* text, unsigned int start,
                                        caseCompare mode) const {
    const unsigned int position = index(text, start, mode);
    return view(position, static_cast<unsigned int>(viewOf(text).size()));
}

const ERCSubString ERCString::subString(const char* text, caseCompare mode) const {
    return subString(text, 0, mode);
}

ERCSubString ERCString::subString(const char* text, caseCompare mode) {
    return subString(text, 0, mode);
}

ERCSubString ERCString::operator()(unsigned int position, unsigned int n) {
    return std::as_const(*this)(position, n);
}

ERCSubString ERCString::operator()(const ERCRegexp& pattern, unsigned int start) {
    return std::as_const(*this)(pattern, start);
}

ERCSubString ERCString::strip(stripType type, char c) {
    return std::as_const(*this).strip(type, c);
}

ERCSubString ERCString::subString(const char* text, unsigned int start, caseCompare mode) {
    return std::as_const(*this).subString(text, start, mode);
}

// Input and output.

// Stores what was read in the string, which is empty. The room grows by a multiple of the increment, as
// if it had grown step by step while reading; room left over is rounded up and not given back.
void ERCString::takeRead(const char* text, std::size_t read) {
    const auto count = static_cast<unsigned int>(std::min<std::size_t>(read, maximumLength));
    if (count > capacity()) capacity(capacity() + adjustCapacity(count - capacity()));
    copyBytes(ref_->text(), text, count);
    ref_->setLength(count);
    if (capacity() - length() > getMaxWaste()) capacity(adjustCapacity(capacity()));
}

std::istream& ERCString::readFile(std::istream& in) {
    clear(getInitialCapacity());
    std::string read;
    const std::istream::sentry ready(in, /*noskipws=*/true);
    if (!ready) return in;
    std::ios_base::iostate outcome = std::ios_base::eofbit;
    try {
        char chunk[4096];
        std::streamsize got;
        while ((got = in.rdbuf()->sgetn(chunk, sizeof chunk)) > 0)
            read.append(chunk, static_cast<std::size_t>(got));
    } catch (...) {
        outcome = std::ios_base::badbit;  // what the streams do when a buffer throws
    }
    takeRead(read.data(), read.size());
    if (read.empty()) outcome |= std::ios_base::failbit;
    in.setstate(outcome);
    return in;
}

std::istream& ERCString::readToDelim(std::istream& in, char delimiter) {
    clear(getInitialCapacity());
    std::string read;
    std::getline(in, read, delimiter);
    takeRead(read.data(), read.size());
    return in;
}

std::istream& ERCString::readString(std::istream& in) { return readToDelim(in, '\0'); }

std::istream& ERCString::readLine(std::istream& in, int skipWhite) {
    if (skipWhite) in >> std::ws;
    return readToDelim(in, '\n');
}

std::istream& ERCString::readToken(std::istream& in) {
    clear(getInitialCapacity());
    std::string read;
    in.width(0);
    in >> std::ws >> read;
    takeRead(read.data(), read.size());
    return in;
}

void ERCString::saveOn(ERFile& file) const {
    if (file.Write(static_cast<int>(length())) && length() > 0) file.Write(data(), length());
}

void ERCString::restoreFrom(ERFile& file) {
    int stored = 0;
    if (!file.Read(stored) || stored < 0 || static_cast<ERULong>(stored) > file.remaining())
        stored = 0;
    const auto count = static_cast<unsigned int>(stored);
    clear(count);
    if (count == 0) return;
    // Zeros first, so that the string is valid even when the read ends in an exception.
    std::memset(ref_->text(), 0, count);
    ref_->setLength(count);
    if (!file.Read(ref_->text(), count)) ref_->setLength(0);
}

// Views.

unsigned int ERCSubString::length() const {
    if (isNull() || begin_ >= str_->length()) return 0;
    return std::min(extent_, str_->length() - begin_);
}

const char* ERCSubString::data() const {
    return isNull() ? nullptr : str_->data() + std::min(begin_, str_->length());
}

void ERCSubString::replaceBy(const char* text, unsigned int count) {
    if (isNull()) return;
    begin_ = std::min(begin_, str_->length());
    extent_ = length();
    const unsigned int rest = str_->length() - extent_;
    str_->replace(begin_, extent_, text, count);
    extent_ = str_->length() - rest;
}

ERCSubString& ERCSubString::operator=(const ERCString& text) {
    replaceBy(text.data(), text.length());
    return *this;
}

ERCSubString& ERCSubString::operator=(const char* text) {
    const std::size_t count = viewOf(text).size();
    if (count <= ERCString::maximumLength) replaceBy(text, static_cast<unsigned int>(count));
    return *this;
}

ERCSubString& ERCSubString::operator=(const ERCSubString& text) {
    replaceBy(text.data(), text.length());
    return *this;
}

void ERCSubString::toLower() {
    if (isNull()) return;
    str_->unshare();
    std::transform(data(), data() + length(), str_->ref_->text() + (data() - str_->data()), lower);
}

void ERCSubString::toUpper() {
    if (isNull()) return;
    str_->unshare();
    std::transform(data(), data() + length(), str_->ref_->text() + (data() - str_->data()), upper);
}

// Operators.

bool operator==(const ERCString& a, const ERCString& b) { return viewOf(a) == viewOf(b); }
bool operator==(const ERCString& a, const char* b) { return viewOf(a) == viewOf(b); }
std::strong_ordering operator<=>(const ERCString& a, const ERCString& b) {
    return viewOf(a) <=> viewOf(b);
}
std::strong_ordering operator<=>(const ERCString& a, const char* b) {
    return viewOf(a) <=> viewOf(b);
}

ERCString operator+(const ERCString& a, const ERCString& b) { return ERCString(a).append(b); }
ERCString operator+(const ERCString& a, const char* b) { return ERCString(a).append(b); }
ERCString operator+(const char* a, const ERCString& b) { return ERCString(a).append(b); }

std::ostream& operator<<(std::ostream& out, const ERCString& text) { return out << viewOf(text); }
std::ostream& operator<<(std::ostream& out, const ERCSubString& text) {
    return out << std::string_view(text.data(), text.length());
}
std::istream& operator>>(std::istream& in, ERCString& text) { return text.readToken(in); }

ERFile& operator<<(ERFile& file, const ERCString& text) {
    text.saveOn(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERCString& text) {
    text.restoreFrom(file);
    return file;
}

}  // namespace kerf
