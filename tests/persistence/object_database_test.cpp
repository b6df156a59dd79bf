#include "kerf/persistence/object_database.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/persistence/database_object.h"
#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/numbered_database.h"
#include "kerf/persistence/tree_objects.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/sinks.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/sample_object.h"
#include "tests/support/temporary_file.h"

namespace kerf {

// Stored, but never built from a file.
class Unbuildable : public Sample {
    ER_OBJECT_CLASS(Unbuildable);
};

ER_DEFINE_ABSTRACT_CLASS(Unbuildable, Sample)

namespace {

class ObjectDataBase : public ::testing::Test {
protected:
    ObjectDataBase() {
        setMessageSink([this](char const* title, char const* text) {
            messages.push_back(std::string(title) + ": " + text);
        });
    }
    ~ObjectDataBase() override { setMessageSink(nullptr); }

    std::string contents() const { return place.bytes(); }
    void setContents(std::string const& bytes) const { place.setBytes(bytes); }
    static ERLong word(std::string const& bytes, std::size_t offset) {
        ERLong value = 0;
        std::memcpy(&value, bytes.data() + offset, sizeof value);
        return value;
    }

    const test::TemporaryFile place;
    const std::string path = place.path();
    std::vector<std::string> messages;
};

TEST_F(ObjectDataBase, GivesObjectsBackByIDAndClass) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    ERPersistentPoint3D point(ERPoint3D(0.1, -2, 3e300));
    EXPECT_EQ(point.Save(&base), 1);
    EXPECT_EQ(point.getObjectID(), 1);
    EXPECT_EQ(point.Database(), &base);
    Sample sample(300, 7);
    EXPECT_EQ(base.Store(sample), 2);
    EXPECT_EQ(base.getNbObj(), 2u);
    EXPECT_EQ(base.getSignature("ERPersistentPoint3D"), 1);
    EXPECT_EQ(base.getSignature("Sample"), 2);
    EXPECT_EQ(base.getSignature("ERDBObject"), -1);
    base.Close();

    ASSERT_EQ(base.Open(path.c_str(), 1), 1);
    EXPECT_EQ(base.getNbObj(), 2u);
    const t_SmartPtr<ERObject> restored = base.RetrieveAndCreate(1);
    ERPersistentPoint3D* const again = ERPersistentPoint3D::castdown(restored.getObject());
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(static_cast<ERPoint3D const&>(*again) == ERPoint3D(0.1, -2, 3e300));
    EXPECT_EQ(again->getObjectID(), 1);
    EXPECT_EQ(again->Database(), &base);
    EXPECT_EQ(again->isDirty(), 0);
    Sample into;
    EXPECT_EQ(base.Retrieve(2, into), 1);
    EXPECT_EQ(into.bytes, sample.bytes);
    EXPECT_EQ(base.Retrieve(3, into), 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(-1));
}

// The layout of the file format: header words, then the blocks in the order in which they are made.
TEST_F(ObjectDataBase, ANewFileHasItsHeaderAndTreesInPlace) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    base.Close();
    const std::string bytes = contents();
    EXPECT_EQ(word(bytes, 0), 284);     // root
    EXPECT_EQ(word(bytes, 4), 392);     // end
    EXPECT_EQ(word(bytes, 8), 268);     // size of a free-list node
    EXPECT_EQ(word(bytes, 280), 24);    // size word of the header's block
    EXPECT_EQ(word(bytes, 284), 1000);  // magic
    EXPECT_EQ(word(bytes, 288), 308);   // class tree
    EXPECT_EQ(word(bytes, 292), 352);   // object tree
    EXPECT_EQ(word(bytes, 296), 0);
    EXPECT_EQ(word(bytes, 300), 0);
    EXPECT_EQ(word(bytes, 304), 0);  // last signature, over the size word of the class tree's block
    EXPECT_EQ(word(bytes, 308), -1);
    EXPECT_EQ(word(bytes, 316), 1365);
    EXPECT_EQ(word(bytes, 324), 60);
    EXPECT_EQ(word(bytes, 348), 44);
    EXPECT_EQ(word(bytes, 368), 4);
}

TEST_F(ObjectDataBase, ANewVersionReplacesTheRecordUnderTheSameID) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample sample(40, 1);
    const ERLong id = base.Store(sample);
    sample.bytes.assign(40, 2);
    EXPECT_EQ(base.Store(sample), id);  // clean or not, a direct store writes
    EXPECT_EQ(base.getNbObj(), 1u);
    Sample into;
    ASSERT_EQ(base.Retrieve(id, into), 1);
    EXPECT_EQ(into.bytes, sample.bytes);

    sample.bytes.assign(40, 3);
    EXPECT_EQ(sample.Save(nullptr), 1);  // not dirty: nothing is written
    base.Retrieve(id, into);
    EXPECT_EQ(into.bytes[0], 2);
    sample.setDirty();
    EXPECT_EQ(sample.Save(nullptr), 1);
    base.Retrieve(id, into);
    EXPECT_EQ(into.bytes[0], 3);
    EXPECT_EQ(sample.isDirty(), 0);
}

TEST_F(ObjectDataBase, DeleteFreesTheRecordAndKeepsTheCount) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample a(10, 1), b(10, 2);
    a.Save(&base);
    b.Save(&base);
    EXPECT_EQ(a.Delete(), 1);
    EXPECT_EQ(a.getObjectID(), -1);
    EXPECT_EQ(a.Database(), nullptr);
    EXPECT_EQ(base.Delete(1), 0);
    EXPECT_EQ(base.Delete(77), 0);
    EXPECT_EQ(base.getNbObj(), 2u);
    Sample c(10, 3);
    c.Save(&base);  // takes the freed space
    EXPECT_EQ(c.getObjectID(), 3);
    Sample into;
    EXPECT_EQ(base.Retrieve(2, into), 1);
    EXPECT_EQ(into.bytes, b.bytes);
}

TEST_F(ObjectDataBase, ReferencesBringTheirObjectsAlong) {
    ERLong id = -1;
    {
        ERObjectDataBase base;
        ASSERT_EQ(base.Open(path.c_str(), 0), 1);
        const t_SmartPtr<Sample> shared(new Sample(5, 9));
        const t_SmartPtr<Sample> inner(new Sample(6, 8));
        inner->first = shared;
        Sample outer(7, 7);
        outer.first = inner;
        outer.second = shared;
        ASSERT_EQ(outer.Save(&base), 1);
        id = outer.getObjectID();
        EXPECT_EQ(id, 1);  // taken before those of its parts
        EXPECT_EQ(inner->getObjectID(), 2);
        EXPECT_EQ(shared->getObjectID(), 3);
        EXPECT_EQ(base.getNbObj(), 3u);
        outer.setDirty();
        ASSERT_EQ(outer.Save(nullptr), 1);  // the clean parts are not written again
        EXPECT_EQ(base.getNbObj(), 3u);
    }
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 1), 1);
    Sample outer;
    ASSERT_EQ(base.Retrieve(id, outer), 1);
    Sample* const inner = Sample::castdown(outer.first.getObject());
    Sample* const second = Sample::castdown(outer.second.getObject());
    ASSERT_TRUE(inner != nullptr && second != nullptr);
    Sample* const innermost = Sample::castdown(inner->first.getObject());
    ASSERT_NE(innermost, nullptr);
    EXPECT_NE(innermost, second);  // sharing comes back unshared
    EXPECT_EQ(innermost->getObjectID(), second->getObjectID());
    EXPECT_EQ(outer.bytes, std::vector<unsigned char>(7, 7));
    EXPECT_EQ(inner->bytes, std::vector<unsigned char>(6, 8));
    EXPECT_EQ(second->bytes, std::vector<unsigned char>(5, 9));
}

TEST_F(ObjectDataBase, AReferenceToNothingReadsAsNull) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    const t_SmartPtr<Sample> part(new Sample(3, 1));
    Sample whole(4, 2);
    whole.first = part;
    whole.Save(&base);
    part->Delete();
    Sample into;
    ASSERT_EQ(base.Retrieve(whole.getObjectID(), into), 1);
    EXPECT_TRUE(!into.first);
    EXPECT_EQ(into.bytes, whole.bytes);
}

TEST_F(ObjectDataBase, RecordsInARingAndLongChainsEnd) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    const t_SmartPtr<Sample> a(new Sample(1, 1));
    const t_SmartPtr<Sample> b(new Sample(1, 2));
    a->Save(&base);
    b->first = a.getObject();
    b->Save(&base);
    a->first = b.getObject();
    a->setDirty();
    a->Save(nullptr);  // b is clean: only its ID is written
    a->first = static_cast<ERObject*>(nullptr);
    t_SmartPtr<ERObject> ring = base.RetrieveAndCreate(a->getObjectID());
    Sample* const first = Sample::castdown(ring.getObject());
    Sample* const second = Sample::castdown(first->first.getObject());
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(!second->first);

    ERLong last = -1;
    t_SmartPtr<Sample> former;
    for (std::size_t i = 0; i < ERObjectDataBase::deepestNesting + 50; ++i) {
        const t_SmartPtr<Sample> link(new Sample(0, 0));
        link->first = former.getObject();
        link->Save(&base);
        last = link->getObjectID();
        link->first = static_cast<ERObject*>(nullptr);
        former = link;
    }
    const t_SmartPtr<ERObject> chain = base.RetrieveAndCreate(last);
    std::size_t length = 0;
    for (Sample* link = Sample::castdown(chain.getObject()); link != nullptr;
         link = Sample::castdown(link->first.getObject()))
        ++length;
    EXPECT_EQ(length, ERObjectDataBase::deepestNesting);
}

TEST_F(ObjectDataBase, AnObjectMovesToAnotherBase) {
    ERObjectDataBase from, to;
    const test::TemporaryFile otherPlace;
    ASSERT_EQ(from.Open(path.c_str(), 0), 1);
    ASSERT_EQ(to.Open(otherPlace.path(), 0), 1);
    Sample filler(1, 1), sample(2, 1);
    filler.Save(&to);
    sample.Save(&from);
    sample.bytes[0] = 5;
    sample.setDirty();
    EXPECT_EQ(sample.Save(&to), 1);
    EXPECT_EQ(sample.Database(), &to);
    EXPECT_EQ(sample.getObjectID(), 2);
    Sample left;
    EXPECT_EQ(from.Retrieve(1, left), 1);  // stored once more before it left
    EXPECT_EQ(left.bytes, sample.bytes);
    to.Close();
}

TEST_F(ObjectDataBase, ABareObjectIsStoredByItsOwnNew) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    const t_SmartPtr<Sample> sample(new (&base) Sample(3, 3));
    EXPECT_EQ(sample->getObjectID(), 1);
    EXPECT_EQ(base.getSignature("ERObject"), 1);
    EXPECT_EQ(base.getSignature("Sample"), -1);
    EXPECT_EQ(ERObject::m_NextAllocationOnDatabase, 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(1));
    const t_SmartPtr<Sample> next(new Sample(3, 3));
    EXPECT_EQ(next->getObjectID(), -1);
}

TEST_F(ObjectDataBase, AClassWithoutACreatorIsStoredButNotBuilt) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Unbuildable object;
    object.bytes = {1, 2, 3};
    const ERLong id = base.Store(object);
    EXPECT_GT(id, 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(id));
    Sample into;
    EXPECT_EQ(base.Retrieve(id, into), 1);
    EXPECT_EQ(into.bytes, object.bytes);
}

TEST_F(ObjectDataBase, PlainNumbersHaveIDsButNoRecords) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample sample(30, 4);
    const ERLong object = base.Store(sample);
    const ERLong number = base.InsertSpecial(-123456);
    EXPECT_EQ(base.ReadSpecial(number), -123456);
    EXPECT_EQ(base.SetSpecial(number, 400), 1);
    EXPECT_EQ(base.ReadSpecial(number), 400);
    EXPECT_EQ(base.SetSpecial(99, 1), 0);
    EXPECT_EQ(base.ReadSpecial(99), -1);
    EXPECT_EQ(base.getNbObj(), 1u);
    EXPECT_EQ(base.Delete(number), 1);
    EXPECT_EQ(base.ReadSpecial(number), -1);
    Sample into;
    EXPECT_EQ(base.Retrieve(object, into), 1);
    EXPECT_EQ(into.bytes, sample.bytes);
}

TEST_F(ObjectDataBase, SummarizeListsClassesAndObjects) {
    ERObjectDataBase base;
    std::ostringstream text;
    base.summarize(text);
    EXPECT_EQ(text.str(), "");
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample sample(4, 4);
    base.Store(sample);
    base.InsertSpecial(-1000);
    base.summarize(text);
    const std::string stars(61, '*'), dashes(44, '-');
    // The class tree's node (1368 bytes and its size word) stands before the first record.
    EXPECT_EQ(text.str(), stars +
                              "\n  Base de Donn\xE9"
                              "es :  " +
                              path + "\n" + stars + "\n File Manager : \n" + dashes +
                              "\nliste des classes presentes  : \n Signature        1 :  Sample\n" +
                              dashes + "\n|       liste des objects                  |\n" + dashes +
                              "\n|ObjectID | Location | Signature             |\n"
                              "|        1|     1768 |        1\n|        2|    -1000 |        0\n");
}

TEST_F(ObjectDataBase, WhatIsNoDatabaseIsRefusedAndLeftAlone) {
    ERObjectDataBase base;
    EXPECT_EQ(base.Open(path.c_str(), 1), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(base.Open("/no/such/folder/file", 0), 0);
    EXPECT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].substr(0, 12), "File Error: ");
    std::filesystem::create_directory(path);
    EXPECT_EQ(base.Open(path.c_str(), 0), 0);
    std::filesystem::remove(path);
    for (std::string const& bytes : {std::string(), std::string(3, 'x'), std::string(5000, 'x'),
                                     std::string(5000, '\0'), std::string(5000, '\xFF')}) {
        setContents(bytes);
        for (int readOnly : {0, 1}) {
            EXPECT_EQ(base.Open(path.c_str(), readOnly), 0);
            EXPECT_EQ(contents(), bytes);
        }
    }
    Sample sample;
    EXPECT_EQ(base.Store(sample), -1);
    EXPECT_EQ(base.Retrieve(1, sample), 0);
    EXPECT_TRUE(!base.RetrieveAndCreate(1));
    EXPECT_EQ(base.Delete(1), 0);
    EXPECT_EQ(base.InsertSpecial(1), -1);
    EXPECT_EQ(base.fileManager(), nullptr);
}

TEST_F(ObjectDataBase, AReadOnlyBaseRefusesChangesAndStaysAsItWas) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample sample(20, 2);
    sample.Save(&base);
    base.Close();
    const std::string before = contents();
    ASSERT_EQ(base.Open(path.c_str(), 1), 1);
    Sample other(5, 5);
    EXPECT_THROW(other.Save(&base), CFileException);
    EXPECT_EQ(other.getObjectID(), -1);
    EXPECT_EQ(other.Database(), nullptr);
    EXPECT_THROW(base.Delete(1), CFileException);
    EXPECT_EQ(base.getNbObj(), 1u);
    Sample into;
    EXPECT_EQ(base.Retrieve(1, into), 1);
    EXPECT_EQ(into.bytes, sample.bytes);
    base.Close();
    EXPECT_EQ(contents(), before);
}

TEST_F(ObjectDataBase, ASecondWriterIsRefused) {
    ERObjectDataBase writer, second;
    ASSERT_EQ(writer.Open(path.c_str(), 0), 1);
    EXPECT_EQ(second.Open(path.c_str(), 0), 0);
    EXPECT_EQ(second.Open(path.c_str(), 1), 0);
    EXPECT_EQ(messages.size(), 2u);
    writer.Close();
    ERObjectDataBase reader;
    EXPECT_EQ(reader.Open(path.c_str(), 1), 1);
    EXPECT_EQ(second.Open(path.c_str(), 1), 1);
}

// Oracle: a map from ID to the bytes that were stored last.
TEST_F(ObjectDataBase, RandomWorkKeepsEveryObject) {
    std::mt19937 generator(20);
    const auto random = [&] { return static_cast<unsigned>(generator()); };
    std::map<ERLong, std::vector<unsigned char>> expected;
    std::map<ERLong, t_SmartPtr<Sample>> live;
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    for (int step = 0; step < 6000; ++step) {
        const unsigned kind = random() % 10;
        if (kind < 5 || live.empty()) {
            const t_SmartPtr<Sample> sample(
                new Sample(random() % 300, static_cast<unsigned char>(random())));
            ASSERT_EQ(sample->Save(&base), 1);
            live[sample->getObjectID()] = sample;
            expected[sample->getObjectID()] = sample->bytes;
        } else {
            auto chosen = live.lower_bound(static_cast<ERLong>(random() % 3000));
            if (chosen == live.end()) chosen = live.begin();
            if (kind < 8) {
                chosen->second->bytes.assign(random() % 400, static_cast<unsigned char>(random()));
                chosen->second->setDirty();
                ASSERT_EQ(chosen->second->Save(nullptr), 1);
                expected[chosen->first] = chosen->second->bytes;
            } else {
                ASSERT_EQ(chosen->second->Delete(), 1);
                expected.erase(chosen->first);
                live.erase(chosen);
            }
        }
    }
    base.Close();
    ASSERT_EQ(base.Open(path.c_str(), 1), 1);
    for (ERLong id = 1; id < 4000; ++id) {
        Sample into;
        const auto found = expected.find(id);
        ASSERT_EQ(base.Retrieve(id, into), found != expected.end()) << id;
        if (found == expected.end()) continue;
        ASSERT_EQ(into.bytes, found->second) << id;
    }
}

TEST_F(ObjectDataBase, TwoRunsWriteTheSameBytes) {
    std::string runs[2];
    for (std::string& run : runs) {
        std::filesystem::remove(path);
        ERObjectDataBase base;
        ASSERT_EQ(base.Open(path.c_str(), 0), 1);
        for (unsigned i = 0; i < 100; ++i) {
            Sample sample(i, static_cast<unsigned char>(i));
            ASSERT_EQ(sample.Save(&base), 1);
            if (i % 3 == 0) sample.Delete();
        }
        base.Close();
        run = contents();
    }
    EXPECT_EQ(runs[0], runs[1]);
}

// A session in a process that ended without Close: the counters in the header are put back.
TEST_F(ObjectDataBase, AfterACrashNoIDIsGivenTwice) {
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample kept(10, 1);
    kept.Save(&base);
    base.Close();
    const std::string counters = contents().substr(296, 12);
    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    std::vector<t_SmartPtr<ERDBObject>> lost;
    for (int i = 0; i < 30; ++i) {
        lost.emplace_back(new ERDBObject);
        lost.back()->color(i);
        lost.back()->Save(&base);
    }
    base.Close();
    std::string crashed = contents();
    crashed.replace(296, 12, counters);
    setContents(crashed);

    ASSERT_EQ(base.Open(path.c_str(), 0), 1);
    Sample next(11, 3);
    ERPersistentPoint3D point(ERPoint3D(1, 2, 3));
    ASSERT_EQ(next.Save(&base), 1);
    ASSERT_EQ(point.Save(&base), 1);
    EXPECT_EQ(next.getObjectID(), 32);
    EXPECT_EQ(point.getObjectID(), 33);
    base.Close();
    ASSERT_EQ(base.Open(path.c_str(), 1), 1);
    for (int i = 0; i < 30; ++i) {
        const t_SmartPtr<ERObject> object = base.RetrieveAndCreate(2 + i);
        ASSERT_NE(ERDBObject::castdown(object.getObject()), nullptr) << i;
        EXPECT_EQ(ERDBObject::castdown(object.getObject())->color(), i);
    }
    EXPECT_NE(Sample::castdown(base.RetrieveAndCreate(32).getObject()), nullptr);
    EXPECT_NE(ERPersistentPoint3D::castdown(base.RetrieveAndCreate(33).getObject()), nullptr);
}

}  // namespace
}  // namespace kerf
