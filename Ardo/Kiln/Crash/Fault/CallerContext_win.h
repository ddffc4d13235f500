#pragma once

#include <windows.h>

namespace Ardo::Kiln::Crash
{

/// Changes the registers of a function to those of its caller, as they are behind the call. Reads the stack, whose
/// damage can make it fault. No allocation.
/// \returns false at the end of the stack.
bool StepToCaller(CONTEXT& context) noexcept;

/// The address of the function whose code \p context is in; 0 when the system does not know it.
DWORD64 FunctionOf(const CONTEXT& context) noexcept;

/// The address of \p function behind the jump that a linker puts in front of what another module defines.
DWORD64 FunctionBehindJump(const void* function) noexcept;

} // namespace Ardo::Kiln::Crash
