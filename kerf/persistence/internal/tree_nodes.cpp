#include "kerf/persistence/internal/tree_nodes.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "kerf/persistence/file_manager.h"

namespace kerf {

TreeNodes::TreeNodes(ERFileManager& nodeFile, const TreeShape& nodeShape, unsigned int cacheSlots)
    : file_(nodeFile),
      shape_(nodeShape),
      cache_(std::make_unique<ERCacheManager>(&nodeFile, nodeShape.nodeSize(), cacheSlots)) {}

void TreeNodes::makeCacheWithoutNodes(unsigned int slots) {
    constexpr unsigned int noNode = 8;
    cache_ = std::make_unique<ERCacheManager>(&file_, noNode, slots);
}

// Memory is taken when first needed: a damaged info record may claim large nodes for an empty tree.
char* TreeNodes::prepared(std::unique_ptr<char[]>& block) const {
    if (block == nullptr) block = std::make_unique<char[]>(shape_.nodeSize());
    return block.get();
}

ERDiskTreeNode TreeNodes::work(std::size_t number) {
    return {shape_, prepared(workBlocks_[number])};
}

ERDiskTreeNode TreeNodes::onLevel(int level) {
    const auto i = static_cast<std::size_t>(level);
    if (i == levelBlocks_.size()) levelBlocks_.emplace_back();
    return {shape_, prepared(levelBlocks_[i])};
}

void TreeNodes::setRoot(ERLong location, const ERDiskTreeNode* content) {
    countChange();
    root_ = location;
    rootIsHeld_ = false;
    if (content == nullptr) return;
    std::memcpy(prepared(rootBlock_), content->bytes(), shape_.nodeSize());
    rootIsHeld_ = true;
}

bool TreeNodes::isInData(ERLong location) const { return file_.holds(location, shape_.nodeSize()); }

ERLong TreeNodes::tooMany() const {
    return std::min(file_.endData(), file_.GetLength()) / static_cast<ERLong>(shape_.nodeSize()) +
           1;
}

bool TreeNodes::hasRoomFor(int count) const {
    constexpr std::int64_t aroundNode = 8;  // the size word, and rounding
    return file_.endData() + count * (std::int64_t{shape_.nodeSize()} + aroundNode) <=
           std::numeric_limits<ERLong>::max();
}

ERDiskTreeNode TreeNodes::at(ERLong location) {
    const ERDiskTreeNode none(shape_, nullptr);
    if (location == root_ && rootIsHeld_) return {shape_, rootBlock_.get()};
    if (!isInData(location)) return none;
    if (location == root_) {
        rootIsHeld_ = read(location, prepared(rootBlock_));
        return rootIsHeld_ ? ERDiskTreeNode(shape_, rootBlock_.get()) : none;
    }
    // Nothing is written through this view: nodes to be changed are copied first.
    if (cacheHoldsNodes()) return {shape_, const_cast<char*>(cache_->peek(location))};
    return read(location, prepared(uncachedBlock_)) ? ERDiskTreeNode(shape_, uncachedBlock_.get())
                                                    : none;
}

bool TreeNodes::read(ERLong location, char* block) {
    if (cacheHoldsNodes()) return cache_->read(location, block) != 0;
    file_.SeekTo(location);
    return file_.Read(block, shape_.nodeSize()) != 0;
}

bool TreeNodes::copy(ERLong location, ERDiskTreeNode target) {
    const ERDiskTreeNode source = at(location);
    if (!source) return false;
    target.copyFrom(source);
    return true;
}

void TreeNodes::write(ERLong location, const ERDiskTreeNode& source) {
    countChange();
    if (location == root_) rootIsHeld_ = false;
    if (cacheHoldsNodes()) {
        cache_->write(location, source.bytes());
    } else {
        file_.SeekTo(location);
        file_.Write(source.bytes(), shape_.nodeSize());
    }
    if (location != root_) return;
    std::memcpy(prepared(rootBlock_), source.bytes(), shape_.nodeSize());
    rootIsHeld_ = true;
}

ERLong TreeNodes::add(const ERDiskTreeNode& source) {
    const ERLong location = file_.allocateWithinPage(shape_.nodeSize());
    if (location != -1) write(location, source);
    return location;
}

void TreeNodes::release(ERLong location) {
    countChange();
    cache_->invalidate(location);
    file_.deallocate(location);
}

}  // namespace kerf
