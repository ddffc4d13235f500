#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>
#include <thread>

namespace Ardo::Kiln::Platform
{

/// Gives a thread a name for those who look at the process from outside.
///
/// On Windows a debugger that is attached shows it. On Linux it is the thread's name in /proc and to every tool: its
/// first 15 bytes, or less where a character would be cut. A name that cannot be set is not set.
/// \param thread a thread that is not joined.
/// \param name UTF-8, up to its first NUL.
KILN_EXPORT_FOR_TESTS void SetThreadName(std::thread::native_handle_type thread, std::string_view name) noexcept;

} // namespace Ardo::Kiln::Platform
