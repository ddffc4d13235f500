#pragma once

#include <chrono>
#include <string>

namespace Ardo::Kiln::Support
{

/// Calls EndHangingTest after \p limit, which then prints \p message. Replaces the timer that was started before.
void StartTestTimer(std::chrono::milliseconds limit, const std::string& message);

/// Ends the timer, if there is one.
void StopTestTimer();

} // namespace Ardo::Kiln::Support
