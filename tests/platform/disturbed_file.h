#pragma once
#include <gtest/gtest.h>

#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf::test {

constexpr unsigned int createExclusive =
    CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive;

/// An open and empty file over a backend that can be told to disturb it.
template <class File>
struct DisturbedFile : ::testing::Test {
    TemporaryFile temporary;
    TestFileBackend backend;
    ScopedFileBackend installed{backend};
    File file{temporary.path(), createExclusive};
};

}  // namespace kerf::test
