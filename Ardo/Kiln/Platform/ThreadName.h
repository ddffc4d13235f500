#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>
#include <thread>

namespace Ardo::Kiln::Platform
{

/// Gives a thread a name for debuggers and other tools.
///
/// On Windows only a debugger that is attached sees it. On Linux it is the name of the thread in /proc, limited to 15
/// bytes; no character is cut. A failure is ignored.
/// \param thread a thread that is not joined.
/// \param name UTF-8, up to its first NUL.
KILN_EXPORT_FOR_TESTS void SetThreadName(std::thread::native_handle_type thread, std::string_view name) noexcept;

} // namespace Ardo::Kiln::Platform
