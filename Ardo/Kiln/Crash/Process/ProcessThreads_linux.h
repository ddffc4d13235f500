#pragma once

#include "Ardo/Kiln/Platform/MappedArray_linux.h"
#include "Ardo/Kiln/Platform/StructuredException.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// A thread as it is put into a minidump.
struct ThreadImage
{
    std::int32_t id = 0;
    std::uint64_t threadPointer = 0; ///< Where its thread-local variables are; 0: not known.
    std::uint64_t userTime = 0;      ///< In units of 100 ns.
    std::uint64_t systemTime = 0;    ///< In units of 100 ns.
    char name[16] = {};              ///< Null-terminated.
    CONTEXT context = {};            ///< All zero but for the flags when nothing is known.
};

/// Keeps the threads of another process stopped, from StopAll to Release or destruction.
class StoppedThreads
{
public:
    StoppedThreads() noexcept = default;
    ~StoppedThreads() { Release(); }
    StoppedThreads(const StoppedThreads&) = delete;
    StoppedThreads& operator=(const StoppedThreads&) = delete;

    /// Stops every thread of \p process and adds them to \p threads. One that cannot be stopped, because it is traced
    /// already or does not come out of the kernel in time, is described as ReadRunningThreads does.
    /// \returns 0 or the error number.
    int StopAll(std::int32_t process, Platform::MappedArray<ThreadImage>& threads) noexcept;

    /// Resumes the threads. A signal that arrived in the meantime is delivered.
    void Release() noexcept;

private:
    struct Hold
    {
        std::int32_t id;
        std::int32_t signal; ///< The signal that was about to be delivered when the thread stopped; 0: none.
        bool attached;
        bool stopped;
    };

    int AttachNewThreads(std::int32_t process, bool& foundNew) noexcept;
    void WaitUntilStopped() noexcept;

    Platform::MappedArray<Hold> m_holds;
};

/// Adds the threads of \p process as they run: of those that wait in the kernel stack and instruction pointer are
/// known. The process may be the own one.
/// \returns 0 or the error number.
int ReadRunningThreads(std::int32_t process, Platform::MappedArray<ThreadImage>& threads) noexcept;

} // namespace Ardo::Kiln::Crash
