// 100 000 objects of 24 to 200 bytes: stored, retrieved in random order, every second one deleted,
// and as many stored again. kerf against SQLite (journal off, synchronous off, exclusive locking,
// one statement an object) and against the floor: one pwrite or pread of the same bytes for each
// object.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/counting_files.h"
#include "kerf/core/file.h"
#include "kerf/core/object.h"
#include "kerf/persistence/object_database.h"

#if defined(KERF_HAS_SQLITE)
#include <sqlite3.h>
#endif

namespace {

constexpr std::size_t objectCount = 100000;
constexpr std::size_t smallest = 24;
constexpr std::size_t largest = 200;

std::size_t sizeOf(std::size_t i) { return smallest + i * 7919 % (largest - smallest + 1); }

std::string scratchPath() {
    return (std::filesystem::temp_directory_path() / "kerf_database_benchmark").string();
}

class Record : public kerf::ERObject {
    ER_OBJECT_CLASS(Record);

public:
    std::size_t size = 0;
    std::array<char, largest> bytes{};

    kerf::ERObject* getCopy() const override { return new Record(*this); }
    void printOn(std::ostream&) const override {}
    void saveGuts(kerf::ERFile& file) const override {
        file.Write(bytes.data(), static_cast<unsigned int>(size));
    }
    void restoreGuts(kerf::ERFile& file) override {
        file.Read(bytes.data(), static_cast<unsigned int>(size));
    }
    kerf::ERULong binaryStoreSize() const override { return static_cast<kerf::ERULong>(size); }
};

ER_DEFINE_CLASS(Record, kerf::ERObject)

class Kerf {
public:
    Kerf() {
        std::filesystem::remove(scratchPath());
        base.Open(scratchPath().c_str(), 0);
    }
    void store(std::size_t i) {
        Record record;
        record.size = sizeOf(i);
        record.bytes[0] = static_cast<char>(i);
        ids.push_back(base.Store(record));
    }
    void retrieve(std::size_t i) {
        Record record;
        record.size = sizeOf(i);
        base.Retrieve(ids[i], record);
        benchmark::DoNotOptimize(record);
    }
    void remove(std::size_t i) { base.Delete(ids[i]); }
    std::uint64_t calls() const { return files.calls; }

private:
    CountingFiles files;
    kerf::ERObjectDataBase base;
    std::vector<kerf::ERLong> ids;
};

class Floor {
public:
    Floor() : file(open(scratchPath().c_str(), O_CREAT | O_TRUNC | O_RDWR, 0600)) {}
    ~Floor() { close(file); }
    void store(std::size_t i) {
        bytes[0] = static_cast<char>(i);
        offsets.push_back(end);
        check(pwrite(file, bytes.data(), sizeOf(i), end));
        end += static_cast<off_t>(sizeOf(i));
    }
    void retrieve(std::size_t i) { check(pread(file, bytes.data(), sizeOf(i), offsets[i])); }
    void remove(std::size_t) {}
    std::uint64_t calls() const { return callCount; }

private:
    void check(ssize_t moved) {
        ++callCount;
        benchmark::DoNotOptimize(moved);
    }
    int file;
    off_t end = 0;
    std::vector<off_t> offsets;
    std::array<char, largest> bytes{};
    std::uint64_t callCount = 0;
};

#if defined(KERF_HAS_SQLITE)
class Sqlite {
public:
    Sqlite() {
        std::filesystem::remove(scratchPath());
        sqlite3_open(scratchPath().c_str(), &base);
        for (const char* setting :
             {"PRAGMA locking_mode=EXCLUSIVE", "PRAGMA journal_mode=OFF", "PRAGMA synchronous=OFF",
              "CREATE TABLE objects(id INTEGER PRIMARY KEY, data BLOB)"})
            sqlite3_exec(base, setting, nullptr, nullptr, nullptr);
        prepare("INSERT INTO objects(id, data) VALUES(?, ?)", insert);
        prepare("SELECT data FROM objects WHERE id=?", select);
        prepare("DELETE FROM objects WHERE id=?", erase);
    }
    ~Sqlite() {
        for (sqlite3_stmt* statement : {insert, select, erase}) sqlite3_finalize(statement);
        sqlite3_close(base);
    }
    void store(std::size_t i) {
        bytes[0] = static_cast<char>(i);
        sqlite3_bind_int64(insert, 1, ++last);
        sqlite3_bind_blob(insert, 2, bytes.data(), static_cast<int>(sizeOf(i)), SQLITE_STATIC);
        run(insert, SQLITE_DONE);
    }
    void retrieve(std::size_t i) {
        sqlite3_bind_int64(select, 1, static_cast<sqlite3_int64>(i) + 1);
        if (sqlite3_step(select) != SQLITE_ROW) std::abort();
        const char* const data = static_cast<const char*>(sqlite3_column_blob(select, 0));
        std::copy_n(data, sqlite3_column_bytes(select, 0), bytes.begin());
        sqlite3_reset(select);
    }
    void remove(std::size_t i) {
        sqlite3_bind_int64(erase, 1, static_cast<sqlite3_int64>(i) + 1);
        run(erase, SQLITE_DONE);
    }
    std::uint64_t calls() const { return 0; }

private:
    void prepare(const char* text, sqlite3_stmt*& statement) {
        sqlite3_prepare_v2(base, text, -1, &statement, nullptr);
    }
    void run(sqlite3_stmt* statement, int expected) {
        if (sqlite3_step(statement) != expected) std::abort();
        sqlite3_reset(statement);
    }
    sqlite3* base = nullptr;
    sqlite3_stmt* insert = nullptr;
    sqlite3_stmt* select = nullptr;
    sqlite3_stmt* erase = nullptr;
    sqlite3_int64 last = 0;
    std::array<char, largest> bytes{};
};
#endif

enum Phase { store, retrieve, remove, storeAgain, phaseCount };

struct Cost {
    double seconds = 1e9;
    double calls = 0;  // of the system, an operation
};

// The best of three sessions, each phase for itself.
template <class Store>
const std::array<Cost, phaseCount>& session() {
    static const std::array<Cost, phaseCount> costs = [] {
        std::array<Cost, phaseCount> best;
        std::vector<std::size_t> order(objectCount);
        std::iota(order.begin(), order.end(), 0u);
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
        for (int round = 0; round < 3; ++round) {
            Store base;
            const auto phase = [&](Phase which, std::size_t operations, auto&& work) {
                const std::uint64_t before = base.calls();
                const auto start = std::chrono::steady_clock::now();
                work();
                const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
                best[which].seconds =
                    std::min(best[which].seconds, took.count() / static_cast<double>(operations));
                best[which].calls =
                    static_cast<double>(base.calls() - before) / static_cast<double>(operations);
            };
            phase(store, objectCount, [&] {
                for (std::size_t i = 0; i < objectCount; ++i) base.store(i);
            });
            phase(retrieve, objectCount, [&] {
                for (std::size_t i : order) base.retrieve(i);
            });
            phase(remove, objectCount / 2, [&] {
                for (std::size_t i = 0; i < objectCount; i += 2) base.remove(i);
            });
            phase(storeAgain, objectCount / 2, [&] {
                for (std::size_t i = 0; i < objectCount; i += 2) base.store(i);
            });
        }
        std::filesystem::remove(scratchPath());
        return best;
    }();
    return costs;
}

template <class Store, Phase phase>
void Database(benchmark::State& state) {
    const Cost& cost = session<Store>()[phase];
    for (auto _ : state) state.SetIterationTime(cost.seconds);
    if (cost.calls > 0) state.counters["calls/op"] = cost.calls;
}

#define KERF_PHASES(Store)                                                \
    BENCHMARK(Database<Store, store>)->UseManualTime()->Iterations(1);    \
    BENCHMARK(Database<Store, retrieve>)->UseManualTime()->Iterations(1); \
    BENCHMARK(Database<Store, remove>)->UseManualTime()->Iterations(1);   \
    BENCHMARK(Database<Store, storeAgain>)->UseManualTime()->Iterations(1)

KERF_PHASES(Kerf);
KERF_PHASES(Floor);
#if defined(KERF_HAS_SQLITE)
KERF_PHASES(Sqlite);
#endif

}  // namespace
