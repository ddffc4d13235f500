#pragma once

#include <signal.h>

namespace Ardo::Kiln::Crash
{

/// How a question has ended.
enum class Asked
{
    Answered,
    Faulted, ///< It faulted, threw, or called abort or std::terminate.
    TooLate  ///< It did not come to an end within the time limit.
};

/// How long a question may take, in milliseconds.
inline constexpr int QuestionMilliseconds = 2000;

/// Calls \p ask with \p argument on behalf of fault handling: code that may be broken, such as the application's own
/// functions. The call returns whatever \p ask does, unless that ends the process or the thread. When it does not come
/// to an end the destructors of what it had on its stack do not run, and what it had locked stays locked. There is no
/// protection where the library does not handle the fault signals. System calls only besides those of \p ask.
Asked AskGuarded(void (*ask)(void*), void* argument) noexcept;

/// Gives up the question that the calling thread is asking, and does not return. Returns when it asks none.
void GiveUpQuestion() noexcept;

/// For the signal handler: gives up the question that the calling thread is asking, and does not return. Returns when
/// it asks none.
/// \returns whether the signal is the late timer of a question that has been answered meanwhile. Such a signal has no
///          other meaning.
bool GiveUpQuestion(const siginfo_t& info) noexcept;

} // namespace Ardo::Kiln::Crash
