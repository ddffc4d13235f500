#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"

#include <signal.h>
#include <ucontext.h>

#include <array>
#include <cstdint>

namespace Ardo::Kiln::Crash
{

struct FaultThread;

/// The signals that are faults.
inline constexpr std::array<int, 7> FaultSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

/// Fills the record and registers of \p thread, the calling one, from its signal. System calls only.
void ClassifySignal(FaultThread& thread, int signal, const siginfo_t& info, const ucontext_t& context) noexcept;

/// The registers of \p source in the other layout.
void ToContext(const ucontext_t& source, CONTEXT& context) noexcept;

/// Inverse of ClassifySignal: the signal for \p code, for records that were not made by a signal.
int SignalOfCode(std::uint32_t code) noexcept;

} // namespace Ardo::Kiln::Crash
