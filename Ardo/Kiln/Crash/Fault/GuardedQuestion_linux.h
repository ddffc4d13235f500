#pragma once

#include <signal.h>

namespace Ardo::Kiln::Crash
{

/// How asking has ended.
enum class Asked
{
    Answered,
    Faulted, ///< It faulted, threw, or called abort or std::terminate.
    TooLate  ///< It did not come to an end within the time limit.
};

/// How long a question may take, in milliseconds.
inline constexpr int QuestionMilliseconds = 2000;

/// Calls \p ask with \p argument on behalf of fault handling: code that may be broken, such as the application's own
/// functions. Whatever it does, the call returns, unless it ends the process or the thread. When it does not come to an
/// end the destructors of what it had on its stack do not run, and what it had locked stays locked. Where the library
/// does not handle the fault signals there is no protection. System calls only besides those of \p ask.
Asked AskGuarded(void (*ask)(void*), void* argument) noexcept;

/// Gives up the question that the calling thread is asking, and does not return. Returns when it asks none.
void GiveUpQuestion() noexcept;

/// For the signal handler: gives up the question that the calling thread is asking, and does not return. Returns when
/// it asks none.
/// \returns whether the signal tells that the time for a question is over that has just been answered: it
/// has no other meaning.
bool GiveUpQuestion(const siginfo_t& info) noexcept;

} // namespace Ardo::Kiln::Crash
