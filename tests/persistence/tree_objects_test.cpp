#include "kerf/persistence/tree_objects.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/object_database.h"
#include "tests/persistence/database_support.h"

namespace kerf {
namespace {

using namespace test;

class TreeObjects : public DatabaseTest {};

TEST_F(TreeObjects, ATreeIsFoundAgainThroughItsRecord) {
    OpenedBase base(place);
    ERDBTree tree, again;
    EXPECT_EQ(tree.insertKeyAndValue(1, 1), 0);
    tree.Create("first", *base.fileManager());
    ASSERT_EQ(tree.Save(&base), 1);
    tree.Create("second", *base.fileManager());  // to be saved anew
    for (ERLong key = -50; key < 50; ++key) ASSERT_EQ(tree.insertKeyAndValue(key, key * key), 1);
    EXPECT_EQ(tree.Save(nullptr), 1);
    ASSERT_EQ(base.Retrieve(1, again), 1);
    again.Reload(*base.fileManager());
    EXPECT_STREQ(again.name(), "second");
    EXPECT_EQ(again.findValue(-50), 2500);
}

TEST_F(TreeObjects, ATreeMayOutliveItsBaseAndLeavesItsCountInTheFile) {
    OpenedBase base(place);
    ERAuxilaryIndex index(*base.fileManager()), reread;
    EXPECT_EQ(index.Insert(7, 70), 1);
    EXPECT_EQ(base.Store(index), 1);
    base.Close();
    EXPECT_EQ(index.Insert(8, 80), 0);
    EXPECT_EQ(index.entries(), 0);
    base.Open(place.path(), 1);
    ASSERT_EQ(base.Retrieve(1, reread), 1);
    reread.init(*base.fileManager());
    EXPECT_EQ(reread.entries(), 1);
}

TEST_F(TreeObjects, ALocationThatHoldsNoTreeOfTheirsGivesAnEmptyOne) {
    OpenedBase base(place);
    ERFileManager& file = *base.fileManager();
    ERDBTree tree;
    tree.Create("levels", file);
    for (const ERLong location : {file.start(), 0, file.endData() - 4, 308 /*class tree*/}) {
        StoredNumberTree damaged;
        damaged.location(location);
        damaged.open(file, 10);
        EXPECT_EQ(damaged.insert(1, 1), 0) << location;
        EXPECT_EQ(damaged.entries(), 0) << location;
    }
}

}  // namespace
}  // namespace kerf
