// Files that are damaged or cut, and a system that fails at any call: what must hold whatever
// happens.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/persistence/database_object.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/numbered_database.h"
#include "kerf/persistence/tree_objects.h"
#include "kerf/platform/exceptions.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/database_support.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/file_backends.h"

namespace kerf {
namespace {

using namespace test;

using Failing = TestFileBackend::Failing;

class DatabaseFaults : public DatabaseTest {
protected:
    TestFileBackend backend;
    ScopedFileBackend scope{backend};
};

// A numbered base with one object of each stored kind, references and freed space in it.
void writeSmallDatabase(char const* path) {
    ERDataBase base;
    ASSERT_EQ(base.Open(path, 0), 1);
    const t_SmartPtr<ERDBObject> named(new ERDBObject);
    named->name("left wall")
        .color(3)
        .property(70, 2.5)
        .property(-9, "text")
        .object(new ERPersistentPoint3D(ERPoint3D(1, 2, 3)));
    base.save(named);
    const t_SmartPtr<Sample> sample(new Sample(30, 5));
    sample->first = new ERPersistentPoint2D(ERPoint2D(4, 5));
    sample->second = sample->first;
    base.save(sample);
    const t_SmartPtr<Sample> freed(new Sample(100, 6));
    base.save(freed);
    freed->Delete();
    ERDBTree tree;
    tree.Create("levels", *base.objects().fileManager());
    tree.insertKeyAndValue(1, 10);
    base.objects().Store(tree);
}

// Reads everything there is, then changes what can be changed.
void useEverything(char const* path, int readOnly) {
    ERDataBase base;
    if (!base.Open(path, readOnly)) return;
    std::ostringstream text;
    base.objects().summarize(text);
    for (ERLong number = -1; number < 5; ++number) {
        const t_SmartPtr<ERObject> object = base.restore(number);
        if (object.getObject() != nullptr) object->printOn(text);
    }
    for (ERLong id = -1; id < 10; ++id) {
        Sample sample;
        base.objects().Retrieve(id, sample);
        ERDBTree tree;
        if (base.objects().Retrieve(id, tree)) {
            tree.Reload(*base.objects().fileManager());
            tree.findValue(1);
        }
    }
    if (readOnly) return;
    Sample sample(50, 1);
    sample.Save(&base.objects());
    base.objects().Delete(2);
    base.save(new Sample(10, 2));
    sample.bytes.resize(500);
    sample.setDirty();
    sample.Save(nullptr);
}

TEST_F(DatabaseFaults, EveryTruncationIsRefusedOrReadsAsMissing) {
    ASSERT_NO_FATAL_FAILURE(writeSmallDatabase(place.path()));
    const std::string whole = place.bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        for (int readOnly : {0, 1}) {
            place.setBytes(whole.substr(0, length));
            EXPECT_NO_THROW(useEverything(place.path(), readOnly)) << length;
        }
    }
}

TEST_F(DatabaseFaults, EveryDamagedByteIsSurvived) {
    ASSERT_NO_FATAL_FAILURE(writeSmallDatabase(place.path()));
    const std::string whole = place.bytes();
    for (std::size_t offset = 0; offset < whole.size(); ++offset) {
        for (int change : {0xFF, 0x01, 0x80}) {
            SCOPED_TRACE(testing::Message() << offset << " changed by " << change);
            std::string damaged = whole;
            damaged[offset] = static_cast<char>(damaged[offset] ^ change);
            place.setBytes(damaged);
            useEverything(place.path(), 1);
            EXPECT_EQ(place.bytes(), damaged);
            useEverything(place.path(), 0);
        }
    }
}

// One session of stores, replacements and deletions. What each object holds in the file is recorded
// when the call that put it there has answered success.
struct Session {
    std::map<ERLong, std::vector<unsigned char>> stored;
    std::set<ERLong> uncertain;  // IDs of calls that failed

    void run(char const* path) {
        ERObjectDataBase base;
        if (!base.Open(path, 0)) return;
        std::vector<t_SmartPtr<Sample>> samples;
        for (unsigned i = 0; i < 60; ++i) {
            const t_SmartPtr<Sample> sample(new Sample(10 + i, static_cast<unsigned char>(i)));
            if (i % 7 == 3) sample->first = new Sample(3, 1);
            sample->setDirty();
            save(*sample, base);
            samples.push_back(sample);
            if (i % 5 == 4) {
                Sample& older = *samples[i / 2];
                older.bytes.assign(20 + 2 * i, static_cast<unsigned char>(100 + i));
                older.setDirty();
                save(older, base);
            }
            if (i % 6 == 5) remove(*samples[i / 3]);
        }
        try {
            base.Close();
        } catch (CFileException const&) {
        }
    }

    void save(Sample& sample, ERObjectDataBase& base) {
        const ERLong id = sample.getObjectID();
        ERObjectDataBase* const database = sample.Database();
        bool succeeded = false;
        try {
            succeeded = sample.Save(&base) != 0;
        } catch (CFileException const&) {
        }
        if (succeeded) {
            stored[sample.getObjectID()] = sample.bytes;
            uncertain.erase(sample.getObjectID());
            EXPECT_EQ(sample.isDirty(), 0);
        } else {
            EXPECT_EQ(sample.getObjectID(), id);
            EXPECT_EQ(sample.Database(), database);
            EXPECT_EQ(sample.isDirty(), 1);
            if (id != -1) uncertain.insert(id);
        }
    }

    void remove(Sample& sample) {
        const ERLong id = sample.getObjectID();
        try {
            if (sample.Delete()) {
                stored.erase(id);
                uncertain.erase(id);
            }
        } catch (CFileException const&) {
            uncertain.insert(id);
        }
    }

    // Every object whose last call succeeded is there with its bytes; one whose call failed holds
    // its former or its new bytes, or nothing.
    void check(char const* path) const {
        ERObjectDataBase base;
        if (stored.empty()) return;
        ASSERT_EQ(base.Open(path, 1), 1);
        for (auto const& [id, bytes] : stored) {
            Sample sample;
            const int found = base.Retrieve(id, sample);
            if (uncertain.count(id) != 0) continue;
            ASSERT_EQ(found, 1) << id;
            ASSERT_EQ(sample.bytes, bytes) << id;
        }
    }
};

TEST_F(DatabaseFaults, AnyCallMayFailWithoutLosingWhatWasStored) {
    for (FileCall kind : {FileCall::write, FileCall::read, FileCall::length}) {
        for (Failing failing : {Failing::once, Failing::fromThenOn}) {
            bool reached = true;
            for (std::uint64_t n = 1; reached; ++n) {
                SCOPED_TRACE(testing::Message() << "call " << n << " of kind " << int(kind));
                std::filesystem::remove(place.path());
                backend.failCall(kind, n, failing);
                Session session;
                session.run(place.path());
                reached = backend.hasDisturbed();
                backend.clear();
                session.check(place.path());
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

TEST_F(DatabaseFaults, AProcessMayEndBetweenAnyTwoWrites) {
    bool reached = true;
    for (std::uint64_t n = 1; reached; ++n) {
        SCOPED_TRACE(testing::Message() << "write " << n);
        std::filesystem::remove(place.path());
        backend.stopAtWrite(n);
        Session session;
        session.run(place.path());
        reached = backend.hasStopped();
        backend.clear();
        session.check(place.path());
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(DatabaseFaults, WritesMayArriveInPieces) {
    Session().run(place.path());
    const std::string expected = place.bytes();
    std::filesystem::remove(place.path());
    backend.cutWrites(5);
    Session pieces;
    pieces.run(place.path());
    EXPECT_GT(pieces.stored.size(), 40u);
    EXPECT_EQ(place.bytes(), expected);
}

TEST_F(DatabaseFaults, OpenAnswersWhateverCallFails) {
    ASSERT_NO_FATAL_FAILURE(writeSmallDatabase(place.path()));
    const std::string small = place.bytes();
    for (bool exists : {false, true}) {
        for (FileCall kind : {FileCall::open, FileCall::write, FileCall::read, FileCall::length}) {
            bool reached = true;
            for (std::uint64_t n = 1; reached; ++n) {
                SCOPED_TRACE(testing::Message() << "call " << n << " of kind " << int(kind));
                std::filesystem::remove(place.path());
                if (exists) place.setBytes(small);
                backend.failCall(kind, n, Failing::fromThenOn);
                ERDataBase base;
                int opened = -1;
                EXPECT_NO_THROW(opened = base.Open(place.path(), 0));
                reached = backend.hasDisturbed();
                EXPECT_EQ(opened, reached ? 0 : 1);
                EXPECT_EQ(base.objects().fileManager() != nullptr, opened == 1);
                backend.clear();
            }
        }
    }
}

TEST_F(DatabaseFaults, AnObjectThatCouldNotBeReadDoesNotStandForItsRecord) {
    {
        OpenedBase base(place);
        ASSERT_EQ(Sample(1000, 1).Save(&base), 1);  // more than one read
    }
    bool reached = true;
    for (std::uint64_t n = 1; reached; ++n) {
        OpenedBase base(place, 1);
        backend.failCall(FileCall::read, n);
        Sample sample;
        int found = 0;
        try {
            found = base.Retrieve(1, sample);
        } catch (CFileException const&) {
        }
        reached = backend.hasDisturbed();
        EXPECT_EQ(found, reached ? 0 : 1) << n;
        EXPECT_EQ(sample.getObjectID(), found ? 1 : -1);
        EXPECT_EQ(sample.Database(), found ? &base : nullptr);
        backend.clear();
    }
}

// The end of the file is put just below 2 GiB; the file stays sparse.
TEST_F(DatabaseFaults, NothingIsAllocatedBehindTheLastLocation) {
    {
        OpenedBase base(place);
        Sample(20, 1).Save(&base);
    }
    std::string bytes = place.bytes();
    setWord(bytes, 4, 0x7FFFFFFC - 2000);
    place.setBytes(bytes);
    OpenedBase base(place);
    Sample large(5000, 2);
    large.setDirty();
    EXPECT_EQ(large.Save(&base), 0);
    EXPECT_EQ(large.getObjectID(), -1);
    EXPECT_EQ(large.Database(), nullptr);
    EXPECT_EQ(large.isDirty(), 1);
    EXPECT_EQ(base.getNbObj(), 1u);
    const t_SmartPtr<Sample> part(new Sample(5000, 3));
    Sample whole(10, 4);
    whole.first = part;
    EXPECT_EQ(whole.Save(&base), 0);  // a record whose part is missing is not kept
    ERLong last = 1;
    for (unsigned i = 0; i < 200; ++i) {
        Sample small(60, static_cast<unsigned char>(i));
        if (small.Save(&base)) last = small.getObjectID();
    }
    EXPECT_GT(last, 5);
    EXPECT_LT(last, 40);
    base.Close();
    ASSERT_EQ(base.Open(place.path(), 1), 1);
    for (ERLong id = 2; id <= last; ++id) {
        Sample small;
        ASSERT_EQ(base.Retrieve(id, small), 1) << id;
        EXPECT_EQ(small.bytes, std::vector<unsigned char>(60, static_cast<unsigned char>(id - 2)));
    }
}

}  // namespace
}  // namespace kerf
