#pragma once

namespace Ardo::Kiln::Crash
{

struct FaultThread;

/// Describes the exception that \p thread, the calling one, is dealing with in a catch block or in std::terminate: sets
/// its lastThrow. Asks the exception for its text under protection; an exception whose what() fails has a message that
/// says so. Not for signal handlers.
/// \returns whether there is a C++ exception.
bool RememberCaughtException(FaultThread& thread) noexcept;

} // namespace Ardo::Kiln::Crash
