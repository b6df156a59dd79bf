// Chaining loose lines: a long ring in several orders, each line in either direction, against the walk that
// compares every chain.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kerf/processing/chainer.h"

namespace {

using namespace kerf;

constexpr unsigned int seed = 13;

class Line : public ERChainerSeg2D {
public:
    Line(const ERPoint2D& p, const ERPoint2D& q) : p_(p), q_(q) {}
    ERPoint2D getExt1() const override { return p_; }
    ERPoint2D getExt2() const override { return q_; }
    ERVector2D getTan1() const override { return ERVector2D(p_, q_); }
    ERVector2D getTan2() const override { return ERVector2D(p_, q_); }

private:
    ERPoint2D p_, q_;
};
using Lines = std::vector<t_SmartPtr<ERChainerSeg2D>>;

enum Order { Shuffled, Forwards, Backwards, EitherWay, EverySecondFirst };

// In a unit in which every line is long.
Lines ring(std::size_t n, Order order) {
    std::mt19937 random(seed);
    const auto corner = [&](std::size_t i) {
        const double angle =
            6.283185307179586 * static_cast<double>(i % n) / static_cast<double>(n);
        return ERPoint2D(1e8 * std::cos(angle), 1e8 * std::sin(angle));
    };
    Lines lines;
    for (std::size_t i = 0; i < n; ++i) {
        const bool turned = order != Forwards && order != Backwards && random() % 2 == 0;
        lines.emplace_back(new Line(corner(turned ? i + 1 : i), corner(turned ? i : i + 1)));
    }
    if (order == Shuffled) std::shuffle(lines.begin(), lines.end(), random);
    if (order == Backwards) std::reverse(lines.begin(), lines.end());
    if (order == EverySecondFirst)
        for (std::size_t i = 1; i < n; i += 2) std::swap(lines[i - 1], lines[i]);
    return lines;
}

SegCompState compareAll(const ERChainedMetaSeg2D& a, const ERChainedMetaSeg2D& b, double tol) {
    return a.compareWith(&b, tol);
}
class PlainProcessor : public ERChainerProcessor {
public:
    PlainProcessor() { compare = &compareAll; }
};

template <class Processor>
void chain(benchmark::State& state, Order order) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    int chains = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const Lines lines = ring(n, order);
        state.ResumeTiming();
        Processor processor;
        for (const t_SmartPtr<ERChainerSeg2D>& line : lines) processor.insert(line);
        chains = processor.nbchains();
    }
    state.counters["chains"] = chains;
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}

void Chain(benchmark::State& state, Order order) { chain<ERChainerProcessor>(state, order); }
void ChainPlainly(benchmark::State& state, Order order) { chain<PlainProcessor>(state, order); }

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1000)->Arg(5650)->Arg(20000)->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(Chain, Shuffled, Shuffled)->Apply(sizes);
BENCHMARK_CAPTURE(Chain, Forwards, Forwards)->Apply(sizes);
BENCHMARK_CAPTURE(Chain, Backwards, Backwards)->Apply(sizes);
BENCHMARK_CAPTURE(Chain, EitherWay, EitherWay)->Apply(sizes);
BENCHMARK_CAPTURE(Chain, EverySecondFirst, EverySecondFirst)->Apply(sizes);
BENCHMARK_CAPTURE(ChainPlainly, Shuffled, Shuffled)->Apply(sizes);

}  // namespace
