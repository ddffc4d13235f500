#pragma once

#include <functional>

namespace Ardo::Kiln::Exception
{

/// The answer to a Notification: whether crash reports are written, and what else is to be done. The default is the
/// answer when nobody was asked or nobody decided.
struct MinidumpActions
{
    int decision = 1; ///< Not 0: the crash report and the minidump are to be written.
    /// What the presenter wants done; may be empty. Called once, after the reports, or at once if there are none to
    /// write, and before the process ends: on the thread that deals with the fault, within its time limit.
    std::function<void()> function;
};

} // namespace Ardo::Kiln::Exception
