#pragma once

#include <chrono>
#include <immintrin.h>
#include <thread>

namespace Ardo::Kiln::Threading
{

/// Asks for \p condition again and again for some 20 microseconds, leaving the processor to others in between. Waking a
/// thread that sleeps takes about as long, so what happens within that time is worth waiting for so.
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

/// Does nothing for \p time or until \p condition, without leaving the processor.
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
