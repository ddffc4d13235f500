#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// The process id of the calling process. Any thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS std::uint32_t OwnProcessId() noexcept;

/// The system's thread id of the calling thread. Any thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS std::uint32_t OwnThreadId() noexcept;

} // namespace Ardo::Kiln::Platform
