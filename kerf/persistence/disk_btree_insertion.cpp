#include <cstdint>
#include <cstring>
#include <limits>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/file_manager.h"

// How a change of several nodes survives any write that fails: new nodes are written first, while
// nothing leads to them; then the one node, or the root's location, that makes all of them count at
// once; the old nodes, which give up what the new ones have, last and from the top down. Until then
// they hold more than their share, which disk_btree.cpp tells apart (ownKeys).
namespace kerf {

int ERBTreeOnDisk::insertKeyAndValue(const char* key, ERLong value) {
    if (!usable) return 0;
    prepareBlocks();
    newNodes.clear();
    shrunkNodes.clear();
    const retStatus status = ins(key, value);
    if (status == refused || (status == parentActs && growRoot() == refused)) return 0;

    // The key lies in a node that leads nowhere yet, or in the first one that is still to shrink.
    const bool isInShrunkLeaf =
        !shrunkNodes.empty() && 2 * path[static_cast<std::size_t>(depth - 1)].position < capacity();
    if (!isInShrunkLeaf) countUp();
    writeShrunkNodes();
    if (isInShrunkLeaf) countUp();
    return 1;
}

// parentActs: the promoted key is to make a new root.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::ins(const char* key, ERLong value) {
    if (descend(key) != Descent::absent) return refused;
    copyKey(promotedKey.data(), key);
    promotedValue = value;
    promotedSon = -1;

    ERDiskTreeNode work = node(workBlock.get());
    for (int level = depth - 1; level >= 0; --level) {
        const Step& step = path[static_cast<std::size_t>(level)];
        if (!copyNode(step.location, work)) return giveBackNewNodes();
        if (work.counter() < capacity()) {
            work.insert(promotedKey.data(), promotedValue, step.position, promotedSon);
            writeNode(step.location, work);
            return done;
        }
        if (newNodes.empty() && !hasRoomForNodes(depth + 1)) return refused;
        splitNode(step.position);
        promotedSon = allocateNode(node(secondBlock.get()));
        if (promotedSon == -1) return giveBackNewNodes();
        newNodes.push_back(promotedSon);
        shrunkNodes.push_back({step.location, std::make_unique<char[]>(nodeSize)});
        std::memcpy(shrunkNodes.back().block.get(), work.block, nodeSize);
    }
    if (depth == 0 && !hasRoomForNodes(1)) return refused;
    return parentActs;
}

// Whether so many nodes fit below the largest location, behind all data.
bool ERBTreeOnDisk::hasRoomForNodes(int count) const {
    constexpr std::int64_t wordsAround = 8;  // the size word, and rounding
    return file->endData() + count * (std::int64_t{nodeSize} + wordsAround) <=
           std::numeric_limits<ERLong>::max();
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::giveBackNewNodes() {
    shrunkNodes.clear();
    for (const ERLong location : newNodes) releaseNode(location);
    newNodes.clear();
    return refused;
}

// Splits the full node in workBlock, into which the promoted key belongs at `position`: the left
// half stays there, the right half goes to secondBlock, and the key between becomes the promoted
// one. With m the order: behind the middle the key at m goes up, and the right half has m keys with
// the new one; in front of it the last of the left half goes up when the new one is in; in the
// middle the new key itself goes up.
void ERBTreeOnDisk::splitNode(int position) {
    const int middle = capacity() / 2;
    ERDiskTreeNode left = node(workBlock.get());
    ERDiskTreeNode right = node(secondBlock.get());
    right.initialize();

    if (position > middle) {
        const int moved = middle - 1;
        right.copyKeys(left, middle + 1, 0, moved);
        right.copySons(left, middle + 1, 0, moved + 1);
        right.setCounter(moved);
        right.insert(promotedKey.data(), promotedValue, position - middle - 1, promotedSon);
        copyKey(promotedKey.data(), left.keys(middle));
        promotedValue = left.items(middle);
        left.keepFirst(middle);
        return;
    }
    right.copyKeys(left, middle, 0, middle);
    right.copySons(left, middle, 0, middle + 1);
    right.setCounter(middle);
    left.keepFirst(middle);
    if (position == middle) {
        right.setSon(0, promotedSon);
        return;
    }
    left.insert(promotedKey.data(), promotedValue, position, promotedSon);
    copyKey(promotedKey.data(), left.keys(middle));
    promotedValue = left.items(middle);
    left.keepFirst(middle);
}

// A new root above the promoted key: the old root on its left, the promoted son on its right.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::growRoot() {
    ERDiskTreeNode root = node(secondBlock.get());
    root.initialize();
    root.setSon(0, info.root);
    root.insert(promotedKey.data(), promotedValue, 0, promotedSon);
    const ERLong location = allocateNode(root);
    if (location == -1) return giveBackNewNodes();
    setRoot(location, root.block);
    return done;
}

void ERBTreeOnDisk::writeShrunkNodes() {
    for (auto shrunk = shrunkNodes.rbegin(); shrunk != shrunkNodes.rend(); ++shrunk)
        writeNode(shrunk->location, node(shrunk->block.get()));
    shrunkNodes.clear();
}

}  // namespace kerf
