#pragma once
#include <memory>

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

    /// Returns the location of the data of a block with room for `size` bytes; -1 when the file
    /// cannot hold it.
    virtual ERLong allocate(ERULong size) = 0;
    virtual void deallocate(ERLong location) = 0;
};

/// The list manager of ERFileManager. Nodes of up to 32 free blocks form a ring through the node at
/// offset 12. Space is sought from the node used last, node by node, and first-fit within a node.
///
/// Storage:   every change is in the file when a call returns. The first change reads the whole
///            list into memory; from then on a change reads no more than the size word of the block
///            that it frees.
/// Kept:      a block that finds every node full makes the list grow by a node, and is not entered
///            in it: that block is lost to the file, whose free space is never exact.
/// Failure:   the platform's exceptions pass. What is lost then is space at most: no block is handed
///            out twice, and the next call starts from what the file holds.
/// Damage:    a node without its magic number is reported on the debug output and used all the same,
///            with its count limited to 0..32. Free blocks outside the file's data are never handed
///            out, and a chain that leaves the file or never returns to its start counts as searched.
/// Ownership: the file is not owned. Copies are handles on one list: what is done through one, the
///            others know. Two managers made apart for one file would hand out the same blocks.
class KERF_EXPORT ERListManager : public ERLMan {
public:
    /// Manages the free list of `file`; `create` writes a first, empty node.
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

    /// Gives back a block from allocateUnwritten whose size word is not in the file.
    void deallocateUnwritten(ERLong location, ERULong blockSize);

private:
    class List;
    std::shared_ptr<List> list_;
};

}  // namespace kerf
