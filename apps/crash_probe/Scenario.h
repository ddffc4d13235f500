#pragma once

#include <span>

namespace Ardo::Kiln::CrashProbe
{

/// One way to crash.
struct Scenario
{
    const char* name;
    const char* description;
    void (*run)(); ///< Does not return, unless the fault can be survived.
};

/// Faults of the processor and of the system. The line at fault of each bears the comment "<- NAME".
std::span<const Scenario> Faults();

/// Those that only this system has, or provokes in its own way. Marked like Faults.
std::span<const Scenario> SystemFaults();

/// Uncaught C++ exceptions, and other cases in which the language ends a program. Marked like Faults.
std::span<const Scenario> Exceptions();

} // namespace Ardo::Kiln::CrashProbe
