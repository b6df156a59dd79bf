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

// Out of line, so that the type information has one home and exceptions pass library borders.
CException::~CException() = default;
CFileException::~CFileException() = default;
CInvalidArgException::~CInvalidArgException() = default;
CArchiveException::~CArchiveException() = default;

CFileException::CFileException(std::string path, const char* operation, std::error_code code)
    : CException(std::string(operation) + " '" + path + "': " + code.message()),
      filePath_(std::move(path)),
      failedOperation_(operation),
      reason_(code) {}

CArchiveException::CArchiveException(Cause cause) : CException(textOf(cause)), cause_(cause) {}

}  // namespace kerf
