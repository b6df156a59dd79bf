#include "kerf/persistence/file_manager.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kerf/platform/exceptions.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

class FileManager : public testing::Test {
protected:
    const TemporaryFile file;
};

TEST_F(FileManager, TheFirstBlockOfANewFileIsTheRootAndStays) {
    ERFileManager manager(file.path(), 0);
    std::string expected = newHeap();
    EXPECT_EQ(file.bytes(), expected);
    EXPECT_EQ(manager.allocate(1), 284);
    expected.replace(0, 8, words({284, 288}));
    manager.deallocate(284);
    EXPECT_EQ(file.bytes(), expected + words({8}));
    EXPECT_EQ(manager.allocate(0), 292);  // a lone size word
    EXPECT_EQ(manager.endData(), 292);
}

TEST_F(FileManager, DeallocateLeavesAloneWhatIsNoBlock) {
    ERFileManager manager(file.path(), 0);
    manager.allocate(12);
    const ERLong block = manager.allocate(28);
    manager.allocate(12);
    manager.SeekTo(block);
    for (int size : {6, 1000000000, -8}) manager.Write(size);
    const std::string before = file.bytes();
    for (ERLong location : {0, 12, 280, 283, block + 4, block + 8, block + 12, manager.endData(),
                            manager.endData() + 4, 2147483647, -5})
        manager.deallocate(location);
    EXPECT_EQ(file.bytes(), before);
}

TEST_F(FileManager, AReaderKeepsWritersOut) {
    ERFileManager(file.path(), 0).allocate(4);
    const ERFileManager reader(file.path(), 1);
    EXPECT_THROW(ERFileManager(file.path(), 0), CFileException);
    EXPECT_EQ(ERFileManager(file.path(), 1).start(), 284);
}

TEST_F(FileManager, AChainThatNeverComesBackToTheSearchedNodeEnds) {
    {
        ERFileManager manager(file.path(), 0);
        std::vector<ERLong> blocks(150);
        for (ERLong& block : blocks) block = manager.allocate(12);
        for (std::size_t i = 1; i < 140; i += 2) manager.deallocate(blocks[i]);
    }
    std::string bytes = file.bytes();
    const auto nodes = freeList(bytes);
    ASSERT_EQ(nodes.size(), 3u);
    setWord(bytes, nodes[2].location + 264, static_cast<ERLong>(nodes[1].location));
    file.setBytes(bytes);
    ERFileManager manager(file.path(), 0);
    // Exact fits empty the nodes, which are to be taken out of the chain.
    for (int i = 0; i < 100; ++i) EXPECT_GE(manager.allocate(12), 284);
    manager.deallocate(manager.allocate(100));
}

}  // namespace
}  // namespace kerf
