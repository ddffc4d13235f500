#pragma once

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// Where a C++ exception was thrown.
struct ThrowPlace
{
    static constexpr std::uint32_t MaxFrames = 32; ///< What a report shows of a stack.

    std::uint64_t address = 0;            ///< The instruction behind the throw.
    std::uint32_t frameCount = 0;         ///< How many of `frames` are set.
    std::uint64_t frames[MaxFrames] = {}; ///< Return addresses, the throwing function first.
};

// The places of the recent throws of all threads, by exception object: an exception can be stored and raised again on
// another thread. There is room for 256 in memory of fixed size; the place of an exception that is still alive is lost
// when several later ones have addresses that fall into the same part of the table. Any thread may call the functions
// at any time. They take no lock and do not wait for each other: a place that another thread is just reading or writing
// is not remembered.

/// Remembers \p place for \p object, in place of what was remembered for it.
void RememberThrowPlace(const void* object, const ThrowPlace& place) noexcept;

/// \returns whether the place of \p object is known; \p place is set then.
bool FindThrowPlace(const void* object, ThrowPlace& place) noexcept;

/// Forgets the place of \p object: another exception has its address now.
void ForgetThrowPlace(const void* object) noexcept;

} // namespace Ardo::Kiln::Crash
