#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::Platform
{

/// Writes \p text, UTF-8, to the standard error stream of the process by system calls alone: no buffer, no lock, no
/// allocation. What cannot be written is dropped. Any thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS void WriteStandardError(std::string_view text) noexcept;

} // namespace Ardo::Kiln::Platform
