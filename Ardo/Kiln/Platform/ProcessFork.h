#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// Has functions called whenever the process doubles itself: \p before in the thread that does it, then \p inParent and
/// \p inChild in that same thread, the only one that the child has. What \p before locks, both others unlock.
///
/// On Linux around each fork, for as long as the process lives. On Windows never: no process doubles itself there.
/// Any thread may call it. The functions must not throw.
/// \throws std::bad_alloc when there is no memory for it.
KILN_EXPORT_FOR_TESTS void OnFork(void (*before)(), void (*inParent)(), void (*inChild)());

/// The number of forks between the process that loaded this library and the calling process. A thread exists only in
/// the process that started it: an object that was made under another count is a copy of the parent's, without the
/// thread.
///
/// On Windows always 0. Any thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS std::uint32_t ForkCount() noexcept;

} // namespace Ardo::Kiln::Platform
