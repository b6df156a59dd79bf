#pragma once
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <system_error>

#include "kerf/platform/config.h"
#include "kerf/platform/exceptions.h"

// Binary files, and the seam below them: everything that a CFile does with the system goes through
// a FileBackend, which an application or a test may replace.
namespace kerf {

/// What is known of a file by its name or from an open file.
struct CFileStatus {
    std::string path;
    std::int64_t size = 0;     ///< in bytes
    std::time_t modified = 0;  ///< 0 when the backend does not tell
    bool isDirectory = false;
};

/// One open file of a backend. Offsets count from the start of the file: there is no position, so
/// seeking costs nothing. Failures set `error`; a function that succeeds leaves it alone.
/// Destroying an open file closes it.
class KERF_EXPORT OpenFile {
public:
    OpenFile() = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    virtual ~OpenFile();

    /// Answers the number of bytes read, which may be less than asked for; 0 is the end of the
    /// file.
    virtual std::size_t read(void* data, std::size_t count, std::int64_t offset,
                             std::error_code& error) = 0;
    /// Answers the number of bytes written, which may be less than asked for.
    virtual std::size_t write(const void* data, std::size_t count, std::int64_t offset,
                              std::error_code& error) = 0;
    virtual std::int64_t length(std::error_code& error) = 0;
    /// Fills in what is known, the path excepted. The default tells the length alone.
    virtual void status(CFileStatus& status, std::error_code& error);
    /// Cuts the file, or lengthens it with zeros.
    virtual void truncate(std::int64_t newLength, std::error_code& error) = 0;
    /// Takes or gives back the range for this open file alone, without waiting.
    virtual void lock(std::int64_t offset, std::int64_t count, std::error_code& error) = 0;
    virtual void unlock(std::int64_t offset, std::int64_t count, std::error_code& error) = 0;
    /// Called at most once, as the last.
    virtual void close(std::error_code& error) = 0;
};

/// Where files live. A backend may be called from several threads at once; an OpenFile serves one.
class KERF_EXPORT FileBackend {
public:
    virtual ~FileBackend();

    /// Null and an error on failure. `flags` are those of CFile. A directory is not opened.
    virtual std::unique_ptr<OpenFile> open(const char* path, unsigned int flags,
                                           std::error_code& error) = 0;
    /// False when nothing has that name.
    virtual bool status(const char* path, CFileStatus& status) = 0;
};

/// The files of the operating system.
KERF_EXPORT FileBackend& systemFileBackend();

/// Sets the backend of the files that are opened from now on; null puts the system's back. The
/// backend is not owned. Answers the former one, null for the system's.
KERF_EXPORT FileBackend* setFileBackend(FileBackend* backend);

/// An unbuffered binary file: when a call returns, the bytes are the operating system's, and
/// survive a crash of the process.
///
/// Failure:  CFileException with the path, the operation and the system's text. A call that fails
///           leaves the position where it was.
/// Position: kept here, from 0; it may lie past the end, and a write there fills the gap with zeros.
/// Sharing:  a file opened with shareExclusive or shareDenyWrite refuses the openings that it
///           denies, in this process and in others, as long as they come through this class (on
///           Windows, whatever they come through). Where sharing is denied, the length is asked of
///           the system once and then kept.
/// Threads:  one at a time.
class KERF_EXPORT CFile {
public:
    enum OpenFlags : unsigned int {
        modeRead = 0x0001,
        modeWrite = 0x0002,
        modeReadWrite = modeRead | modeWrite,
        shareExclusive = 0x0010,  ///< nobody else may open the file
        shareDenyWrite = 0x0020,  ///< nobody else may open it for writing
        shareDenyNone = 0x0040,   ///< the default
        modeCreate = 0x0100,      ///< makes the file when there is none, empties it when there is
        modeNoTruncate = 0x0200,  ///< with modeCreate: does not empty it
        typeBinary = 0x1000       ///< every file is binary
    };
    enum SeekPosition : unsigned int { begin = 0, current = 1, end = 2 };

    CFile();  ///< closed
    CFile(const char* path, unsigned int flags);
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    virtual ~CFile();  ///< closes, and never throws

    /// Closes what was open, then opens: neither modeRead nor modeWrite means modeRead. Answers 1.
    int Open(const char* path, unsigned int flags);
    void Close();  ///< nothing on a closed file
    bool isOpen() const { return file_ != nullptr; }

    /// Answers the number of bytes read: less than `count` only at the end of the file.
    unsigned int Read(void* data, unsigned int count);
    /// Writes all, or throws.
    void Write(const void* data, unsigned int count);

    /// Moves to `offset` from the origin (0 start, 1 current position, 2 end) and answers the new
    /// position. Throws for one before the start.
    std::int64_t Seek(std::int64_t offset, unsigned int origin);
    std::int64_t GetPosition() const { return position_; }
    std::int64_t GetLength() const;
    /// Cuts the file, or lengthens it with zeros. The position moves back to the end if it lay
    /// behind it.
    virtual void SetLength(std::int64_t newLength);

    void LockRange(std::int64_t offset, std::int64_t count);
    void UnlockRange(std::int64_t offset, std::int64_t count);

    /// The name that the file was last opened by; empty before.
    const std::string& GetFilePath() const { return path_; }
    /// 1 and the state of the open file, or 0 when it is closed or cannot be asked.
    int GetStatus(CFileStatus& status) const;
    /// 1 and the state of the file of that name, or 0 when there is none.
    static int GetStatus(const char* path, CFileStatus& status);

protected:
    /// Every transfer comes through these two, so that a derived class may hold bytes back or read
    /// ahead. As Read and Write, for any count.
    virtual std::size_t readBytes(void* data, std::size_t count);
    virtual void writeBytes(const void* data, std::size_t count);

private:
    OpenFile& opened(const char* operation) const;
    [[noreturn]] void fail(const char* operation, std::error_code reason) const;

    std::unique_ptr<OpenFile> file_;
    std::string path_;
    std::int64_t position_ = 0;
    bool keepsLength_ = false;               // nobody else writes
    mutable std::int64_t knownLength_ = -1;  // -1: to be asked
};

}  // namespace kerf
