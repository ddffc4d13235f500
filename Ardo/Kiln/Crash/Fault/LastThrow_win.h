#pragma once

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// Describes the exception that the calling thread is dealing with in a catch block: sets its LastThrowOfThread. Asks
/// the exception for its text; one whose what() faults or throws has a message that says so. There is no time limit.
/// \returns the address of the throw; 0: not known.
std::uint64_t RememberCaughtException() noexcept;

} // namespace Ardo::Kiln::Crash
