#include "kerf/persistence/tree_objects.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/object_database.h"
#include "tests/persistence/database_support.h"

namespace kerf {
namespace {

using namespace test;

class TreeObjects : public DatabaseTest {};

TEST_F(TreeObjects, ATreeMadeAnewIsSavedAnew) {
    OpenedBase base(place);
    ERDBTree tree, again;
    tree.Create("first", *base.fileManager());
    ASSERT_EQ(tree.Save(&base), 1);
    tree.Create("second", *base.fileManager());
    tree.insertKeyAndValue(5, 55);
    ASSERT_EQ(tree.Save(nullptr), 1);
    ASSERT_EQ(base.Retrieve(tree.getObjectID(), again), 1);
    again.Reload(*base.fileManager());
    EXPECT_EQ(again.findValue(5), 55);
    EXPECT_STREQ(again.name(), "second");
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
