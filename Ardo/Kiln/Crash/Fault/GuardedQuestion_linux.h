#pragma once

#include "Ardo/Kiln/Crash/Fault/GuardedQuestion.h"

#include <signal.h>

namespace Ardo::Kiln::Crash
{

/// For the signal handler: gives up the question that the calling thread is asking, and does not return. Returns when
/// it asks none.
/// \returns whether the signal is the late timer of a question that has been answered meanwhile. Such a signal has no
///          other meaning.
bool GiveUpQuestion(const siginfo_t& info) noexcept;

} // namespace Ardo::Kiln::Crash
