#pragma once
#include <gtest/gtest.h>

#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf::test {

// Tests read files by other means while they are open, which Windows refuses when a file is held
// exclusively.
#if defined(_WIN32)
constexpr unsigned int exclusive = CFile::shareDenyNone;
#else
constexpr unsigned int exclusive = CFile::shareExclusive;
#endif
constexpr unsigned int createExclusive = CFile::modeCreate | CFile::modeReadWrite | exclusive;

/// An open and empty file over a backend that can be told to disturb it.
template <class File>
struct DisturbedFile : ::testing::Test {
    TemporaryFile temporary;
    TestFileBackend backend;
    ScopedFileBackend installed{backend};
    File file{temporary.path(), createExclusive};
};

}  // namespace kerf::test
