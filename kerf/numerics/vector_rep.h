#pragma once
#include "kerf/core/block_cache.h"
#include "kerf/core/store_size.h"
#include "kerf/platform/config.h"

namespace kerf {

class ERFile;

namespace QuickAlgebra {

/// The block that vectors share: a header, and right after it the data. All sizes are in bytes.
///
/// Failure:   a function that makes a block returns null when there is no memory, or when the size
///            is maxBytes or more.
/// Ownership: the block counts its owners, not atomically.
/// Threads:   the three settings are of the whole process and are meant to be set once, at the
///            start.
/// Storage:   a block comes from the calling thread's cache or else from the heap, and goes back to
///            the cache of the thread that drops it. A request is rounded up by adjustCapacity:
///            `initialCapacity` bytes, then steps of `resizeIncrement`. A vector thus grows by
///            addition and not by doubling. This saves memory, but a long vector that append fills
///            takes quadratic time unless it is sized up front.
class KERF_EXPORT ERVecRep : public ERVecBlock {
public:
    /// No block holds this many bytes; sizes that do not fit 32 bits are passed as this.
    static constexpr unsigned int maxBytes = 0xFFFFFFFF;

    // The setters return the former value.
    static unsigned int initialCapacity(unsigned int bytes);
    static unsigned int getInitialCapacity();
    static unsigned int resizeIncrement(unsigned int bytes);  ///< bytes > 0
    static unsigned int getResizeIncrement();
    static unsigned int maxWaste(unsigned int bytes);
    static unsigned int getMaxWaste();

    /// The capacity given to a block of n bytes; wraps to less than n close to 2^32.
    static unsigned int adjustCapacity(unsigned int n);

    // New blocks have no owner yet: their count is -1.

    /// A block of that length, zero-filled when noInit is 0, else with undefined contents.
    static ERVecRep* getRep(unsigned int bytes, int noInit);
    /// A copy of `bytes` bytes from src.
    static ERVecRep* getRep(const void* src, unsigned int bytes);
    /// `count` elements, each a copy of *value.
    static ERVecRep* getRep(unsigned int count, unsigned int elementSize, const void* value);
    /// Reads the form that saveGuts writes.
    /// Damage: a length that is negative or longer than what remains in the file reads as 0.
    static ERVecRep* getRep(ERFile& file);

    /// A block of capacity for `bytes` that holds the first min(bytes, from->length) bytes of
    /// `from`.
    /// Kept: its length is that of `from`, whatever `bytes`. A clone made to grow keeps the old
    ///       length; the caller sets the length of one made shorter.
    static ERVecRep* clone(const ERVecRep* from, unsigned int bytes);
    ERVecRep* duplicate() const;  ///< same content and length

    /// Puts `inserted` bytes from src in the place of the `removed` bytes at pos; a null src leaves
    /// them undefined. pos <= length; `removed` is cut to the bytes there are after pos.
    /// Returns: the block with the result. It is rep itself when rep has one owner, holds the new
    ///          length without wasting more than maxWaste, and src does not lie in it; else it is a
    ///          new one, with rep unchanged.
    static ERVecRep* replace(ERVecRep* rep, unsigned int pos, unsigned int removed, const void* src,
                             unsigned int inserted);

    /// A new block with gaps of `gap` undefined bytes at pos, pos + period, pos + 2 period ... in
    /// terms of rep: as many as rep has whole periods, none past its end. pos <= length and
    /// period > 0.
    static ERVecRep* polyInsert(const ERVecRep* rep, unsigned int pos, unsigned int gap,
                                unsigned int period);
    /// Removes, in place, `gap` bytes at pos, pos + period, pos + 2 period ... up to the end.
    /// pos <= length, period > 0, gap <= period.
    void polyRemove(unsigned int pos, unsigned int gap, unsigned int period);

    // Low-level fills: in place, whoever else owns the block.

    void setLength(unsigned int bytes) { length = bytes; }  ///< bytes <= capacity
    void init(unsigned int pos, unsigned int count);        ///< zero bytes
    void initWithValue(unsigned int pos, unsigned int count, unsigned int elementSize,
                       const void* value);
    void initWithVector(unsigned int pos, const void* src, unsigned int count);

    bool isShared() const { return referenceCount.load(std::memory_order_relaxed) > 0; }
    void addReference() {
        referenceCount.store(referenceCount.load(std::memory_order_relaxed) + 1,
                             std::memory_order_relaxed);
    }
    void removeReference() {
        const std::int32_t owners = referenceCount.load(std::memory_order_relaxed);
        referenceCount.store(owners - 1, std::memory_order_relaxed);
        if (owners == 0) free();
    }

    /// Hands a block without owner to the thread's cache, or to the heap when the thread has none.
    void free();

    /// The length (32 bits), then the bytes.
    void saveGuts(ERFile& file) const;
    ERULong binaryStoreSize() const { return storeSizeSum(length, 4); }

    /// The one block of all empty vectors. It has no room and is never freed.
    static ERVecRep* empty();

    /// The block whose data starts there.
    static ERVecRep* ofData(void* data) { return static_cast<ERVecRep*>(data) - 1; }

    unsigned char* bytes() { return static_cast<unsigned char*>(data); }
    const unsigned char* bytes() const { return static_cast<const unsigned char*>(data); }
};

struct EmptyBlock {
    ERVecRep header;
    alignas(ERVecRep) unsigned char data[alignof(ERVecRep)];
};
/// Constant-initialised, so that vectors of static storage may be empty at any time.
extern KERF_EXPORT EmptyBlock globalEmptyBlock;

inline ERVecRep* ERVecRep::empty() { return &globalEmptyBlock.header; }

}  // namespace QuickAlgebra

using QuickAlgebra::ERVecRep;

}  // namespace kerf
