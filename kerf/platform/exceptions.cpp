#include "kerf/platform/exceptions.h"

namespace kerf {

namespace {

const char* textOf(CArchiveException::Cause cause) {
    switch (cause) {
        case CArchiveException::writeOnly:
            return "archive: loading from an archive that stores";
        case CArchiveException::readOnly:
            return "archive: storing to an archive that loads";
        case CArchiveException::endOfFile:
            return "archive: end of file";
        case CArchiveException::closed:
            return "archive: closed";
    }
    return "archive";
}

}  // namespace

// Out of line, so that the type information lies in this library alone: a program then catches
// what the library throws.
CException::~CException() = default;
CFileException::~CFileException() = default;
CInvalidArgException::~CInvalidArgException() = default;
CArchiveException::~CArchiveException() = default;

CFileException::CFileException(std::string filePath, const char* failedOperation,
                               std::error_code reason)
    : CException(std::string(failedOperation) + " '" + filePath + "': " + reason.message()),
      filePath_(std::move(filePath)),
      failedOperation_(failedOperation),
      reason_(reason) {}

CArchiveException::CArchiveException(Cause cause) : CException(textOf(cause)), cause_(cause) {}

}  // namespace kerf
