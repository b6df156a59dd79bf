#include "kerf/persistence/object_database.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#if defined(__linux__)
#include <pthread.h>
#endif

#include "kerf/persistence/database_object.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/numbered_database.h"
#include "kerf/platform/exceptions.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/database_support.h"
#include "tests/persistence/heap_support.h"

namespace kerf {
namespace {

using namespace test;

class ObjectDataBase : public DatabaseTest {};

TEST_F(ObjectDataBase, ANewFileHasItsHeaderAndTreesInPlace) {
    OpenedBase(place).Close();
    std::string expected = newHeap();
    expected.replace(0, 8, words({284, 392}));
    // The last signature lies over the size word of the class tree's block.
    expected += words({24, /*magic*/ 1000, /*trees*/ 308, 352, /*counters*/ 0, 0, 0});
    expected += words({/*class tree*/ -1, -1, 1365, 0, 60, 10, 10, -1, 0, 0});
    expected += words({44, /*object tree*/ -1, -1, 1365, 0, 4, 10, 10, -1, 0, 1});
    EXPECT_EQ(place.bytes(), expected);
}

TEST_F(ObjectDataBase, SaveWritesWhatIsDirtyAndStoreWritesAlways) {
    OpenedBase base(place);
    ERDBObject object;
    EXPECT_EQ(base.Store(object), 1);
    object.color(2);
    EXPECT_EQ(object.Save(nullptr), 1);
    const std::string saved = place.bytes();
    EXPECT_EQ(object.Save(nullptr), 1);
    EXPECT_EQ(place.bytes(), saved);
    EXPECT_EQ(base.Store(object), 1);
    EXPECT_NE(place.bytes(), saved);  // a new version of the record
    EXPECT_EQ(object.Delete(), 1);
    EXPECT_EQ(object.getObjectID(), -1);
    EXPECT_EQ(object.Database(), nullptr);
    EXPECT_EQ(base.getNbObj(), 1u);  // as many as were ever stored
}

TEST_F(ObjectDataBase, ARingReadsAsNullAndIsNotSavedWhenAllOfItIsDirty) {
    OpenedBase base(place);
    const auto a = newNamed("a"), b = newNamed("b", a);
    a->object(b);
    ASSERT_EQ(b->Save(&base), 1);  // b is not dirty
    const t_SmartPtr<ERObject> ring = base.RetrieveAndCreate(1);
    const t_SmartPtr<ERObject> back = ERDBObject::castdown(ring.getObject())->object();
    ASSERT_EQ(nameOf(back), "a");
    EXPECT_TRUE(!ERDBObject::castdown(back.getObject())->object());

    a->name("other");
    b->setDirty();
    EXPECT_EQ(a->Save(nullptr), 0);
    EXPECT_EQ(a->isDirty() + b->isDirty(), 2);
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(2)), "a");
    a->object({});
}

#if defined(__linux__)

// Runs the work in a thread with a stack of that size.
int inThread(std::size_t stackSize, const std::function<int()>& work) {
    struct Task {
        const std::function<int()>& work;
        int result;
    } task{work, -1};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackSize);
    const auto run = [](void* given) -> void* {
        static_cast<Task*>(given)->result = static_cast<Task*>(given)->work();
        return nullptr;
    };
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attributes, run, &task), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return task.result;
}

#if UINTPTR_MAX > 0xFFFFFFFFu
// On a stack that would bear more.
TEST_F(ObjectDataBase, ARingIsFollowedNoDeeperThanAHundredThousandRecords) {
    OpenedBase base(place);
    int depth = 0;
    Scripted ring(4, nullptr);
    ring.setDirty();
    ring.save = [&](ERFile& file) {
        ++depth;
        ring.recursiveSaveOn(file);
    };
    const ERLong end = base.fileManager()->endData();
    EXPECT_EQ(inThread(std::size_t{1} << 30, [&] { return ring.Save(&base); }), 0);
    EXPECT_EQ(depth, 100000);
    EXPECT_EQ(ring.getObjectID(), -1);
    EXPECT_LT(base.fileManager()->endData(), end + 2000);  // the class is new
}
#endif

#endif

TEST_F(ObjectDataBase, LongChainsComeBackAsFarAsTheStackReaches) {
    OpenedBase base(place);
    t_SmartPtr<ERDBObject> last;
    for (int i = 0; i < 3000; ++i) last = newNamed("link", last);
    ASSERT_EQ(last->Save(&base), 1);
    const auto length = [&] {
        int count = 0;
        t_SmartPtr<ERObject> link = base.RetrieveAndCreate(last->getObjectID());
        for (; nameOf(link) == "link"; ++count)
            link = ERDBObject::castdown(link.getObject())->object();
        return count;
    };
    EXPECT_EQ(length(), 3000);
#if defined(__linux__)
    const int reached = inThread(1 << 19, length);
    EXPECT_GT(reached, 10);
    EXPECT_LT(reached, 3000);
#endif
}

TEST_F(ObjectDataBase, AnObjectMovesToAnotherBase) {
    const TemporaryFile otherPlace;
    OpenedBase from(place), to(otherPlace);
    ERDBObject filler, left;
    const auto moved = newNamed("moved");
    filler.Save(&to);
    moved->Save(&from);
    moved->color(5);
    EXPECT_EQ(moved->Save(&to), 1);
    EXPECT_EQ(moved->Database(), &to);
    EXPECT_EQ(moved->getObjectID(), 2);
    EXPECT_EQ(from.Retrieve(1, left), 1);  // stored once more before it left
    EXPECT_EQ(left.color(), 5);
}

// --- One base object, several files

TEST_F(ObjectDataBase, AnObjectOfOneFileReplacesNothingInAnother) {
    const TemporaryFile otherPlace;
    newNamed("theirs")->Save(std::make_unique<OpenedBase>(otherPlace).get());
    OpenedBase base(place);
    const auto object = newNamed("ours"), whole = newNamed("whole", object);
    ASSERT_EQ(object->Save(&base), 1);
    ASSERT_EQ(base.Open(otherPlace.path(), 0), 1);
    object->name("changed");
    EXPECT_EQ(object->Save(nullptr), 0);
    EXPECT_EQ(object->Delete(), 0);
    EXPECT_EQ(whole->Save(&base), 1);  // its part comes along as a new object
    EXPECT_EQ(object->getObjectID(), 3);
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(1)), "theirs");
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(3)), "changed");
    base.Open(place.path(), 1);
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(1)), "ours");
}

TEST_F(ObjectDataBase, AnObjectStaysAttachedWhenItsFileIsOpenedAgain) {
    OpenedBase base(place);
    const auto object = newNamed("first");
    ASSERT_EQ(object->Save(&base), 1);
    for (const std::string name : {"second", "third"}) {
        base.Close();
        EXPECT_EQ(base.Open("/no/such/folder/file", 0), 0);
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        object->name(name.c_str());
        EXPECT_EQ(object->Save(nullptr), 1);
        EXPECT_EQ(nameOf(base.RetrieveAndCreate(1)), name);
    }
    EXPECT_EQ(base.getNbObj(), 1u);
}

TEST_F(ObjectDataBase, AFileThatReplacesTheFormerOneIsAnother) {
    OpenedBase base(place);
    const auto object = newNamed("former");
    ASSERT_EQ(object->Save(&base), 1);
    base.Close();
    std::filesystem::remove(place.path());
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    object->setDirty();
    EXPECT_EQ(object->Save(nullptr), 0);
    EXPECT_EQ(newNamed("new")->Save(&base), 1);
    EXPECT_EQ(object->Save(&base), 1);
    EXPECT_EQ(nameOf(base.RetrieveAndCreate(1)), "new");
}

TEST_F(ObjectDataBase, OpeningAnotherFileClosesTheFirstAndForgetsItsClasses) {
    const TemporaryFile otherPlace;
    OpenedBase base(place);
    newNamed("object")->Save(&base);
    ASSERT_EQ(base.Open(otherPlace.path(), 0), 1);
    EXPECT_EQ(base.getNbObj(), 0u);
    EXPECT_EQ(base.getSignature("ERDBObject"), -1);
    EXPECT_EQ(OpenedBase(place).getNbObj(), 1u);
}

// --- Refusals

TEST_F(ObjectDataBase, AnObjectThatNoFileCanHoldIsRefusedAndNotCounted) {
    OpenedBase base(place);
    for (const ERULong size : {0x7FFFFFFDu, 0x80000000u, 0xFFFFFFFFu}) {
        Scripted object(size, nullptr);
        EXPECT_EQ(base.Store(object), -1) << size;
        EXPECT_EQ(object.getObjectID(), -1) << size;
    }
    EXPECT_EQ(base.getNbObj(), 0u);
    ASSERT_EQ(base.Store(*newNamed("first")), 1);
}

TEST_F(ObjectDataBase, AReferenceLeavesTheCurrentBaseAsItWas) {
    const TemporaryFile plainPlace;
    ERFile plain(plainPlace.path(), CFile::modeCreate | CFile::modeReadWrite);
    OpenedBase base(place);
    const auto part = newNamed("part");
    part->Save(&base);
    part->setDirty();
    ERObject::theCurrentDataBase = nullptr;
    part->recursiveSaveOn(plain);
    EXPECT_EQ(ERObject::theCurrentDataBase, nullptr);
    EXPECT_EQ(part->isDirty(), 0);
    EXPECT_EQ(plainPlace.bytes(), words({1}));
}

struct Unbuildable : Scripted {
    Unbuildable() : Scripted(thrown(), nullptr) {}
    static ERULong thrown() { throw 1; }
};

TEST_F(ObjectDataBase, AnObjectThatIsNotBuiltHandsNoBaseOver) {
    OpenedBase base(place);
    EXPECT_THROW(new (&base) Unbuildable, int);
    EXPECT_EQ(ERDBObject().getObjectID(), -1);
}

TEST_F(ObjectDataBase, ABareObjectIsStoredByItsOwnNew) {
    {
        OpenedBase base(place);
        const t_SmartPtr<ERDBObject> object(new (&base) ERDBObject);
        EXPECT_EQ(object->getObjectID(), 1);
        EXPECT_EQ(base.getSignature("ERObject"), 1);
        EXPECT_TRUE(!base.RetrieveAndCreate(1));  // of a class without a creator
        // A copy leaves the hand-over of its new to the next object.
        const t_SmartPtr<ERDBObject> copy(new (&base) ERDBObject(*object));
        EXPECT_EQ(ERObject::theCurrentDataBase, &base);
    }
    EXPECT_EQ(ERObject::theCurrentDataBase, nullptr);
    EXPECT_EQ(ERDBObject().getObjectID(), -1);
}

TEST_F(ObjectDataBase, ARefusalNamesItsReasonAndLeavesTheFileAlone) {
    const auto expectRefusal = [&](auto&& base, OpenFailure reason, const char* text) {
        const std::string path = place.path(), before = place.bytes();
        for (int readOnly : {1, 0}) {
            told.clear();
            EXPECT_EQ(base.Open(path, readOnly), 0);
            EXPECT_EQ(base.openFailure(), reason);
            EXPECT_EQ(told, path + ": " + text + "\n");
            EXPECT_EQ(place.bytes(), before);
        }
    };
    const struct {
        std::string bytes;
        OpenFailure reason;
        const char* text;
    } cases[] = {
        {"", OpenFailure::emptyFile, "the file is empty"},
        {std::string(5000, 'x'), OpenFailure::notADatabase, "not a database"},
        {std::string(5000, '\0'), OpenFailure::notADatabase, "not a database"},
        {newHeap().replace(0, 4, words({284})), OpenFailure::damaged, "a damaged database"},
    };
    for (const auto& c : cases) {
        place.setBytes(c.bytes);
        expectRefusal(ERObjectDataBase(), c.reason, c.text);
    }
    std::filesystem::remove(place.path());
    {
        OpenedBase writer(place);
        EXPECT_EQ(writer.openFailure(), OpenFailure::none);
        expectRefusal(ERObjectDataBase(), OpenFailure::inUse, "in use by another program");
        newNamed("first")->Save(&writer);
    }
    ERDataBase numbered;
    expectRefusal(numbered, OpenFailure::otherKind, "a database without numbered objects");
    EXPECT_EQ(OpenedBase(place).getNbObj(), 1u);  // for `numbered` is closed
    std::filesystem::remove(place.path());
    ERObjectDataBase base;
    EXPECT_EQ(base.Open(place.path(), 1), 0);
    EXPECT_EQ(base.openFailure(), OpenFailure::noSuchFile);
    EXPECT_FALSE(std::filesystem::exists(place.path()));
    ERDBObject object;
    EXPECT_EQ(base.Store(object), -1);
    EXPECT_EQ(base.Retrieve(1, object), 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(1));
    EXPECT_EQ(base.InsertSpecial(1), -1);
}

TEST_F(ObjectDataBase, AnUnknownClassIsToldFromAMissingNumber) {
    newNamed("first")->Save(std::make_unique<OpenedBase>(place).get());
    std::string bytes = place.bytes();
    place.setBytes(bytes.replace(bytes.find("ERDBObject"), 10, "ERDBObjecs"));
    OpenedBase base(place, 1);
    EXPECT_TRUE(!base.RetrieveAndCreate(2));
    EXPECT_EQ(told, "");
    EXPECT_TRUE(!base.RetrieveAndCreate(1));
    EXPECT_EQ(told, "object 1: unknown class ERDBObjecs\n");
}

TEST_F(ObjectDataBase, AReadOnlyBaseIsSharedAndStaysAsItWas) {
    newNamed("first")->Save(std::make_unique<OpenedBase>(place).get());
    const std::string before = place.bytes();
    {
        OpenedBase reader(place, 1), another(place, 1);
        EXPECT_THROW(ERDBObject().Save(&reader), CFileException);
        EXPECT_THROW(reader.Delete(1), CFileException);
        EXPECT_EQ(nameOf(reader.RetrieveAndCreate(1)), "first");
        EXPECT_EQ(ERObjectDataBase().Open(place.path(), 0), 0);
    }
    EXPECT_EQ(place.bytes(), before);
    EXPECT_EQ(told.substr(0, told.find('\n')), place.path() + std::string(": opened read-only"));
}

// Oracle: maps from ID to what was stored last, an object's name and part or a plain number. The
// numbers could be locations of records: nothing may be freed there.
TEST_F(ObjectDataBase, RandomWorkKeepsEveryObject) {
    struct Record {
        std::string name;
        ERLong part;
    };
    Draws draw(20);
    std::map<ERLong, Record> objects;
    std::map<ERLong, ERLong> numbers;
    auto base = std::make_unique<OpenedBase>(place);
    for (unsigned int step = 1; step <= 4000; ++step) {
        SCOPED_TRACE(testing::Message() << "seed 20, step " << step);
        const unsigned int kind = draw(10);
        const std::string name(draw(300), static_cast<char>('a' + step % 26));
        const auto chosen = objects.lower_bound(static_cast<ERLong>(draw(step)));
        t_SmartPtr<ERObject> object;
        if (chosen != objects.end()) object = base->RetrieveAndCreate(chosen->first);
        if (kind < 5 || chosen == objects.end()) {
            if (kind < 2) object = newNamed("part");  // stored with what refers to it
            const auto whole = newNamed(name, object);
            ASSERT_EQ(whole->Save(base.get()), 1);
            const ERLong part = !object ? -1 : object->getObjectID();
            objects[whole->getObjectID()] = {name, part};
            if (kind < 2) objects[part] = {"part", -1};
        } else if (kind == 5) {
            const auto number = static_cast<ERLong>(4 * draw(20000));
            numbers[base->InsertSpecial(number)] = number;
        } else if (kind == 6 && !numbers.empty()) {
            ASSERT_EQ(base->Delete(numbers.begin()->first), 1);
            numbers.erase(numbers.begin());
        } else if (kind == 7) {
            ASSERT_EQ(object->Delete(), 1);
            objects.erase(chosen);
        } else {
            ERDBObject::castdown(object.getObject())->name(name.c_str());
            ASSERT_EQ(object->Save(nullptr), 1);
            chosen->second.name = name;
        }
        if (step % 400 != 0) continue;
        base = nullptr;
        base = std::make_unique<OpenedBase>(place);
        for (auto& [id, number] : numbers) {
            ASSERT_EQ(base->ReadSpecial(id), number);
            ASSERT_EQ(base->SetSpecial(id, number += 4), 1);
        }
        for (const auto& [id, record] : objects) {
            ERDBObject back;
            ASSERT_EQ(base->Retrieve(id, back), 1);
            ASSERT_EQ(back.name(), record.name);
            const auto part = objects.find(record.part);
            ASSERT_EQ(nameOf(back.object()), part == objects.end() ? "(none)" : part->second.name);
        }
    }
}

// A session in a process that ended without Close: the counters in the header are put back.
TEST_F(ObjectDataBase, AfterACrashNoIDAndNoSignatureIsGivenTwice) {
    {
        OpenedBase base(place);
        ERPersistentPoint2D().Save(&base);
    }
    const std::string counters = place.bytes().substr(296, 12);
    {
        OpenedBase base(place);
        for (int i = 2; i < 32; ++i) newNamed(std::to_string(i))->Save(&base);
    }
    place.setBytes(place.bytes().replace(296, 12, counters));
    OpenedBase base(place);
    const auto a = newNamed("a");
    ASSERT_EQ(newNamed("b", a)->Save(&base), 1);
    EXPECT_EQ(a->getObjectID(), 33);
    ASSERT_EQ(ERPersistentPoint3D(ERPoint3D(1, 2, 3)).Save(&base), 1);
    EXPECT_EQ(base.getSignature("ERPersistentPoint3D"), 3);
    for (int i = 2; i < 32; ++i) EXPECT_EQ(nameOf(base.RetrieveAndCreate(i)), std::to_string(i));
}

}  // namespace
}  // namespace kerf
