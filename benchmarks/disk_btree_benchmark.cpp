// Insertion and search in the tree on disk, against the map in memory.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/counting_files.h"
#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/internal/number_key.h"

namespace {

std::vector<kerf::ERLong> shuffledKeys(std::size_t n) {
    std::vector<kerf::ERLong> keys(n);
    for (std::size_t i = 0; i < n; ++i) keys[i] = static_cast<kerf::ERLong>(i);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    return keys;
}

class DiskTree {
public:
    DiskTree() {
        std::filesystem::remove(path());
        file = std::make_unique<kerf::ERFileManager>(path().c_str(), 0);
        tree = std::make_unique<kerf::ERBTreeOnDisk>(*file, 1000, kerf::ERBTreeOnDisk::create, 4, 1,
                                                     -1, 10, 10);
    }
    ~DiskTree() {
        tree.reset();
        file.reset();
        std::filesystem::remove(path());
    }
    void insert(kerf::ERLong key) { tree->insertKeyAndValue(kerf::NumberKey(key), key); }
    kerf::ERLong find(kerf::ERLong key) { return tree->findValue(kerf::NumberKey(key)); }

    CountingFiles files;

private:
    static std::string path() {
        return (std::filesystem::temp_directory_path() / "kerf_btree_benchmark").string();
    }
    std::unique_ptr<kerf::ERFileManager> file;
    std::unique_ptr<kerf::ERBTreeOnDisk> tree;
};

void InsertDiskTree(benchmark::State& state) {
    const auto keys = shuffledKeys(static_cast<std::size_t>(state.range(0)));
    double calls = 0;
    for (auto _ : state) {
        DiskTree tree;
        for (const kerf::ERLong key : keys) tree.insert(key);
        calls = static_cast<double>(tree.files.calls) / static_cast<double>(keys.size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["calls/op"] = calls;
}
BENCHMARK(InsertDiskTree)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void InsertMap(benchmark::State& state) {
    const auto keys = shuffledKeys(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::map<kerf::ERLong, kerf::ERLong> map;
        for (const kerf::ERLong key : keys) map.emplace(key, key);
        benchmark::DoNotOptimize(map);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(InsertMap)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void FindDiskTree(benchmark::State& state) {
    const auto keys = shuffledKeys(static_cast<std::size_t>(state.range(0)));
    DiskTree tree;
    for (const kerf::ERLong key : keys) tree.insert(key);
    const std::uint64_t before = tree.files.calls;
    for (auto _ : state)
        for (const kerf::ERLong key : keys) benchmark::DoNotOptimize(tree.find(key));
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["calls/op"] = static_cast<double>(tree.files.calls - before) /
                                 static_cast<double>(state.iterations() * state.range(0));
}
BENCHMARK(FindDiskTree)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void FindMap(benchmark::State& state) {
    const auto keys = shuffledKeys(static_cast<std::size_t>(state.range(0)));
    std::map<kerf::ERLong, kerf::ERLong> map;
    for (const kerf::ERLong key : keys) map.emplace(key, key);
    for (auto _ : state)
        for (const kerf::ERLong key : keys) benchmark::DoNotOptimize(map.find(key));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FindMap)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
