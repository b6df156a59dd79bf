#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "kerf/persistence/internal/tree_shape.h"
#include "kerf/platform/config.h"

namespace kerf {

class DiskTreePosition;
class ERCString;
class ERDiskTreeNode;
class ERFileManager;
class TreeNodes;
class TreePath;

/// A B-tree in the blocks of a file, from keys of one length to one long each.
///
/// Parameter: a binary key is keyLength bytes, compared by memcmp. A string key ends at a byte 0 or
///            after keyLength bytes and is compared by strncmp. What the file has stored wins over
///            the arguments of the constructor. Whoever opens a file that may be damaged compares
///            keyLength() and ignoreNulls() with the keys that are going to be passed.
/// Returns:   1 and 0 for yes and no, -1 for a value that is not there.
/// Failure:   the platform's CFileException passes. Whatever write fails, every key that was in the
///            tree stays in it, for this object and for the next that opens the file. The change
///            that was being made has happened or not.
/// Damage:    a tree whose stored key length or order is impossible is empty and takes no key. A
///            node is followed only where the file holds it whole, 64 levels deep at most. One with
///            an impossible counter has no keys, and nothing is changed in it or below it.
/// Ownership: the tree alone writes its blocks while it lives. The function that
///            applyToKeyAndValue calls must not change the tree.
/// Lifetime:  a tree that outlives its file writes its info record when that closes. From then on
///            it is empty and takes no key.
/// Storage:   an info record of 40 bytes and a block for each node. A node of up to 4096 bytes lies
///            within one page of the file where such a block can be had, so that a process that is
///            killed leaves it old or new.
class KERF_EXPORT ERBTreeOnDisk {
public:
    using Compare = TreeShape::Compare;
    using Function = void (*)(const char*, ERLong, void*);

    enum createMode { open = 0, create = 1 };

    /// Opens the tree whose info record lies at infoLocation. With infoLocation -1 and mode open
    /// that is the file's root; with create, or without a root, a new tree is made.
    ///
    /// A record that is not of this version counts as the older form of a tree. It has nothing but
    /// the location of the root node. The arguments tell the rest, keys are strings, and version()
    /// is 0.
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

    /// Whether the file's data can hold an info record there, after the file's root.
    static bool canHaveInfoAt(const ERFileManager& file, ERLong location);

    /// 1 when the key came in. 0, with the tree unchanged, when it was there already or the file
    /// has no room for the nodes that may be needed.
    int insertKeyAndValue(const char* key, ERLong value);
    /// 1 and the former value; 0, with `old` unchanged, for a missing key.
    int replaceValue(const char* key, ERLong value, ERLong& old);

    /// The position of the key, or where it would go in. Nodes on the path in which a failed change
    /// has left keys that are also elsewhere are put in order.
    DiskTreePosition seek(const char* key);
    /// As insertKeyAndValue of the key that was sought. Where the tree has not changed since, the
    /// path down is not followed again.
    int insertAt(const DiskTreePosition& position, ERLong value);

    ERLong findValue(const char* key);
    int findKey(const char* key, ERCString& found);
    int findKeyAndValue(const char* key, ERCString& found, ERLong& value);
    int contains(const char* key);
    int find(const char* key) { return contains(key); }
    unsigned int occurrencesOf(const char* key) { return contains(key) ? 1 : 0; }

    int remove(const char* key);
    int removeKeyAndValue(const char* key, ERLong& value);
    int removeKeyAndValue(const char* key, ERCString& found, ERLong& value);
    /// Frees every node and resets extraLocation to -1.
    void clear();

    unsigned int entries();
    int isEmpty() const { return info_.root == -1 || !isUsable(); }
    int height();  ///< 0 of an empty tree, 1 of a lone leaf
    unsigned int minOrder() const { return info_.minOrder; }
    unsigned int order() const { return info_.order; }
    unsigned int keyLength() const { return info_.keyLength; }
    ERLong version() const { return info_.version == -1 ? 0 : info_.version; }
    int ignoreNulls() const { return (info_.flags & 1) != 0; }
    ERLong baseLocation() const { return infoLocation_; }

    /// Keeps a long in the info record for the caller; returns the former one.
    ERLong extraLocation(ERLong location);

    /// Makes a new cache of that many slots when the number differs from the present one, which is
    /// returned. Kept: the new cache holds no node, and every node but the root is read from the
    /// file from then on. The number of slots is to be chosen in the constructor.
    unsigned int cacheCount(unsigned int slots);

    /// Orders the keys of every later call; returns the former comparison.
    Compare setComparison(Compare comparison);

    /// Calls the function for each key in ascending order. The key is not closed by a 0 when it has
    /// the full length. With readOnly 0 the node is written after each call.
    void applyToKeyAndValue(Function function, void* data, int readOnly);

private:
    friend class ERDiskTreeNode;

    enum retStatus { parentActs = 0, done = 1, refused = 2 };

    class FileEnd;
    class Insertion;
    class Removal;

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

    bool isUsable() const { return nodes_ != nullptr; }
    void leaveFile();

    bool readInfo();
    void writeInfo();
    void storeInfo();
    void setRoot(ERLong location, const ERDiskTreeNode* content);
    void countUp();
    void countDown();

    ERDiskTreeNode findNode(const char* key, ERLong& location, int& position);
    ERCString keyAsString(const char* key) const;

    ERFileManager* file_;  // null once it has ended
    ERLong infoLocation_;
    Info info_;
    bool rootOnly_ = false;  // the older form: no more than the root's location in the file
    bool entriesKnown_ = true;
    unsigned int cacheSlots_;
    TreeShape shape_;
    std::unique_ptr<TreeNodes> nodes_;  // null while the tree is empty and takes no key
    std::unique_ptr<TreePath> path_;    // of the change that is being made
    std::unique_ptr<FileEnd> fileEnd_;
};

/// What ERBTreeOnDisk::seek has found: the path to a key, or to the leaf where it would go in. It
/// belongs to its tree, and is of use as long as it lives: a tree that has changed meanwhile seeks
/// the key again.
class KERF_EXPORT DiskTreePosition {
public:
    DiskTreePosition();
    DiskTreePosition(DiskTreePosition&& other) noexcept;
    DiskTreePosition& operator=(DiskTreePosition&& other) noexcept;
    ~DiskTreePosition();

    bool isFound() const { return found_; }

private:
    friend class ERBTreeOnDisk;

    std::unique_ptr<TreePath> path_;  // null where the tree is damaged or takes no key
    std::string key_;
    std::uint64_t changes_ = 0;  // of the tree's nodes, when the path was true
    bool found_ = false;
};

}  // namespace kerf
