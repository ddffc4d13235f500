#pragma once

#include "Ardo/KilnExport.h"

#include <string>
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

/// The name of the calling thread. On Linux the bytes of /proc, which SetThreadName() sets; on Windows the description
/// of the thread as UTF-8, which SetThreadName() does not set.
/// \returns an empty text if there is none.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::string OwnThreadName();

} // namespace Ardo::Kiln::Platform
