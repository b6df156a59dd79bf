#include "kerf/persistence/internal/free_list_mirror.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace kerf {

namespace {

constexpr std::int64_t nodeBytes = sizeof(FreeListNode);

ERULong largestSize(const FreeListNode& node) {
    const auto used = node.sizes.begin() + node.count;
    return node.count == 0 ? 0 : *std::max_element(node.sizes.begin(), used);
}

// Whether a free block lies on one of the nodes, whose locations ascend.
bool meetsOneOf(const std::vector<ERLong>& nodeLocations, const FreeListNode& node) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(node.count); ++i) {
        const std::int64_t start = node.locations[i];
        const auto behind =
            std::upper_bound(nodeLocations.begin(), nodeLocations.end(), start - nodeBytes);
        if (behind != nodeLocations.end() && *behind < start + node.sizes[i]) return true;
    }
    return false;
}

bool equalEntries(const FreeListNode& a, std::size_t i, const FreeListNode& b, std::size_t k) {
    return a.locations[i] == b.locations[k] && a.sizes[i] == b.sizes[k];
}

}  // namespace

// --- The ring as a whole

void FreeListMirror::become(State nextState) {
    *this = FreeListMirror();
    state_ = nextState;
}

void FreeListMirror::append(ERLong location, const FreeListNode& node) {
    const auto number = static_cast<NodeNumber>(nodes_.size());
    places_.push_back(ring_.size());
    nodes_.push_back(node);
    ring_.push_back({largestSize(node), node.count, number, location});
}

void FreeListMirror::close() {
    std::vector<ERLong> locations;
    for (const Place& place : ring_) locations.push_back(place.location);
    std::sort(locations.begin(), locations.end());
    for (std::size_t i = 1; i < locations.size(); ++i)
        if (std::int64_t{locations[i]} - locations[i - 1] < nodeBytes) return giveUp();
    lastLocation_ = locations.back();
    for (const FreeListNode& node : nodes_)
        if (meetsOneOf(locations, node)) return giveUp();

    for (NodeNumber i = 0; i < nodes_.size(); ++i)
        index(i, 0, static_cast<std::size_t>(nodes_[i].count));
    state_ = State::ring;
}

const FreeListNode& FreeListMirror::nextNode() const { return nodes_[ring_[next(here_)].node]; }

std::int64_t FreeListMirror::nodesEnd() const { return lastLocation_ + nodeBytes; }

// --- Searches

std::size_t FreeListMirror::stepsTo(std::size_t place) const {
    return place >= here_ ? place - here_ : place + ring_.size() - here_;
}

int FreeListMirror::goToSpace(ERULong wanted, ERLong end) {
    std::size_t place = here_;
    for (std::size_t i = 0; i < ring_.size(); ++i, place = next(place)) {
        if (ring_[place].largest < wanted) continue;
        const int entry = nodes_[ring_[place].node].firstFit(wanted, end);
        if (entry == -1) continue;
        here_ = place;
        return entry;
    }
    goToPrevious();
    return -1;
}

bool FreeListMirror::goToTaker(ERLong location, ERULong size) {
    std::size_t steps = ring_.size();
    const auto touches = [&](NodeNumber node) { steps = std::min(steps, stepsTo(places_[node])); };
    ends_.forEach(location, touches);
    starts_.forEach(static_cast<ERLong>(location + std::int64_t{size}), touches);

    std::size_t place = here_;
    for (std::size_t i = 0; i < steps; ++i, place = next(place))
        if (ring_[place].count < FreeListNode::capacity) steps = i;
    if (steps == ring_.size()) {
        goToPrevious();
        return false;
    }
    here_ = (here_ + steps) % ring_.size();
    return true;
}

void FreeListMirror::goToPrevious() { here_ = (here_ == 0 ? ring_.size() : here_) - 1; }

// --- Changes

// One change of a node leaves its first entries and its last ones as they were: the index has to
// know of what lies between.
void FreeListMirror::update(const FreeListNode& node) {
    if (!isRing()) return;
    Place& place = ring_[here_];
    FreeListNode& old = nodes_[place.node];
    auto oldUsed = static_cast<std::size_t>(old.count);
    auto used = static_cast<std::size_t>(node.count);
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
    if (!isRing()) return;
    for (const Place& place : ring_)
        if (std::abs(std::int64_t{place.location} - location) < nodeBytes) return giveUp();

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
    index(number, 0, static_cast<std::size_t>(inserted.count));
    lastLocation_ = std::max(lastLocation_, location);
}

void FreeListMirror::removeNext() {
    if (!isRing()) return;
    const std::size_t removed = next(here_);
    const Place gone = ring_[removed];
    removeFromIndex(gone.node, 0, static_cast<std::size_t>(gone.count));
    unusedNumbers_.push_back(gone.node);
    ring_.erase(ring_.begin() + static_cast<std::ptrdiff_t>(removed));
    if (removed < here_) --here_;
    renumber(removed);

    if (gone.location != lastLocation_) return;
    lastLocation_ = 0;
    for (const Place& place : ring_) lastLocation_ = std::max(lastLocation_, place.location);
}

void FreeListMirror::renumber(std::size_t firstPlace) {
    for (std::size_t place = firstPlace; place < ring_.size(); ++place)
        places_[ring_[place].node] = place;
}

// --- Entries and the index

// No block begins behind the largest location: such an end is none that anything could touch.
void FreeListMirror::index(NodeNumber number, std::size_t first, std::size_t behindLast) {
    const FreeListNode& node = nodes_[number];
    for (std::size_t i = first; i < behindLast; ++i) {
        starts_.insert(node.locations[i], number);
        const std::int64_t end = std::int64_t{node.locations[i]} + node.sizes[i];
        if (end <= std::numeric_limits<ERLong>::max())
            ends_.insert(static_cast<ERLong>(end), number);
    }
}

void FreeListMirror::removeFromIndex(NodeNumber number, std::size_t first, std::size_t behindLast) {
    const FreeListNode& node = nodes_[number];
    for (std::size_t i = first; i < behindLast; ++i) {
        starts_.erase(node.locations[i], number);
        const std::int64_t end = std::int64_t{node.locations[i]} + node.sizes[i];
        if (end <= std::numeric_limits<ERLong>::max())
            ends_.erase(static_cast<ERLong>(end), number);
    }
}

}  // namespace kerf
