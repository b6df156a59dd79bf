#include "kerf/platform/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

std::size_t notNegative(int value) { return static_cast<std::size_t>(std::max(value, 0)); }

int position(std::size_t found) {
    return found == std::string::npos ? -1 : static_cast<int>(found);
}

}  // namespace

CString::CString(const char* text, int length) {
    if (text == nullptr || length <= 0) return;
    const void* const end = std::memchr(text, '\0', notNegative(length));
    bytes_.assign(text, end == nullptr
                            ? notNegative(length)
                            : static_cast<std::size_t>(static_cast<const char*>(end) - text));
}

CString::CString(char c, int repeat) {
    if (c != '\0') bytes_.assign(notNegative(repeat), c);
}

char CString::GetAt(int index) const {
    KERF_CHECK_ARGUMENT(index >= 0 && index < GetLength());
    return bytes_[static_cast<std::size_t>(index)];
}

void CString::SetAt(int index, char c) {
    KERF_CHECK_ARGUMENT(index >= 0 && index < GetLength());
    bytes_[static_cast<std::size_t>(index)] = c;
}

CString& CString::operator+=(const CString& tail) {
    bytes_ += tail.bytes_;
    return *this;
}

CString& CString::operator+=(const char* tail) {
    if (tail != nullptr) bytes_ += tail;
    return *this;
}

CString& CString::operator+=(char tail) {
    bytes_ += tail;
    return *this;
}

CString CString::Left(int count) const { return bytes_.substr(0, notNegative(count)); }

CString CString::Mid(int first) const { return Mid(first, GetLength()); }

CString CString::Mid(int first, int count) const {
    return bytes_.substr(std::min(notNegative(first), bytes_.size()), notNegative(count));
}

CString CString::Right(int count) const {
    return bytes_.substr(bytes_.size() - std::min(notNegative(count), bytes_.size()));
}

int CString::Find(char c, int start) const {
    return start < 0 ? -1 : position(bytes_.find(c, notNegative(start)));
}

int CString::Find(const char* part, int start) const {
    return start < 0 || part == nullptr ? -1 : position(bytes_.find(part, notNegative(start)));
}

int CString::Compare(const char* other) const {
    return bytes_.compare(other == nullptr ? "" : other);
}

void CString::Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    // Into a text of its own: an argument may be this one.
    std::string printed(notNegative(length), '\0');
    if (length > 0) std::vsnprintf(printed.data(), printed.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    bytes_ = std::move(printed);
}

bool CString::LoadString(unsigned int number) { return loadString(number, bytes_); }

void CString::FormatMessage(const char* pattern, const std::vector<MessageInsert>& inserts) {
    bytes_ = formatMessage(pattern == nullptr ? "" : pattern, inserts);
}

void CStringArray::SetSize(int size) { texts_.resize(notNegative(size)); }

int CStringArray::Add(const CString& text) {
    texts_.push_back(text);
    return GetSize() - 1;
}

}  // namespace kerf
