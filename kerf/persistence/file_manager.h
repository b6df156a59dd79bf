#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "kerf/core/file.h"

namespace kerf {

class ERListManager;

/// Hears of the end of a file manager, while the file is still open. It is no longer one of the
/// listeners then.
class KERF_EXPORT FileEndListener {
public:
    FileEndListener() = default;
    FileEndListener(const FileEndListener&) = delete;
    FileEndListener& operator=(const FileEndListener&) = delete;

    virtual void fileEnds() = 0;

protected:
    ~FileEndListener() = default;
};

/// A file that is a heap of blocks of any size. The first block ever allocated is the file's root,
/// from which everything else is found; it is never freed.
///
/// A block's location is where its data begins, a multiple of 4 from 284 up; -1 means none.
/// Storage:   header words and free-list nodes go straight to the file; nothing is delayed.
/// Failure:   the platform's CFileException passes from every function that reads or writes.
/// Ownership: read-only denies others to write; otherwise the file is this object's alone. Nothing
///            here keeps a read-only file from a write: that fails as the platform says.
class KERF_EXPORT ERFileManager : public ERFile {
public:
    /// Where the first block begins, with its size word. The header and the first node of the free
    /// list lie before it.
    static constexpr ERLong firstData = 280;

    /// Opens the file, or creates it when there is none of that name; what a file holds is never
    /// emptied. An empty file becomes a heap; one that does not begin with the header of a heap has
    /// no list manager, and allocates nothing.
    ERFileManager(const char* name, int readOnly);
    ~ERFileManager() override;

    /// Returns the location of a new block for `size` bytes, or -1, with nothing changed, when it
    /// would reach past 2147483647 or the file is no heap.
    virtual ERLong allocate(ERULong size);

    /// As allocate, but the caller must write `blockSize` into the 4 bytes before the location,
    /// with the data in one write. Until then deallocate leaves the block alone.
    virtual ERLong allocateUnwritten(ERULong size, ERULong& blockSize);

    /// Gives back such a block, written or not. On a full disk, a program that keeps trying would
    /// otherwise move the end of the data up to its limit.
    virtual void deallocateUnwritten(ERLong location, ERULong blockSize);

    /// As allocate, for data that must never be half written, even when the process is killed in the
    /// middle of the call: they lie within one page where such a block can be had. Data longer than
    /// a page never do.
    virtual ERLong allocateWithinPage(ERULong size);

    /// Gives the block back. Nothing happens for -1, for the root, and for a location that is no
    /// block's.
    virtual void deallocate(ERLong location);

    int isReadOnly() const { return readOnly_; }
    ERLong start() const { return root_; }   ///< the root's location, -1 while there is none
    ERLong endData() const { return end_; }  ///< the first offset past all data

    /// Whether `size` bytes at the location lie where blocks have their data. On a damaged file
    /// this says nothing of what the file really has.
    bool holds(ERLong location, ERULong size) const {
        return location > firstData && std::int64_t{location} + size <= end_;
    }

    void addListener(FileEndListener& listener);
    void removeListener(FileEndListener& listener);

protected:
    /// For a caller that knows whether the file exists. When it has been made meanwhile, it is
    /// opened as it is.
    enum class Missing { isCreated, isFailure };
    ERFileManager(const char* name, int readOnly, Missing missing);

    ERLong rootOffset() const;  ///< 12, where the free list begins

    /// Moves the end of the data up by `size` and returns where it was; -1, with nothing changed,
    /// past 2147483647.
    ERLong allocateAtEnd(ERULong size);
    /// 1 when the range reached the end of the data, which then becomes `location`; else 0.
    int deallocateFromEnd(ERLong location, ERULong size);

    void readErr();
    void writeErr();
    void seekErr();

private:
    friend class ERListManager;

    ERLong keepAsRoot(ERLong location);
    ERLong carveWithinPage(ERULong size);
    void writeSizeWord(ERLong location, ERULong blockSize);
    void writeWord(ERLong offset, ERLong& field, ERLong value);
    bool hasRoomAtEnd(ERULong size) const;

    int readOnly_;
    std::unique_ptr<ERListManager> listManager_;
    ERLong root_ = -1;
    ERLong end_ = -1;
    std::vector<FileEndListener*> listeners_;
};

}  // namespace kerf
