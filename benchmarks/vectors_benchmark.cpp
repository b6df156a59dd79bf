// Copying, appending to and unsharing vectors, against the standard vector, plain and shared.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "benchmarks/counting_heap.h"
#include "kerf/core/thread_data.h"
#include "kerf/numerics/vector.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

namespace {

using kerf::ERPoint3D;
using kerf::ERVec;

void countHeapCalls(benchmark::State& state, unsigned long before) {
    state.counters["heap/op"] = benchmark::Counter(static_cast<double>(heapCalls - before) /
                                                   static_cast<double>(state.iterations()));
}

void IncrementAnInteger(benchmark::State& state) {
    int count = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(count);
        ++count;
        benchmark::DoNotOptimize(count);
        --count;
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(IncrementAnInteger);

template <class T>
void CopyERVec(benchmark::State& state) {
    const ERVec<T> source(100u, T());
    for (auto _ : state) {
        ERVec<T> copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyERVec<double>);
BENCHMARK(CopyERVec<ERPoint3D>);

template <class T>
void CopySharedStdVector(benchmark::State& state) {
    const auto source = std::make_shared<std::vector<T>>(100);
    for (auto _ : state) {
        std::shared_ptr<std::vector<T>> copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopySharedStdVector<double>);
BENCHMARK(CopySharedStdVector<ERPoint3D>);

template <class T>
void CopyStdVector(benchmark::State& state) {
    const std::vector<T> source(100);
    for (auto _ : state) {
        std::vector<T> copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyStdVector<double>);
BENCHMARK(CopyStdVector<ERPoint3D>);

// A short vector built, filled by appending and dropped: the daily work of evaluation.
template <class T>
void AppendERVec(benchmark::State& state) {
    const unsigned int n = static_cast<unsigned int>(state.range(0));
    const unsigned long before = heapCalls;
    for (auto _ : state) {
        ERVec<T> vector;
        for (unsigned int i = 0; i < n; ++i) vector.append(T());
        benchmark::DoNotOptimize(vector);
    }
    countHeapCalls(state, before);
}
BENCHMARK(AppendERVec<double>)->Arg(4)->Arg(16)->Arg(64);
BENCHMARK(AppendERVec<ERPoint3D>)->Arg(4)->Arg(16)->Arg(64);

template <class T>
void AppendStdVector(benchmark::State& state) {
    const unsigned int n = static_cast<unsigned int>(state.range(0));
    const unsigned long before = heapCalls;
    for (auto _ : state) {
        std::vector<T> vector;
        for (unsigned int i = 0; i < n; ++i) vector.push_back(T());
        benchmark::DoNotOptimize(vector);
    }
    countHeapCalls(state, before);
}
BENCHMARK(AppendStdVector<double>)->Arg(4)->Arg(16)->Arg(64);
BENCHMARK(AppendStdVector<ERPoint3D>)->Arg(4)->Arg(16)->Arg(64);

// The first write through a shared vector.
template <class T>
void UnshareERVec(benchmark::State& state) {
    const ERVec<T> source(static_cast<unsigned int>(state.range(0)), T());
    const unsigned long before = heapCalls;
    for (auto _ : state) {
        ERVec<T> copy(source);
        copy[0] = T();
        benchmark::DoNotOptimize(copy);
    }
    countHeapCalls(state, before);
}
BENCHMARK(UnshareERVec<double>)->Arg(8)->Arg(1000);
BENCHMARK(UnshareERVec<ERPoint3D>)->Arg(8)->Arg(1000);

template <class T>
void UnshareStdVector(benchmark::State& state) {
    const auto source = std::make_shared<std::vector<T>>(static_cast<std::size_t>(state.range(0)));
    const unsigned long before = heapCalls;
    for (auto _ : state) {
        auto copy = std::make_shared<std::vector<T>>(*source);
        (*copy)[0] = T();
        benchmark::DoNotOptimize(copy);
    }
    countHeapCalls(state, before);
}
BENCHMARK(UnshareStdVector<double>)->Arg(8)->Arg(1000);
BENCHMARK(UnshareStdVector<ERPoint3D>)->Arg(8)->Arg(1000);

}  // namespace
