#pragma once
#include <compare>
#include <cstddef>
#include <string>
#include <vector>

#include "kerf/platform/config.h"
#include "kerf/platform/message_format.h"
#include "kerf/platform/standard_text.h"

// The platform's texts, as labels and result formats use them: bytes, in the application's own
// character set.
namespace kerf {

/// A text of bytes without a byte 0. Positions count from 0; -1 means none. Left, Mid and Right
/// return what lies within the text of the part that is asked for.
class KERF_EXPORT CString {
public:
    CString() = default;
    CString(const char* text) : bytes_(text == nullptr ? "" : text) {}
    CString(const char* text, int length);
    CString(const std::string& text) : bytes_(text) {}
    CString(const std::same_as<std::string_view> auto& text) : bytes_(text) {}
    explicit CString(char c, int repeat = 1);

    operator const char*() const { return bytes_.c_str(); }
    const std::string& str() const { return bytes_; }

    int GetLength() const { return static_cast<int>(bytes_.size()); }
    bool IsEmpty() const { return bytes_.empty(); }
    void Empty() { bytes_.clear(); }
    char GetAt(int index) const;
    void SetAt(int index, char c);

    CString& operator+=(const CString& tail);
    CString& operator+=(const char* tail);
    CString& operator+=(char tail);

    CString Left(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Right(int count) const;
    int Find(char c, int start = 0) const;
    int Find(const char* part, int start = 0) const;
    int Compare(const char* other) const;  ///< negative, 0 or positive, by unsigned bytes

    /// Prints as printf does. A format that cannot be printed leaves the text empty.
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    Format(const char* format, ...);

    /// Becomes the text of that number; returns false, and is empty, when there is none.
    bool LoadString(unsigned int number);

    /// Fills a pattern in the message notation of formatMessage.
    void FormatMessage(const char* pattern, const std::vector<MessageInsert>& inserts);

private:
    std::string bytes_;
};

inline CString operator+(CString head, const CString& tail) { return head += tail; }
inline CString operator+(CString head, const char* tail) { return head += tail; }
inline CString operator+(const char* head, const CString& tail) { return CString(head) += tail; }
inline CString operator+(CString head, char tail) { return head += tail; }

inline bool operator==(const CString& a, const CString& b) { return a.str() == b.str(); }
inline bool operator==(const CString& a, const char* b) { return a.Compare(b) == 0; }
inline std::strong_ordering operator<=>(const CString& a, const CString& b) {
    return a.Compare(b) <=> 0;
}
inline std::strong_ordering operator<=>(const CString& a, const char* b) {
    return a.Compare(b) <=> 0;
}

/// An array of texts. Indices must be valid; a negative size counts as 0.
class KERF_EXPORT CStringArray {
public:
    int GetSize() const { return static_cast<int>(texts_.size()); }
    bool IsEmpty() const { return texts_.empty(); }
    void SetSize(int size);  ///< cuts, or adds empty texts
    void RemoveAll() { texts_.clear(); }
    int Add(const CString& text);  ///< returns the index

    const CString& GetAt(int index) const { return texts_[checked(index)]; }
    void SetAt(int index, const CString& text) { texts_[checked(index)] = text; }
    CString& operator[](int index) { return texts_[checked(index)]; }
    const CString& operator[](int index) const { return texts_[checked(index)]; }

private:
    std::size_t checked(int index) const {
        KERF_CHECK_ARGUMENT(index >= 0 && index < GetSize());
        return static_cast<std::size_t>(index);
    }

    std::vector<CString> texts_;
};

}  // namespace kerf
