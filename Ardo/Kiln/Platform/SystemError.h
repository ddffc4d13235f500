#pragma once

#include "Ardo/KilnExport.h"

#include <system_error>

namespace Ardo::Kiln::Platform
{

/// The category of the system's own error numbers: errno on Linux, GetLastError() on Windows.
///
/// Its texts are UTF-8 without a full stop: on Linux in English whatever the locale, on Windows in the language of the
/// system. Its codes compare with std::errc as those of the standard categories do. Any thread may call it.
KILN_EXPORT_FOR_TESTS const std::error_category& SystemErrors() noexcept;

/// The reason of the calling thread's last failed system call, as a code of SystemErrors().
KILN_EXPORT_FOR_TESTS std::error_code LastSystemError() noexcept;

} // namespace Ardo::Kiln::Platform
