#pragma once
#include <exception>
#include <string>
#include <system_error>

#include "kerf/platform/config.h"

// The exceptions of the library. Only files, archives and the label functions of the formatters
// throw them; everything else reports a failure by what it returns.
namespace kerf {

class KERF_EXPORT CException : public std::exception {
public:
    explicit CException(std::string message) : text_(std::move(message)) {}
    ~CException() override;
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

/// A file operation that failed; what() gives "operation 'path': reason".
class KERF_EXPORT CFileException : public CException {
public:
    CFileException(std::string filePath, const char* failedOperation, std::error_code reason);
    ~CFileException() override;

    const std::string& path() const noexcept { return filePath_; }
    /// "open", "read", "write", "seek", "length", "truncate", "lock", "unlock" or "close".
    const char* operation() const noexcept { return failedOperation_; }
    /// The system's error; it can be compared with std::errc on every platform.
    const std::error_code& code() const noexcept { return reason_; }
    std::string systemText() const { return reason_.message(); }

private:
    std::string filePath_;
    const char* failedOperation_;
    std::error_code reason_;
};

/// An argument that a function refuses, as its header says: the index of a label, for example.
class KERF_EXPORT CInvalidArgException : public CException {
public:
    CInvalidArgException() : CException("invalid argument") {}
    explicit CInvalidArgException(std::string message) : CException(std::move(message)) {}
    ~CInvalidArgException() override;
};

class KERF_EXPORT CArchiveException : public CException {
public:
    enum Cause {
        writeOnly,  ///< loading from an archive that stores
        readOnly,   ///< storing to an archive that loads
        endOfFile,  ///< loading past the end
        closed      ///< the archive has no file any more
    };
    explicit CArchiveException(Cause cause);
    ~CArchiveException() override;
    Cause cause() const noexcept { return cause_; }

private:
    Cause cause_;
};

}  // namespace kerf
