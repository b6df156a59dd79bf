#pragma once
#include <cstddef>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

class CFile;

/// A buffered stream of little-endian values to or from a file, in one direction for its whole
/// life. While the archive is open, only the archive may move the file's position.
/// Failure:  CArchiveException for `<<` and Write while loading, `>>` and Read while storing,
///           loading past the end (the variable keeps its value), and anything on a closed archive;
///           CFileException from the file itself. Values that a failed flush could not write stay
///           in the buffer.
/// Lifetime: the file is not owned; it must live until Close() or the end of the archive.
class KERF_EXPORT CArchive {
public:
    enum Mode { store, load };

    CArchive(CFile* file, Mode mode, std::size_t bufferSize = 4096);
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;
    ~CArchive();  ///< closes, and never throws

    bool IsStoring() const { return mode_ == store; }
    bool IsLoading() const { return mode_ == load; }

    /// While storing, writes the buffer to the file; while loading, moves the file's position back
    /// to the first byte that was not taken.
    void Flush();
    /// Flushes and detaches the file. A second call does nothing.
    void Close();

    /// Returns the number of bytes taken: less than `count` only at the end of the file.
    std::size_t Read(void* data, std::size_t count);
    void Write(const void* data, std::size_t count);

    CArchive& operator<<(char value);
    CArchive& operator<<(unsigned char value);
    CArchive& operator<<(short value);
    CArchive& operator<<(unsigned short value);
    CArchive& operator<<(int value);
    CArchive& operator<<(unsigned int value);
    CArchive& operator<<(float value);
    CArchive& operator<<(double value);

    CArchive& operator>>(char& value);
    CArchive& operator>>(unsigned char& value);
    CArchive& operator>>(short& value);
    CArchive& operator>>(unsigned short& value);
    CArchive& operator>>(int& value);
    CArchive& operator>>(unsigned int& value);
    CArchive& operator>>(float& value);
    CArchive& operator>>(double& value);

private:
    template <class T>
    CArchive& put(T value);
    template <class T>
    CArchive& take(T& value);
    void require(Mode mode) const;

    CFile* file_;
    Mode mode_;
    std::vector<char> buffer_;
    std::size_t taken_ = 0;   // loading: how many bytes of the buffer were given out
    std::size_t filled_ = 0;  // how many bytes the buffer holds
};

}  // namespace kerf
