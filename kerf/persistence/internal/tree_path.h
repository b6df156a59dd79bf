#pragma once
#include <array>
#include <cstddef>
#include <vector>

#include "kerf/persistence/internal/tree_nodes.h"
#include "kerf/platform/config.h"

namespace kerf {

/// Which keys of a node are its own: those from `first` on and before `last`.
///
/// A change that a failed write ended has left every key where it was, but some of them in two
/// nodes. The node that they were to leave is always written last, so it may still hold keys that
/// are no longer its own. A search never meets these, because the nodes above lead it to the other
/// copy. The bounds that the nodes above set give them away:
///
///  - A key equal to the lower bound has moved up, or was copied from above. Keys before it were
///    left by an earlier failure in the same manner.
///  - A key equal to the upper bound has moved up, and those after it into another node.
///  - In a full node, keys after the middle that are above the upper bound have moved to the right
///    half of a split in which the new key itself went up.
struct OwnKeys {
    int first;
    int last;
};

/// A null bound is none.
OwnKeys ownKeysOf(const ERDiskTreeNode& node, const char* lower, const char* upper);
void keepKeys(ERDiskTreeNode& node, OwnKeys own);

/// The path from the root of a tree to the node that has a key, or to the leaf where the key would
/// go in. It stays true until the tree's nodes change. Nodes on it that hold keys not their own are
/// written without these.
class TreePath {
public:
    static constexpr int maxDepth = 64;

    enum class End { found, absent, damaged };

    /// A node of the path and the position in it. `lower` and `upper` are the numbers of the keys
    /// that bound the node, -1 for none.
    struct Step {
        ERLong location;
        int position;
        int lower;
        int upper;
    };

    End seek(TreeNodes& nodes, const char* key);

    /// Goes on from the inner node at the end, which has the key, to the leaf of the next key.
    /// False on a damaged tree.
    bool goToSuccessor(TreeNodes& nodes, const char* key, const ERDiskTreeNode& inner);

    /// Puts the nodes in order that end with the key of the inner node at the path's end. The key
    /// tells where they end, so this comes before the key goes.
    void mendBefore(TreeNodes& nodes, const char* key, const ERDiskTreeNode& inner);

    int depth() const { return depth_; }
    const Step& step(int level) const { return steps_[static_cast<std::size_t>(level)]; }
    const Step& last() const { return step(depth_ - 1); }
    bool leadsThrough(ERLong location) const;
    /// The key of that number; null for -1.
    const char* bound(int number) const;

private:
    // Where the path goes on, and the bounds that hold there.
    struct Son {
        ERLong location;
        int lower;
        int upper;
    };

    End follow(TreeNodes& nodes, Son son, const char* key, bool stopAtKey);
    Son sonAt(const ERDiskTreeNode& parent, const Step& at);
    int keepBound(std::size_t number, const char* key);

    std::array<Step, maxDepth> steps_;
    int depth_ = 0;
    std::vector<char> bounds_;  // two keys for each level
    std::size_t keyLength_ = 0;
};

}  // namespace kerf
