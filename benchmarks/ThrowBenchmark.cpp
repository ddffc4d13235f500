#include "Ardo/Kiln/Exception/Handler.h"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>

namespace Ardo::Kiln
{

namespace
{

[[gnu::noinline]] void ThrowAtDepth(int depth)
{
    if (depth == 0)
    {
        throw std::runtime_error("The shutter does not open.");
    }
    ThrowAtDepth(depth - 1);
    benchmark::ClobberMemory(); // keeps the frame: no tail call
}

/// Throws and catches, as deep as the name says.
void MeasureThrow(benchmark::State& state, int depth, unsigned long long flags)
{
    Exception::Handler::SetFlags(flags);
    Exception::Handler::Initialize();
    for (auto _ : state)
    {
        try
        {
            ThrowAtDepth(depth);
        }
        catch (const std::exception& exception)
        {
            benchmark::DoNotOptimize(exception.what());
        }
    }
    Exception::Handler::SetFlags(0);
}

const bool Registered = []
{
    constexpr unsigned long long rememberThrows = 0x8;
    for (const int depth : {3, 30, 100})
    {
        const std::string name = "Throw/Depth" + std::to_string(depth);
        const auto add = [&](const char* role, unsigned long long flags)
        {
            benchmark::RegisterBenchmark((name + role).c_str(),
                                         [=](benchmark::State& state) { MeasureThrow(state, depth, flags); });
        };
        add("/ours", rememberThrows);
        add("/peer:unmonitored", 0);
    }
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
