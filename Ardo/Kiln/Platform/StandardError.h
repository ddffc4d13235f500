#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::Platform
{

/// Whether the process has a standard error stream. System calls only; any thread and any signal handler may call it.
///
/// On Linux it is descriptor 2, unless that may be a file of the application, to which no message must be written: the
/// process was started without a standard error stream, it has been closed (by fclose, or by close(2) with a call of
/// this function while number 2 was free), or the descriptor is closed on exec, which a standard stream never is. A
/// file that was opened without that flag on a number that was free in between cannot be told from a redirected stream.
KILN_EXPORT_FOR_TESTS bool HasStandardError() noexcept;

/// Writes \p text, UTF-8, to the standard error stream of the process by system calls alone: no buffer, no lock, no
/// allocation. What cannot be written is dropped, as is everything without HasStandardError. Never raises SIGPIPE. Any
/// thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS void WriteStandardError(std::string_view text) noexcept;

} // namespace Ardo::Kiln::Platform
