#pragma once

#include <functional>
#include <span>
#include <string>

namespace Ardo::Kiln::CrashProbe
{

/// A state in which a process can be when it crashes.
struct Condition
{
    const char* name;
    const char* description;
    void (*apply)();
    bool isEarly = false; ///< Applied before the flags are set; others just before the crash.
};

std::span<const Condition> Conditions();

// Conditions of all systems.

/// Logs a record that the log file keeps in memory until its next flush, below \p folder; null: the current one.
void LogRecord(const char* folder);

/// Sets a terminate handler of the application, which prints a message of its own.
void OwnTerminateHandler();

/// Runs \p work on a thread that the C library starts, in its C11 form ("c11") or for a timer ("timer"), and waits for
/// ever: the work ends the process.
[[noreturn]] void RunOnForeignThread(const std::string& kind, const std::function<void()>& work);

/// Runs \p work in a forked child, prints on standard output how the child ended, and returns in the parent only.
void RunInChild(const std::function<void()>& work);

/// Prints the process and the thread, as the system numbers them.
void PrintIds();

/// Prints \p line to standard output without the C library, whose locks may be held for ever.
void Say(const char* line);

/// Ends the process with status 0, without the C library.
[[noreturn]] void EndQuietly();

} // namespace Ardo::Kiln::CrashProbe
