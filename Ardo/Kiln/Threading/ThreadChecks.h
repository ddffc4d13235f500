#pragma once

#include "Ardo/KilnExport.h"

#include <thread>

namespace Ardo::Kiln::Threading
{

class BackgroundWorker;

// Soft checks of the rule on which thread code runs. When one fails it writes a record at level warning to the
// library's log, and the caller decides what to do. They keep no state, never throw, and any thread may call them.

/// Warns unless called on the main thread, the thread of the Qt application object. Without such an object there is no
/// main thread, and nothing to warn of.
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
