#pragma once

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// What reports a fault when the filters cannot: they do not exist in this process, they have faulted, or their time is
/// over. The code that writes reports sets it while the library is loaded, because it stands above the dispatch.
struct FaultFallback
{
    /// Acquires what `report` needs; called once, before the first fault.
    void (*prepare)() noexcept = nullptr;

    /// Writes report and minidump into the folder of the request, and to the standard error stream. Called on the
    /// thread at fault, in its signal handler: system calls only.
    void (*report)(CrashRequest& request) noexcept = nullptr;

    /// Whether this process is writing reports just now, under a time limit of its own. System calls only.
    bool (*isReporting)() noexcept = nullptr;
};

/// Sets the fallback. Before the first call of FaultDispatch::Start.
void SetFaultFallback(const FaultFallback& fallback) noexcept;

/// The fallback that was set; without functions before.
const FaultFallback& Fallback() noexcept;

} // namespace Ardo::Kiln::Crash
