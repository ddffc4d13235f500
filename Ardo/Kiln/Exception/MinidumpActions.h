#pragma once

#include <functional>

namespace Ardo::Kiln::Exception
{

/// The answer to a Notification: whether crash reports are written, and what else is to be done. The default is the
/// answer when nobody was asked.
struct MinidumpActions
{
    int decision = 1;               ///< Not 0: the crash report and the minidump are to be written.
    std::function<void()> function; ///< What the presenter wants done; may be empty.
};

} // namespace Ardo::Kiln::Exception
