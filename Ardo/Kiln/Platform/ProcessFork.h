#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Platform
{

/// Has functions called whenever the process doubles itself: \p before in the thread that does it, then \p inParent and
/// \p inChild in that same thread, the only one that the child has. What \p before locks, both others unlock.
///
/// On Linux around each fork, for as long as the process lives. On Windows never: no process doubles itself there.
/// Any thread may call it. The functions must not throw.
/// \throws std::bad_alloc when there is no memory for it.
KILN_EXPORT_FOR_TESTS void OnFork(void (*before)(), void (*inParent)(), void (*inChild)());

} // namespace Ardo::Kiln::Platform
