#include "kerf/persistence/object_database.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/persistence/database_object.h"
#include "kerf/platform/exceptions.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/database_support.h"
#include "tests/persistence/heap_support.h"

namespace kerf {
namespace {

using namespace test;

class ObjectDataBase : public DatabaseTest {};

std::vector<unsigned char> bytesOf(t_SmartPtr<ERObject> const& object) {
    Sample* const sample = Sample::castdown(object.getObject());
    if (sample == nullptr) return {0xBA, 0xD0};
    return sample->bytes;
}

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
    Sample sample(40, 1), into;
    EXPECT_EQ(base.Store(sample), 1);
    sample.bytes[0] = 2;
    EXPECT_EQ(base.Store(sample), 1);
    sample.bytes[0] = 3;
    EXPECT_EQ(sample.Save(nullptr), 1);
    base.Retrieve(1, into);
    EXPECT_EQ(into.bytes[0], 2);
    EXPECT_EQ(sample.Delete(), 1);
    EXPECT_EQ(sample.getObjectID(), -1);
    EXPECT_EQ(sample.Database(), nullptr);
    EXPECT_EQ(base.Delete(1), 0);
    EXPECT_EQ(base.getNbObj(), 1u);  // as many as were ever stored
}

TEST_F(ObjectDataBase, ReferencesBringTheirObjectsAlong) {
    {
        OpenedBase base(place);
        const t_SmartPtr<Sample> shared(new Sample(5, 9)), inner(new Sample(6, 8));
        inner->first = shared;
        Sample outer(7, 7);
        outer.first = inner;
        outer.second = shared;
        ASSERT_EQ(outer.Save(&base), 1);
        EXPECT_EQ(outer.getObjectID(), 1);  // taken before those of its parts
        EXPECT_EQ(inner->getObjectID(), 2);
        EXPECT_EQ(shared->getObjectID(), 3);
        outer.setDirty();
        ASSERT_EQ(outer.Save(nullptr), 1);  // the clean parts are not written again
        EXPECT_EQ(base.getNbObj(), 3u);
    }
    OpenedBase base(place);
    Sample outer;
    ASSERT_EQ(base.Retrieve(1, outer), 1);
    Sample* const inner = Sample::castdown(outer.first.getObject());
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->bytes, std::vector<unsigned char>(6, 8));
    EXPECT_EQ(bytesOf(inner->first), std::vector<unsigned char>(5, 9));
    EXPECT_EQ(bytesOf(outer.second), std::vector<unsigned char>(5, 9));
    EXPECT_NE(inner->first.getObject(), outer.second.getObject());  // sharing comes back unshared
    base.Delete(3);
    ASSERT_EQ(base.Retrieve(1, outer), 1);
    EXPECT_TRUE(!outer.second);  // a reference to nothing
    EXPECT_EQ(outer.bytes, std::vector<unsigned char>(7, 7));
}

TEST_F(ObjectDataBase, RecordsInARingAndLongChainsEnd) {
    OpenedBase base(place);
    const t_SmartPtr<Sample> a(new Sample(1, 1)), b(new Sample(1, 2));
    a->first = b.getObject();
    b->first = a.getObject();
    ASSERT_EQ(a->Save(&base), 1);
    a->first = static_cast<ERObject*>(nullptr);
    const t_SmartPtr<ERObject> ring = base.RetrieveAndCreate(1);
    Sample* const back = Sample::castdown(Sample::castdown(ring.getObject())->first.getObject());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->bytes, b->bytes);
    EXPECT_TRUE(!back->first);

    t_SmartPtr<Sample> former;
    for (std::size_t i = 0; i < ERObjectDataBase::deepestNesting + 50; ++i) {
        const t_SmartPtr<Sample> link(new Sample(0, 0));
        link->first = former.getObject();
        link->Save(&base);
        link->first = static_cast<ERObject*>(nullptr);
        former = link;
    }
    const t_SmartPtr<ERObject> chain = base.RetrieveAndCreate(former->getObjectID());
    std::size_t length = 0;
    for (Sample* link = Sample::castdown(chain.getObject()); link != nullptr;
         link = Sample::castdown(link->first.getObject()))
        ++length;
    EXPECT_EQ(length, ERObjectDataBase::deepestNesting);
}

TEST_F(ObjectDataBase, AnObjectMovesToAnotherBase) {
    const TemporaryFile otherPlace;
    OpenedBase from(place), to(otherPlace);
    Sample filler(1, 1), left;
    const t_SmartPtr<Sample> moved(new Sample(2, 1));
    filler.Save(&to);
    moved->Save(&from);
    moved->bytes[0] = 5;
    moved->setDirty();
    EXPECT_EQ(moved->Save(&to), 1);
    EXPECT_EQ(moved->Database(), &to);
    EXPECT_EQ(moved->getObjectID(), 2);
    EXPECT_EQ(from.Retrieve(1, left), 1);  // stored once more before it left
    EXPECT_EQ(left.bytes, moved->bytes);

    // What it becomes now cannot be stored where it is, and a reference holds no ID of another
    // base.
    moved->setDirty();
    to.Close();
    Sample whole(4, 2);
    whole.first = moved;
    EXPECT_EQ(whole.Save(&from), 0);
    EXPECT_EQ(whole.getObjectID(), -1);
    EXPECT_EQ(from.getNbObj(), 1u);
}

TEST_F(ObjectDataBase, ABareObjectIsStoredByItsOwnNew) {
    {
        OpenedBase base(place);
        const t_SmartPtr<Sample> sample(new (&base) Sample(3, 3));
        EXPECT_EQ(sample->getObjectID(), 1);
        EXPECT_EQ(base.getSignature("ERObject"), 1);
        EXPECT_EQ(ERObject::m_NextAllocationOnDatabase, 0);
        EXPECT_TRUE(!base.RetrieveAndCreate(1));  // of a class without a creator
        EXPECT_EQ(base.Retrieve(1, *sample), 1);
        EXPECT_EQ(Sample(3, 3).getObjectID(), -1);
        // A copy leaves the hand-over of its new to the next object.
        const t_SmartPtr<Sample> copy(new (&base) Sample(*sample));
        EXPECT_EQ(ERObject::theCurrentDataBase, &base);
    }
    EXPECT_EQ(ERObject::theCurrentDataBase, nullptr);
    EXPECT_EQ(Sample(1, 1).getObjectID(), -1);
}

TEST_F(ObjectDataBase, PlainNumbersHaveIDsButNoRecords) {
    OpenedBase base(place);
    Sample sample(30, 4);
    base.Store(sample);
    EXPECT_EQ(base.InsertSpecial(-123456), 2);
    EXPECT_EQ(base.ReadSpecial(2), -123456);
    EXPECT_EQ(base.SetSpecial(2, 400), 1);
    EXPECT_EQ(base.ReadSpecial(2), 400);
    EXPECT_EQ(base.SetSpecial(99, 1), 0);
    EXPECT_EQ(base.getNbObj(), 1u);
    EXPECT_EQ(base.Delete(2), 1);  // frees nothing at 400
    EXPECT_EQ(base.ReadSpecial(2), -1);
    const t_SmartPtr<ERObject> again = base.RetrieveAndCreate(1);
    EXPECT_EQ(bytesOf(again), sample.bytes);
    EXPECT_EQ(again->getObjectID(), 1);
    EXPECT_EQ(again->Database(), &base);
    EXPECT_EQ(again->isDirty(), 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(-1));
}

TEST_F(ObjectDataBase, SummarizeListsClassesAndObjects) {
    OpenedBase base(place);
    Sample sample(4, 4);
    base.Store(sample);
    base.InsertSpecial(-1000);
    std::ostringstream text;
    base.summarize(text);
    const std::string stars(61, '*'), dashes(44, '-');
    // The class tree's node (1368 bytes and its size word) stands before the first record.
    EXPECT_EQ(text.str(), stars + "\n  Base de Donn\xE9" + "es :  " + place.path() + "\n" + stars +
                              "\n File Manager : \n" + dashes +
                              "\nliste des classes presentes  : \n Signature        1 :  Sample\n" +
                              dashes + "\n|       liste des objects                  |\n" + dashes +
                              "\n|ObjectID | Location | Signature             |\n"
                              "|        1|     1768 |        1\n|        2|    -1000 |        0\n");
}

TEST_F(ObjectDataBase, WhatIsNoDatabaseIsRefusedAndLeftAlone) {
    ERObjectDataBase base;
    EXPECT_EQ(base.Open(place.path(), 1), 0);
    EXPECT_FALSE(std::filesystem::exists(place.path()));
    EXPECT_EQ(base.Open("/no/such/folder/file", 0), 0);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].substr(0, 12), "File Error: ");
    for (std::string const& bytes : {std::string(), std::string(3, 'x'), std::string(5000, 'x'),
                                     std::string(5000, '\0'), std::string(5000, '\xFF')}) {
        place.setBytes(bytes);
        for (int readOnly : {0, 1}) {
            EXPECT_EQ(base.Open(place.path(), readOnly), 0);
            EXPECT_EQ(place.bytes(), bytes);
        }
    }
    Sample sample;
    EXPECT_EQ(base.Store(sample), -1);
    EXPECT_EQ(base.Retrieve(1, sample), 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(1));
    EXPECT_EQ(base.Delete(1), 0);
    EXPECT_EQ(base.InsertSpecial(1), -1);
    std::ostringstream text;
    base.summarize(text);
    EXPECT_EQ(text.str(), "");
}

TEST_F(ObjectDataBase, AReadOnlyBaseIsSharedAndStaysAsItWas) {
    Sample sample(20, 2), other(5, 5), into;
    ERObjectDataBase second;
    {
        OpenedBase writer(place);
        sample.Save(&writer);
        for (int readOnly : {0, 1}) EXPECT_EQ(second.Open(place.path(), readOnly), 0);
        EXPECT_EQ(messages.size(), 2u);
    }
    const std::string before = place.bytes();
    {
        OpenedBase reader(place, 1), another(place, 1);
        EXPECT_THROW(other.Save(&reader), CFileException);
        EXPECT_EQ(other.getObjectID(), -1);
        EXPECT_EQ(other.Database(), nullptr);
        EXPECT_THROW(reader.Delete(1), CFileException);
        EXPECT_EQ(reader.getNbObj(), 1u);
        EXPECT_EQ(reader.Retrieve(1, into), 1);
        EXPECT_EQ(into.bytes, sample.bytes);
    }
    EXPECT_EQ(place.bytes(), before);
}

// Oracle: a map from ID to the bytes that were stored last.
TEST_F(ObjectDataBase, RandomWorkKeepsEveryObject) {
    Draws draw(20);
    std::map<ERLong, std::vector<unsigned char>> expected;
    std::map<ERLong, t_SmartPtr<Sample>> live;
    {
        OpenedBase base(place);
        for (int step = 0; step < 6000; ++step) {
            const unsigned kind = draw(10);
            auto chosen = live.lower_bound(static_cast<ERLong>(draw(3000)));
            if (kind >= 8 && chosen != live.end()) {
                ASSERT_EQ(chosen->second->Delete(), 1);
                expected.erase(chosen->first);
                live.erase(chosen);
                continue;
            }
            const t_SmartPtr<Sample> sample =
                kind < 5 || chosen == live.end() ? new Sample : chosen->second.getObject();
            sample->bytes.assign(draw(400), static_cast<unsigned char>(step));
            sample->setDirty();
            ASSERT_EQ(sample->Save(&base), 1);
            live[sample->getObjectID()] = sample;
            expected[sample->getObjectID()] = sample->bytes;
        }
    }
    OpenedBase base(place, 1);
    for (ERLong id = 1; id < 6000; ++id) {
        Sample into;
        ASSERT_EQ(base.Retrieve(id, into), expected.count(id)) << id;
        ASSERT_TRUE(into.bytes == expected[id]) << id;
    }
}

// A session in a process that ended without Close: the counters in the header are put back.
TEST_F(ObjectDataBase, AfterACrashNoIDAndNoSignatureIsGivenTwice) {
    {
        OpenedBase base(place);
        Sample(10, 1).Save(&base);
    }
    const std::string counters = place.bytes().substr(296, 12);
    {
        OpenedBase base(place);
        for (int i = 0; i < 30; ++i) {
            ERDBObject lost;
            lost.color(i).Save(&base);
        }
    }
    place.setBytes(place.bytes().replace(296, 12, counters));
    OpenedBase base(place);
    const t_SmartPtr<Sample> a(new Sample(3, 7)), b(new Sample(4, 8));
    a->first = b.getObject();
    b->first = a.getObject();
    ASSERT_EQ(a->Save(&base), 1);
    EXPECT_EQ(a->getObjectID(), 32);
    EXPECT_EQ(b->getObjectID(), 33);
    a->first = b->first = static_cast<ERObject*>(nullptr);
    ERPersistentPoint3D point(ERPoint3D(1, 2, 3));
    ASSERT_EQ(point.Save(&base), 1);
    EXPECT_EQ(base.getSignature("ERPersistentPoint3D"), 3);
    for (int i = 0; i < 30; ++i) {
        const t_SmartPtr<ERObject> object = base.RetrieveAndCreate(2 + i);
        ASSERT_NE(ERDBObject::castdown(object.getObject()), nullptr) << i;
        EXPECT_EQ(ERDBObject::castdown(object.getObject())->color(), i);
    }
    Sample into;
    ASSERT_EQ(base.Retrieve(33, into), 1);
    EXPECT_EQ(bytesOf(into.first), a->bytes);  // the ring closes at the right object
}

// Header words beyond what signatures can be.
TEST_F(ObjectDataBase, DamagedCountersGiveNoSignatureTwice) {
    {
        OpenedBase base(place);
        Sample(10, 1).Save(&base);
    }
    place.setBytes(place.bytes().replace(304, 4, "\xFF\xFF\xFF\xFF"));
    OpenedBase base(place);
    ERPersistentPoint3D point(ERPoint3D(1, 2, 3));
    ASSERT_EQ(point.Save(&base), 1);
    EXPECT_EQ(base.getSignature("ERPersistentPoint3D"), 2);
}

}  // namespace
}  // namespace kerf
