#pragma once

#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "tests/Kiln/Crash/StackSample.h"

#include <string>
#include <vector>

namespace Ardo::Kiln::Crash
{

std::string Describe(const std::vector<StackFrame>& frames);

/// Expects the functions of the sample innermost, with the inlined one if the system tells such.
void ExpectSample(const std::vector<StackFrame>& frames, const Sample::Point& point);

} // namespace Ardo::Kiln::Crash
