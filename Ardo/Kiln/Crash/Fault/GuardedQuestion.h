#pragma once

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
/// to an end the destructors of what it had on its stack do not run, and what it had locked stays locked.
///
/// On Linux there is no protection where the library does not handle the fault signals; system calls only besides those
/// of \p ask. On Windows there is no time limit.
Asked AskGuarded(void (*ask)(void*), void* argument) noexcept;

/// Gives up the question that the calling thread is asking, and does not return. Returns when it asks none.
void GiveUpQuestion() noexcept;

} // namespace Ardo::Kiln::Crash
