#include <algorithm>

#include "kerf/core/string.h"
#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/internal/tree_path.h"

namespace kerf {

// A removal. As in an insertion, a key that moves is written to its new node before it leaves the
// old one, so that a write that fails leaves it in both rather than in none.
class ERBTreeOnDisk::Removal {
public:
    explicit Removal(ERBTreeOnDisk& tree) : tree_(tree), nodes_(*tree.nodes_), path_(*tree.path_) {}

    retStatus rem(const char* key, ERCString* found, ERLong& value);

private:
    void removeFromLeaf(bool alreadyCounted);
    void restoreOrder();
    retStatus restoreNode(int level);
    bool loadSibling(int level, const ERDiskTreeNode& parent, int son, ERDiskTreeNode& sibling);
    void moveItLeft(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& child,
                    ERDiskTreeNode& right);
    void moveItRight(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& child,
                     ERDiskTreeNode& left);
    void combineNodes(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& left,
                      const ERDiskTreeNode& right);

    // A stored minimum of 0 would let leaves run empty, one above the order would never be reached.
    int leastKeys() const {
        return static_cast<int>(std::clamp<ERULong>(tree_.minOrder(), 1, tree_.order()));
    }

    ERBTreeOnDisk& tree_;
    TreeNodes& nodes_;
    TreePath& path_;
};

int ERBTreeOnDisk::remove(const char* key) {
    ERLong value;
    return removeKeyAndValue(key, value);
}

int ERBTreeOnDisk::removeKeyAndValue(const char* key, ERLong& value) {
    return isUsable() && Removal(*this).rem(key, nullptr, value) == done;
}

int ERBTreeOnDisk::removeKeyAndValue(const char* key, ERCString& found, ERLong& value) {
    return isUsable() && Removal(*this).rem(key, &found, value) == done;
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::Removal::rem(const char* key, ERCString* found,
                                                     ERLong& value) {
    // Once, or again for each empty leaf that an interrupted split has left where the successor is.
    for (int attempt = 0; attempt < TreePath::maxDepth; ++attempt) {
        if (path_.seek(nodes_, key) != TreePath::End::found) return refused;
        ERDiskTreeNode target = nodes_.work(0);
        const TreePath::Step step = path_.last();
        if (!nodes_.copy(step.location, target)) return refused;
        const bool inLeaf = target.isLeaf();
        if (!inLeaf) {
            path_.mendBefore(nodes_, key, target);
            if (!path_.goToSuccessor(nodes_, key, target)) return refused;
        }

        const TreePath::Step& last = path_.last();
        const ERDiskTreeNode leaf = nodes_.at(last.location);
        if (!leaf) return refused;
        if (last.position >= leaf.counter()) {
            restoreOrder();
            continue;
        }
        const ERLong removedValue = target.items(step.position);
        if (found != nullptr) *found = tree_.keyAsString(target.keys(step.position));
        if (!inLeaf) {
            target.setKey(step.position, leaf.keys(last.position), leaf.items(last.position));
            nodes_.write(step.location, target);
            tree_.countDown();
        }
        removeFromLeaf(!inLeaf);
        value = removedValue;
        return done;
    }
    return refused;
}

// Takes the key at the end of the path out of its leaf.
void ERBTreeOnDisk::Removal::removeFromLeaf(bool alreadyCounted) {
    const TreePath::Step& step = path_.last();
    ERDiskTreeNode leaf = nodes_.work(0);
    if (!nodes_.copy(step.location, leaf)) return;
    leaf.removeAt(step.position, step.position + 1);
    if (path_.depth() == 1 && leaf.counter() == 0) {
        tree_.setRoot(-1, nullptr);
        tree_.countDown();
        return nodes_.release(step.location);
    }
    nodes_.write(step.location, leaf);
    if (!alreadyCounted) tree_.countDown();
    restoreOrder();
}

// Repairs nodes that are too small, from the end of the path up.
void ERBTreeOnDisk::Removal::restoreOrder() {
    for (int level = path_.depth() - 1; level > 0; --level) {
        const ERDiskTreeNode here = nodes_.at(path_.step(level).location);
        if (!here || here.counter() >= leastKeys()) return;
        if (restoreNode(level) == done) return;
    }
}

// Repairs the node of that level with a key of a sibling, or by joining it with one: the parent is
// then to be looked at (parentActs).
ERBTreeOnDisk::retStatus ERBTreeOnDisk::Removal::restoreNode(int level) {
    const int p = path_.step(level - 1).position;
    ERDiskTreeNode parent = nodes_.work(0);
    ERDiskTreeNode child = nodes_.work(1);
    ERDiskTreeNode sibling = nodes_.work(2);
    if (!nodes_.copy(path_.step(level - 1).location, parent)) return done;
    if (!nodes_.copy(path_.step(level).location, child)) return done;

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
bool ERBTreeOnDisk::Removal::loadSibling(int level, const ERDiskTreeNode& parent, int son,
                                         ERDiskTreeNode& sibling) {
    const ERLong location = parent.sons(son);
    if (path_.leadsThrough(location)) return false;
    if (!nodes_.copy(location, sibling) || !sibling.hasSoundCounter()) return false;
    const TreePath::Step& above = path_.step(level - 1);
    const char* const lower = son > 0 ? parent.keys(son - 1) : path_.bound(above.lower);
    const char* const upper = son < parent.counter() ? parent.keys(son) : path_.bound(above.upper);
    keepKeys(sibling, ownKeysOf(sibling, lower, upper));
    return true;
}

// The key before the child comes down, the last one of its left sibling goes up.
void ERBTreeOnDisk::Removal::moveItRight(int level, ERDiskTreeNode& parent, int p,
                                         ERDiskTreeNode& child, ERDiskTreeNode& left) {
    const int last = left.counter() - 1;
    const ERLong formerFirst = child.sons(0);
    child.setSon(0, left.sons(last + 1));
    child.insert(parent.keys(p - 1), parent.items(p - 1), 0, formerFirst);
    parent.setKey(p - 1, left.keys(last), left.items(last));
    left.keepFirst(last);
    nodes_.write(parent.sons(p), child);
    nodes_.write(path_.step(level - 1).location, parent);
    nodes_.write(parent.sons(p - 1), left);
}

// The key after the child comes down, the first one of its right sibling goes up.
void ERBTreeOnDisk::Removal::moveItLeft(int level, ERDiskTreeNode& parent, int p,
                                        ERDiskTreeNode& child, ERDiskTreeNode& right) {
    child.insert(parent.keys(p), parent.items(p), child.counter(), right.sons(0));
    parent.setKey(p, right.keys(0), right.items(0));
    right.removeAt(0, 0);
    nodes_.write(parent.sons(p), child);
    nodes_.write(path_.step(level - 1).location, parent);
    nodes_.write(parent.sons(p + 1), right);
}

// Joins the sons around the parent's key p, and that key, in the left one. They fit: one has less
// than the minimum, the other no more than that, and the minimum is no more than the order.
void ERBTreeOnDisk::Removal::combineNodes(int level, ERDiskTreeNode& parent, int p,
                                          ERDiskTreeNode& left, const ERDiskTreeNode& right) {
    const ERLong parentLocation = path_.step(level - 1).location;
    const ERLong leftLocation = parent.sons(p);
    const ERLong rightLocation = parent.sons(p + 1);
    left.insert(parent.keys(p), parent.items(p), left.counter(), right.sons(0));
    const int count = left.counter();
    left.copyKeys(right, 0, count, right.counter());
    left.copySons(right, 1, count + 1, right.counter());
    left.setCounter(count + right.counter());
    parent.removeAt(p, p + 1);

    nodes_.write(leftLocation, left);
    const bool emptiesRoot = level == 1 && parent.counter() == 0;
    if (emptiesRoot)
        tree_.setRoot(leftLocation, &left);
    else
        nodes_.write(parentLocation, parent);
    nodes_.release(rightLocation);
    if (emptiesRoot) nodes_.release(parentLocation);
}

}  // namespace kerf
