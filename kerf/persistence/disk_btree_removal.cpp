#include <cstring>

#include "kerf/core/string.h"
#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/file_manager.h"

// As in an insertion, a key that moves is written to its new node before it leaves the old one, so
// that a write that fails leaves it in both rather than in none.
namespace kerf {

int ERBTreeOnDisk::remove(const char* key) {
    ERLong value;
    return removeKeyAndValue(key, value);
}

int ERBTreeOnDisk::removeKeyAndValue(const char* key, ERLong& value) {
    return rem(key, nullptr, value) == done;
}

int ERBTreeOnDisk::removeKeyAndValue(const char* key, ERCString& found, ERLong& value) {
    return rem(key, &found, value) == done;
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::rem(const char* key, ERCString* found, ERLong& value) {
    if (!usable_) return refused;
    // Once, or again for each empty leaf that an interrupted split has left where the successor is.
    for (int attempt = 0; attempt < maxDepth; ++attempt) {
        if (descend(key) != Descent::found) return refused;
        ERDiskTreeNode target = node(workBlock_.get());
        const Step step = path_[static_cast<std::size_t>(depth_ - 1)];
        if (!copyNode(step.location, target)) return refused;
        const bool inLeaf = target.isLeaf();
        if (!inLeaf) {
            mendBefore(key, target);
            if (!goToSuccessor(key, target)) return refused;
        }

        const Step& last = path_[static_cast<std::size_t>(depth_ - 1)];
        const ERDiskTreeNode leaf = nodeAt(last.location);
        if (leaf.block_ == nullptr) return refused;
        if (last.position >= leaf.counter()) {
            restoreOrder();
            continue;
        }
        const ERLong removedValue = target.items(step.position);
        if (found != nullptr) *found = keyAsString(target.keys(step.position));
        if (!inLeaf) {
            target.setKey(step.position, leaf.keys(last.position), leaf.items(last.position));
            writeNode(step.location, target);
            countDown();
        }
        removeFromLeaf(!inLeaf);
        value = removedValue;
        return done;
    }
    return refused;
}

// Puts the nodes in order that end at the key from below, if a failed change has left any: the key
// is what tells where they end, and it is about to go.
void ERBTreeOnDisk::mendBefore(const char* key, const ERDiskTreeNode& target) {
    const int depthOfTarget = depth_;
    ERLong location;
    int lower;
    int upper;
    enterSon(target, path_[static_cast<std::size_t>(depth_ - 1)], location, lower, upper);
    descendFrom(location, lower, upper, key, false);
    depth_ = depthOfTarget;
}

// Goes on with the path from the inner node at its end, which has the key, to the leaf of the next
// key. False on a damaged tree.
bool ERBTreeOnDisk::goToSuccessor(const char* key, const ERDiskTreeNode& target) {
    Step& step = path_[static_cast<std::size_t>(depth_ - 1)];
    ++step.position;
    ERLong location;
    int lower;
    int upper;
    enterSon(target, step, location, lower, upper);
    return location != -1 && descendFrom(location, lower, upper, key, false) == Descent::absent;
}

// Takes the key at the end of the path out of its leaf.
void ERBTreeOnDisk::removeFromLeaf(bool alreadyCounted) {
    const Step& step = path_[static_cast<std::size_t>(depth_ - 1)];
    ERDiskTreeNode leaf = node(workBlock_.get());
    if (!copyNode(step.location, leaf)) return;
    leaf.removeAt(step.position, step.position + 1);
    if (depth_ == 1 && leaf.counter() == 0) {
        setRoot(-1, nullptr);
        countDown();
        return releaseNode(step.location);
    }
    writeNode(step.location, leaf);
    if (!alreadyCounted) countDown();
    restoreOrder();
}

// Repairs nodes that are too small, from the end of the path up.
void ERBTreeOnDisk::restoreOrder() {
    for (int level = depth_ - 1; level > 0; --level) {
        const ERDiskTreeNode here = nodeAt(path_[static_cast<std::size_t>(level)].location);
        if (here.block_ == nullptr || here.counter() >= leastKeys()) return;
        if (restoreNode(level) == done) return;
    }
}

// Repairs the node of that level with a key of a sibling, or by joining it with one: the parent is
// then to be looked at (parentActs).
ERBTreeOnDisk::retStatus ERBTreeOnDisk::restoreNode(int level) {
    const auto above = static_cast<std::size_t>(level - 1);
    const int p = path_[above].position;
    ERDiskTreeNode parent = node(workBlock_.get());
    ERDiskTreeNode child = node(secondBlock_.get());
    ERDiskTreeNode sibling = node(thirdBlock_.get());
    if (!copyNode(path_[above].location, parent)) return done;
    if (!copyNode(path_[above + 1].location, child)) return done;

    const int last = parent.counter();
    if (p > 0) {
        if (!loadSibling(level, parent, p - 1, sibling)) return done;
        if (sibling.counter() > leastKeys()) {
            moveItRight(level, parent, p, child, sibling);
            return done;
        }
    }
    if (p < last) {
        if (!loadSibling(level, parent, p + 1, sibling)) return done;
        if (sibling.counter() > leastKeys()) {
            moveItLeft(level, parent, p, child, sibling);
            return done;
        }
        combineNodes(level, parent, p, child, sibling);
    } else if (p > 0) {
        combineNodes(level, parent, p - 1, sibling, child);
    }
    // A parent without keys, which an interrupted split can leave, is repaired itself.
    return parentActs;
}

// Reads the son of the parent of that level. False when there is no sound node, or when the
// location is one of the path: sons of a damaged tree.
bool ERBTreeOnDisk::loadSibling(int level, const ERDiskTreeNode& parent, int son,
                                ERDiskTreeNode& sibling) {
    const ERLong location = parent.sons(son);
    for (int i = 0; i < depth_; ++i)
        if (path_[static_cast<std::size_t>(i)].location == location) return false;
    if (!copyNode(location, sibling) || !sibling.hasSoundCounter()) return false;
    const Step& above = path_[static_cast<std::size_t>(level - 1)];
    const char* const lower = son > 0 ? parent.keys(son - 1) : bound(above.lower);
    const char* const upper = son < parent.counter() ? parent.keys(son) : bound(above.upper);
    keepOwnKeys(sibling, ownKeys(sibling, lower, upper));
    return true;
}

// The key before the child comes down, the last one of its left sibling goes up.
void ERBTreeOnDisk::moveItRight(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& child,
                                ERDiskTreeNode& left) {
    const ERLong parentLocation = path_[static_cast<std::size_t>(level - 1)].location;
    const int last = left.counter() - 1;
    const ERLong formerFirst = child.sons(0);
    child.setSon(0, left.sons(last + 1));
    child.insert(parent.keys(p - 1), parent.items(p - 1), 0, formerFirst);
    parent.setKey(p - 1, left.keys(last), left.items(last));
    left.keepFirst(last);
    writeNode(parent.sons(p), child);
    writeNode(parentLocation, parent);
    writeNode(parent.sons(p - 1), left);
}

// The key behind the child comes down, the first one of its right sibling goes up.
void ERBTreeOnDisk::moveItLeft(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& child,
                               ERDiskTreeNode& right) {
    const ERLong parentLocation = path_[static_cast<std::size_t>(level - 1)].location;
    child.insert(parent.keys(p), parent.items(p), child.counter(), right.sons(0));
    parent.setKey(p, right.keys(0), right.items(0));
    right.removeAt(0, 0);
    writeNode(parent.sons(p), child);
    writeNode(parentLocation, parent);
    writeNode(parent.sons(p + 1), right);
}

// Joins the sons around the parent's key p, and that key, in the left one. They fit: one has less
// than the minimum, the other no more than that, and the minimum is no more than the order.
void ERBTreeOnDisk::combineNodes(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& left,
                                 const ERDiskTreeNode& right) {
    const ERLong parentLocation = path_[static_cast<std::size_t>(level - 1)].location;
    const ERLong leftLocation = parent.sons(p);
    const ERLong rightLocation = parent.sons(p + 1);
    left.insert(parent.keys(p), parent.items(p), left.counter(), right.sons(0));
    const int count = left.counter();
    left.copyKeys(right, 0, count, right.counter());
    left.copySons(right, 1, count + 1, right.counter());
    left.setCounter(count + right.counter());
    parent.removeAt(p, p + 1);

    writeNode(leftLocation, left);
    const bool emptiesRoot = level == 1 && parent.counter() == 0;
    if (emptiesRoot)
        setRoot(leftLocation, left.block_);
    else
        writeNode(parentLocation, parent);
    releaseNode(rightLocation);
    if (emptiesRoot) releaseNode(parentLocation);
}

}  // namespace kerf
