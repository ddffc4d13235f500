#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/GuardedCall_win.h"

namespace Ardo::Kiln::Crash
{

// How a fault reaches the filters. The functions run on the thread at fault.

/// Adds the vectored handler of the process, once.
void InstallVectoredHandler() noexcept;

/// The filter of all guarded calls: asks that of the call.
long FilterOfGuardedCall(KilnGuardedCall* call, EXCEPTION_POINTERS* pointers);

/// See FaultDispatch::SetThrowFilter and SetUnhandledFilter.
void SetThrowFilterOfProcess(FaultFilter filter) noexcept;
FaultFilter SetUnhandledFilterOfProcess(FaultFilter filter) noexcept;

/// Asks all filters about a fault of the calling thread that is no exception of the system: the vectored ones, then
/// that of the innermost guarded call or, outside of one, the unhandled one.
void DispatchFault(EXCEPTION_POINTERS* pointers) noexcept;

} // namespace Ardo::Kiln::Crash
