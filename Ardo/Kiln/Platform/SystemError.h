#pragma once

#include "Ardo/KilnExport.h"

#include <string>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// The category of the system's own error numbers: errno on Linux, GetLastError() on Windows.
///
/// Its texts are those of SystemErrorText(). Its codes compare with std::errc as those of the standard categories do.
/// Any thread may call it.
KILN_EXPORT_FOR_TESTS const std::error_category& SystemErrors() noexcept;

/// The reason of the calling thread's last failed system call, as a code of SystemErrors().
KILN_EXPORT_FOR_TESTS std::error_code LastSystemError() noexcept;

/// The system's text for an error number, in UTF-8 and without a full stop. On Linux it is English in every locale, on
/// Windows in the language of the system. Any thread may call it.
/// \throws std::bad_alloc only.
std::string SystemErrorText(int error);

} // namespace Ardo::Kiln::Platform
