#pragma once

#include <chrono>
#include <immintrin.h>
#include <thread>

namespace Ardo::Kiln::Threading
{

/// Asks for \p condition again and again for some 20 microseconds, at first without, then with leaving the processor to
/// others. Waking a thread that sleeps takes about as long, so what happens within that time is worth waiting for so;
/// the other side may need the only processor, hence the second half.
/// \returns whether the condition came true.
template <typename Condition>
bool SpinUntil(const Condition& condition)
{
    for (int i = 0; i < 30; ++i)
    {
        if (condition())
        {
            return true;
        }
        _mm_pause();
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(20);
    do
    {
        if (condition())
        {
            return true;
        }
        std::this_thread::yield();
    } while (std::chrono::steady_clock::now() < end);
    return condition();
}

} // namespace Ardo::Kiln::Threading
