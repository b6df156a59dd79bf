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
    if (!usable_) return 0;
    prepareBlocks();
    newNodes_.clear();
    shrunkNodes_.clear();
    const retStatus status = ins(key, value);
    if (status == refused || (status == parentActs && growRoot() == refused)) return 0;

    // The key lies in a node that leads nowhere yet, or in the first one that is still to shrink.
    const bool isInShrunkLeaf =
        !shrunkNodes_.empty() &&
        2 * path_[static_cast<std::size_t>(depth_ - 1)].position < capacity();
    if (!isInShrunkLeaf) countUp();
    writeShrunkNodes();
    if (isInShrunkLeaf) countUp();
    return 1;
}

// parentActs: the promoted key is to make a new root.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::ins(const char* key, ERLong value) {
    if (descend(key) != Descent::absent) return refused;
    copyKey(promotedKey_.data(), key);
    promotedValue_ = value;
    promotedSon_ = -1;

    ERDiskTreeNode work = node(workBlock_.get());
    for (int level = depth_ - 1; level >= 0; --level) {
        const Step& step = path_[static_cast<std::size_t>(level)];
        if (!copyNode(step.location, work)) return giveBackNewNodes();
        if (work.counter() < capacity()) {
            work.insert(promotedKey_.data(), promotedValue_, step.position, promotedSon_);
            writeNode(step.location, work);
            return done;
        }
        if (newNodes_.empty() && !hasRoomForNodes(depth_ + 1)) return refused;
        splitNode(step.position);
        promotedSon_ = allocateNode(node(secondBlock_.get()));
        if (promotedSon_ == -1) return giveBackNewNodes();
        newNodes_.push_back(promotedSon_);
        shrunkNodes_.push_back({step.location, std::make_unique<char[]>(nodeSize_)});
        std::memcpy(shrunkNodes_.back().block.get(), work.block_, nodeSize_);
    }
    if (depth_ == 0 && !hasRoomForNodes(1)) return refused;
    return parentActs;
}

// Whether so many nodes fit below the largest location, behind all data.
bool ERBTreeOnDisk::hasRoomForNodes(int count) const {
    constexpr std::int64_t wordsAround = 8;  // the size word, and rounding
    return file_->endData() + count * (std::int64_t{nodeSize_} + wordsAround) <=
           std::numeric_limits<ERLong>::max();
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::giveBackNewNodes() {
    shrunkNodes_.clear();
    for (const ERLong location : newNodes_) releaseNode(location);
    newNodes_.clear();
    return refused;
}

// Splits the full node in workBlock, into which the promoted key belongs at `position`: the left
// half stays there, the right half goes to secondBlock, and the key between becomes the promoted
// one. With m the order: behind the middle the key at m goes up, and the right half has m keys with
// the new one; in front of it the last of the left half goes up when the new one is in; in the
// middle the new key itself goes up.
void ERBTreeOnDisk::splitNode(int position) {
    const int middle = capacity() / 2;
    ERDiskTreeNode left = node(workBlock_.get());
    ERDiskTreeNode right = node(secondBlock_.get());
    right.initialize();

    if (position > middle) {
        const int moved = middle - 1;
        right.copyKeys(left, middle + 1, 0, moved);
        right.copySons(left, middle + 1, 0, moved + 1);
        right.setCounter(moved);
        right.insert(promotedKey_.data(), promotedValue_, position - middle - 1, promotedSon_);
        copyKey(promotedKey_.data(), left.keys(middle));
        promotedValue_ = left.items(middle);
        left.keepFirst(middle);
        return;
    }
    right.copyKeys(left, middle, 0, middle);
    right.copySons(left, middle, 0, middle + 1);
    right.setCounter(middle);
    left.keepFirst(middle);
    if (position == middle) {
        right.setSon(0, promotedSon_);
        return;
    }
    left.insert(promotedKey_.data(), promotedValue_, position, promotedSon_);
    copyKey(promotedKey_.data(), left.keys(middle));
    promotedValue_ = left.items(middle);
    left.keepFirst(middle);
}

// A new root above the promoted key: the old root on its left, the promoted son on its right.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::growRoot() {
    ERDiskTreeNode root = node(secondBlock_.get());
    root.initialize();
    root.setSon(0, info_.root);
    root.insert(promotedKey_.data(), promotedValue_, 0, promotedSon_);
    const ERLong location = allocateNode(root);
    if (location == -1) return giveBackNewNodes();
    setRoot(location, root.block_);
    return done;
}

void ERBTreeOnDisk::writeShrunkNodes() {
    for (auto shrunk = shrunkNodes_.rbegin(); shrunk != shrunkNodes_.rend(); ++shrunk)
        writeNode(shrunk->location, node(shrunk->block.get()));
    shrunkNodes_.clear();
}

}  // namespace kerf
