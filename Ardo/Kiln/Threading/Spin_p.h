#pragma once

#include <chrono>
#include <immintrin.h>
#include <thread>

namespace Ardo::Kiln::Threading
{

/// Checks \p condition repeatedly for about 20 microseconds and yields the processor in between. Waking a thread that
/// sleeps takes about as long, so within that time spinning is faster than blocking.
///
/// \returns whether the condition came true.
template <typename Condition>
bool SpinUntil(const Condition& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(20);
    do
    {
        std::this_thread::yield();
        if (condition())
        {
            return true;
        }
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

/// Waits for \p time, or until \p condition is true if that is sooner, without yielding the processor.
template <typename Condition>
void PauseUntil(const Condition& condition, std::chrono::nanoseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (!condition() && std::chrono::steady_clock::now() < end)
    {
        _mm_pause();
    }
}

} // namespace Ardo::Kiln::Threading
