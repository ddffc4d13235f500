#pragma once

namespace Ardo::Kiln::Crash
{

struct UncaughtException;

/// Describes the exception that the calling thread is dealing with in a catch block or in std::terminate: sets \p last,
/// which belongs to that thread. Asks the exception for its text under protection (AskGuarded); an exception whose
/// what() fails has a message that says so. Not for signal handlers.
/// \returns whether there is a C++ exception.
bool RememberCaughtException(UncaughtException& last) noexcept;

} // namespace Ardo::Kiln::Crash
