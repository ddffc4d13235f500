#pragma once

#include <pthread.h>

namespace Ardo::Kiln::Crash
{

/// From now on new threads get a record and an alternate stack when they start (see AdoptThread): those of
/// pthread_create and thrd_create, and those that the C library starts for timers of timer_create with SIGEV_THREAD.
/// Without this call the three functions do what they do without this library.
void AdoptNewThreads() noexcept;

/// Starts a thread past the interposed pthread_create.
/// \returns as that.
int CreatePlainThread(pthread_t* thread, void* (*body)(void*), void* argument) noexcept;

} // namespace Ardo::Kiln::Crash
