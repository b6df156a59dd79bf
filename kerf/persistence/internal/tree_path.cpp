#include "kerf/persistence/internal/tree_path.h"

#include <algorithm>
#include <cstring>

namespace kerf {

OwnKeys ownKeysOf(const ERDiskTreeNode& node, const char* lower, const char* upper) {
    const TreeShape& shape = node.shape();
    const int count = node.counter();
    OwnKeys own{0, count};
    if (count == 0) return own;
    if (upper != nullptr && shape.compareKeys(node.keys(count - 1), upper) >= 0) {
        const int position = node.positionOf(upper);
        const bool movedUp = shape.compareKeys(node.keys(position), upper) == 0;
        const bool wasSplit = count == shape.capacity() && 2 * position == count;
        if (movedUp || wasSplit) own.last = position;
    }
    if (lower != nullptr && own.last > 0 && shape.compareKeys(node.keys(0), lower) <= 0) {
        const int position = node.positionOf(lower);
        if (position < own.last && shape.compareKeys(node.keys(position), lower) == 0)
            own.first = position + 1;
    }
    return own;
}

void keepKeys(ERDiskTreeNode& node, OwnKeys own) {
    node.keepFirst(own.last);
    for (int i = 0; i < own.first; ++i) node.removeAt(0, 0);
}

TreePath::End TreePath::seek(TreeNodes& nodes, const char* key) {
    depth_ = 0;
    return follow(nodes, {nodes.root(), -1, -1}, key, true);
}

TreePath::End TreePath::follow(TreeNodes& nodes, Son son, const char* key, bool stopAtKey) {
    while (son.location != -1) {
        if (depth_ == maxDepth) return End::damaged;
        ERDiskTreeNode here = nodes.at(son.location);
        if (!here || !here.hasSoundCounter()) return End::damaged;
        const OwnKeys own = ownKeysOf(here, bound(son.lower), bound(son.upper));
        if (own.first != 0 || own.last != here.counter()) {
            ERDiskTreeNode mended = nodes.work(1);
            mended.copyFrom(here);
            keepKeys(mended, own);
            nodes.write(son.location, mended);
            here = mended;
        }
        Step& step = steps_[static_cast<std::size_t>(depth_++)];
        step = {son.location, here.positionOf(key), son.lower, son.upper};
        if (stopAtKey && here.hasKeyAt(step.position, key)) return End::found;
        son = sonAt(here, step);
    }
    return End::absent;
}

bool TreePath::goToSuccessor(TreeNodes& nodes, const char* key, const ERDiskTreeNode& inner) {
    Step& step = steps_[static_cast<std::size_t>(depth_ - 1)];
    ++step.position;
    const Son son = sonAt(inner, step);
    return son.location != -1 && follow(nodes, son, key, false) == End::absent;
}

void TreePath::mendBefore(TreeNodes& nodes, const char* key, const ERDiskTreeNode& inner) {
    const int depthOfInner = depth_;
    follow(nodes, sonAt(inner, last()), key, false);
    depth_ = depthOfInner;
}

bool TreePath::leadsThrough(ERLong location) const {
    return std::any_of(steps_.begin(), steps_.begin() + depth_,
                       [=](const Step& step) { return step.location == location; });
}

const char* TreePath::bound(int number) const {
    return number == -1 ? nullptr : bounds_.data() + static_cast<std::size_t>(number) * keyLength_;
}

// The son of the last node at the step's position. The keys around it are kept as its bounds.
TreePath::Son TreePath::sonAt(const ERDiskTreeNode& parent, const Step& at) {
    keyLength_ = parent.shape().keyLength();
    const auto firstBound = 2 * static_cast<std::size_t>(depth_ - 1);
    if (bounds_.size() < (firstBound + 2) * keyLength_)
        bounds_.resize((firstBound + 2) * keyLength_);
    const int p = at.position;
    return {parent.sons(p), p > 0 ? keepBound(firstBound, parent.keys(p - 1)) : at.lower,
            p < parent.counter() ? keepBound(firstBound + 1, parent.keys(p)) : at.upper};
}

int TreePath::keepBound(std::size_t number, const char* key) {
    char* const target = bounds_.data() + number * keyLength_;
    if (keyLength_ == 4)
        std::memcpy(target, key, 4);  // a length that the compiler knows: twice as fast
    else
        std::memcpy(target, key, keyLength_);
    return static_cast<int>(number);
}

}  // namespace kerf
