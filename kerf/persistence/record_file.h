#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kerf/persistence/file_manager.h"

namespace kerf {

/// The file of a database: what is written into an open record is assembled in memory and goes out
/// in one write, and small reads during a retrieval are served from a window read ahead. Readers
/// and writers of records see a plain ERFile; other transfers pass straight through.
class RecordFile : public ERFileManager {
public:
    RecordFile(char const* name, int readOnlyMode);
    ~RecordFile() override;

    /// Allocates a block for `size` bytes of data and opens it as a record, with the position at
    /// its data. Records nest: one may be opened and ended while another is being written. Returns
    /// the location of the data, or -1 when the file cannot hold it; nothing is open then.
    ERLong beginRecord(ERULong size);
    /// Writes the innermost open record, its size word included, and closes it.
    void endRecord();
    /// Closes the innermost open record and forgets what was written into it.
    void abandonRecord();

    /// While one of these lives, small reads are read ahead.
    class Reading {
    public:
        explicit Reading(RecordFile& source) : file(source) { ++file.readers; }
        ~Reading();
        Reading(Reading const&) = delete;
        Reading& operator=(Reading const&) = delete;

    private:
        RecordFile& file;
    };

protected:
    std::size_t readBytes(void* data, std::size_t count) override;
    void writeBytes(const void* data, std::size_t count) override;

private:
    struct Record {
        std::int64_t start = 0;   ///< of the block: the place of its size word
        std::size_t size = 0;     ///< bytes that belong to the record, its size word included
        std::vector<char> bytes;  ///< what is written so far, from the start
    };

    void flushRecords();
    std::size_t readThroughWindow(void* data, std::size_t count);

    static constexpr std::size_t windowSize = 256;
    static constexpr std::size_t smallRead = 128;

    std::vector<Record> records;  ///< open ones first, innermost last; behind them spare buffers
    std::size_t openRecords = 0;
    unsigned int readers = 0;
    std::array<char, windowSize> window{};
    std::int64_t windowStart = 0;
    std::size_t windowLength = 0;
};

}  // namespace kerf
