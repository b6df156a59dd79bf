#include "kerf/numerics/vector_rep.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>

#include "kerf/core/file.h"
#include "kerf/core/thread_data.h"

namespace kerf::QuickAlgebra {

namespace {

unsigned int initialBytes = 64;
unsigned int incrementBytes = 64;
unsigned int wasteBytes = 64;

// memcpy does not take null, not even for 0 bytes.
void copyBytes(void* to, const void* from, std::size_t bytes) {
    if (bytes > 0) std::memcpy(to, from, bytes);
}

unsigned int toBytes(std::uint64_t size) {
    return static_cast<unsigned int>(std::min<std::uint64_t>(size, ERVecRep::maxBytes));
}

bool liesIn(const ERVecRep& rep, const void* p) {
    const std::less<const void*> before;
    return !before(p, rep.bytes()) && before(p, rep.bytes() + rep.capacity);
}

// Null once the thread is being torn down.
ERVecRepCache* threadsCache() {
    kerfThreadLocalData* const data = threadDataUnlessGone();
    return data ? data->blockCache() : nullptr;
}

struct GiveBack {
    void operator()(ERVecRep* rep) const { rep->free(); }
};

}  // namespace

// The block is never freed and always shared. Threads that count it at the same time can lose
// steps, but from a count in the middle of the range these never add up to one of its ends.
constinit EmptyBlock globalEmptyBlock = {{{{0x40000000}, 0, 0, globalEmptyBlock.data}}, {}};

unsigned int ERVecRep::initialCapacity(unsigned int bytes) {
    return std::exchange(initialBytes, bytes);
}
unsigned int ERVecRep::getInitialCapacity() { return initialBytes; }
unsigned int ERVecRep::resizeIncrement(unsigned int bytes) {
    KERF_CHECK_ARGUMENT(bytes > 0);
    return std::exchange(incrementBytes, bytes);
}
unsigned int ERVecRep::getResizeIncrement() { return incrementBytes; }
unsigned int ERVecRep::maxWaste(unsigned int bytes) { return std::exchange(wasteBytes, bytes); }
unsigned int ERVecRep::getMaxWaste() { return wasteBytes; }

unsigned int ERVecRep::adjustCapacity(unsigned int n) {
    if (n <= initialBytes) return initialBytes;
    return (incrementBytes - initialBytes + n - 1) / incrementBytes * incrementBytes + initialBytes;
}

ERVecRep* ERVecRep::getRep(unsigned int bytes, int noInit) {
    const unsigned int room = adjustCapacity(bytes);
    if (bytes == maxBytes || room < bytes) return nullptr;
    ERVecRepCache* cache = threadsCache();
    ERVecBlock* block = cache ? cache->getRep(room) : nullptr;
    if (!block) block = allocateBlock(room);
    if (!block) return nullptr;
    block->length = bytes;
    if (!noInit) {
        // Small blocks are many: for these the size is a constant, and the room after the length is
        // zeroed too.
        constexpr unsigned int small = 64;
        if (bytes <= small && room >= small)
            std::memset(block->data, 0, small);
        else
            std::memset(block->data, 0, bytes);
    }
    return static_cast<ERVecRep*>(block);
}

ERVecRep* ERVecRep::getRep(const void* src, unsigned int bytes) {
    ERVecRep* rep = getRep(bytes, 1);
    if (rep) rep->initWithVector(0, src, bytes);
    return rep;
}

ERVecRep* ERVecRep::getRep(unsigned int count, unsigned int elementSize, const void* value) {
    ERVecRep* rep = getRep(toBytes(std::uint64_t{count} * elementSize), 1);
    if (rep) rep->initWithValue(0, count, elementSize, value);
    return rep;
}

ERVecRep* ERVecRep::getRep(ERFile& file) {
    int stored = 0;
    if (!file.Read(stored) || stored < 0 || static_cast<ERULong>(stored) > file.remaining())
        stored = 0;
    const auto bytes = static_cast<unsigned int>(stored);
    std::unique_ptr<ERVecRep, GiveBack> rep(getRep(bytes, 1));  // the file may throw
    if (rep && bytes > 0 && !file.Read(rep->bytes(), bytes)) rep->setLength(0);
    return rep.release();
}

ERVecRep* ERVecRep::clone(const ERVecRep* from, unsigned int bytes) {
    ERVecRep* rep = getRep(bytes, 1);
    if (!rep) return nullptr;
    copyBytes(rep->data, from->data, std::min(bytes, from->length));
    rep->length = from->length;
    return rep;
}

ERVecRep* ERVecRep::duplicate() const { return clone(this, length); }

ERVecRep* ERVecRep::replace(ERVecRep* rep, unsigned int pos, unsigned int removed, const void* src,
                            unsigned int inserted) {
    KERF_CHECK_ARGUMENT(pos <= rep->length);
    removed = std::min(removed, rep->length - pos);
    const unsigned int newLength = toBytes(std::uint64_t{rep->length} - removed + inserted);
    const unsigned int tail = rep->length - pos - removed;

    if (!rep->isShared() && newLength <= rep->capacity && rep->capacity - newLength <= wasteBytes &&
        !liesIn(*rep, src)) {
        unsigned char* const at = rep->bytes() + pos;
        std::memmove(at + inserted, at + removed, tail);
        if (src) std::memcpy(at, src, inserted);
        rep->length = newLength;
        return rep;
    }

    ERVecRep* result = getRep(newLength, 1);
    if (!result) return nullptr;
    unsigned char* const at = result->bytes() + pos;
    std::memcpy(result->data, rep->data, pos);
    if (src) std::memcpy(at, src, inserted);
    std::memcpy(at + inserted, rep->bytes() + pos + removed, tail);
    return result;
}

ERVecRep* ERVecRep::polyInsert(const ERVecRep* rep, unsigned int pos, unsigned int gap,
                               unsigned int period) {
    KERF_CHECK_ARGUMENT(pos <= rep->length && period > 0);
    const unsigned int tail = rep->length - pos;
    const std::uint64_t gaps =
        std::min<std::uint64_t>(rep->length / period, std::uint64_t{tail} / period + 1);
    ERVecRep* result = getRep(toBytes(rep->length + gaps * gap), 1);
    if (!result) return nullptr;

    const unsigned char* from = rep->bytes();
    const unsigned char* const end = from + rep->length;
    unsigned char* to = result->bytes();
    std::size_t run = pos;
    for (std::uint64_t g = 0; g < gaps; ++g) {
        std::memcpy(to, from, run);
        from += run;
        to += run + gap;
        run = period;
    }
    std::memcpy(to, from, static_cast<std::size_t>(end - from));
    return result;
}

void ERVecRep::polyRemove(unsigned int pos, unsigned int gap, unsigned int period) {
    KERF_CHECK_ARGUMENT(pos <= length && period > 0 && gap <= period);
    unsigned char* const end = bytes() + length;
    unsigned char* to = bytes() + pos;
    const unsigned char* from = to;
    while (from < end) {
        const auto left = static_cast<std::size_t>(end - from);
        const std::size_t cut = std::min<std::size_t>(gap, left);
        const std::size_t kept = std::min<std::size_t>(period - gap, left - cut);
        std::memmove(to, from + cut, kept);
        from += cut + kept;
        to += kept;
    }
    length = static_cast<unsigned int>(to - bytes());
}

void ERVecRep::init(unsigned int pos, unsigned int count) { std::memset(bytes() + pos, 0, count); }

// Copies what is there already, twice as much each time.
void ERVecRep::initWithValue(unsigned int pos, unsigned int count, unsigned int elementSize,
                             const void* value) {
    const std::size_t total = std::size_t{count} * elementSize;
    if (total == 0) return;
    unsigned char* const start = bytes() + pos;
    std::memmove(start, value, elementSize);
    for (std::size_t done = elementSize; done < total; done *= 2)
        std::memcpy(start + done, start, std::min(done, total - done));
}

void ERVecRep::initWithVector(unsigned int pos, const void* src, unsigned int count) {
    copyBytes(bytes() + pos, src, count);
}

void ERVecRep::free() {
    if (ERVecRepCache* cache = threadsCache())
        cache->free(this);
    else
        releaseBlock(this);
}

void ERVecRep::saveGuts(ERFile& file) const {
    file.Write(static_cast<unsigned int>(length));
    if (length > 0) file.Write(bytes(), length);
}

}  // namespace kerf::QuickAlgebra
