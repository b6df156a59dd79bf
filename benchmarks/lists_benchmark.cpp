// The links of lists, from the pools and from the general heap.
#include <benchmark/benchmark.h>

#include <list>

#include "kerf/core/list.h"
#include "kerf/core/memory_pool.h"

namespace {

template <std::size_t size>
struct PooledLink : kerf::ERMemoryPool {
    char payload[size];
};

template <std::size_t size>
struct HeapLink {
    char payload[size];
};

// Allocates a batch and frees it again, as a list that is filled and emptied.
template <class Link>
void AllocateBatch(benchmark::State& state) {
    constexpr std::size_t batch = 256;
    Link* links[batch];
    for (auto _ : state) {
        for (Link*& link : links) link = new Link;
        benchmark::DoNotOptimize(links);
        for (Link* link : links) delete link;
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(batch));
}
BENCHMARK(AllocateBatch<PooledLink<24>>);
BENCHMARK(AllocateBatch<HeapLink<24>>);
BENCHMARK(AllocateBatch<PooledLink<96>>);
BENCHMARK(AllocateBatch<HeapLink<96>>);

void FillERTValDlist(benchmark::State& state) {
    for (auto _ : state) {
        kerf::ERTValDlist<double> list;
        for (int i = 0; i < 100; ++i) list.append(i);
        benchmark::DoNotOptimize(list);
    }
}
BENCHMARK(FillERTValDlist);

void FillStdList(benchmark::State& state) {
    for (auto _ : state) {
        std::list<double> list;
        for (int i = 0; i < 100; ++i) list.push_back(i);
        benchmark::DoNotOptimize(list);
    }
}
BENCHMARK(FillStdList);

}  // namespace
