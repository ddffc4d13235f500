#pragma once

#include "Ardo/Kiln/Exception/MinidumpActions.h"
#include "Ardo/KilnExport.h"

#include <exception>
#include <future>

namespace Ardo::Kiln::Exception
{

/// An exception for the presenter, which shows it to the user, and the promise of the answer. Always held by a
/// `std::shared_ptr`.
///
/// The waiting side takes `reply.get_future()` before it hands the notification over, and keeps no reference to it:
/// then a notification that is dropped unanswered gives the standard broken-promise error instead of a hang.
struct KILN_EXPORT Notification
{
    std::exception_ptr exception;        ///< The exception to present.
    std::promise<MinidumpActions> reply; ///< Fulfilled once, by the presenter.

    /// Fulfils the promise. Only the first answer counts: a later one is ignored. Any thread may call it.
    /// \throws whatever copying \p answer into the promise throws.
    void Answer(const MinidumpActions& answer = {});
};

} // namespace Ardo::Kiln::Exception
