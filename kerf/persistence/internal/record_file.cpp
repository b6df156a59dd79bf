#include "kerf/persistence/internal/record_file.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace kerf {

namespace {

constexpr ERULong sizeWordBytes = 4;
constexpr ERULong signatureBytes = 4;

// Where an object that has run over its record goes on writing: no block reaches so far, and
// CurOffset returns it as it is.
constexpr std::int64_t afterAllBlocks = std::numeric_limits<ERLong>::max();

}  // namespace

class RecordFile::OwnWork {
public:
    explicit OwnWork(RecordFile& worked) : file_(worked) { ++file_.ownWork_; }
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
    ~OwnWork() { --file_.ownWork_; }

private:
    RecordFile& file_;
};

RecordFile::RecordFile(const char* name, int readOnlyMode, Missing missing)
    : ERFileManager(name, readOnlyMode, missing) {}

RecordFile::~RecordFile() = default;

ERLong RecordFile::allocate(ERULong size) {
    const OwnWork work(*this);
    return ERFileManager::allocate(size);
}

ERLong RecordFile::allocateUnwritten(ERULong size, ERULong& blockSize) {
    const OwnWork work(*this);
    return ERFileManager::allocateUnwritten(size, blockSize);
}

void RecordFile::deallocateUnwritten(ERLong location, ERULong blockSize) {
    const OwnWork work(*this);
    ERFileManager::deallocateUnwritten(location, blockSize);
}

ERLong RecordFile::allocateWithinPage(ERULong size) {
    const OwnWork work(*this);
    return ERFileManager::allocateWithinPage(size);
}

void RecordFile::deallocate(ERLong location) {
    const OwnWork work(*this);
    ERFileManager::deallocate(location);
}

ERLong RecordFile::beginRecord(ERULong size) {
    ERULong blockSize = 0;
    // Memory comes first: a block that is allocated must be given back.
    if (openRecords_ == records_.size()) records_.emplace_back();
    const ERLong location = allocateUnwritten(size, blockSize);
    if (location == -1) return -1;
    Record& record = records_[openRecords_];
    record.start = location - static_cast<ERLong>(sizeWordBytes);
    record.blockSize = blockSize;
    record.size = std::size_t{size} + sizeWordBytes;
    record.bytes.clear();
    record.excess = 0;
    if (openRecords_ >= listedRecords) deepRecords_.emplace(record.start, record.end());
    ++openRecords_;
    Seek(record.start, CFile::begin);
    Write(static_cast<unsigned int>(blockSize));
    return location;
}

std::uint64_t RecordFile::writtenToRecord() const {
    const Record& record = records_[openRecords_ - 1];
    return record.bytes.size() - sizeWordBytes + record.excess;
}

void RecordFile::endRecord() {
    const Record& record = records_[openRecords_ - 1];
    Seek(record.start, CFile::begin);
    writeThrough(record.bytes.data(), record.bytes.size());
    closeRecord();
}

void RecordFile::abandonRecord() noexcept {
    const Record& record = records_[openRecords_ - 1];
    const auto location = static_cast<ERLong>(record.start + sizeWordBytes);
    const ERULong blockSize = record.blockSize;
    closeRecord();
    try {
        deallocateUnwritten(location, blockSize);
    } catch (...) {
        return;  // The block is lost. The caller hears of the failure that came first.
    }
}

void RecordFile::closeRecord() {
    Record& record = records_[--openRecords_];
    if (openRecords_ >= listedRecords) {
        deepRecords_.erase(record.start);
        records_.pop_back();
    } else if (record.bytes.capacity() > largestSpareBuffer) {
        record.bytes = std::vector<char>();
    }
}

// Doubling ends at the size of the record: a large one takes no more memory than its bytes.
void RecordFile::Record::makeRoom(std::size_t needed) {
    if (needed > bytes.capacity())
        bytes.reserve(std::min(size, std::max(needed, 2 * bytes.capacity())));
}

bool RecordFile::findRecord(ERLong location, ERULong& signature, Range& object) {
    const OwnWork work(*this);
    unsigned int words[2] = {};  // the size of the block, the signature
    SeekTo(location - static_cast<ERLong>(sizeWordBytes));
    if (!Read(words, 2)) return false;
    const std::int64_t blockEnd = std::int64_t{location} - sizeWordBytes + words[0];
    const bool isBlock =
        words[0] % 4 == 0 && words[0] >= sizeWordBytes + signatureBytes && blockEnd <= endData();
    signature = words[1];
    object = {std::int64_t{location} + signatureBytes, isBlock ? blockEnd : endData()};
    return true;
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

bool RecordFile::overlapsOpenRecord(std::int64_t first, std::int64_t last) const {
    for (std::size_t i = 0; i < std::min(openRecords_, listedRecords); ++i)
        if (first < records_[i].end() && records_[i].start < last) return true;
    const auto after = deepRecords_.lower_bound(last);
    return after != deepRecords_.begin() && first < std::prev(after)->second;
}

ERULong RecordFile::remaining() const {
    const ERULong inFile = ERFileManager::remaining();
    if (!reading_.contains(GetPosition())) return inFile;
    return std::min(inFile, static_cast<ERULong>(reading_.end - GetPosition()));
}

std::size_t RecordFile::readBytes(void* data, std::size_t count) {
    const std::int64_t position = GetPosition();
    readInRecord_ = ownWork_ == 0 && reading_.contains(position);
    if (readInRecord_)
        count =
            static_cast<std::size_t>(std::min(static_cast<std::uint64_t>(count),
                                              static_cast<std::uint64_t>(reading_.end - position)));
    const std::int64_t last = position + static_cast<std::int64_t>(count);
    if (openRecords_ != 0 && overlapsOpenRecord(position, last)) flushRecords();
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
    if (openRecords_ == 0 || count == 0 || ownWork_ != 0) return writeThrough(data, count);
    Record& record = records_[openRecords_ - 1];
    const std::int64_t position = GetPosition();
    if (position >= afterAllBlocks) {
        record.excess += count;
        return;
    }
    if (position < record.start || position > record.end()) return writeThrough(data, count);

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
    if (held == count) return;
    record.excess += count - held;
    Seek(afterAllBlocks, CFile::begin);
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
