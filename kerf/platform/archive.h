#pragma once
#include <cstddef>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

class CFile;

/// A buffered stream of little-endian values to or from a file, in one direction for its whole
/// life. The file is not owned and must outlive the archive, or its Close(); while the archive is
/// open the file's position is the archive's business.
///
/// Failure: CArchiveException for `<<` and Write while loading, `>>` and Read while storing, loading
///          past the end (the value is then left as it was), and anything on a closed archive;
///          CFileException from the file itself. Values that a failed flush could not write stay in
///          the buffer.
class KERF_EXPORT CArchive {
public:
    enum Mode { store, load };

    CArchive(CFile* file, Mode mode, std::size_t bufferSize = 4096);
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;
    ~CArchive();  ///< as Close(), but never throws

    bool IsStoring() const { return mode_ == store; }
    bool IsLoading() const { return mode_ == load; }

    /// Storing: hands the buffer to the file. Loading: moves the file back to the first byte that
    /// was not taken.
    void Flush();
    /// Flushes and lets the file go. A second call does nothing.
    void Close();

    /// Answers the number of bytes taken: less than `count` only at the end of the file.
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
    std::size_t taken_ = 0;   // loading: of the bytes in the buffer, how many were given out
    std::size_t filled_ = 0;  // how many bytes the buffer holds
};

}  // namespace kerf
