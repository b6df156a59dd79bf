#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kerf/persistence/internal/free_list_chain.h"
#include "kerf/persistence/internal/location_index.h"

// What a file's free list holds, in memory: the node that serves a request is known without reading
// the file.
namespace kerf {

/// The nodes of a sound list: each lies apart from the others, no free block lies on one of them,
/// and the last leads to the first.
/// Storage: some 35 bytes for each free block and 300 for each node.
class FreeListMirror : public FreeListChain {
public:
    /// Reads the list whose first node is the current one of `list`; null when it is not sound.
    static std::unique_ptr<FreeListMirror> of(FreeListInFile list);

    ERLong location() const override { return ring_[here_].location; }
    const FreeListNode& node() const override { return nodes_[ring_[here_].node]; }
    bool readNext(FreeListNode& following) const override;

    int seekSpace(ERULong wanted, ERLong end) override;
    bool seekTaker(ERLong location, ERULong size) override;
    bool seekPredecessor() override;

    void update(const FreeListNode& node) override;
    void removeNext() override;
    void insertNext(ERLong location, const FreeListNode& inserted) override;
    bool isSound(ERLong end) const override;

private:
    using NodeNumber = LocationIndex::Number;

    // What a search looks at, node after node.
    struct Place {
        ERULong largest;  // of the node's sizes
        ERLong count;
        NodeNumber node;
        ERLong location;
    };

    FreeListMirror() = default;
    void append(ERLong location, const FreeListNode& node);
    bool nodesLieApart() const;
    void indexAll();

    void goBack();
    std::size_t next(std::size_t place) const { return place + 1 == ring_.size() ? 0 : place + 1; }
    std::size_t stepsTo(std::size_t place) const;
    template <class Change>
    void forEachEdge(NodeNumber number, std::size_t first, std::size_t last, const Change& change);
    void index(NodeNumber number, std::size_t first, std::size_t last);
    void removeFromIndex(NodeNumber number, std::size_t first, std::size_t last);
    void renumber(std::size_t firstPlace);

    // Invariants, between any two calls:
    // - ring_ has the nodes in the order of the chain, the first node of the list at place 0: it
    //   never leaves. ring_[here_] is the current node.
    // - A node has one number for as long as it is in the list, whatever its place: nodes_[n] is
    //   what the file holds of it, places_[n] its place. ring_[p].largest and count are those of
    //   nodes_[ring_[p].node]. Numbers that no node has are in unusedNumbers_.
    // - starts_ and ends_ list the number of a node once for each of its entries, under the start
    //   and under the end of the entry. Ends above the largest location are left out.
    // - lastLocation_ is the largest location of a node.
    // - overlap_ is false: nodes lie apart. Once it is true, isSound() is false for good, and
    //   nothing is asked of the mirror but the current node.
    std::vector<Place> ring_;
    std::size_t here_ = 0;
    std::vector<FreeListNode> nodes_;
    std::vector<std::size_t> places_;
    std::vector<NodeNumber> unusedNumbers_;
    LocationIndex starts_;
    LocationIndex ends_;
    ERLong lastLocation_ = 0;
    bool overlap_ = false;
};

}  // namespace kerf
