#include "kerf/persistence/record_file.h"

#include <algorithm>
#include <cstring>

namespace kerf {

RecordFile::RecordFile(char const* name, int readOnlyMode) : ERFileManager(name, readOnlyMode) {}

RecordFile::~RecordFile() = default;

ERLong RecordFile::beginRecord(ERULong size) {
    ERULong blockSize = 0;
    const ERLong location = allocateUnwritten(size, blockSize);
    if (location == -1) return -1;
    if (openRecords == records.size()) records.emplace_back();
    Record& record = records[openRecords++];
    record.start = location - static_cast<ERLong>(sizeof blockSize);
    record.size = size + sizeof blockSize;
    record.bytes.clear();
    Seek(record.start, CFile::begin);
    Write(static_cast<unsigned int>(blockSize));
    return location;
}

void RecordFile::endRecord() {
    Record& record = records[--openRecords];
    Seek(record.start, CFile::begin);
    ERFileManager::writeBytes(record.bytes.data(), record.bytes.size());
}

void RecordFile::abandonRecord() { --openRecords; }

RecordFile::Reading::~Reading() {
    if (--file.readers == 0) file.windowLength = 0;
}

// Nothing but a class that reads back what it is just storing comes here with a record open.
void RecordFile::flushRecords() {
    const std::int64_t position = GetPosition();
    for (std::size_t i = 0; i < openRecords; ++i) {
        Seek(records[i].start, CFile::begin);
        ERFileManager::writeBytes(records[i].bytes.data(), records[i].bytes.size());
    }
    Seek(position, CFile::begin);
}

std::size_t RecordFile::readBytes(void* data, std::size_t count) {
    const std::int64_t position = GetPosition();
    const std::int64_t last = position + static_cast<std::int64_t>(count);
    if (readers != 0 && count != 0) {
        if (position >= windowStart &&
            last <= windowStart + static_cast<std::int64_t>(windowLength)) {
            std::memcpy(data, window.data() + (position - windowStart), count);
            Seek(last, CFile::begin);
            return count;
        }
        if (count <= smallRead) return readThroughWindow(data, count);
    }
    const auto overlaps = [&](Record const& record) {
        return position < record.start + static_cast<std::int64_t>(record.bytes.size()) &&
               record.start < last;
    };
    if (std::any_of(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(openRecords),
                    overlaps))
        flushRecords();
    return ERFileManager::readBytes(data, count);
}

// Fills the window from the position on and serves what was asked for from it.
std::size_t RecordFile::readThroughWindow(void* data, std::size_t count) {
    if (openRecords != 0) flushRecords();
    windowLength = 0;
    windowStart = GetPosition();
    windowLength = ERFileManager::readBytes(window.data(), windowSize);
    const std::size_t served = std::min(count, windowLength);
    std::memcpy(data, window.data(), served);
    Seek(windowStart + static_cast<std::int64_t>(served), CFile::begin);
    return served;
}

void RecordFile::writeBytes(const void* data, std::size_t count) {
    windowLength = 0;
    if (openRecords == 0 || count == 0) return ERFileManager::writeBytes(data, count);
    Record& record = records[openRecords - 1];
    const std::int64_t position = GetPosition();
    const std::int64_t recordEnd = record.start + static_cast<std::int64_t>(record.size);
    if (position < record.start || position >= recordEnd)
        return ERFileManager::writeBytes(data, count);

    const std::size_t offset = static_cast<std::size_t>(position - record.start);
    const std::size_t held = std::min(count, record.size - offset);
    char const* const bytes = static_cast<char const*>(data);
    if (offset == record.bytes.size()) {
        record.bytes.insert(record.bytes.end(), bytes, bytes + held);
    } else {
        if (record.bytes.size() < offset + held) record.bytes.resize(offset + held);
        std::memcpy(record.bytes.data() + offset, bytes, held);
    }
    Seek(position + static_cast<std::int64_t>(held), CFile::begin);
    // A class that writes more than its binaryStoreSize reaches past its block, as in any file.
    if (held < count)
        ERFileManager::writeBytes(static_cast<char const*>(data) + held, count - held);
}

}  // namespace kerf
