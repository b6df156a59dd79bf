#include "kerf/persistence/disk_btree.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <utility>
#include <vector>

#include "kerf/core/string.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/internal/tree_path.h"

namespace kerf {

namespace {

constexpr ERLong currentVersion = 1365;
constexpr ERULong binaryKeysFlag = 1;

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
// Reserved words are written as they were read. The older form has nothing but the first word.
constexpr unsigned int infoWords = 10;
constexpr ERULong infoSize = 40;
constexpr ERULong rootOnlySize = 4;

// Calls visitKey(location, node, i) for each key in ascending order, and leaveNode(location) after
// the last key below a node. The bytes of a node stay in the block of its level, where the bounds
// of the levels below point to.
template <class KeyVisitor, class NodeVisitor>
class Walk {
public:
    Walk(TreeNodes& nodes, const KeyVisitor& visitKey, const NodeVisitor& leaveNode)
        : nodes_(nodes), visitKey_(visitKey), leaveNode_(leaveNode), nodesLeft_(nodes.tooMany()) {
        below(nodes.root(), 0, nullptr, nullptr);
    }

private:
    void below(ERLong location, int level, const char* lower, const char* upper) {
        if (location == -1 || level == TreePath::maxDepth || nodesLeft_-- <= 0) return;
        const ERDiskTreeNode source = nodes_.at(location);
        if (!source || !source.hasSoundCounter()) return;
        ERDiskTreeNode here = nodes_.onLevel(level);
        here.copyFrom(source);

        const OwnKeys own = ownKeysOf(here, lower, upper);
        const auto keyBefore = [&](int i) { return i > own.first ? here.keys(i - 1) : lower; };
        for (int i = own.first; i < own.last; ++i) {
            below(here.sons(i), level + 1, keyBefore(i), here.keys(i));
            visitKey_(location, here, i);
        }
        below(here.sons(own.last), level + 1, keyBefore(own.last), upper);
        leaveNode_(location);
    }

    TreeNodes& nodes_;
    const KeyVisitor& visitKey_;
    const NodeVisitor& leaveNode_;
    ERLong nodesLeft_;
};

}  // namespace

class ERBTreeOnDisk::FileEnd final : public FileEndListener {
public:
    explicit FileEnd(ERBTreeOnDisk& tree) : tree_(tree) {}
    void fileEnds() override { tree_.leaveFile(); }

private:
    ERBTreeOnDisk& tree_;
};

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

    bool isInFile = false;
    if (infoLocation_ == -1 && mode != create) infoLocation_ = file_->start();
    if (infoLocation_ == -1) {
        infoLocation_ = file_->allocate(infoSize);
        isInFile = infoLocation_ != -1;
        if (isInFile) storeInfo();
    } else {
        isInFile = readInfo();
        rootOnly_ = isInFile && info_.version != currentVersion;
        if (rootOnly_) {
            fromArguments.root = info_.root;
            fromArguments.version = -1;
            fromArguments.flags = 0;
            info_ = fromArguments;
            entriesKnown_ = false;
        }
    }
    shape_ = TreeShape(info_.keyLength, info_.order, this->ignoreNulls());
    path_ = std::make_unique<TreePath>();
    if (isInFile && shape_.nodeSize() > 0) {
        nodes_ = std::make_unique<TreeNodes>(*file_, shape_, cacheSlots_);
        nodes_->setRoot(info_.root, nullptr);
        if (info_.root != -1) nodes_->at(info_.root);
    }
    fileEnd_ = std::make_unique<FileEnd>(*this);
    file_->addListener(*fileEnd_);
}

ERBTreeOnDisk::~ERBTreeOnDisk() {
    if (file_ == nullptr) return;
    file_->removeListener(*fileEnd_);
    leaveFile();
}

void ERBTreeOnDisk::leaveFile() {
    try {
        if (isUsable()) writeInfo();
    } catch (...) {
        // The root that the file knows is still the right one: it is written when it changes.
    }
    nodes_.reset();
    file_ = nullptr;
}

// --- Info record

bool ERBTreeOnDisk::canHaveInfoAt(const ERFileManager& file, ERLong location) {
    return location > file.start() && file.holds(location, infoSize);
}

// False when the file has no record at infoLocation.
bool ERBTreeOnDisk::readInfo() {
    if (!file_->holds(infoLocation_, rootOnlySize)) return false;
    int words[infoWords] = {-1};
    file_->SeekTo(infoLocation_);
    const int whole = file_->Read(words, infoWords);
    info_.root = words[0];
    info_.extra = words[1];
    info_.version = whole && file_->holds(infoLocation_, infoSize) ? words[2] : -1;
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

// The change of the root is what makes a grown, shrunk or emptied tree count.
void ERBTreeOnDisk::setRoot(ERLong location, const ERDiskTreeNode* content) {
    const ERLong former = info_.root;
    info_.root = location;
    try {
        storeInfo();
    } catch (...) {
        info_.root = former;
        nodes_->countChange();
        throw;
    }
    nodes_->setRoot(location, content);
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
    if (!isUsable() || rootOnly_) return former;
    try {
        writeInfo();
    } catch (...) {
        info_.extra = former;
        throw;
    }
    return former;
}

unsigned int ERBTreeOnDisk::entries() {
    if (!isUsable()) return 0;
    if (!entriesKnown_) {
        ERULong count = 0;
        Walk(
            *nodes_, [&](ERLong, const ERDiskTreeNode&, int) { ++count; }, [](ERLong) {});
        info_.entries = count;
        entriesKnown_ = true;
    }
    return info_.entries;
}

unsigned int ERBTreeOnDisk::cacheCount(unsigned int slots) {
    if (isUsable() && slots != cacheSlots_) nodes_->makeCacheWithoutNodes(slots);
    return std::exchange(cacheSlots_, slots);
}

ERBTreeOnDisk::Compare ERBTreeOnDisk::setComparison(Compare comparison) {
    const Compare former = shape_.compare();
    shape_.setCompare(comparison);
    if (isUsable()) nodes_->countChange();
    return former;
}

// --- Lookup

// The node that has the key, in place, its location and the key's position in it. Views nothing
// when the key is not there.
ERDiskTreeNode ERBTreeOnDisk::findNode(const char* key, ERLong& location, int& position) {
    const ERDiskTreeNode none(shape_, nullptr);
    if (!isUsable()) return none;
    location = info_.root;
    for (int level = 0; location != -1 && level < TreePath::maxDepth; ++level) {
        const ERDiskTreeNode here = nodes_->at(location);
        if (!here) break;
        position = here.positionOf(key);
        if (here.hasKeyAt(position, key)) return here;
        location = here.sons(position);
    }
    return none;
}

ERLong ERBTreeOnDisk::findValue(const char* key) {
    ERLong location;
    int position;
    const ERDiskTreeNode found = findNode(key, location, position);
    return found ? found.items(position) : -1;
}

int ERBTreeOnDisk::contains(const char* key) {
    ERLong location;
    int position;
    return findNode(key, location, position) ? 1 : 0;
}

int ERBTreeOnDisk::findKey(const char* key, ERCString& found) {
    ERLong value;
    return findKeyAndValue(key, found, value);
}

int ERBTreeOnDisk::findKeyAndValue(const char* key, ERCString& found, ERLong& value) {
    ERLong location;
    int position;
    const ERDiskTreeNode here = findNode(key, location, position);
    if (!here) return 0;
    found = keyAsString(here.keys(position));
    value = here.items(position);
    return 1;
}

int ERBTreeOnDisk::replaceValue(const char* key, ERLong value, ERLong& old) {
    ERLong location;
    int position;
    const ERDiskTreeNode found = findNode(key, location, position);
    if (!found) return 0;
    const ERLong former = found.items(position);
    ERDiskTreeNode changed = nodes_->work(0);
    changed.copyFrom(found);
    changed.setItem(position, value);
    nodes_->write(location, changed);
    old = former;
    return 1;
}

ERCString ERBTreeOnDisk::keyAsString(const char* key) const {
    return ERCString(key, shape_.lengthOf(key));
}

int ERBTreeOnDisk::height() {
    int levels = 0;
    for (ERLong location = isUsable() ? info_.root : -1;
         location != -1 && levels < TreePath::maxDepth; ++levels) {
        const ERDiskTreeNode here = nodes_->at(location);
        if (!here) break;
        location = here.sons(0);
    }
    return levels;
}

// --- Positions

DiskTreePosition::DiskTreePosition() = default;
DiskTreePosition::DiskTreePosition(DiskTreePosition&& other) noexcept = default;
DiskTreePosition& DiskTreePosition::operator=(DiskTreePosition&& other) noexcept = default;
DiskTreePosition::~DiskTreePosition() = default;

DiskTreePosition ERBTreeOnDisk::seek(const char* key) {
    DiskTreePosition position;
    if (!isUsable()) return position;
    position.key_.resize(shape_.keyLength());
    shape_.copyKey(position.key_.data(), key);
    auto path = std::make_unique<TreePath>();
    const TreePath::End end = path->seek(*nodes_, key);
    position.found_ = end == TreePath::End::found;
    position.changes_ = nodes_->changes();
    if (end != TreePath::End::damaged) position.path_ = std::move(path);
    return position;
}

// --- All keys

void ERBTreeOnDisk::applyToKeyAndValue(Function function, void* data, int readOnly) {
    if (!isUsable()) return;
    Walk(
        *nodes_,
        [&](ERLong location, const ERDiskTreeNode& here, int i) {
            function(here.keys(i), here.items(i), data);
            if (!readOnly) nodes_->write(location, here);
        },
        [](ERLong) {});
}

// The file knows of the empty tree before the first node is freed. Sons come before their parents;
// a node that a damaged tree leads to twice is freed once.
void ERBTreeOnDisk::clear() {
    if (!isUsable()) return;
    std::vector<ERLong> locations;
    std::unordered_set<ERLong> seen;
    Walk(
        *nodes_, [](ERLong, const ERDiskTreeNode&, int) {},
        [&](ERLong location) {
            if (seen.insert(location).second) locations.push_back(location);
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
    for (const ERLong location : locations) nodes_->release(location);
}

}  // namespace kerf
