#pragma once

#include <functional>

namespace Ardo::Kiln::Exception
{

/// The answer to a Notification: whether crash reports are written, and a function to call afterwards. The default is
/// the answer when the user was not asked or did not decide.
struct MinidumpActions
{
    int decision = 1; ///< Not 0: the crash report and the minidump are to be written.
    /// A function of the presenter; may be empty. Called once, after the reports are written, or at once if none are
    /// wanted, and before the process ends, on the thread that deals with the fault. It has no time limit.
    std::function<void()> function;
};

} // namespace Ardo::Kiln::Exception
