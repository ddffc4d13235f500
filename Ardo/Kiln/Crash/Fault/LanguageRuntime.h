#pragma once

namespace Ardo::Kiln::Crash
{

// Facts about exceptions that the C++ runtime (libstdc++, on both systems) has no public functions for. The only file
// that relies on the memory layout of its objects; PrepareLanguageRuntime checks it. All functions concern the calling
// thread.

/// Checks, with an exception of its own, that the runtime keeps its records as expected; the first call does so. Until
/// then, and if it does not, the functions below answer as if no exception were there, and CaughtExceptions restores
/// nothing. Not for signal handlers.
void PrepareLanguageRuntime() noexcept;

/// The object of the exception that the innermost catch block, or std::terminate, deals with; null when there is none,
/// and for exceptions of other languages. Not for signal handlers.
const void* CaughtObject() noexcept;

/// Whether that object was thrown. One that std::make_exception_ptr made, and std::rethrow_exception raised, was not.
bool CaughtObjectWasThrown() noexcept;

/// Whether there is such an exception, of any language. A signal handler may call it.
bool HasCaughtException() noexcept;

#if !__has_include(<cxxabi.h>)
/// What stands for the object of the calling thread's last throw in the runtime of MSVC, where objects are copied when
/// they are stored or caught by value.
const void* LastThrowKey() noexcept;
#endif

/// The state of the runtime's list of caught exceptions, to go back to when catch blocks are left by a jump.
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
