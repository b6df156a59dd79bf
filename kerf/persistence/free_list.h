#pragma once
#include "kerf/persistence/internal/free_list_mirror.h"
#include "kerf/persistence/internal/free_list_node.h"
#include "kerf/platform/config.h"

// The free blocks of a file, kept in chained nodes inside the file itself.
namespace kerf {

class ERFileManager;

/// Hands out and takes back blocks of a file.
class KERF_EXPORT ERLMan {
public:
    ERLMan() = default;
    ERLMan(const ERLMan&) = default;
    ERLMan& operator=(const ERLMan&) = default;
    virtual ~ERLMan();

    /// The location of the data of a block with room for `size` bytes; -1 when the file cannot hold
    /// it.
    virtual ERLong allocate(ERULong size) = 0;
    virtual void deallocate(ERLong location) = 0;
};

/// The list manager of ERFileManager. Nodes of up to 32 free blocks form a ring through the node at
/// offset 12; space is sought node by node from the one used last, and first-fit within a node.
///
/// Every change is in the file when a call returns. A node that a full list grows by does not take
/// the block that made it grow: that block is lost to the file. Stored files rely on the
/// arrangement, so a file's free space is never exact.
///
/// Reading: the first change reads the list; after it the nodes are known, and a change reads no
///          more than the size word of the block that it frees.
/// Failure: the platform's exceptions pass. What is lost then is space at most: no block is handed
///          out twice, and the next call starts from what the file holds.
/// Damage:  a node without its magic number is reported on the debug output and used all the same,
///          with its count limited to 0..32. Free blocks outside the file's data are never handed
///          out, and a chain that leaves the file or never comes back counts as searched.
class KERF_EXPORT ERListManager : public ERLMan {
public:
    /// Works on the file, which it does not own; `create` writes a first, empty node.
    ERListManager(ERFileManager* file, int create);
    ERListManager(const ERListManager&);
    ERListManager& operator=(const ERListManager&);
    ~ERListManager() override;

    ERLong allocate(ERULong size) override;

    /// As allocate, but leaves it to the caller to write `blockSize` into the 4 bytes before the
    /// location, so that these and the data can go out in one write.
    ERLong allocateUnwritten(ERULong size, ERULong& blockSize);

    /// Does nothing for a location outside the file's data or one whose size word is not the size
    /// of a block.
    void deallocate(ERLong location) override;

private:
    class Operation;
    struct Space {
        ERLong start;
        ERULong size;
    };
    enum class SizeWord { written, leftToCaller };
    enum class EmptyNode { removed, kept };

    Space take(ERULong size, SizeWord sizeWord, EmptyNode emptyNode);
    ERLong nodesPossible() const;
    bool holdsNode(ERLong location) const;
    bool nextLeadsTo(ERLong start, ERLong& stepsLeft) const;

    void mirrorList();
    int goToSpace(ERULong wanted);
    bool addToNode(ERLong location, ERULong size);
    bool goToPredecessor();
    void showMirrored();

    void readNode(ERLong location);
    void writeNode();
    void writeNode(ERLong location, const FreeListNode& written);
    ERULong readHeader(ERLong location);
    void writeHeader(ERLong location, ERULong size);
    void advance();
    void advance(ERLong location);
    void addToFreeList(ERLong location, ERULong size);
    void extendFreeList(ERLong location, ERULong size);
    void deleteNode();

    ERFileManager* file_;
    ERLong current_;
    FreeListNode node_;
    FreeListMirror mirror_;   // where the list is a ring, stands at the current node
    bool unsettled_ = false;  // the node in memory may differ from the file's
};

}  // namespace kerf
