#pragma once
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include "kerf/persistence/node_cache.h"
#include "kerf/platform/byte_order.h"
#include "kerf/platform/config.h"

namespace kerf {

class ERBTreeOnDisk;
class ERCString;
class ERFileManager;

/// One node of a tree: a view of bytes that lie as in the file. It owns nothing.
class KERF_EXPORT ERDiskTreeNode {
public:
    using Compare = int (*)(const char*, const char*, unsigned int);

    ERDiskTreeNode(const ERBTreeOnDisk* nodeTree, char* bytes) : tree_(nodeTree), block_(bytes) {}

    /// The number of keys: 0 when the stored one is not within 0 to 2 * order.
    int counter() const;
    ERLong sons(int i) const;  ///< 0 <= i <= 2 * order; -1 when there is none
    ERLong items(int i) const;
    char* keys(int i) const;  ///< keyLength bytes
    bool isLeaf() const;

    /// No keys, no sons, and zeros elsewhere.
    void initialize();
    /// The position of the first key that is >= key; counter() when there is none.
    int binarySearch(const char* key, Compare compare) const;
    /// Puts the key at the position, and rightSon behind it. The node must not be full.
    void insert(const char* key, ERLong value, int position, ERLong rightSon);

private:
    friend class ERBTreeOnDisk;

    static constexpr std::size_t wordSize = sizeof(ERLong);
    static constexpr int firstSonWord = 1;

    ERLong word(int i) const;
    void setWord(int i, ERLong value);
    bool hasSoundCounter() const;
    void setCounter(int count) { setWord(0, count); }
    int searchFourBytes(const char* key, int count) const;
    void setSon(int i, ERLong location);
    void setItem(int i, ERLong value);
    void setKey(int i, const char* key, ERLong value);
    void copyKeys(const ERDiskTreeNode& source, int from, int to, int count);
    void copySons(const ERDiskTreeNode& source, int from, int to, int count);
    void removeAt(int position, int son);
    void keepFirst(int count);

    const ERBTreeOnDisk* tree_;
    char* block_;
};

/// A B-tree in the blocks of a file, from keys of one length to one long each.
///
/// Keys:      binary keys are keyLength bytes, compared by memcmp. String keys end at a byte 0 or
///            after keyLength bytes and are compared by strncmp. What the file has stored wins over
///            the arguments of the constructor: who opens a file that may be damaged compares
///            keyLength() and ignoreNulls() with what it is going to pass.
/// Results:   1 and 0 for yes and no, -1 for a value that is not there.
/// Failure:   the platform's CFileException passes. Whatever write fails, every key that was in the
///            tree stays in it, for this object and for who opens the file next; the change that
///            was under way has happened or not.
/// Damage:    a tree whose stored key length or order is impossible is empty and takes no key. A
///            node is followed only where it lies whole in the file's data, 64 levels deep at most;
///            one with an impossible counter has no keys, and nothing is changed in it or below it.
/// Sharing:   no other object may write the tree's blocks while it lives, and the callback of a walk
///            must not change the tree.
/// Lifetime:  a tree that outlives its file writes its info record when that closes, and is empty
///            and takes no key from then on.
class KERF_EXPORT ERBTreeOnDisk {
public:
    using Compare = ERDiskTreeNode::Compare;
    using Function = void (*)(const char*, ERLong, void*);

    enum createMode { open = 0, create = 1 };

    /// Opens the tree whose info record lies at infoLocation. With infoLocation -1 and mode open
    /// that is the file's root; with create, or without a root, a new tree is made.
    ///
    /// A record that is not of this version counts as the older form of a tree, in which nothing
    /// but the location of the root node is kept there: the arguments tell the rest, keys are
    /// strings, and version() is 0.
    ///
    /// cacheSlots: nodes kept in memory, besides the root. keyLength: bytes, at least 1.
    /// ignoreNulls: 1 for binary keys. order: a node holds up to 2 * order keys; 1 or more.
    /// minOrder: what a node other than the root holds at least; order when that is smaller.
    /// A node, (keyLength + 8) * order * 2 + 8 bytes, must not be larger than 4 MiB.
    ERBTreeOnDisk(ERFileManager& file, unsigned int cacheSlots, createMode mode,
                  unsigned int keyLength, int ignoreNulls, ERLong infoLocation, unsigned int order,
                  unsigned int minOrder);
    ERBTreeOnDisk(const ERBTreeOnDisk&) = delete;
    ERBTreeOnDisk& operator=(const ERBTreeOnDisk&) = delete;
    ~ERBTreeOnDisk();  ///< writes the info record when the file is writable; never throws

    /// 1 when the key came in. 0, with the tree unchanged, when it was there already or the file
    /// has no room for the nodes that may be needed.
    int insertKeyAndValue(const char* key, ERLong value);
    /// 1 and the former value; 0, with `old` unchanged, for a missing key.
    int replaceValue(const char* key, ERLong value, ERLong& old);

    ERLong findValue(const char* key);
    int findKey(const char* key, ERCString& found);
    int findKeyAndValue(const char* key, ERCString& found, ERLong& value);
    int contains(const char* key);
    /// As contains; when the key is not there, and nothing changes meanwhile, an insertion of it
    /// goes on from where this has come to. Where a failed change has left keys in two nodes, those
    /// on the way are put in order.
    int containsBeforeInsertion(const char* key);
    int find(const char* key) { return contains(key); }
    unsigned int occurrencesOf(const char* key) { return contains(key) ? 1 : 0; }

    int remove(const char* key);
    int removeKeyAndValue(const char* key, ERLong& value);
    int removeKeyAndValue(const char* key, ERCString& found, ERLong& value);
    /// Frees every node and resets extraLocation to -1.
    void clear();

    unsigned int entries();
    int isEmpty() const { return info_.root == -1 || !usable_; }
    int height();  ///< 0 of an empty tree, 1 of a lone leaf
    unsigned int minOrder() const { return info_.minOrder; }
    unsigned int order() const { return info_.order; }
    unsigned int keyLength() const { return info_.keyLength; }
    ERLong version() const { return info_.version == -1 ? 0 : info_.version; }
    int ignoreNulls() const { return (info_.flags & 1) != 0; }
    ERLong baseLocation() const { return infoLocation_; }

    /// A long kept in the info record for the caller; answers the former one.
    ERLong extraLocation(ERLong location);

    /// Makes a new cache of that many slots when the number differs from the present one, which is
    /// answered. The new cache has a block size of 8, which callers rely on: it holds no node, and
    /// every node but the root is read from the file from then on. The way to choose the number of
    /// slots is the constructor.
    unsigned int cacheCount(unsigned int slots);

    /// Orders the keys of every later call; answers the former comparison.
    Compare setComparison(Compare comparison);

    /// Calls the function for each key in ascending order. The key is not closed by a 0 when it has
    /// the full length. With readOnly 0 the node is written after each call.
    void applyToKeyAndValue(Function function, void* data, int readOnly);

private:
    friend class ERDiskTreeNode;
    friend class ERFileManager;

    static constexpr int maxDepth = 64;

    enum retStatus { parentActs = 0, done = 1, refused = 2 };
    enum class Descent { found, absent, damaged };

    // The info record, in the order of the file.
    struct Info {
        ERLong root = -1;
        ERLong extra = -1;
        ERLong version = -1;
        ERULong entries = 0;
        ERULong keyLength = 0;
        ERULong order = 0;
        ERULong minOrder = 0;
        ERLong freeList = -1;
        ERULong reserved = 0;
        ERULong flags = 0;
    };

    // A node on the way down. `lower` and `upper` tell which bounds hold in it: the number of a key
    // in `bounds`, or -1.
    struct Step {
        ERLong location;
        int position;
        int lower;
        int upper;
    };

    // The keys of a node that are really its own.
    struct Range {
        int first;
        int last;
    };

    static int compareBytes(const char* a, const char* b, unsigned int length);
    static ERULong orderOfBytes(const char* key);
    int compareKeys(const char* a, const char* b) const;

    void leaveFile();

    // Info record
    bool readInfo();
    void writeInfo();
    void storeInfo();
    void setRoot(ERLong location, const char* block);
    void countUp();
    void countDown();

    // Nodes
    int capacity() const { return static_cast<int>(2 * info_.order); }
    int leastKeys() const;
    void copyKey(char* target, const char* key) const;
    ERCString keyAsString(const char* key) const;
    bool makeUsable();
    void prepareBlocks();
    bool cacheHoldsNodes() const { return cache_->blockSize() == nodeSize_; }
    bool holdsNode(ERLong location) const;
    ERLong nodesPossible() const;
    ERDiskTreeNode node(char* block) const { return {this, block}; }
    ERDiskTreeNode nodeAt(ERLong location);
    bool readNode(ERLong location, char* block);
    bool copyNode(ERLong location, const ERDiskTreeNode& target);
    void writeNode(ERLong location, const ERDiskTreeNode& source);
    ERLong allocateNode(const ERDiskTreeNode& source);
    void releaseNode(ERLong location);

    // Ways through the tree
    ERDiskTreeNode findNode(const char* key, ERLong& location, int& position);
    Descent descend(const char* key);
    void forgetWay() { absentKey_.clear(); }
    Descent descendFrom(ERLong location, int lower, int upper, const char* key, bool stopAtKey);
    void enterSon(const ERDiskTreeNode& parent, const Step& step, ERLong& location, int& lower,
                  int& upper);
    const char* bound(int number) const;
    Range ownKeys(const ERDiskTreeNode& node, const char* lower, const char* upper) const;
    void keepOwnKeys(ERDiskTreeNode& node, Range own) const;
    template <class KeyVisitor, class NodeVisitor>
    void walk(ERLong location, int depth, const char* lower, const char* upper, ERLong& nodesLeft,
              const KeyVisitor& visitKey, const NodeVisitor& leaveNode);
    template <class KeyVisitor, class NodeVisitor>
    void walk(const KeyVisitor& visitKey, const NodeVisitor& leaveNode);
    char* walkBlock(int depth);

    // Insertion
    retStatus ins(const char* key, ERLong value);
    bool hasRoomForNodes(int count) const;
    retStatus giveBackNewNodes();
    void splitNode(int position);
    retStatus growRoot();
    void writeShrunkNodes();

    // Removal
    retStatus rem(const char* key, ERCString* found, ERLong& value);
    void mendBefore(const char* key, const ERDiskTreeNode& target);
    bool goToSuccessor(const char* key, const ERDiskTreeNode& target);
    void removeFromLeaf(bool alreadyCounted);
    void restoreOrder();
    retStatus restoreNode(int level);
    bool loadSibling(int level, const ERDiskTreeNode& parent, int son, ERDiskTreeNode& sibling);
    void moveItLeft(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& child,
                    ERDiskTreeNode& right);
    void moveItRight(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& child,
                     ERDiskTreeNode& left);
    void combineNodes(int level, ERDiskTreeNode& parent, int p, ERDiskTreeNode& left,
                      const ERDiskTreeNode& right);

    ERFileManager* file_;
    ERLong infoLocation_;
    Info info_;
    bool rootOnly_ = false;  // the older form: no more than the root's location in the file
    bool entriesKnown_ = true;
    bool usable_ = false;
    Compare compare_ = nullptr;
    unsigned int nodeSize_ = 0;
    unsigned int cacheSlots_;
    std::unique_ptr<ERCacheManager> cache_;

    // Nodes in memory: the root, which a lookup does not ask the cache for, and those being
    // changed.
    std::unique_ptr<char[]> rootBlock_, workBlock_, secondBlock_, thirdBlock_, uncachedBlock_;
    ERLong rootHeld_ = -1;  // whose bytes rootBlock has
    std::vector<std::unique_ptr<char[]>> walkBlocks_;

    // The key on its way up or down.
    std::vector<char> promotedKey_;
    ERLong promotedValue_ = -1;
    ERLong promotedSon_ = -1;

    // The way of the change under way.
    std::array<Step, maxDepth> path_;
    int depth_ = 0;
    std::vector<char> bounds_;
    std::vector<char> absentKey_;  // the key that the way leads to, while nothing has changed since

    // Of an insertion that splits: the nodes made, and those that will have to shrink.
    struct ShrunkNode {
        ERLong location;
        std::unique_ptr<char[]> block;
    };
    std::vector<ERLong> newNodes_;
    std::vector<ShrunkNode> shrunkNodes_;
};

// --- What every step of a search calls

inline ERLong ERDiskTreeNode::word(int i) const {
    ERLong value;
    std::memcpy(&value, block_ + static_cast<std::size_t>(i) * wordSize, wordSize);
    swapToLittleEndian(&value, 1);
    return value;
}

inline bool ERDiskTreeNode::hasSoundCounter() const {
    return word(0) >= 0 && word(0) <= tree_->capacity();
}

inline int ERDiskTreeNode::counter() const { return hasSoundCounter() ? word(0) : 0; }

inline ERLong ERDiskTreeNode::sons(int i) const { return word(firstSonWord + i); }

inline bool ERDiskTreeNode::isLeaf() const { return sons(0) == -1; }

inline ERLong ERDiskTreeNode::items(int i) const {
    return word(firstSonWord + tree_->capacity() + 1 + i);
}

inline char* ERDiskTreeNode::keys(int i) const {
    const std::size_t words = static_cast<std::size_t>(2 * tree_->capacity() + 2);
    return block_ + words * wordSize + static_cast<std::size_t>(i) * tree_->info_.keyLength;
}

// The order of four bytes as memcmp sees it.
inline ERULong ERBTreeOnDisk::orderOfBytes(const char* key) {
    const auto byte = [key](int i) {
        return static_cast<ERULong>(static_cast<unsigned char>(key[i]));
    };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

inline int ERBTreeOnDisk::compareKeys(const char* a, const char* b) const {
    if (info_.keyLength != sizeof(ERULong) || compare_ != compareBytes)
        return compare_(a, b, info_.keyLength);
    const ERULong first = orderOfBytes(a);
    const ERULong second = orderOfBytes(b);
    return first < second ? -1 : first > second;
}

}  // namespace kerf
