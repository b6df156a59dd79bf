#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "kerf/persistence/disk_btree_node.h"
#include "kerf/persistence/internal/node_cache.h"
#include "kerf/platform/config.h"

namespace kerf {

class ERFileManager;

/// The nodes of one tree in its file, and the memory in which they are read and changed. The root
/// stays in memory beside the cache, so that a lookup need not ask the cache for it.
///
/// Failure: the platform's CFileException passes. A node that could not be written is read from the
///          file the next time.
/// Damage:  a location at which the file does not hold a whole node has no node.
/// Lifetime: file and shape must outlive this object.
class TreeNodes {
public:
    TreeNodes(ERFileManager& file, const TreeShape& shape, unsigned int cacheSlots);

    ERLong root() const { return root_; }
    /// Tells which node is the root, -1 for none. `content`, unless null, has its bytes.
    void setRoot(ERLong location, const ERDiskTreeNode* content);

    /// How often nodes may have changed: whoever remembers something of them compares this count.
    std::uint64_t changes() const { return changes_; }
    void countChange() { ++changes_; }

    /// More nodes than the file can hold: whoever meets as many follows a cycle.
    ERLong tooMany() const;
    /// Whether so many nodes fit between the end of all data and the largest location.
    bool hasRoomFor(int count) const;

    /// The node in place, for reading, until the next call; views nothing where there is none.
    ERDiskTreeNode at(ERLong location);
    /// Copies the node to the target's bytes; false when there is none.
    bool copy(ERLong location, ERDiskTreeNode target);
    void write(ERLong location, const ERDiskTreeNode& source);
    /// Writes the node in a new block; -1 when the file has no room for it.
    ERLong add(const ERDiskTreeNode& source);
    void release(ERLong location);

    /// Memory for nodes that are being changed, and for one node on each level of a walk.
    static constexpr std::size_t workNodes = 3;
    ERDiskTreeNode work(std::size_t number);
    ERDiskTreeNode onLevel(int level);

    /// A new cache. Kept: it has blocks of 8 bytes, holds no node, and every node but the root is
    /// read from the file from then on.
    void makeCacheWithoutNodes(unsigned int slots);

private:
    bool read(ERLong location, char* block);
    bool isInData(ERLong location) const;
    bool cacheHoldsNodes() const { return cache_->blockSize() == shape_.nodeSize(); }
    char* prepared(std::unique_ptr<char[]>& block) const;

    ERFileManager& file_;
    const TreeShape& shape_;
    std::unique_ptr<ERCacheManager> cache_;
    std::uint64_t changes_ = 0;

    ERLong root_ = -1;
    bool rootIsHeld_ = false;
    std::unique_ptr<char[]> rootBlock_;

    std::unique_ptr<char[]> uncachedBlock_;
    std::array<std::unique_ptr<char[]>, workNodes> workBlocks_;
    std::vector<std::unique_ptr<char[]>> levelBlocks_;
};

}  // namespace kerf
