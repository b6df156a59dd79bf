#pragma once
#include "kerf/persistence/internal/free_list_node.h"
#include "kerf/platform/config.h"

// The nodes of a free list as a change of it sees them: one is current, and the next ones can be
// searched.
namespace kerf {

class ERFileManager;

/// The chain of nodes, seen from the current one. FreeListInFile reads the nodes from the file, and
/// works on any list; FreeListMirror has a sound list in memory. Given the same calls, both make
/// the same nodes current, so the same bytes reach the file through either.
///
/// A search looks at the current node first, then follows the chain, and looks at no node twice.
/// The node it finds becomes the current one; when there is none, the last one it looked at does.
///
/// The chain writes nothing: a change is written to the file first, and then told here.
class FreeListChain {
public:
    FreeListChain() = default;
    FreeListChain(const FreeListChain&) = default;
    FreeListChain& operator=(const FreeListChain&) = default;
    virtual ~FreeListChain();

    virtual ERLong location() const = 0;           ///< of the current node
    virtual const FreeListNode& node() const = 0;  ///< the current one, until the next call
    /// Whether the file holds a node after the current one, which is copied.
    virtual bool readNext(FreeListNode& following) const = 0;

    /// Seeks a node with an entry that fits below `end`, and returns the entry, or -1.
    virtual int seekSpace(ERULong wanted, ERLong end) = 0;
    /// Seeks a node that takes the block.
    virtual bool seekTaker(ERLong location, ERULong size) = 0;
    /// Seeks, from the first node on, the one before the current node. Where the chain is damaged
    /// and none leads there, the current node stays.
    virtual bool seekPredecessor() = 0;

    /// The current node is now this one.
    virtual void update(const FreeListNode& node) = 0;
    /// The node after the current one has left the chain.
    virtual void removeNext() = 0;
    /// A node now follows the current one; it becomes the current one.
    virtual void insertNext(ERLong location, const FreeListNode& inserted) = 0;

    /// False when the nodes are no longer those of a sound list that lies below `end`: only the
    /// file tells then what follows.
    virtual bool isSound(ERLong end) const = 0;
};

/// The chain read from the file, node after node. Every search ends, whatever the file holds.
class FreeListInFile : public FreeListChain {
public:
    /// `node` is what stands at `location`, and becomes the current node. The file must outlive
    /// the chain.
    FreeListInFile(ERFileManager& file, ERLong location, const FreeListNode& node);

    ERLong location() const override { return location_; }
    const FreeListNode& node() const override { return node_; }
    bool readNext(FreeListNode& following) const override;

    int seekSpace(ERULong wanted, ERLong end) override;
    bool seekTaker(ERLong location, ERULong size) override;
    bool seekPredecessor() override;

    void update(const FreeListNode& node) override { node_ = node; }
    void removeNext() override {}
    void insertNext(ERLong location, const FreeListNode& inserted) override;
    bool isSound(ERLong) const override { return true; }

    /// How many nodes the file can hold: a search of more steps is in a cycle.
    ERLong nodesPossible() const;
    /// Whether a search that began at `start` ends with the current node: the chain is back at its
    /// start, leaves the file, or has taken as many steps as the file can hold nodes.
    bool isLast(ERLong start, ERLong& stepsLeft) const;
    void goToNext();

private:
    bool holdsNode(ERLong location) const;
    void goTo(ERLong location);
    template <class Serves>
    bool seek(const Serves& serves);

    ERFileManager* file_;
    ERLong location_;
    FreeListNode node_;
};

}  // namespace kerf
