#pragma once

#include <functional>

namespace Ardo::Kiln::Logger
{

/// Runs \p function in a forked child, which then ends like the main function. Only on systems with fork().
/// \returns the exit status for the calling process: of the parent it is 0 if the child ended well.
int RunInForkedChild(const std::function<void()>& function);

/// Ends the process at once, as by another process.
[[noreturn]] void KillThisProcess();

/// Calls std::abort(), which writes no message of its own.
[[noreturn]] void AbortSilently();

} // namespace Ardo::Kiln::Logger
