// Files that are damaged or cut, and a system that fails at any call: what must hold whatever
// happens.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

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

// What a call returns, 0 when it threw.
template <class Call>
int resultOf(Call call) {
    try {
        return call();
    } catch (const CFileException&) {
        return 0;
    }
}

// One session of stores, replacements and deletions. What each object holds in the file is recorded
// when the call that put it there has succeeded.
struct Session {
    std::map<ERLong, std::string> stored;  // names by ID
    std::set<ERLong> uncertain;            // IDs of calls that failed

    void run(const char* path) {
        ERObjectDataBase base;
        if (!base.Open(path, 0)) return;
        std::vector<t_SmartPtr<ERDBObject>> objects;
        for (unsigned int i = 0; i < 60; ++i) {
            const std::string name(10 + i, static_cast<char>('0' + i));
            objects.push_back(i % 7 == 3 ? newNamed(name, newNamed("part")) : newNamed(name));
            save(*objects.back(), base);
            if (i % 5 == 4) save(objects[i / 2]->name(std::string(20 + 2 * i, '+').c_str()), base);
            if (i % 6 == 5) remove(*objects[i / 3]);
            if (i % 4 == 3) retrieve(objects[i / 2]->getObjectID(), base);
        }
        resultOf([&] { return base.Close(), 1; });
    }

    void save(ERDBObject& object, ERObjectDataBase& base) {
        const ERLong id = object.getObjectID();
        ERObjectDataBase* const database = object.Database();
        object.setDirty();
        if (resultOf([&] { return object.Save(&base); })) {
            stored[object.getObjectID()] = object.name();
            uncertain.erase(object.getObjectID());
            EXPECT_EQ(object.isDirty(), 0);
        } else {
            EXPECT_EQ(object.getObjectID(), id);
            EXPECT_EQ(object.Database(), database);
            EXPECT_EQ(object.isDirty(), 1);
            uncertain.insert(id);
        }
    }

    void remove(ERDBObject& object) {
        const ERLong id = object.getObjectID();
        if (resultOf([&] { return object.Delete(); }))
            stored.erase(id);
        else
            uncertain.insert(id);
    }

    void retrieve(ERLong id, ERObjectDataBase& base) {
        ERDBObject object;
        if (resultOf([&] { return base.Retrieve(id, object); })) {
            EXPECT_TRUE(uncertain.count(id) != 0 || object.name() == stored[id]);
        } else {
            EXPECT_EQ(object.getObjectID(), -1);
            EXPECT_EQ(object.Database(), nullptr);
        }
    }

    // Every object whose last call succeeded is there with its name; one whose call failed holds
    // its former or its new name, or nothing.
    void check(const char* path) const {
        ERObjectDataBase base;
        if (stored.empty()) return;
        ASSERT_EQ(base.Open(path, 1), 1);
        for (const auto& [id, name] : stored) {
            const t_SmartPtr<ERObject> object = base.RetrieveAndCreate(id);
            if (uncertain.count(id) == 0) {
                ASSERT_EQ(nameOf(object), name) << id;
            }
        }
    }
};

class DatabaseFaults : public DatabaseTest {
protected:
    // For n = 1, 2, ... as far as the session gets: run with the n-th call disturbed, then checked.
    void sessionAtEachCall(const std::function<void(std::uint64_t)>& disturb) {
        bool reached = true;
        for (std::uint64_t n = 1; reached && !HasFailure(); ++n) {
            SCOPED_TRACE(testing::Message() << "call " << n);
            std::filesystem::remove(place.path());
            disturb(n);
            Session session;
            session.run(place.path());
            reached = backend.hasDisturbed();
            backend.clear();
            session.check(place.path());
        }
    }

    // A numbered base with one object of each stored kind, references and freed space in it.
    std::string smallDatabase() const {
        {
            ERDataBase base;
            EXPECT_EQ(base.Open(place.path(), 0), 1);
            const t_SmartPtr<ERDBObject> named(new ERDBObject);
            named->name("left wall").color(3).property(70, 2.5).property(-9, "text");
            named->object(new ERPersistentPoint3D(ERPoint3D(1, 2, 3)));
            base.save(named);
            const auto freed = newNamed("freed");
            base.save(newNamed("a"));
            base.save(freed);
            freed->Delete();
            ERDBTree tree;
            tree.Create("levels", *base.objects().fileManager());
            tree.insertKeyAndValue(1, 10);
            base.objects().Store(tree);
        }
        return place.bytes();
    }

    TestFileBackend backend;
    ScopedFileBackend scope{backend};
};

// Reads everything there is, then changes what can be changed.
void useEverything(const char* path, int readOnly) {
    ERDataBase base;
    if (!base.Open(path, readOnly)) return;
    std::ostringstream text;
    base.objects().summarize(text);
    for (ERLong number = -1; number < 5; ++number) {
        const t_SmartPtr<ERObject> object = base.restore(number);
        if (object.getObject() != nullptr) object->printOn(text);
    }
    for (ERLong id = -1; id < 10; ++id) {
        base.objects().RetrieveAndCreate(id);
        ERDBTree tree;
        if (!base.objects().Retrieve(id, tree)) continue;
        tree.Reload(*base.objects().fileManager());
        tree.findValue(1);
    }
    if (readOnly) return;
    ERDBObject object;
    object.Save(&base.objects());
    base.objects().Delete(2);
    base.save(newNamed("last"));
    object.name(std::string(500, 'l').c_str()).Save(nullptr);
}

TEST_F(DatabaseFaults, DamageAndTruncationAreSurvived) {
    forEachDamage(smallDatabase(), [&](const std::string& damaged) {
        place.setBytes(damaged);
        EXPECT_NO_THROW(useEverything(place.path(), 1));
        EXPECT_EQ(place.bytes(), damaged);
        EXPECT_NO_THROW(useEverything(place.path(), 0));
    });
}

TEST_F(DatabaseFaults, AnyCallMayFailWithoutLosingWhatWasStored) {
    for (FileCall kind : {FileCall::open, FileCall::write, FileCall::read, FileCall::length})
        for (Failing failing : {Failing::once, Failing::fromThenOn})
            sessionAtEachCall([&](std::uint64_t n) { backend.failCall(kind, n, failing); });
}

TEST_F(DatabaseFaults, AProcessMayEndBetweenAnyTwoWrites) {
    sessionAtEachCall([&](std::uint64_t n) { backend.stopAtWrite(n); });
}

TEST_F(DatabaseFaults, TriesOnAFullDiskMoveTheEndNoFurther) {
    OpenedBase base(place);
    ASSERT_EQ(newNamed("first")->Save(&base), 1);
    const ERLong end = base.fileManager()->endData();
    const auto part = newNamed(std::string(5000, 'p')), whole = newNamed("whole", part);
    backend.limitLength(end + 200);
    for (int i = 0; i < 20; ++i) {
        EXPECT_THROW(whole->Save(&base), CFileException);
        EXPECT_EQ(base.fileManager()->endData(), end) << "try " << i;
    }
    backend.clear();
    ASSERT_EQ(whole->Save(&base), 1);
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(1)), "first");
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(part->getObjectID())), part->name());
}

// The n-th question about a file fails: whether it exists, or in what state it is.
TEST_F(DatabaseFaults, NoQuestionThatFailsEmptiesABase) {
    const std::string sound = smallDatabase();
    for (Failing failing : {Failing::once, Failing::fromThenOn}) {
        for (std::uint64_t n = 1; n < 5; ++n) {
            SCOPED_TRACE(testing::Message() << "question " << n);
            place.setBytes(sound);
            backend.failCall(FileCall::status, n, failing);
            {
                ERDataBase base;
                base.Open(place.path(), 0);
            }
            backend.clear();
            EXPECT_EQ(place.bytes(), sound);
        }
    }
}

/// Lets something happen after the next question whether a file exists.
class BetweenQuestionAndOpening : public TestFileBackend {
public:
    bool status(const char* path, CFileStatus& status) override {
        const bool found = TestFileBackend::status(path, status);
        if (event) std::exchange(event, {})();
        return found;
    }

    std::function<void()> event;
};

TEST_F(DatabaseFaults, ABaseThatAnotherMadeMeanwhileIsOpened) {
    BetweenQuestionAndOpening files;
    const ScopedFileBackend installed(files);
    files.event = [&] {
        ERDataBase other;
        ASSERT_EQ(other.Open(place.path(), 0), 1);
        ASSERT_EQ(other.save(newNamed("theirs")), 0);
    };
    ERDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    EXPECT_EQ(nameOf(base.restore(0)), "theirs");
    EXPECT_EQ(base.save(newNamed("ours")), 1);
}

TEST_F(DatabaseFaults, ABaseThatAnotherIsMakingIsLeftToIt) {
    BetweenQuestionAndOpening files;
    const ScopedFileBackend installed(files);
    ERDataBase other;
    files.event = [&] { ASSERT_EQ(other.Open(place.path(), 0), 1); };
    EXPECT_EQ(ERDataBase().Open(place.path(), 0), 0);
    EXPECT_EQ(messages.size(), 1u);
    EXPECT_EQ(other.save(newNamed("theirs")), 0);
    EXPECT_EQ(nameOf(other.restore(0)), "theirs");
}

TEST_F(DatabaseFaults, AfterACrashEveryNumberCounts) {
    ERDataBase base;
    for (const ERLong saved : {0, 15, 1000}) {
        SCOPED_TRACE(saved);
        std::filesystem::remove(place.path());
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        for (ERLong i = 0; i < saved; ++i) ASSERT_EQ(base.save(newNamed(std::to_string(i))), i);
        backend.stopAtWrite(1);
        EXPECT_THROW(base.Close(), CFileException);
        backend.clear();
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        EXPECT_EQ(base.getNbEnt(), saved);
        EXPECT_EQ(base.save(newNamed("next")), saved);
        EXPECT_EQ(nameOf(base.restore(saved)), "next");
        base.Close();
    }
}

// --- Hostile files: memory and time are bounded by the length of the file

// Records in a chain, each of which says that it reaches to the end of the file.
TEST_F(DatabaseFaults, RecordsInsideEachOtherTakeNoMoreThanTheFile) {
    constexpr ERLong last = 100;
    constexpr ERULong size = 1004;
    {
        OpenedBase base(place);
        for (ERLong id = 1; id <= last; ++id) {
            Scripted object(size, [&](ERFile& file) {
                file.Write(id + 1);
                file.Write(std::string(1000, 'x').data(), 1000u);
            });
            ASSERT_EQ(base.Store(object), id);
        }
    }
    std::string bytes = place.bytes();
    const std::string mark(1000, 'x');
    for (auto at = bytes.find(mark); at != std::string::npos; at = bytes.find(mark, at + 1000)) {
        const auto block = at - 12;  // of the size word, the signature and the ID
        setWord(bytes, block, wordAt(bytes, 4) - static_cast<ERLong>(block));
    }
    place.setBytes(bytes);
    OpenedBase base(place, 1);
    std::uint64_t open = 0, most = 0;
    Scripted::restoreAny = [&](ERFile& file) {
        const std::uint64_t claimed = file.remaining();
        most = std::max(most, open += claimed);
        ERObject::recursiveRestoreFrom(file);
        open -= claimed;
    };
    base.RetrieveAndCreate(1);
    EXPECT_GT(most, bytes.size() / 2);
    EXPECT_LT(most, bytes.size());
}

// Read to the end, they would be 2^40 objects.
TEST_F(DatabaseFaults, RecordsThatReferTwiceToTheNextComeBackAsOftenAsTheFileAllows) {
    constexpr ERLong last = 40;
    OpenedBase base(place);
    for (ERLong id = 1; id <= last; ++id) {
        Scripted object(8, [&](ERFile& file) {
            file.Write(id + 1);
            file.Write(id + 1);
        });
        ASSERT_EQ(base.Store(object), id);
    }
    std::uint64_t restored = 0;
    Scripted::restoreAny = [&](ERFile& file) {
        ++restored;
        ERObject::recursiveRestoreFrom(file);
        ERObject::recursiveRestoreFrom(file);
    };
    EXPECT_TRUE(base.RetrieveAndCreate(1) != nullptr);
    EXPECT_GT(restored, 100000u);  // those that are shared in earnest all come back
    EXPECT_LT(restored, 1000000u);
    restored = 0;
    EXPECT_TRUE(base.RetrieveAndCreate(last - 10) != nullptr);
    EXPECT_EQ(restored, 2047u);  // each call counts anew
}

// The end of the file is put just below 2 GiB; the file stays sparse.
TEST_F(DatabaseFaults, NothingIsAllocatedPastTheLastLocation) {
    std::string bytes = smallDatabase();
    setWord(bytes, 4, 0x7FFFFFFC - 2000);
    place.setBytes(bytes);
    OpenedBase base(place);
    const auto large = newNamed(std::string(5000, 'l')), whole = newNamed("whole", large);
    EXPECT_EQ(whole->Save(&base), 0);  // it is not kept without its part
    EXPECT_EQ(whole->getObjectID(), -1);
    EXPECT_EQ(large->getObjectID(), -1);
    EXPECT_EQ(newNamed("small")->Save(&base), 1);
}

}  // namespace
}  // namespace kerf
