#pragma once

namespace Ardo::Kiln::Crash
{

struct FaultThread;

/// Sees to it that the last throw of \p thread, the calling one, is the exception that it is dealing with: when it is
/// another, its type and message are filled in, and where it was thrown is not known. \return whether it is dealing
/// with a C++ exception.
bool RememberCurrentException(FaultThread& thread) noexcept;

/// The state of the language runtime's list of caught exceptions, to go back to when catch blocks are left by a jump.
class CaughtExceptions
{
public:
    CaughtExceptions() noexcept;
    void Restore() noexcept;

private:
    void* m_caught;
    unsigned m_uncaught;
};

} // namespace Ardo::Kiln::Crash
