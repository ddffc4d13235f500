#include "Ardo/Kiln/Profiling/OwnRecorder_p.h"

#include "Ardo/Kiln/Platform/ModulePath_win.h"
#include "Ardo/Kiln/Platform/ProcessEnd.h"
#include "Ardo/Kiln/Profiling/Registry_p.h"

#include <memory>
#include <new>
#include <windows.h>

namespace Ardo::Kiln::Profiling::Private
{

namespace
{

/// The recorder of a thread that has ended its part. Never used as one.
void* const Ended = reinterpret_cast<void*>(1);

void CALLBACK OnThreadEnd(void* owner);

/// What the system keeps for each thread. Not thread_local variables: where the compiler emulates those, as gcc does,
/// their memory is gone before the destructors of objects in them run.
struct Slots
{
    DWORD recorder = ::TlsAlloc();
    DWORD end = ::FlsAlloc(&OnThreadEnd); ///< Calls when a thread ends; holds a std::shared_ptr on the heap.

    Slots() noexcept { Platform::KeepLibraryLoaded(); }

    bool AreThere() const noexcept { return recorder != TLS_OUT_OF_INDEXES && end != FLS_OUT_OF_INDEXES; }
};

const Slots& OwnSlots() noexcept
{
    static const Slots g_slots;
    return g_slots;
}

/// The value of the slot, with the thread's error code unchanged: stages end between a call and the look at its error.
void* Value() noexcept
{
    const DWORD error = ::GetLastError();
    void* const value = ::TlsGetValue(OwnSlots().recorder);
    ::SetLastError(error);
    return value;
}

void CALLBACK OnThreadEnd(void* owner)
{
    if (owner == nullptr || Platform::AreOtherThreadsGone())
    {
        return; // at the end of the process a mutex may stay locked
    }
    const std::unique_ptr<const std::shared_ptr<ThreadRecorder>> recorder(
        static_cast<const std::shared_ptr<ThreadRecorder>*>(owner));
    ::TlsSetValue(OwnSlots().recorder, Ended);
    Registry::Instance().Retire(*recorder);
}

} // namespace

ThreadRecorder* OwnRecorder() noexcept
{
    void* const value = Value();
    return value != Ended ? static_cast<ThreadRecorder*>(value) : nullptr;
}

ThreadRecorder* AddOwnRecorder()
{
    const Slots& slots = OwnSlots();
    if (!slots.AreThere() || Value() == Ended)
    {
        return nullptr;
    }
    auto owner = std::make_unique<const std::shared_ptr<ThreadRecorder>>(Registry::Instance().Add());
    ThreadRecorder* const recorder = owner->get();
    if (!::TlsSetValue(slots.recorder, recorder) ||
        !::FlsSetValue(slots.end, const_cast<std::shared_ptr<ThreadRecorder>*>(owner.get())))
    {
        ::TlsSetValue(slots.recorder, nullptr);
        Registry::Instance().Retire(*owner);
        throw std::bad_alloc();
    }
    owner.release(); // NOLINT(bugprone-unused-return-value): OnThreadEnd has it
    return recorder;
}

} // namespace Ardo::Kiln::Profiling::Private
