#pragma once

#include "Ardo/Kiln/Crash/Fault/ThrowTable.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// A walked stack, from the inside out.
struct StackTrace
{
    /// More than are shown, so that a slightly deeper stack still finds the rest of its frames here.
    static constexpr std::uint32_t MaxFrames = ThrowPlace::MaxFrames + 8;

    std::uint32_t count = 0;
    bool isComplete = false;                 ///< The walk has come to the outermost frame.
    std::uint64_t addresses[MaxFrames] = {}; ///< Where each frame goes on; set up to `count`, as the next.
    std::uint64_t pointers[MaxFrames] = {};  ///< The stack pointer of each frame there.
    std::uint64_t bases[MaxFrames] = {};     ///< Its register RBP there, from which frames of variable size are found.
};

/// Sets the frames of \p place from the calling thread's stack, beginning with the one that goes on at its address.
/// Walking costs 100 to 200 ns a frame, and a thread that throws often mostly throws from nearly the same stack. So the
/// walk ends at the first frame that \p last, the same thread's trace of the throw before, holds with the same address,
/// stack pointer and RBP, if all return addresses and saved values of RBP outside it are still where they were. \p last
/// is replaced.
/// \param stackLow, stackHigh the bounds of the thread's stack. A walk on other memory that serves as stack is not cut
///        short, because that memory may be unmapped by then.
void TraceThrow(StackTrace& last, std::uintptr_t stackLow, std::uintptr_t stackHigh, ThrowPlace& place) noexcept;

} // namespace Ardo::Kiln::Crash
