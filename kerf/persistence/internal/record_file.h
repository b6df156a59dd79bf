#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/internal/page_cache.h"

namespace kerf {

/// The file of a database: what is written into an open record is assembled in memory and goes out
/// in one write, and reads come from pages kept in memory where they can. Every other write passes
/// straight through. Readers and writers of records see a plain ERFile.
class RecordFile : public ERFileManager {
public:
    using ERFileManager::Missing;

    RecordFile(const char* name, int readOnlyMode, Missing missing);
    ~RecordFile() override;

    /// Allocates a block for `size` bytes of data and opens it as a record, with the position at
    /// its data. Records nest: one may be opened and ended while another is being written. Returns
    /// the location of the data, or -1 when the file cannot hold it; nothing is open then.
    ERLong beginRecord(ERULong size);
    /// Writes the innermost open record, its size word included, and closes it. When the write
    /// fails, the block is given back.
    void endRecord();
    /// Closes the innermost open record, forgets what was written into it and gives its block back.
    void abandonRecord();

    void SetLength(std::int64_t newLength) override;

protected:
    std::size_t readBytes(void* data, std::size_t count) override;
    void writeBytes(const void* data, std::size_t count) override;

private:
    struct Record {
        std::int64_t start = 0;  ///< of the block: the place of its size word
        ERULong blockSize = 0;
        std::size_t size = 0;     ///< bytes that belong to the record, its size word included
        std::vector<char> bytes;  ///< what is written so far, from the start

        void makeRoom(std::size_t needed);
    };

    void giveBack(const Record& record);
    void flushRecords();
    void loadPage(std::int64_t position);
    void writeThrough(const void* data, std::size_t count);

    static constexpr std::size_t largestPagedRead = 2 * PageCache::pageSize;
    static constexpr std::size_t largestSpareBuffer = std::size_t{1} << 20;

    std::vector<Record> records_;  ///< open ones first, innermost last; then spare buffers
    std::size_t openRecords_ = 0;
    PageCache pages_;
};

}  // namespace kerf
