#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <string>

#include "kerf/persistence/file_manager.h"
#include "tests/persistence/database_support.h"
#include "tests/support/file_backends.h"

namespace kerf::test {
namespace {

// The bytes of a database as its users read them, beside those that the system tells of the file.
class DatabaseBytes : public DatabaseTest {
protected:
    std::string read(ERLong location, std::size_t count) {
        std::string bytes(count, '?');
        base->SeekTo(location);
        const int whole = base->Read(bytes.data(), static_cast<unsigned int>(count));
        EXPECT_EQ(whole != 0, static_cast<std::size_t>(base->CurOffset() - location) == count);
        bytes.resize(static_cast<std::size_t>(base->CurOffset() - location));
        return bytes;
    }

    std::string readBySystem(ERLong location, std::size_t count) {
        std::string bytes(count, '?');
        std::ifstream stream(place.path(), std::ios::binary);
        stream.seekg(location);
        stream.read(bytes.data(), static_cast<std::streamsize>(count));
        bytes.resize(static_cast<std::size_t>(stream.gcount()));
        return bytes;
    }

    TestFileBackend files;
    const ScopedFileBackend installed{files};
    OpenedBase opened{place};
    ERFileManager* base = opened.fileManager();
};

TEST_F(DatabaseBytes, AreThoseOfTheFileWhateverIsWrittenAndFails) {
    constexpr ERLong size = 20 << 20;  // more than is kept in memory
    const ERLong block = base->allocate(size);
    base->SeekTo(block);
    base->Write(std::string(size, 'e').data(), size);

    std::mt19937 random(1);
    const auto upTo = [&](ERLong most) {
        return std::uniform_int_distribution<ERLong>(0, most)(random);
    };
    for (ERLong location = block; location < block + size; location += 4096) read(location, 1);
    for (int i = 0; i < 6000; ++i) {
        // Near each other, so that much is read that was written; some past the end of the file.
        const ERLong count = upTo(9) == 0 ? upTo(20000) : upTo(300);
        const ERLong location = block + (upTo(1) ? upTo(30000) : size + 3000 - upTo(6000));
        if (upTo(2) == 0) {
            const std::string bytes(static_cast<std::size_t>(count), static_cast<char>(i));
            base->SeekTo(location);
            if (upTo(4) == 0) files.fillDeviceAfter(static_cast<std::uint64_t>(upTo(count)));
            try {
                base->Write(bytes.data(), static_cast<unsigned int>(count));
            } catch (const CFileException&) {
                EXPECT_EQ(base->CurOffset(), location);
            }
            files.clear();
        } else if (upTo(100) == 0) {
            base->SetLength(block + size + 3000 - upTo(6000));
        } else {
            const auto length = static_cast<std::size_t>(count);
            ASSERT_EQ(read(location, length), readBySystem(location, length)) << location;
        }
    }
}

TEST_F(DatabaseBytes, AReadThatFailsLeavesThePositionAndIsTriedAgain) {
    const ERLong block = base->allocate(9000) + 8192;  // in a page that was never read
    base->SeekTo(block);
    base->Write("ABCDEFG");
    base->SeekTo(block);
    files.failCall(FileCall::read, 1);
    char text[8] = {};
    EXPECT_THROW(base->Read(text, 8u), CFileException);
    EXPECT_EQ(base->CurOffset(), block);
    files.clear();
    EXPECT_EQ(base->Read(text, 8u), 1);
    EXPECT_STREQ(text, "ABCDEFG");
}

}  // namespace
}  // namespace kerf::test
