#include "Ardo/Kiln/Exception/Handler.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace Ardo::Kiln
{

namespace
{

template <std::size_t FrameSize>
[[gnu::noinline]] void ThrowAtDepth(int depth)
{
    char room[FrameSize];
    benchmark::DoNotOptimize(&room[0]);
    if (depth == 0)
    {
        throw std::runtime_error("The shutter does not open.");
    }
    ThrowAtDepth<FrameSize>(depth - 1);
    benchmark::ClobberMemory(); // keeps the frame: no tail call
}

/// Throws and catches, as deep as the name says; \p changing: each time by other functions than the time before.
void MeasureThrow(benchmark::State& state, int depth, bool changing, unsigned long long flags)
{
    bool other = false;
    Exception::Handler::SetFlags(flags);
    Exception::Handler::Initialize();
    for (auto _ : state)
    {
        try
        {
            other ? ThrowAtDepth<24>(depth) : ThrowAtDepth<56>(depth);
        }
        catch (const std::exception& exception)
        {
            benchmark::DoNotOptimize(exception.what());
        }
        other = changing && !other;
    }
    Exception::Handler::SetFlags(0);
}

const bool Registered = []
{
    constexpr unsigned long long rememberThrows = 0x8;
    for (const auto& [depth, changing] : {std::pair(3, false), {30, false}, {100, false}, {3, true}, {100, true}})
    {
        const std::string name =
            "Throw/Depth" + std::to_string(depth) + (changing ? ", by other functions each time" : "");
        const auto add = [&](const char* role, unsigned long long flags)
        {
            benchmark::RegisterBenchmark((name + role).c_str(),
                                         [depth = depth, changing = changing, flags](benchmark::State& state)
                                         { MeasureThrow(state, depth, changing, flags); });
        };
        add("/ours", rememberThrows);
        add("/peer:unmonitored", 0);
    }
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
