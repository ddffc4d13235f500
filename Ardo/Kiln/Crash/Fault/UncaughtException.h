#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// The facts about the C++ exception that a thread did not catch. Type and message are asked for only when it is
/// uncaught: most exceptions are caught, and what() is the application's code.
struct UncaughtException
{
    static constexpr std::uint32_t MaxFrames = 32; ///< Of the call stack of the throw, the innermost.

    std::uint32_t code = 0;               ///< FaultCode::CxxException; 0: there was none.
    std::uint64_t address = 0;            ///< The instruction behind the throw; 0: not known.
    const void* object = nullptr;         ///< The exception object; only compared, never followed.
    char type[1024] = {};                 ///< The compiler's name of its type, null-terminated.
    char message[8192] = {};              ///< what() of a std::exception, see CopyVisible; empty for others.
    bool hasMessage = true;               ///< False: what() has failed, and `message` tells how.
    std::uint32_t frameCount = 0;         ///< How many of `frames` are set; 0: not known.
    std::uint64_t frames[MaxFrames] = {}; ///< Return addresses, the throwing function first.
};

/// Remembers where a C++ exception is being thrown. For vectored filters. \p pointers is not null.
///
/// On Linux by exception object: the place is known also when the object is stored and raised again on another thread,
/// as long as not too many others are thrown meanwhile. On Windows the exception last thrown on the thread, also when
/// it is a stored one that is raised again, as that is a copy.
KILN_EXPORT_FOR_TESTS void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept;

/// The exception last found uncaught on the thread on whose behalf the caller runs (see FaultDispatch): by a
/// CaughtException, on Linux also by std::terminate. Valid until that thread finds the next one, or ends.
KILN_EXPORT_FOR_TESTS const UncaughtException& UncaughtExceptionOfThread() noexcept;

} // namespace Ardo::Kiln::Crash
