#include "kerf/persistence/internal/record_file.h"

#include <algorithm>
#include <cstring>

namespace kerf {

RecordFile::RecordFile(const char* name, int readOnlyMode, Missing missing)
    : ERFileManager(name, readOnlyMode, missing) {}

RecordFile::~RecordFile() = default;

ERLong RecordFile::beginRecord(ERULong size) {
    ERULong blockSize = 0;
    const ERLong location = allocateUnwritten(size, blockSize);
    if (location == -1) return -1;
    if (openRecords_ == records_.size()) records_.emplace_back();
    Record& record = records_[openRecords_++];
    record.start = location - static_cast<ERLong>(sizeof blockSize);
    record.blockSize = blockSize;
    record.size = size + sizeof blockSize;
    record.bytes.clear();
    Seek(record.start, CFile::begin);
    Write(static_cast<unsigned int>(blockSize));
    return location;
}

void RecordFile::endRecord() {
    Record& record = records_[--openRecords_];
    Seek(record.start, CFile::begin);
    try {
        writeThrough(record.bytes.data(), record.bytes.size());
    } catch (...) {
        giveBack(record);
        throw;
    }
    if (record.bytes.capacity() > largestSpareBuffer) record.bytes = std::vector<char>();
}

void RecordFile::abandonRecord() { giveBack(records_[--openRecords_]); }

// Throws nothing: a store that an exception ends comes here.
void RecordFile::giveBack(const Record& record) {
    try {
        const std::int64_t location = record.start + std::int64_t{sizeof record.blockSize};
        deallocateUnwritten(static_cast<ERLong>(location), record.blockSize);
    } catch (...) {
        // The block is lost. The caller hears of the failure that came first.
    }
}

// Doubling ends at the size of the record: a large one takes no more memory than its bytes.
void RecordFile::Record::makeRoom(std::size_t needed) {
    if (needed > bytes.capacity())
        bytes.reserve(std::min(size, std::max(needed, 2 * bytes.capacity())));
}

void RecordFile::SetLength(std::int64_t newLength) {
    pages_.clear();
    ERFileManager::SetLength(newLength);
}

// Called for a class that reads back what it has just written; nothing else reads an open record.
void RecordFile::flushRecords() {
    const std::int64_t position = GetPosition();
    for (std::size_t i = 0; i < openRecords_; ++i) {
        Seek(records_[i].start, CFile::begin);
        writeThrough(records_[i].bytes.data(), records_[i].bytes.size());
    }
    Seek(position, CFile::begin);
}

std::size_t RecordFile::readBytes(void* data, std::size_t count) {
    const std::int64_t position = GetPosition();
    const std::int64_t last = position + static_cast<std::int64_t>(count);
    const auto overlaps = [&](const Record& record) {
        return position < record.start + static_cast<std::int64_t>(record.bytes.size()) &&
               record.start < last;
    };
    if (std::any_of(records_.begin(), records_.begin() + static_cast<std::ptrdiff_t>(openRecords_),
                    overlaps))
        flushRecords();
    if (count > largestPagedRead || last > PageCache::end)
        return ERFileManager::readBytes(data, count);

    char* const target = static_cast<char*>(data);
    std::size_t done = 0;
    while (done < count) {
        const std::int64_t wanted = position + static_cast<std::int64_t>(done);
        std::size_t copied = pages_.read(wanted, target + done, count - done);
        if (copied == 0) {
            loadPage(wanted);
            copied = pages_.read(wanted, target + done, count - done);
            if (copied == 0) break;  // the file ends here
        }
        done += copied;
    }
    Seek(position + static_cast<std::int64_t>(done), CFile::begin);
    return done;
}

// Leaves the position where it was.
void RecordFile::loadPage(std::int64_t position) {
    struct PositionKeeper {
        explicit PositionKeeper(RecordFile& moved) : file(moved), kept(moved.GetPosition()) {}
        ~PositionKeeper() { file.Seek(kept, CFile::begin); }
        RecordFile& file;
        std::int64_t kept;
    } const keeper(*this);
    const std::int64_t start = PageCache::pageStart(position);
    Seek(start, CFile::begin);
    pages_.load(start, [this](char* bytes) {
        return ERFileManager::readBytes(bytes, PageCache::pageSize);
    });
}

void RecordFile::writeBytes(const void* data, std::size_t count) {
    if (openRecords_ == 0 || count == 0) return writeThrough(data, count);
    Record& record = records_[openRecords_ - 1];
    const std::int64_t position = GetPosition();
    const std::int64_t recordEnd = record.start + static_cast<std::int64_t>(record.size);
    if (position < record.start || position >= recordEnd) return writeThrough(data, count);

    const std::size_t offset = static_cast<std::size_t>(position - record.start);
    const std::size_t held = std::min(count, record.size - offset);
    const char* const bytes = static_cast<const char*>(data);
    record.makeRoom(offset + held);
    if (offset == record.bytes.size()) {
        record.bytes.insert(record.bytes.end(), bytes, bytes + held);
    } else {
        if (record.bytes.size() < offset + held) record.bytes.resize(offset + held);
        std::memcpy(record.bytes.data() + offset, bytes, held);
    }
    Seek(position + static_cast<std::int64_t>(held), CFile::begin);
    // A class that writes more than its binaryStoreSize reaches past its block, as in any file.
    if (held < count) writeThrough(static_cast<const char*>(data) + held, count - held);
}

// A write that fails may have changed part of the range.
void RecordFile::writeThrough(const void* data, std::size_t count) {
    const std::int64_t position = GetPosition();
    try {
        ERFileManager::writeBytes(data, count);
    } catch (...) {
        pages_.forget(position, count);
        throw;
    }
    pages_.written(position, data, count);
}

}  // namespace kerf
