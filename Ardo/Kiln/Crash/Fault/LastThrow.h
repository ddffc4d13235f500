#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// What a thread last threw, as far as it was remembered.
struct LastThrow
{
    static constexpr std::uint32_t MaximumFrames = 48; ///< How much of the call stack is kept.

    std::uint32_t code = 0;                   ///< 0: nothing yet.
    std::uint64_t address = 0;                ///< The instruction that threw.
    const void* object = nullptr;             ///< The C++ exception object; only compared, never followed.
    char type[256] = {};                      ///< The compiler's name of its type, null-terminated.
    char message[1024] = {};                  ///< what() of a std::exception, null-terminated UTF-8; empty for others.
    std::uint32_t frameCount = 0;             ///< How many of `frames` are set.
    std::uint64_t frames[MaximumFrames] = {}; ///< Return addresses, the throwing function first.
};

/// Remembers \p pointers as what the calling thread last threw: for a C++ exception its type, message and call stack.
/// \p pointers not null.
KILN_EXPORT_FOR_TESTS void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept;

/// What the thread on whose behalf the caller runs (see FaultDispatch) last had remembered.
/// Valid until that thread throws again or ends.
KILN_EXPORT_FOR_TESTS const LastThrow& LastThrowOfThread() noexcept;

} // namespace Ardo::Kiln::Crash
