#pragma once
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <system_error>

#include "kerf/platform/config.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/standard_text.h"

// Binary files. Everything that a CFile does with the system goes through a FileBackend, which an
// application or a test may replace.
namespace kerf {

/// The state of a file, asked for by its name or from an open file.
struct CFileStatus {
    std::string path;
    std::int64_t size = 0;     ///< in bytes
    std::time_t modified = 0;  ///< 0 when the backend does not know
    bool isDirectory = false;
};

/// One open file of a backend. It has no position: every offset counts from the start of the file.
/// Destroying an open file closes it.
/// Failure: sets `error`; a function that succeeds leaves it alone.
class KERF_EXPORT OpenFile {
public:
    OpenFile() = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    virtual ~OpenFile();

    /// Returns the number of bytes read, which may be less than asked for; 0 at the end of the
    /// file.
    virtual std::size_t read(void* data, std::size_t count, std::int64_t offset,
                             std::error_code& error) = 0;
    /// Returns the number of bytes written, which may be less than asked for.
    virtual std::size_t write(const void* data, std::size_t count, std::int64_t offset,
                              std::error_code& error) = 0;
    virtual std::int64_t length(std::error_code& error) = 0;
    /// Fills in what is known, except the path. The default fills in the size alone.
    virtual void status(CFileStatus& status, std::error_code& error);
    /// Cuts the file, or lengthens it with zeros.
    virtual void truncate(std::int64_t newLength, std::error_code& error) = 0;
    /// Locks or unlocks the range for this open file; a range held by another is refused at once.
    virtual void lock(std::int64_t offset, std::int64_t count, std::error_code& error) = 0;
    virtual void unlock(std::int64_t offset, std::int64_t count, std::error_code& error) = 0;
    /// Called at most once, after every other call.
    virtual void close(std::error_code& error) = 0;
};

/// Opens files.
/// Threads: a backend may be called from several threads at once, an OpenFile from one at a time.
class KERF_EXPORT FileBackend {
public:
    virtual ~FileBackend();

    /// `flags` are those of CFile. Returns null and sets `error` on failure, as for a directory.
    virtual std::unique_ptr<OpenFile> open(const char* path, unsigned int flags,
                                           std::error_code& error) = 0;
    /// Returns false when there is no file or directory of that name.
    virtual bool status(const char* path, CFileStatus& status) = 0;
};

/// The files of the operating system.
KERF_EXPORT FileBackend& systemFileBackend();

/// Sets the backend of the files that are opened from now on; null means the system's. The backend
/// is not owned. Returns the former one, null for the system's.
KERF_EXPORT FileBackend* setFileBackend(FileBackend* backend);

/// An unbuffered binary file: when a call returns, the operating system has the bytes, and they
/// survive a crash of the process.
///
/// The position counts from 0 and may lie past the end; a write there fills what lies between with
/// zeros.
///
/// A file opened with shareExclusive or shareDenyWrite keeps out the openings that it denies, in
/// this process and in others, until it is closed. On Windows the system sees to that; elsewhere it
/// holds among files opened through this class. While sharing is denied, the length is asked of the
/// system once and then remembered.
/// Failure: CFileException with the path, the operation and the system's text. A call that fails
///          leaves the position where it was.
/// Threads: one at a time.
class KERF_EXPORT CFile {
public:
    enum OpenFlags : unsigned int {
        modeRead = 0x0001,
        modeWrite = 0x0002,
        modeReadWrite = modeRead | modeWrite,
        shareExclusive = 0x0010,  ///< no other opening of the file
        shareDenyWrite = 0x0020,  ///< no other opening for writing
        shareDenyNone = 0x0040,   ///< the default
        modeCreate = 0x0100,      ///< creates a missing file, empties an existing one
        modeNoTruncate = 0x0200,  ///< with modeCreate: does not empty it
        typeBinary = 0x1000       ///< every file is binary
    };
    enum SeekPosition : unsigned int { begin = 0, current = 1, end = 2 };

    CFile();  ///< closed
    CFile(const char* path, unsigned int flags);
    CFile(const StandardText auto& path, unsigned int flags)
        : CFile(std::string(path).c_str(), flags) {}
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    virtual ~CFile();  ///< closes, and never throws

    /// Closes what was open, then opens; without modeRead and modeWrite it opens for reading.
    /// Returns 1.
    int Open(const char* path, unsigned int flags);
    int Open(const StandardText auto& path, unsigned int flags) {
        return Open(std::string(path).c_str(), flags);
    }
    void Close();  ///< does nothing on a closed file
    bool isOpen() const { return file_ != nullptr; }

    /// Returns the number of bytes read: less than `count` only at the end of the file.
    unsigned int Read(void* data, unsigned int count);
    /// Writes all, or throws.
    void Write(const void* data, unsigned int count);

    /// Moves to `offset` from the origin (0 start, 1 current position, 2 end) and returns the new
    /// position. Throws for a position before the start.
    std::int64_t Seek(std::int64_t offset, unsigned int origin);
    std::int64_t GetPosition() const { return position_; }
    std::int64_t GetLength() const;
    /// Cuts the file, or lengthens it with zeros. A position past the new end moves to the end.
    virtual void SetLength(std::int64_t newLength);

    void LockRange(std::int64_t offset, std::int64_t count);
    void UnlockRange(std::int64_t offset, std::int64_t count);

    /// The name that the file was last opened by; empty before the first opening.
    const std::string& GetFilePath() const { return path_; }
    /// Returns 1 and the state of the open file, or 0 when it is closed or its state is not known.
    int GetStatus(CFileStatus& status) const;
    /// Returns 1 and the state of the file of that name, or 0 when there is none.
    static int GetStatus(const char* path, CFileStatus& status);
    static int GetStatus(const StandardText auto& path, CFileStatus& status) {
        return GetStatus(std::string(path).c_str(), status);
    }

protected:
    /// Read and Write for any count. Every transfer comes through these two, so that a derived class
    /// may hold bytes back or read ahead.
    virtual std::size_t readBytes(void* data, std::size_t count);
    virtual void writeBytes(const void* data, std::size_t count);

private:
    OpenFile& opened(const char* operation) const;
    [[noreturn]] void fail(const char* operation, std::error_code reason) const;

    std::unique_ptr<OpenFile> file_;
    std::string path_;
    std::int64_t position_ = 0;
    bool keepsLength_ = false;               // no other opening can write
    mutable std::int64_t knownLength_ = -1;  // -1: to be asked of the system
};

}  // namespace kerf
