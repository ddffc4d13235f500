#include "Ardo/Kiln/Threading/IoContext_p.h"

#include "Ardo/Kiln/Threading/Spin_p.h"

namespace Ardo::Kiln::Threading
{

BackgroundWorker::IoContext::IoContext(bool hasThread) : m_hasThread(hasThread), m_guard(m_context.get_executor()) {}

void BackgroundWorker::IoContext::Run()
{
    // What run() does, but for a moment of looking around before the thread goes to sleep: waking it up takes longer
    // than most functions run. run_one() sleeps.
    while (!IsStopped())
    {
        if (!SpinUntil([this] { return m_context.poll() != 0 || IsStopped(); }))
        {
            m_context.run_one();
        }
    }
}

void BackgroundWorker::IoContext::Stop()
{
    m_isStopped.store(true, std::memory_order_release);
    if (m_holdsGuard.exchange(false))
    {
        m_guard.reset();
    }
    m_context.stop();
}

} // namespace Ardo::Kiln::Threading
