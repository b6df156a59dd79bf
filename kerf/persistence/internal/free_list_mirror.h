#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kerf/persistence/internal/free_list_node.h"
#include "kerf/persistence/internal/location_index.h"
#include "kerf/platform/config.h"

// What a file's free list holds, in memory, so that the node that serves a request is known without
// a walk through the file.
namespace kerf {

/// The nodes of a free list that is a sound ring: each lies once and apart from the others, and the
/// last leads to the first. No free block lies on one of them. It stands at one of them, from where
/// a search goes once round.
///
/// Use:     append() the nodes from the head on, then close(). From then on, whoever writes a node
///          to the file tells it here; update, insertNext and removeNext do nothing without a ring.
/// Memory:  some 35 bytes for each free block and 300 for each node.
/// Copying: copies are independent.
class FreeListMirror {
public:
    bool isUnknown() const { return state_ == State::unknown; }  ///< nobody has read the list yet
    bool isRing() const { return state_ == State::ring; }

    void forget() { become(State::unknown); }
    /// The list is no ring, and is walked in the file for as long as nobody forgets that.
    void giveUp() { become(State::noRing); }

    void append(ERLong location, const FreeListNode& node);
    /// Stands at the first node; gives up when a node or a free block lies on another node.
    void close();

    // --- Of a ring

    ERLong location() const { return ring_[here_].location; }
    const FreeListNode& node() const { return nodes_[ring_[here_].node]; }
    const FreeListNode& nextNode() const;
    std::int64_t nodesEnd() const;  ///< the first offset behind all nodes

    /// Goes to the first node with an entry that fits, and answers the entry. When none has one,
    /// answers -1 and stands at the last node of the round, the one before the first.
    int goToSpace(ERULong wanted, ERLong end);
    /// Goes to the first node that takes the block, because an entry touches it or there is room
    /// for a new one. When none does, answers false and stands as above.
    bool goToTaker(ERLong location, ERULong size);
    void goToPrevious();

    // --- Changes of the file

    void update(const FreeListNode& node);  ///< the node it stands at
    /// Goes there; gives up when it overlaps another.
    void insertNext(ERLong location, const FreeListNode& inserted);
    void removeNext();

private:
    using NodeNumber = LocationIndex::Number;
    enum class State { unknown, ring, noRing };

    // What a search looks at, node after node.
    struct Place {
        ERULong largest;  // of the node's sizes
        ERLong count;
        NodeNumber node;
        ERLong location;
    };

    void become(State next);
    std::size_t next(std::size_t place) const { return place + 1 == ring_.size() ? 0 : place + 1; }
    std::size_t stepsTo(std::size_t place) const;
    void index(NodeNumber number, std::size_t first, std::size_t behindLast);
    void removeFromIndex(NodeNumber number, std::size_t first, std::size_t behindLast);
    void renumber(std::size_t firstPlace);

    State state_ = State::unknown;
    std::vector<Place> ring_;
    std::size_t here_ = 0;  // where it stands in the ring

    // By number: a node keeps its number, whatever the ring does.
    std::vector<FreeListNode> nodes_;
    std::vector<std::size_t> places_;
    std::vector<NodeNumber> unusedNumbers_;

    LocationIndex starts_;
    LocationIndex ends_;
    ERLong lastLocation_ = 0;
};

}  // namespace kerf
