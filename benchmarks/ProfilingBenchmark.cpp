#include "Ardo/Kiln/Profiling/Recording.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <iterator>

namespace Ardo::Kiln
{

namespace
{

/// What a stage cannot do without: the times of its beginning and its end.
void TwoTimes(benchmark::State& state)
{
    for ([[maybe_unused]] const auto iteration : state)
    {
        benchmark::DoNotOptimize(std::chrono::steady_clock::now());
        benchmark::DoNotOptimize(std::chrono::steady_clock::now());
    }
}

void OneStage(benchmark::State& state)
{
    for ([[maybe_unused]] const auto iteration : state)
    {
        Profiling::Stage stage("stage");
        stage.AddBytes(1);
        benchmark::DoNotOptimize(&stage);
    }
}

void StageOff(benchmark::State& state)
{
    Profiling::StopRecording();
    OneStage(state);
}

void StageOn(benchmark::State& state)
{
    Profiling::StartRecording();
    OneStage(state);
    Profiling::StopRecording();
}

/// One of eight stages within two others, in turn.
void StageWithin(benchmark::State& state)
{
    Profiling::StartRecording();
    static constexpr const char* Names[] = {"a", "b", "c", "d", "e", "f", "g", "h"};
    std::size_t index = 0;
    {
        const Profiling::Stage outer("outer");
        const Profiling::Stage inner("inner");
        for ([[maybe_unused]] const auto iteration : state)
        {
            Profiling::Stage stage(Names[index++ % std::size(Names)]);
            benchmark::DoNotOptimize(&stage);
        }
    }
    Profiling::StopRecording();
}

void CounterOn(benchmark::State& state)
{
    Profiling::StartRecording();
    double value = 0;
    for ([[maybe_unused]] const auto iteration : state)
    {
        Profiling::RecordCounter("counter", value += 1);
    }
    Profiling::StopRecording();
}

} // namespace

BENCHMARK(StageOff)->Name("Profiling/Stage, off/ours");
BENCHMARK(TwoTimes)->Name("Profiling/Stage, off/peer:two times");
BENCHMARK(StageOn)->Name("Profiling/Stage, on/ours");
BENCHMARK(TwoTimes)->Name("Profiling/Stage, on/peer:two times");
BENCHMARK(StageWithin)->Name("Profiling/Stage, one of eight within two/ours");
BENCHMARK(TwoTimes)->Name("Profiling/Stage, one of eight within two/peer:two times");
BENCHMARK(CounterOn)->Name("Profiling/Counter, on/ours");
BENCHMARK(TwoTimes)->Name("Profiling/Counter, on/peer:two times");

} // namespace Ardo::Kiln
