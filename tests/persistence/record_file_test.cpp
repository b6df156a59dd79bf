#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "kerf/platform/exceptions.h"
#include "kerf/values/transformation_2d.h"
#include "tests/persistence/database_support.h"
#include "tests/persistence/heap_support.h"
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

// --- What an object writes into its record

using Records = DatabaseTest;

std::string filled(std::size_t count) { return std::string(count, 'x'); }

struct Writing {
    const char* name;
    ERULong announced;
    std::function<void(ERFile&)> save;
    const char* reported;
};

void writeInts(ERFile& file, int count) {
    for (int i = 0; i < count; ++i) file.Write(i);
}

const Writing tooLong[] = {
    {"one write", 8, [](ERFile& file) { file.Write(filled(13).data(), 13u); }, "wrote 13"},
    {"many writes", 8, [](ERFile& file) { writeInts(file, 100); }, "wrote 400"},
    {"from the end on", 0, [](ERFile& file) { file.Write(1.5); }, "wrote 8"},
    {"a reference after the end", 4,
     [](ERFile& file) {
         file.Write(1);
         t_SmartPtr<ERObject>(newNamed("part")).saveGuts(file);
         file.Write(2);
     },
     "wrote 16"},
};

#if defined(KERF_CHECKED)

TEST_F(Records, TheCheckedBuildStopsAtAClassThatRunsOverItsRecord) {
    OpenedBase base(place);
    Scripted object(tooLong[0].announced, tooLong[0].save);
    EXPECT_DEATH(base.Store(object), "written <= announced");
}

TEST_F(Records, TheCheckedBuildReportsAClassThatWritesLessThanItAnnounced) {
    OpenedBase base(place);
    Scripted object(12, [](ERFile& file) { writeInts(file, 1); });
    EXPECT_EQ(base.Store(object), 1);
    EXPECT_EQ(told, "Scripted announced 12 bytes and wrote 4\n");
}

#else

// Each record takes the space of one that was freed, with others right before and after it.
TEST_F(Records, AClassThatRunsOverItsRecordIsRefusedWithoutATrace) {
    for (const Writing& writing : tooLong) {
        SCOPED_TRACE(writing.name);
        const TemporaryFile own;
        OpenedBase base(own);
        const ERULong size = writing.announced;
        const auto save = [size](ERFile& file) { file.Write(filled(size).data(), size); };
        Scripted sound(size, save), freed(size, save), careless(size, writing.save);
        const auto before = newNamed("before"), after = newNamed("after");
        before->Save(&base);
        newNamed("part")->Save(&base);
        base.Store(freed);
        after->Save(&base);
        base.Store(sound);
        ASSERT_EQ(freed.Delete(), 1);
        const ERLong end = base.fileManager()->endData();

        told.clear();
        EXPECT_EQ(base.Store(careless), -1);
        EXPECT_EQ(careless.getObjectID(), -1);
        EXPECT_EQ(careless.Database(), nullptr);
        EXPECT_EQ(told, "Scripted announced " + std::to_string(size) + " bytes and " +
                            writing.reported + "\n");
        sound.save = writing.save;
        sound.setDirty();
        EXPECT_EQ(sound.Save(nullptr), 0);  // it keeps its former record
        EXPECT_EQ(sound.getObjectID(), 5);
        EXPECT_EQ(nameOf(base.RetrieveAndCreate(1)), "before");
        EXPECT_EQ(nameOf(base.RetrieveAndCreate(4)), "after");
        EXPECT_TRUE(base.RetrieveAndCreate(5) != nullptr);
        const bool hasPart = size == 4;
        if (!hasPart) {
            EXPECT_EQ(base.getNbObj(), 5u);
            EXPECT_EQ(base.fileManager()->endData(), end);
        }
        base.Close();
        expectSoundHeap(own.bytes(), std::vector<ERLong>{});
    }
}

TEST_F(Records, APlanarTransformationIsRefusedAsARecord) {
    OpenedBase base(place);
    ERTransfo2D transformation;
    EXPECT_EQ(base.Store(transformation), -1);
}

#endif

// --- What an object reads from its record

// A class that has got further fields since the record was written.
TEST_F(Records, ReadingPastARecordFailsAndLeavesTheVariable) {
    OpenedBase base(place);
    for (int i = 0; i < 3; ++i) {
        Scripted object(8, [](ERFile& file) { writeInts(file, 2); });
        ASSERT_NE(base.Store(object), -1);
    }
    int visits = 0;
    Scripted::restoreAny = [&](ERFile& file) {
        int values[2] = {7, 7}, whole = 7;
        double real = 0.5;
        char text[4] = "abc";
        EXPECT_EQ(file.remaining(), 8u);
        EXPECT_EQ(file.Read(whole), 1);
        EXPECT_EQ(file.Read(values, 2), 0);
        EXPECT_EQ(values[0], 1);  // what the record holds is read
        EXPECT_EQ(values[1], 7);
        EXPECT_EQ(file.Read(real), 0);
        EXPECT_EQ(real, 0.5);
        EXPECT_EQ(file.Read(text, 3u), 0);
        EXPECT_STREQ(text, "abc");
        EXPECT_EQ(file.remaining(), 0u);
        ++visits;
    };
    for (ERLong id = 1; id <= 3; ++id) base.RetrieveAndCreate(id);
    Scripted filledAgain;
    EXPECT_EQ(base.Retrieve(2, filledAgain), 1);
    EXPECT_EQ(visits, 4);
}

TEST_F(Records, ARestoredPartLeavesItsWholeTheRestOfTheRecord) {
    OpenedBase base(place);
    const auto part = newNamed("part");
    Scripted object(12, [&](ERFile& file) {
        t_SmartPtr<ERObject>(part).saveGuts(file);
        file.Write(11);
    });
    ASSERT_EQ(base.Store(object), 1);
    int after = 0, further = 12;
    Scripted::restoreAny = [&](ERFile& file) {
        t_SmartPtr<ERObject> restored;
        restored.restoreGuts(file);
        EXPECT_EQ(nameOf(restored), "part");
        EXPECT_EQ(file.Read(after), 1);
        EXPECT_EQ(file.Read(further), 0);
    };
    base.RetrieveAndCreate(1);
    EXPECT_EQ(after, 11);
    EXPECT_EQ(further, 12);
}

TEST_F(Records, AnObjectMayReadBackWhatItHasJustWritten) {
    OpenedBase base(place);
    std::vector<int> values(4);
    Scripted object(16, [&](ERFile& file) {
        const ERLong start = file.CurOffset();
        writeInts(file, 4);
        file.SeekTo(start);
        EXPECT_EQ(file.Read(values.data(), 4), 1);
        EXPECT_EQ(values, (std::vector{0, 1, 2, 3}));
        file.SeekTo(start + 4);
        file.Write(60);
    });
    ASSERT_EQ(base.Store(object), 1);
    Scripted::restoreAny = [&](ERFile& file) { file.Read(values.data(), 4); };
    base.RetrieveAndCreate(1);
    EXPECT_EQ(values, (std::vector{0, 60, 2, 3}));
}

// --- Space and writes

// Two blocks are enough for every version of a record; each version is one write, and so is its
// place in the tree.
TEST_F(DatabaseBytes, ARecordStoredAgainTakesTurnsInTwoBlocks) {
    const auto object = newNamed("stored again");
    object->Save(&opened);
    object->setDirty();
    object->Save(nullptr);
    const ERLong end = base->endData();
    files.resetCounts();
    for (int i = 0; i < 100; ++i) {
        object->setDirty();
        ASSERT_EQ(object->Save(nullptr), 1);
    }
    EXPECT_EQ(base->endData(), end);
    EXPECT_LE(files.calls(FileCall::write), 400u);  // with two of the free list
}

}  // namespace
}  // namespace kerf::test
