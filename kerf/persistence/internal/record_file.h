#pragma once
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/internal/page_cache.h"

namespace kerf {

/// The file of a database. What is written into an open record is assembled in memory and goes out
/// in one write; reads come from pages kept in memory where they can. Every other write passes
/// straight through. Objects that write or read their records see a plain ERFile.
///
/// Bounds: an object reaches no bytes but its record's. What it writes past the end of its record
///         is counted and dropped. What it reads there does not arrive, and the variable stays as
///         it was. A block may be up to 7 bytes longer than the record that was announced; these
///         bytes belong to the record for its reader.
class RecordFile : public ERFileManager {
public:
    /// What a record holds of its object, without its signature.
    struct Range {
        std::int64_t start = 0;
        std::int64_t end = -1;  ///< the first byte after it

        bool contains(std::int64_t position) const { return start <= position && position <= end; }
    };

    /// Bounds what is read from a record while it lives; reads outside the record are free. Readings
    /// nest: the innermost one counts.
    class Reading {
    public:
        Reading(RecordFile& readFile, Range object) : file_(readFile), former_(readFile.reading_) {
            readFile.reading_ = object;
            readFile.Seek(object.start, CFile::begin);
        }
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading() { file_.reading_ = former_; }

    private:
        RecordFile& file_;
        const Range former_;
    };

    using ERFileManager::Missing;

    RecordFile(const char* name, int readOnlyMode, Missing missing);
    ~RecordFile() override;

    /// Allocates a block for `size` bytes of data and opens it as a record, with the position at
    /// its data. Records nest: one may be opened and ended while another is being written. Returns
    /// the location of the data, or -1 when the file cannot hold it; nothing is open then.
    ERLong beginRecord(ERULong size);
    /// How many bytes were written into the innermost open record, those that were dropped
    /// included.
    std::uint64_t writtenToRecord() const;
    /// Writes the innermost open record, its size word included, and closes it. When the write
    /// fails the record stays open.
    void endRecord();
    /// Closes the innermost open record, forgets what was written into it and gives its block back.
    /// Where that fails the block is lost to the file.
    void abandonRecord() noexcept;

    /// The signature of the record at that location, and where its object lies; false when the file
    /// ends before that.
    /// Damage: a block size that no block can have counts as reaching to the end of the data.
    bool findRecord(ERLong location, ERULong& signature, Range& object);

    ERLong allocate(ERULong size) override;
    ERLong allocateUnwritten(ERULong size, ERULong& blockSize) override;
    void deallocateUnwritten(ERLong location, ERULong blockSize) override;
    ERLong allocateWithinPage(ERULong size) override;
    void deallocate(ERLong location) override;
    void SetLength(std::int64_t newLength) override;
    /// Inside a record that is being read, the bytes to its end.
    ERULong remaining() const override;

protected:
    std::size_t readBytes(void* data, std::size_t count) override;
    void writeBytes(const void* data, std::size_t count) override;
    bool keepsMissingValues() const override { return readInRecord_; }

private:
    struct Record {
        std::int64_t start = 0;    // of the block: the position of its size word
        ERULong blockSize = 0;     // what the size word says
        std::size_t size = 0;      // bytes that belong to the record, its size word included
        std::vector<char> bytes;   // what is written so far, from the start
        std::uint64_t excess = 0;  // how many bytes were dropped

        std::int64_t end() const { return start + static_cast<std::int64_t>(size); }
        void makeRoom(std::size_t needed);
    };

    // The work of the file manager, which is bounded by no record: the size word of a block lies
    // right after the block before it.
    class OwnWork;

    bool overlapsOpenRecord(std::int64_t first, std::int64_t last) const;
    void closeRecord();
    void flushRecords();
    void loadPage(std::int64_t position);
    void writeThrough(const void* data, std::size_t count);

    static constexpr std::size_t largestPagedRead = 2 * PageCache::pageSize;
    static constexpr std::size_t largestSpareBuffer = std::size_t{1} << 20;
    static constexpr std::size_t listedRecords = 32;  // what a look through the list finds at once

    std::vector<Record> records_;  // open ones first, innermost last; then spare buffers
    std::size_t openRecords_ = 0;
    std::map<std::int64_t, std::int64_t> deepRecords_;  // start and end of those after the listed
    Range reading_;
    bool readInRecord_ = false;  // the last read was one from the record that is being read
    unsigned int ownWork_ = 0;
    PageCache pages_;
};

}  // namespace kerf
