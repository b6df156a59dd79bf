#include "kerf/persistence/disk_btree.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "kerf/core/string.h"
#include "kerf/persistence/file_manager.h"

namespace kerf {

namespace {

constexpr ERLong currentVersion = 1365;
constexpr ERULong binaryKeysFlag = 1;
constexpr std::uint64_t largestNode = 4u << 20;

// The info record:
//
//   offset  size
//        0     4  root       location of the root node, -1 when empty
//        4     4  extra      free for the caller, -1 by default
//        8     4  version    1365
//       12     4  entries    number of keys
//       16     4  keyLength  bytes of each key
//       20     4  order      a node holds up to 2 * order keys
//       24     4  minOrder   keys in a node other than the root, at least
//       28     4  freeList   reserved, -1
//       32     4             reserved
//       36     4  flags      bit 0: binary keys
//
// Reserved words go back as they were read. In the older form there is nothing but the first word.
constexpr unsigned int infoWords = 10;
constexpr ERULong infoSize = 40;
constexpr ERULong rootOnlySize = 4;

int compareText(const char* a, const char* b, unsigned int length) {
    return std::strncmp(a, b, length);
}

}  // namespace

ERBTreeOnDisk::ERBTreeOnDisk(ERFileManager& treeFile, unsigned int slots, createMode mode,
                             unsigned int keyLength, int ignoreNulls, ERLong location,
                             unsigned int order, unsigned int minOrder)
    : file_(&treeFile), infoLocation_(location), cacheSlots_(slots) {
    Info fromArguments;
    fromArguments.version = currentVersion;
    fromArguments.keyLength = keyLength;
    fromArguments.order = order;
    fromArguments.minOrder = std::min(order, minOrder);
    fromArguments.flags = ignoreNulls ? binaryKeysFlag : 0;
    info_ = fromArguments;

    bool found = false;
    if (infoLocation_ == -1 && mode != create) infoLocation_ = file_->start();
    if (infoLocation_ == -1) {
        infoLocation_ = file_->allocate(infoSize);
        found = infoLocation_ != -1;
        if (found) storeInfo();
    } else {
        found = readInfo();
        rootOnly_ = found && info_.version != currentVersion;
        if (rootOnly_) {
            fromArguments.root = info_.root;
            fromArguments.version = -1;
            fromArguments.flags = 0;
            info_ = fromArguments;
            entriesKnown_ = false;
        }
    }
    compare_ = this->ignoreNulls() ? compareBytes : compareText;
    usable_ = found && makeUsable();
    cache_ = std::make_unique<ERCacheManager>(file_, nodeSize_, cacheSlots_);
    if (usable_ && info_.root != -1) nodeAt(info_.root);
    file_->trees_.push_back(this);
}

int ERBTreeOnDisk::compareBytes(const char* a, const char* b, unsigned int length) {
    return std::memcmp(a, b, length);
}

ERBTreeOnDisk::~ERBTreeOnDisk() {
    if (file_ != nullptr) leaveFile();
}

void ERBTreeOnDisk::leaveFile() {
    try {
        if (usable_) writeInfo();
    } catch (...) {
        // The root that the file knows is still the right one: it is written when it changes.
    }
    std::erase(file_->trees_, this);
    file_ = nullptr;
    usable_ = false;
}

// --- Info record

// False when there is no place for a record at infoLocation.
bool ERBTreeOnDisk::readInfo() {
    const auto liesInData = [&](ERULong size) {
        return infoLocation_ > 0 && std::int64_t{infoLocation_} + size <= file_->endData();
    };
    if (!liesInData(rootOnlySize)) return false;
    int words[infoWords] = {-1};
    file_->SeekTo(infoLocation_);
    const int whole = file_->Read(words, infoWords);
    info_.root = words[0];
    info_.extra = words[1];
    info_.version = whole && liesInData(infoSize) ? words[2] : -1;
    info_.entries = static_cast<ERULong>(words[3]);
    info_.keyLength = static_cast<ERULong>(words[4]);
    info_.order = static_cast<ERULong>(words[5]);
    info_.minOrder = static_cast<ERULong>(words[6]);
    info_.freeList = words[7];
    info_.reserved = static_cast<ERULong>(words[8]);
    info_.flags = static_cast<ERULong>(words[9]);
    return true;
}

void ERBTreeOnDisk::writeInfo() {
    if (!file_->isReadOnly()) storeInfo();
}

void ERBTreeOnDisk::storeInfo() {
    const int words[infoWords] = {
        info_.root,
        info_.extra,
        info_.version,
        static_cast<int>(info_.entries),
        static_cast<int>(info_.keyLength),
        static_cast<int>(info_.order),
        static_cast<int>(info_.minOrder),
        info_.freeList,
        static_cast<int>(info_.reserved),
        static_cast<int>(info_.flags),
    };
    file_->SeekTo(infoLocation_);
    file_->Write(words, rootOnly_ ? 1 : infoWords);
}

// The change of the root is what makes a grown, shrunk or emptied tree count. `block` has the bytes
// of the new root, or is null for none.
void ERBTreeOnDisk::setRoot(ERLong location, const char* block) {
    forgetWay();
    const ERLong former = info_.root;
    info_.root = location;
    try {
        storeInfo();
    } catch (...) {
        info_.root = former;
        throw;
    }
    rootHeld_ = -1;
    if (block == nullptr) return;
    std::memcpy(rootBlock_.get(), block, nodeSize_);
    rootHeld_ = location;
}

void ERBTreeOnDisk::countUp() {
    if (entriesKnown_) ++info_.entries;
}

void ERBTreeOnDisk::countDown() {
    if (entriesKnown_ && info_.entries > 0) --info_.entries;
}

ERLong ERBTreeOnDisk::extraLocation(ERLong location) {
    const ERLong former = info_.extra;
    info_.extra = location;
    if (!usable_ || rootOnly_) return former;
    try {
        writeInfo();
    } catch (...) {
        info_.extra = former;
        throw;
    }
    return former;
}

unsigned int ERBTreeOnDisk::entries() {
    if (!usable_) return 0;
    if (!entriesKnown_) {
        ERULong count = 0;
        walk([&](ERLong, const ERDiskTreeNode&, int) { ++count; }, [](ERLong) {});
        info_.entries = count;
        entriesKnown_ = true;
    }
    return info_.entries;
}

unsigned int ERBTreeOnDisk::cacheCount(unsigned int slots) {
    constexpr unsigned int newBlockSize = 8;  // not the size of a node: see the declaration
    const unsigned int former = cacheSlots_;
    if (slots != former) {
        cache_ = std::make_unique<ERCacheManager>(file_, newBlockSize, slots);
        cacheSlots_ = slots;
    }
    return former;
}

ERBTreeOnDisk::Compare ERBTreeOnDisk::setComparison(Compare comparison) {
    forgetWay();
    return std::exchange(compare_, comparison);
}

// --- Nodes

// Whether key length and order are possible; sets the size of a node.
bool ERBTreeOnDisk::makeUsable() {
    if (info_.keyLength == 0 || info_.order == 0) return false;
    if (info_.keyLength > largestNode || info_.order > largestNode) return false;
    const std::uint64_t size = (std::uint64_t{info_.keyLength} + 8) * info_.order * 2 + 8;
    if (size > largestNode) return false;
    nodeSize_ = static_cast<unsigned int>(size);
    return true;
}

// Taken when first needed: a damaged info record may claim large nodes for an empty tree.
void ERBTreeOnDisk::prepareBlocks() {
    if (rootBlock_ != nullptr) return;
    promotedKey_.resize(info_.keyLength);
    for (auto* block : {&uncachedBlock_, &thirdBlock_, &secondBlock_, &workBlock_, &rootBlock_})
        *block = std::make_unique<char[]>(nodeSize_);
}

// A stored minimum of 0 would let leaves run empty, one above the order would never be reached.
int ERBTreeOnDisk::leastKeys() const {
    return static_cast<int>(std::clamp<ERULong>(info_.minOrder, 1, info_.order));
}

void ERBTreeOnDisk::copyKey(char* target, const char* key) const {
    if (ignoreNulls()) {
        std::memcpy(target, key, info_.keyLength);
        return;
    }
    const void* const terminator = std::memchr(key, 0, info_.keyLength);
    const std::size_t length =
        terminator == nullptr
            ? info_.keyLength
            : static_cast<std::size_t>(static_cast<const char*>(terminator) - key);
    std::memcpy(target, key, length);
    std::memset(target + length, 0, info_.keyLength - length);
}

bool ERBTreeOnDisk::holdsNode(ERLong location) const {
    return location > ERFileManager::firstData &&
           std::int64_t{location} + nodeSize_ <= file_->endData();
}

// A walk over more nodes than the file can hold is in a loop.
ERLong ERBTreeOnDisk::nodesPossible() const {
    return std::min(file_->endData(), file_->GetLength()) / static_cast<ERLong>(nodeSize_) + 1;
}

// The node in place, for reading, until the next call for a node: null where there is none. One of
// which the file ends before the last byte counts as none.
ERDiskTreeNode ERBTreeOnDisk::nodeAt(ERLong location) {
    if (!holdsNode(location)) return node(nullptr);
    prepareBlocks();
    if (location == info_.root) {
        if (rootHeld_ != location) {
            rootHeld_ = -1;
            if (!readNode(location, rootBlock_.get())) return node(nullptr);
            rootHeld_ = location;
        }
        return node(rootBlock_.get());
    }
    // Nobody writes through this view: nodes to be changed are copied first.
    if (cacheHoldsNodes()) return node(const_cast<char*>(cache_->peek(location)));
    return node(readNode(location, uncachedBlock_.get()) ? uncachedBlock_.get() : nullptr);
}

bool ERBTreeOnDisk::readNode(ERLong location, char* block) {
    if (cacheHoldsNodes()) return cache_->read(location, block) != 0;
    file_->SeekTo(location);
    return file_->Read(block, nodeSize_) != 0;
}

bool ERBTreeOnDisk::copyNode(ERLong location, const ERDiskTreeNode& target) {
    const ERDiskTreeNode source = nodeAt(location);
    if (source.block_ == nullptr) return false;
    std::memcpy(target.block_, source.block_, nodeSize_);
    return true;
}

void ERBTreeOnDisk::writeNode(ERLong location, const ERDiskTreeNode& source) {
    forgetWay();
    if (location == rootHeld_) rootHeld_ = -1;
    if (cacheHoldsNodes()) {
        cache_->write(location, source.block_);
    } else {
        file_->SeekTo(location);
        file_->Write(source.block_, nodeSize_);
    }
    if (location != info_.root) return;
    std::memcpy(rootBlock_.get(), source.block_, nodeSize_);
    rootHeld_ = location;
}

ERLong ERBTreeOnDisk::allocateNode(const ERDiskTreeNode& source) {
    const ERLong location = file_->allocate(nodeSize_);
    if (location != -1) writeNode(location, source);
    return location;
}

void ERBTreeOnDisk::releaseNode(ERLong location) {
    forgetWay();
    cache_->invalidate(location);
    file_->deallocate(location);
}

// --- Lookup

// The node that has the key, in place, its location and the key's position in it; null when the key
// is not there.
ERDiskTreeNode ERBTreeOnDisk::findNode(const char* key, ERLong& location, int& position) {
    if (!usable_) return node(nullptr);
    location = info_.root;
    for (int level = 0; location != -1 && level < maxDepth; ++level) {
        const ERDiskTreeNode here = nodeAt(location);
        if (here.block_ == nullptr) break;
        position = here.binarySearch(key, compare_);
        if (position < here.counter() && compareKeys(here.keys(position), key) == 0) return here;
        location = here.sons(position);
    }
    return node(nullptr);
}

ERLong ERBTreeOnDisk::findValue(const char* key) {
    ERLong location;
    int position;
    const ERDiskTreeNode found = findNode(key, location, position);
    return found.block_ == nullptr ? -1 : found.items(position);
}

int ERBTreeOnDisk::contains(const char* key) {
    ERLong location;
    int position;
    return findNode(key, location, position).block_ != nullptr;
}

int ERBTreeOnDisk::containsBeforeInsertion(const char* key) {
    if (!usable_) return 0;
    prepareBlocks();
    const Descent result = descend(key);
    if (result == Descent::absent && ignoreNulls()) absentKey_.assign(key, key + info_.keyLength);
    return result == Descent::found;
}

int ERBTreeOnDisk::findKey(const char* key, ERCString& found) {
    ERLong value;
    return findKeyAndValue(key, found, value);
}

int ERBTreeOnDisk::findKeyAndValue(const char* key, ERCString& found, ERLong& value) {
    ERLong location;
    int position;
    const ERDiskTreeNode here = findNode(key, location, position);
    if (here.block_ == nullptr) return 0;
    found = keyAsString(here.keys(position));
    value = here.items(position);
    return 1;
}

int ERBTreeOnDisk::replaceValue(const char* key, ERLong value, ERLong& old) {
    ERLong location;
    int position;
    const ERDiskTreeNode found = findNode(key, location, position);
    if (found.block_ == nullptr) return 0;
    const ERLong former = found.items(position);
    ERDiskTreeNode changed = node(workBlock_.get());
    std::memcpy(changed.block_, found.block_, nodeSize_);
    changed.setItem(position, value);
    writeNode(location, changed);
    old = former;
    return 1;
}

ERCString ERBTreeOnDisk::keyAsString(const char* key) const {
    const void* const terminator = ignoreNulls() ? nullptr : std::memchr(key, 0, info_.keyLength);
    const auto length = terminator == nullptr
                            ? info_.keyLength
                            : static_cast<ERULong>(static_cast<const char*>(terminator) - key);
    return ERCString(key, length);
}

int ERBTreeOnDisk::height() {
    int levels = 0;
    for (ERLong location = usable_ ? info_.root : -1; location != -1 && levels < maxDepth;
         ++levels) {
        const ERDiskTreeNode here = nodeAt(location);
        if (here.block_ == nullptr) break;
        location = here.sons(0);
    }
    return levels;
}

// --- Walks

// In order. A node's bytes stay in the block of its level, where the bounds of the levels below
// point to.
template <class KeyVisitor, class NodeVisitor>
void ERBTreeOnDisk::walk(ERLong location, int level, const char* lower, const char* upper,
                         ERLong& nodesLeft, const KeyVisitor& visitKey,
                         const NodeVisitor& leaveNode) {
    if (location == -1 || level == maxDepth || nodesLeft-- <= 0) return;
    const ERDiskTreeNode source = nodeAt(location);
    if (source.block_ == nullptr || !source.hasSoundCounter()) return;
    const ERDiskTreeNode here = node(walkBlock(level));
    std::memcpy(here.block_, source.block_, nodeSize_);

    const Range own = ownKeys(here, lower, upper);
    for (int i = own.first; i < own.last; ++i) {
        walk(here.sons(i), level + 1, i > own.first ? here.keys(i - 1) : lower, here.keys(i),
             nodesLeft, visitKey, leaveNode);
        visitKey(location, here, i);
    }
    walk(here.sons(own.last), level + 1, own.last > own.first ? here.keys(own.last - 1) : lower,
         upper, nodesLeft, visitKey, leaveNode);
    leaveNode(location);
}

template <class KeyVisitor, class NodeVisitor>
void ERBTreeOnDisk::walk(const KeyVisitor& visitKey, const NodeVisitor& leaveNode) {
    if (!usable_) return;
    ERLong nodesLeft = nodesPossible();
    walk(info_.root, 0, nullptr, nullptr, nodesLeft, visitKey, leaveNode);
}

char* ERBTreeOnDisk::walkBlock(int level) {
    const auto i = static_cast<std::size_t>(level);
    if (i == walkBlocks_.size()) walkBlocks_.push_back(std::make_unique<char[]>(nodeSize_));
    return walkBlocks_[i].get();
}

void ERBTreeOnDisk::applyToKeyAndValue(Function function, void* data, int readOnly) {
    walk(
        [&](ERLong location, const ERDiskTreeNode& here, int i) {
            function(here.keys(i), here.items(i), data);
            if (!readOnly) writeNode(location, here);
        },
        [](ERLong) {});
}

// The file knows of the empty tree before the first node is freed. Sons come before their parents;
// a node that a damaged tree leads to twice is freed once.
void ERBTreeOnDisk::clear() {
    if (!usable_) return;
    std::vector<ERLong> nodes;
    std::unordered_set<ERLong> seen;
    walk([](ERLong, const ERDiskTreeNode&, int) {},
         [&](ERLong location) {
             if (seen.insert(location).second) nodes.push_back(location);
         });
    const Info former = info_;
    info_.extra = -1;
    info_.entries = 0;
    try {
        setRoot(-1, nullptr);
    } catch (...) {
        info_ = former;
        throw;
    }
    entriesKnown_ = true;
    for (const ERLong location : nodes) releaseNode(location);
}

// --- The way down of a change

// A change that a failed write ended has left each key where it was, but some keys in two nodes: in
// the one that they were to leave, which is always the last to be written. A lookup never gets to
// see those, because the way to them leads by the other copy. What shows them up is the bound that
// the nodes above set:
//
//  - a key equal to the lower bound has moved up, or was copied from above; those in front of it,
//    left by an earlier failure, have gone the same way;
//  - a key equal to the upper bound has moved up, and those behind it into another node;
//  - in a full node, keys behind the middle that are above the upper bound have moved to the right
//    half of a split in which the new key itself went up.
ERBTreeOnDisk::Range ERBTreeOnDisk::ownKeys(const ERDiskTreeNode& here, const char* lower,
                                            const char* upper) const {
    const int count = here.counter();
    Range own{0, count};
    if (count == 0) return own;
    if (upper != nullptr && compareKeys(here.keys(count - 1), upper) >= 0) {
        const int position = here.binarySearch(upper, compare_);
        const bool movedUp = compareKeys(here.keys(position), upper) == 0;
        const bool wasSplit = count == capacity() && 2 * position == count;
        if (movedUp || wasSplit) own.last = position;
    }
    if (lower != nullptr && own.last > 0 && compareKeys(here.keys(0), lower) <= 0) {
        const int position = here.binarySearch(lower, compare_);
        if (position < own.last && compareKeys(here.keys(position), lower) == 0)
            own.first = position + 1;
    }
    return own;
}

void ERBTreeOnDisk::keepOwnKeys(ERDiskTreeNode& here, Range own) const {
    here.keepFirst(own.last);
    for (int i = 0; i < own.first; ++i) here.removeAt(0, 0);
}

const char* ERBTreeOnDisk::bound(int number) const {
    return number == -1 ? nullptr
                        : bounds_.data() + static_cast<std::size_t>(number) * info_.keyLength;
}

// Fills in the path from the root to the node of the key, or to the leaf where it belongs. Nodes in
// which a failed change has left keys of others are put in order on the way.
ERBTreeOnDisk::Descent ERBTreeOnDisk::descend(const char* key) {
    if (!absentKey_.empty() && std::memcmp(absentKey_.data(), key, absentKey_.size()) == 0)
        return Descent::absent;
    forgetWay();
    depth_ = 0;
    return descendFrom(info_.root, -1, -1, key, true);
}

ERBTreeOnDisk::Descent ERBTreeOnDisk::descendFrom(ERLong location, int lower, int upper,
                                                  const char* key, bool stopAtKey) {
    while (location != -1) {
        if (depth_ == maxDepth) return Descent::damaged;
        ERDiskTreeNode here = nodeAt(location);
        if (here.block_ == nullptr || !here.hasSoundCounter()) return Descent::damaged;
        const Range own = ownKeys(here, bound(lower), bound(upper));
        if (own.first != 0 || own.last != here.counter()) {
            ERDiskTreeNode mended = node(secondBlock_.get());
            std::memcpy(mended.block_, here.block_, nodeSize_);
            keepOwnKeys(mended, own);
            writeNode(location, mended);
            here = mended;
        }
        const int position = here.binarySearch(key, compare_);
        Step& step = path_[static_cast<std::size_t>(depth_++)];
        step = {location, position, lower, upper};
        if (stopAtKey && position < here.counter() && compareKeys(here.keys(position), key) == 0)
            return Descent::found;
        enterSon(here, step, location, lower, upper);
    }
    return Descent::absent;
}

// From the last node of the path to its son at the step's position, keeping the keys around it.
void ERBTreeOnDisk::enterSon(const ERDiskTreeNode& parent, const Step& step, ERLong& location,
                             int& lower, int& upper) {
    const std::size_t needed = static_cast<std::size_t>(2 * depth_) * info_.keyLength;
    if (bounds_.size() < needed) bounds_.resize(needed);
    const auto keep = [&](int number, const char* key) {
        char* const target = bounds_.data() + static_cast<std::size_t>(number) * info_.keyLength;
        if (info_.keyLength == sizeof(ERULong))
            std::memcpy(target, key, sizeof(ERULong));
        else
            std::memcpy(target, key, info_.keyLength);
        return number;
    };
    const int position = step.position;
    lower = position > 0 ? keep(2 * depth_ - 2, parent.keys(position - 1)) : step.lower;
    upper = position < parent.counter() ? keep(2 * depth_ - 1, parent.keys(position)) : step.upper;
    location = parent.sons(position);
}

}  // namespace kerf
