#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kerf/persistence/internal/location_index.h"
#include "kerf/platform/config.h"

namespace kerf {

class ERFile;

/// Keeps the blocks of one size that were used last. Write-through: a block in here is always the
/// same as in the file. Finding a block, and the slot to give up for another, takes constant time
/// whatever the number of slots.
///
/// The age of a slot is the number of reads and writes since its last use. The first `slots` blocks
/// take free slots; then the slot of the greatest age is given up.
/// Failure: the platform's exceptions pass. No slot is taken by a read that fails; one that was
///          given up for it holds nothing, and is the next to be given up.
/// Damage:  slots take no more memory than the file has bytes, but for one block: what overlaps
///          shares the room.
class KERF_EXPORT ERCacheManager {
public:
    /// With 0 slots it works as with 1. The file is not owned. Memory is taken as slots fill.
    ERCacheManager(ERFile* file, unsigned int blockSize, unsigned int slots);
    ERCacheManager(const ERCacheManager&) = delete;
    ERCacheManager& operator=(const ERCacheManager&) = delete;
    ~ERCacheManager();

    /// Copies the block at that location to `target`. 0, with the target unchanged, when the file
    /// does not hold it whole.
    int read(ERLong location, void* target);

    /// Writes the block to the file and keeps it. Returns 1.
    int write(ERLong location, const void* source);

    /// As read, in place: null, or the block until the next call of this object.
    const char* peek(ERLong location);

    /// Forgets every block.
    void invalidate();
    /// Forgets that block. Its slot ages on, empty.
    void invalidate(ERLong location);

    /// The slot of the greatest age, the first of equal ones.
    unsigned int LRU() const;
    /// Makes every used slot older by 1; the slot that holds the location, or -1.
    int ageAndFindSlot(ERLong location);
    /// The next free slot while there is one, or LRU().
    unsigned int getFreeSlot();

    unsigned int blockSize() const { return blockSize_; }
    unsigned int used() const { return static_cast<unsigned int>(entries_.size()); }
    unsigned int age(unsigned int slot) const;
    /// The location of the block in that slot; -1 when it is empty.
    ERLong location(unsigned int slot) const;

private:
    // A slot, linked into the order of last use. Ages are not stored: an age is the time since the
    // last use.
    struct Entry {
        ERLong location;
        unsigned int older;
        unsigned int newer;
        std::uint64_t lastUse;
    };

    static constexpr unsigned int none = static_cast<unsigned int>(-1);

    bool isFull() const;
    unsigned int emptySlot();
    void keep(unsigned int slot, ERLong location);
    void addEntry();
    void touch(unsigned int slot);
    void unlink(unsigned int slot);
    void linkNewest(unsigned int slot);
    void release(unsigned int slot);
    void assign(unsigned int slot, ERLong location);
    char* block(unsigned int slot);

    ERFile* file_;
    unsigned int slots_;
    unsigned int blockSize_;
    std::uint64_t clock_ = 0;
    unsigned int newest_ = none;
    unsigned int oldest_ = none;
    std::vector<Entry> entries_;
    std::vector<char> buffer_;
    LocationIndex slotOf_;
};

}  // namespace kerf
