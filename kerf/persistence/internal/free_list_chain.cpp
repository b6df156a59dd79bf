#include "kerf/persistence/internal/free_list_chain.h"

#include <algorithm>

#include "kerf/persistence/file_manager.h"

namespace kerf {

FreeListChain::~FreeListChain() = default;

FreeListInFile::FreeListInFile(ERFileManager& file, ERLong location, const FreeListNode& node)
    : file_(&file), location_(location), node_(node) {}

bool FreeListInFile::readNext(FreeListNode& following) const {
    if (!holdsNode(node_.next)) return false;
    following = FreeListNode::read(*file_, node_.next);
    return true;
}

template <class Serves>
bool FreeListInFile::seek(const Serves& serves) {
    const ERLong start = location_;
    ERLong stepsLeft = nodesPossible();
    while (!serves(node_)) {
        if (isLast(start, stepsLeft)) return false;
        goToNext();
    }
    return true;
}

int FreeListInFile::seekSpace(ERULong wanted, ERLong end) {
    int entry = -1;
    seek([&](const FreeListNode& node) { return (entry = node.firstFit(wanted, end)) != -1; });
    return entry;
}

bool FreeListInFile::seekTaker(ERLong location, ERULong size) {
    return seek([&](const FreeListNode& node) { return node.takes(location, size); });
}

bool FreeListInFile::seekPredecessor() {
    const FreeListInFile former = *this;
    goTo(heap::firstNode);
    if (seek([&](const FreeListNode& node) { return node.next == former.location_; })) return true;
    *this = former;
    return false;
}

void FreeListInFile::insertNext(ERLong location, const FreeListNode& inserted) {
    location_ = location;
    node_ = inserted;
}

ERLong FreeListInFile::nodesPossible() const {
    return std::min(file_->endData(), file_->GetLength()) / heap::nodeSize + 1;
}

bool FreeListInFile::isLast(ERLong start, ERLong& stepsLeft) const {
    return node_.next == start || !holdsNode(node_.next) || --stepsLeft <= 0;
}

bool FreeListInFile::holdsNode(ERLong location) const {
    return location == heap::firstNode ||
           (location >= heap::firstData &&
            heap::endOf(location, heap::nodeSize) <= file_->endData());
}

void FreeListInFile::goToNext() { goTo(node_.next); }

void FreeListInFile::goTo(ERLong location) {
    if (location == location_) return;
    node_ = FreeListNode::read(*file_, location);
    location_ = location;
}

}  // namespace kerf
