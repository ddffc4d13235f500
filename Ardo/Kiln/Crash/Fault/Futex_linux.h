#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdint>

namespace Ardo::Kiln::Crash
{

// Waiting on a word, without the C library: a signal handler may do it. Private to the process, so that after a fork()
// parent and child do not wake each other, as they would through a pipe.

/// Waits until somebody wakes the word, at most so many milliseconds; returns at once when it no longer is \p expected.
/// May return early.
inline void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected, int milliseconds) noexcept
{
    timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, &time, nullptr, 0);
}

/// Wakes everybody who waits on the word.
inline void FutexWake(std::atomic<std::uint32_t>& word) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

} // namespace Ardo::Kiln::Crash
