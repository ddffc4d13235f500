#pragma once

#include "Ardo/KilnExport.h"

#include <thread>

namespace Ardo::Kiln::Threading
{

class BackgroundWorker;

// Soft checks of the thread on which code runs. A check that fails writes a record at level warning to the library's
// log, and the caller decides what to do. The checks keep no state and never throw. Any thread may call them.

/// Warns unless called on the main thread, the thread of the Qt application object. Without such an object there is no
/// main thread, and the check passes.
KILN_EXPORT void AssertMainThread() noexcept;

/// True on the worker's own thread; otherwise warns.
KILN_EXPORT bool IsOnThread(const BackgroundWorker& worker) noexcept;

/// True on the thread with this id; otherwise warns.
KILN_EXPORT bool IsOnThread(std::thread::id thread) noexcept;

/// True anywhere but on the worker's own thread; there it warns.
KILN_EXPORT bool IsNotOnThread(const BackgroundWorker& worker) noexcept;

/// True anywhere but on the thread with this id; there it warns.
KILN_EXPORT bool IsNotOnThread(std::thread::id thread) noexcept;

} // namespace Ardo::Kiln::Threading
