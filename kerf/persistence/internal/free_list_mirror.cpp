#include "kerf/persistence/internal/free_list_mirror.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <unordered_set>

namespace kerf {

namespace {

ERULong largestSize(const FreeListNode& node) {
    const auto used = node.sizes.begin() + node.count;
    return node.count == 0 ? 0 : *std::max_element(node.sizes.begin(), used);
}

// Whether a free block lies on one of the nodes, whose locations ascend.
bool meetsOneOf(const std::vector<ERLong>& nodeLocations, const FreeListNode& node) {
    for (std::size_t i = 0; i < node.used(); ++i) {
        const std::int64_t start = node.locations[i];
        const auto after =
            std::upper_bound(nodeLocations.begin(), nodeLocations.end(), start - heap::nodeSize);
        if (after != nodeLocations.end() && *after < start + node.sizes[i]) return true;
    }
    return false;
}

bool equalEntries(const FreeListNode& a, std::size_t i, const FreeListNode& b, std::size_t k) {
    return a.locations[i] == b.locations[k] && a.sizes[i] == b.sizes[k];
}

}  // namespace

// --- Reading the list

// Two nodes that begin in the same stretch of a node's length are one node, or overlap: such a list
// is not sound. It is not followed further, so that no more is mirrored than the file holds.
std::unique_ptr<FreeListMirror> FreeListMirror::of(FreeListInFile list) {
    std::unique_ptr<FreeListMirror> mirror(new FreeListMirror);
    mirror->append(list.location(), list.node());
    ERLong stepsLeft = list.nodesPossible();
    std::unordered_set<ERLong> stretches;
    while (!list.isLast(heap::firstNode, stepsLeft) &&
           stretches.insert(list.node().next / heap::nodeSize).second) {
        list.goToNext();
        mirror->append(list.location(), list.node());
    }
    if (list.node().next != heap::firstNode || !mirror->nodesLieApart()) return nullptr;
    mirror->indexAll();
    return mirror;
}

void FreeListMirror::append(ERLong location, const FreeListNode& node) {
    const auto number = static_cast<NodeNumber>(nodes_.size());
    places_.push_back(ring_.size());
    nodes_.push_back(node);
    ring_.push_back({largestSize(node), node.count, number, location});
    lastLocation_ = std::max(lastLocation_, location);
}

bool FreeListMirror::nodesLieApart() const {
    std::vector<ERLong> locations;
    for (const Place& place : ring_) locations.push_back(place.location);
    std::sort(locations.begin(), locations.end());
    for (std::size_t i = 1; i < locations.size(); ++i)
        if (std::int64_t{locations[i]} - locations[i - 1] < heap::nodeSize) return false;
    return std::none_of(nodes_.begin(), nodes_.end(),
                        [&](const FreeListNode& node) { return meetsOneOf(locations, node); });
}

void FreeListMirror::indexAll() {
    for (NodeNumber i = 0; i < nodes_.size(); ++i) index(i, 0, nodes_[i].used());
}

// --- Searches

bool FreeListMirror::readNext(FreeListNode& following) const {
    following = nodes_[ring_[next(here_)].node];
    return true;
}

std::size_t FreeListMirror::stepsTo(std::size_t place) const {
    return place >= here_ ? place - here_ : place + ring_.size() - here_;
}

void FreeListMirror::goBack() { here_ = (here_ == 0 ? ring_.size() : here_) - 1; }

int FreeListMirror::seekSpace(ERULong wanted, ERLong end) {
    std::size_t place = here_;
    for (std::size_t i = 0; i < ring_.size(); ++i, place = next(place)) {
        if (ring_[place].largest < wanted) continue;
        const int entry = nodes_[ring_[place].node].firstFit(wanted, end);
        if (entry == -1) continue;
        here_ = place;
        return entry;
    }
    goBack();
    return -1;
}

bool FreeListMirror::seekTaker(ERLong location, ERULong size) {
    std::size_t steps = ring_.size();
    const auto touches = [&](NodeNumber node) { steps = std::min(steps, stepsTo(places_[node])); };
    ends_.forEach(location, touches);
    starts_.forEach(static_cast<ERLong>(heap::endOf(location, size)), touches);

    std::size_t place = here_;
    for (std::size_t i = 0; i < steps; ++i, place = next(place))
        if (ring_[place].count < heap::nodeCapacity) steps = i;
    if (steps == ring_.size()) {
        goBack();
        return false;
    }
    here_ = (here_ + steps) % ring_.size();
    return true;
}

bool FreeListMirror::seekPredecessor() {
    goBack();
    return true;
}

// --- Changes

// One change of a node leaves its first and its last entries as they were: the index only has to
// learn what lies between.
void FreeListMirror::update(const FreeListNode& node) {
    Place& place = ring_[here_];
    FreeListNode& old = nodes_[place.node];
    std::size_t oldUsed = old.used();
    std::size_t used = node.used();
    std::size_t same = 0;
    while (same < std::min(used, oldUsed) && equalEntries(old, same, node, same)) ++same;
    while (std::min(used, oldUsed) > same && equalEntries(old, oldUsed - 1, node, used - 1)) {
        --used;
        --oldUsed;
    }
    removeFromIndex(place.node, same, oldUsed);
    old = node;
    index(place.node, same, used);
    place.largest = largestSize(node);
    place.count = node.count;
}

void FreeListMirror::insertNext(ERLong location, const FreeListNode& inserted) {
    overlap_ |= std::any_of(ring_.begin(), ring_.end(), [location](const Place& place) {
        return std::abs(std::int64_t{place.location} - location) < heap::nodeSize;
    });
    auto number = static_cast<NodeNumber>(nodes_.size());
    if (unusedNumbers_.empty()) {
        nodes_.push_back(inserted);
        places_.push_back(0);
    } else {
        number = unusedNumbers_.back();
        unusedNumbers_.pop_back();
        nodes_[number] = inserted;
    }
    ++here_;
    ring_.insert(ring_.begin() + static_cast<std::ptrdiff_t>(here_),
                 {largestSize(inserted), inserted.count, number, location});
    renumber(here_);
    index(number, 0, inserted.used());
    lastLocation_ = std::max(lastLocation_, location);
}

void FreeListMirror::removeNext() {
    const std::size_t removed = next(here_);
    const Place gone = ring_[removed];
    removeFromIndex(gone.node, 0, static_cast<std::size_t>(gone.count));
    unusedNumbers_.push_back(gone.node);
    ring_.erase(ring_.begin() + static_cast<std::ptrdiff_t>(removed));
    renumber(removed);

    if (gone.location != lastLocation_) return;
    lastLocation_ = 0;
    for (const Place& place : ring_) lastLocation_ = std::max(lastLocation_, place.location);
}

void FreeListMirror::renumber(std::size_t firstPlace) {
    for (std::size_t place = firstPlace; place < ring_.size(); ++place)
        places_[ring_[place].node] = place;
}

// Where the end of the data went below a node, the list was damaged: part of it was freed.
bool FreeListMirror::isSound(ERLong end) const {
    return !overlap_ && heap::endOf(lastLocation_, heap::nodeSize) <= end;
}

// --- Entries and the index

// Calls change(index, location) for the start and the end of the entries first to last - 1. No
// block begins past the largest location, so no end above it can ever be touched.
template <class Change>
void FreeListMirror::forEachEdge(NodeNumber number, std::size_t first, std::size_t last,
                                 const Change& change) {
    const FreeListNode& node = nodes_[number];
    for (std::size_t i = first; i < last; ++i) {
        change(starts_, node.locations[i]);
        const std::int64_t end = heap::endOf(node.locations[i], node.sizes[i]);
        if (end <= std::numeric_limits<ERLong>::max()) change(ends_, static_cast<ERLong>(end));
    }
}

void FreeListMirror::index(NodeNumber number, std::size_t first, std::size_t last) {
    forEachEdge(number, first, last, [number](LocationIndex& index, ERLong location) {
        index.insert(location, number);
    });
}

void FreeListMirror::removeFromIndex(NodeNumber number, std::size_t first, std::size_t last) {
    forEachEdge(number, first, last,
                [number](LocationIndex& index, ERLong location) { index.erase(location, number); });
}

}  // namespace kerf
