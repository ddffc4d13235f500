#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// Registers functions for every later fork of the process. The forking thread calls \p before in the parent, then
/// \p inParent in the parent and \p inChild in the child, where it is the only thread. Both must unlock what \p before
/// has locked.
///
/// They cannot be unregistered and must not throw. On Windows there is no fork and they are never called. Any thread
/// may call this function.
/// \throws std::bad_alloc when there is no memory.
KILN_EXPORT_FOR_TESTS void OnFork(void (*before)(), void (*inParent)(), void (*inChild)());

/// The number of forks between the process that loaded this library and the calling process.
///
/// A forked child has no copies of the other threads. An object that owns a thread compares the count with that of its
/// construction: if they differ, the thread does not exist in this process. On Windows always 0. Any thread and any
/// signal handler may call it.
KILN_EXPORT_FOR_TESTS std::uint32_t ForkCount() noexcept;

} // namespace Ardo::Kiln::Platform
