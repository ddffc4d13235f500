#pragma once

#include <ucontext.h>

#include <cstdint>
#include <optional>

namespace Ardo::Kiln::Crash
{

// Decodes the instruction at fault, for facts that signal and registers do not tell. x86-64 only; the encodings are
// those of the AMD64 Architecture Programmer's Manual, volume 3. The code is read with a system call, because its
// memory may be unmapped. A signal handler may call the functions.

/// Whether the instruction is reserved for the kernel: hlt, cli, sti, in, out, and moves to control and debug
/// registers.
bool IsPrivilegedInstruction(const ucontext_t& context) noexcept;

/// The divisor of a division. The processor does not tell a zero divisor from a quotient that does not fit.
/// \returns empty when the instruction is not a division, or when the divisor cannot be read.
std::optional<std::uint64_t> DivisorOfInstruction(const ucontext_t& context) noexcept;

/// The address of the breakpoint instruction that the thread has just executed. The processor stops behind it; what
/// stands there may belong to the next function.
/// \returns the instruction pointer itself when no breakpoint precedes it.
std::uint64_t BreakpointAddress(const ucontext_t& context) noexcept;

} // namespace Ardo::Kiln::Crash
