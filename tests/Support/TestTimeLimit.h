#pragma once

#include <chrono>

namespace Ardo::Kiln::Support
{

/// Ends the process with status 1 when the running test has not ended after \p limit, and names the test on the
/// standard error stream: a hang is then a failure of that test and not of the whole program. Replaces the limit that
/// was set before. A forked process has no limit.
void SetTestTimeLimit(std::chrono::milliseconds limit);

/// Ends the process like the time limit does: for a test that has waited too long.
[[noreturn]] void EndHangingTest();

/// Sets a time limit of five minutes for each test that begins from now on. To be called once, before the tests run.
void LimitTimeOfEachTest();

} // namespace Ardo::Kiln::Support
