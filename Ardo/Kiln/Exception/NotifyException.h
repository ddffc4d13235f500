#pragma once

#include "Ardo/KilnExport.h"

#include <memory>

namespace Ardo::Kiln::Exception
{

struct Notification;

/// Presents the exception of a notification with the ErrorDialog: a Warning as a warning, any other exception as an
/// error, and an object that is no `std::exception` as the error "Unknown exception".
///
/// The notification's promise is fulfilled in any case: with the user's answer, which may come after the call has
/// returned when it is not made on the user-interface thread (see ErrorDialog), or with the default answer, for a
/// warning and when the call throws.
/// \param notification not null.
/// \throws std::bad_alloc only.
KILN_EXPORT void NotifyException(const std::shared_ptr<Notification>& notification);

} // namespace Ardo::Kiln::Exception
