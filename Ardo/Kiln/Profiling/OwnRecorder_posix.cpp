#include "Ardo/Kiln/Profiling/OwnRecorder_p.h"

#include "Ardo/Kiln/Profiling/Registry_p.h"

#include <memory>

namespace Ardo::Kiln::Profiling::Private
{

namespace
{

// Of types without a destructor, so that stages may end after g_owner.
thread_local constinit ThreadRecorder* g_recorder = nullptr;
thread_local constinit bool g_hasEnded = false;

/// Ends a thread's part in the recording.
class RecorderOwner
{
public:
    RecorderOwner() : m_recorder(Registry::Instance().Add()) { g_recorder = m_recorder.get(); }
    ~RecorderOwner()
    {
        g_recorder = nullptr;
        g_hasEnded = true;
        Registry::Instance().Retire(m_recorder);
    }
    RecorderOwner(const RecorderOwner&) = delete;
    RecorderOwner& operator=(const RecorderOwner&) = delete;

private:
    const std::shared_ptr<ThreadRecorder> m_recorder;
};

} // namespace

ThreadRecorder* OwnRecorder() noexcept
{
    return g_recorder;
}

ThreadRecorder* AddOwnRecorder()
{
    if (!g_hasEnded)
    {
        static thread_local const RecorderOwner g_owner;
    }
    return g_recorder;
}

} // namespace Ardo::Kiln::Profiling::Private
