#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"
#include "Ardo/Kiln/Crash/Fault/GuardedQuestion.h"

#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Question
{
    void (*ask)(void*);
    void* argument;
    bool isAnswered = false;
};

} // namespace

Asked AskGuarded(void (*ask)(void*), void* argument) noexcept
{
    Question question{ask, argument};
    FaultThread* const thread = AdoptThread();
    GuardFrame* const outer = thread != nullptr ? thread->question : nullptr;
    try
    {
        FaultDispatch::CallGuarded(
            [](void* asked)
            {
                auto& own = *static_cast<Question*>(asked);
                if (FaultThread* const asking = OwnFaultThread())
                {
                    asking->question = asking->guard;
                }
                own.ask(own.argument);
                own.isAnswered = true;
            },
            &question, [](EXCEPTION_POINTERS*) { return FilterResult::ExecuteHandler; });
    }
    catch (...)
    {
        question.isAnswered = false;
    }
    if (thread != nullptr)
    {
        thread->question = outer;
    }
    return question.isAnswered ? Asked::Answered : Asked::Faulted;
}

void GiveUpQuestion() noexcept
{
    FaultThread* const thread = OwnFaultThread();
    if (thread != nullptr && thread->question != nullptr)
    {
        GuardFrame& frame = *std::exchange(thread->question, nullptr);
        frame.call.isLeft = 1;
        ::RtlRestoreContext(&frame.call.context, nullptr);
    }
}

} // namespace Ardo::Kiln::Crash
