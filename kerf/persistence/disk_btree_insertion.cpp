#include <string>
#include <vector>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/internal/tree_path.h"

namespace kerf {

// An insertion, from the leaf at the end of the path up as far as nodes split.
//
// A change of several nodes survives any write that fails. New nodes are written first, while
// nothing leads to them. Then comes the one write that makes all of them count at once: that of the
// node above them, or that of the root's location. The old nodes, which give up what the new ones
// have, come last and from the top down. Until then they hold more than their share, which
// ownKeysOf tells apart.
class ERBTreeOnDisk::Insertion {
public:
    Insertion(ERBTreeOnDisk& tree, const TreePath& path)
        : tree_(tree), nodes_(*tree.nodes_), path_(path), promotedKey_(tree.keyLength(), 0) {}

    int run(const char* key, ERLong value);

private:
    retStatus ins();
    retStatus giveBackNewNodes();
    void splitNode(ERDiskTreeNode& left, int position, ERDiskTreeNode& right);
    retStatus growRoot();
    void writeShrunkNodes();

    void promote(const char* key, ERLong value);

    ERBTreeOnDisk& tree_;
    TreeNodes& nodes_;
    const TreePath& path_;

    // The key that goes up, and the son after it.
    std::string promotedKey_;
    ERLong promotedValue_ = -1;
    ERLong promotedSon_ = -1;

    // Of nodes that split: the new ones, and the old ones with what they are to keep.
    struct ShrunkNode {
        ERLong location;
        std::vector<char> bytes;
    };
    std::vector<ERLong> newNodes_;
    std::vector<ShrunkNode> shrunkNodes_;
};

int ERBTreeOnDisk::insertKeyAndValue(const char* key, ERLong value) {
    if (!isUsable() || path_->seek(*nodes_, key) != TreePath::End::absent) return 0;
    return Insertion(*this, *path_).run(key, value);
}

int ERBTreeOnDisk::insertAt(const DiskTreePosition& position, ERLong value) {
    if (!isUsable()) return 0;
    if (position.path_ == nullptr || position.changes_ != nodes_->changes())
        return insertKeyAndValue(position.key_.c_str(), value);
    return position.isFound() ? 0
                              : Insertion(*this, *position.path_).run(position.key_.c_str(), value);
}

int ERBTreeOnDisk::Insertion::run(const char* key, ERLong value) {
    promote(key, value);
    const retStatus status = ins();
    if (status == refused || (status == parentActs && growRoot() == refused)) return 0;

    // The key lies in a node that leads nowhere yet, or in the first one that is still to shrink.
    const bool isInShrunkLeaf =
        !shrunkNodes_.empty() && 2 * path_.last().position < tree_.shape_.capacity();
    if (!isInShrunkLeaf) tree_.countUp();
    writeShrunkNodes();
    if (isInShrunkLeaf) tree_.countUp();
    return 1;
}

void ERBTreeOnDisk::Insertion::promote(const char* key, ERLong value) {
    tree_.shape_.copyKey(promotedKey_.data(), key);
    promotedValue_ = value;
}

// parentActs: the promoted key is to make a new root.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::Insertion::ins() {
    ERDiskTreeNode here = nodes_.work(0);
    for (int level = path_.depth() - 1; level >= 0; --level) {
        const TreePath::Step& step = path_.step(level);
        if (!nodes_.copy(step.location, here)) return giveBackNewNodes();
        if (here.counter() < tree_.shape_.capacity()) {
            here.insert(promotedKey_.data(), promotedValue_, step.position, promotedSon_);
            nodes_.write(step.location, here);
            return done;
        }
        if (newNodes_.empty() && !nodes_.hasRoomFor(path_.depth() + 1)) return refused;
        ERDiskTreeNode right = nodes_.work(1);
        splitNode(here, step.position, right);
        promotedSon_ = nodes_.add(right);
        if (promotedSon_ == -1) return giveBackNewNodes();
        newNodes_.push_back(promotedSon_);
        shrunkNodes_.push_back(
            {step.location, {here.bytes(), here.bytes() + tree_.shape_.nodeSize()}});
    }
    return path_.depth() > 0 || nodes_.hasRoomFor(1) ? parentActs : refused;
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::Insertion::giveBackNewNodes() {
    for (const ERLong location : newNodes_) nodes_.release(location);
    return refused;
}

// Splits a full node, into which the promoted key belongs at `position`: the left half stays, the
// right half goes to a new node, and a key between them becomes the promoted one. With m the order:
// after the middle the key at m goes up, and the right half has m keys with the new one. Before it
// the last of the left half goes up when the new one is in. In the middle the new key itself goes
// up.
void ERBTreeOnDisk::Insertion::splitNode(ERDiskTreeNode& left, int position,
                                         ERDiskTreeNode& right) {
    const int middle = tree_.shape_.capacity() / 2;
    right.initialize();
    if (position > middle) {
        const int moved = middle - 1;
        right.copyKeys(left, middle + 1, 0, moved);
        right.copySons(left, middle + 1, 0, moved + 1);
        right.setCounter(moved);
        right.insert(promotedKey_.data(), promotedValue_, position - middle - 1, promotedSon_);
        promote(left.keys(middle), left.items(middle));
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
    promote(left.keys(middle), left.items(middle));
    left.keepFirst(middle);
}

// A new root above the promoted key: the old root on its left, the promoted son on its right.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::Insertion::growRoot() {
    ERDiskTreeNode root = nodes_.work(1);
    root.initialize();
    root.setSon(0, nodes_.root());
    root.insert(promotedKey_.data(), promotedValue_, 0, promotedSon_);
    const ERLong location = nodes_.add(root);
    if (location == -1) return giveBackNewNodes();
    tree_.setRoot(location, &root);
    return done;
}

void ERBTreeOnDisk::Insertion::writeShrunkNodes() {
    for (auto shrunk = shrunkNodes_.rbegin(); shrunk != shrunkNodes_.rend(); ++shrunk)
        nodes_.write(shrunk->location, {tree_.shape_, shrunk->bytes.data()});
}

}  // namespace kerf
