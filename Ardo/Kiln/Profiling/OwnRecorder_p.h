#pragma once

#include "Ardo/Kiln/Profiling/ThreadRecorder_p.h"

namespace Ardo::Kiln::Profiling::Private
{

/// The calling thread's recorder; null if it has none yet, or none any more because it ends.
ThreadRecorder* OwnRecorder() noexcept;

/// Adds a recorder for the calling thread, which has none, to the registry. It is retired when the thread ends.
/// \returns null at the end of the thread, and on Windows where the system has no slot for it.
/// \throws std::bad_alloc.
ThreadRecorder* AddOwnRecorder();

} // namespace Ardo::Kiln::Profiling::Private
