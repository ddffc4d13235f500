#include "Ardo/Kiln/Crash/Fault/ThrowTrace_linux.h"

#include <unwind.h>

#include <algorithm>
#include <cstdint>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Whether the return address of the frame at \p index, and its RBP if the function that it called has changed that,
/// lie where the call and the beginning of that function have put them. The frame is one of the calling thread's,
/// outside the frames that are in use.
[[gnu::no_sanitize("address")]] bool IsReturnedTo(const StackTrace& trace, std::uint32_t index) noexcept
{
    constexpr int SavedRegisters = 6; // of which RBP is one, below the return address
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the stack
    const auto* const pointer = reinterpret_cast<const std::uint64_t*>(trace.pointers[index]);
    bool hasBase = trace.bases[index] == trace.bases[index - 1];
    for (int saved = 2; !hasBase && saved < 2 + SavedRegisters; ++saved)
    {
        hasBase = *(pointer - saved) == trace.bases[index];
    }
    return *(pointer - 1) == trace.addresses[index] && hasBase;
}

class Walk
{
public:
    Walk(const StackTrace& last, bool isUsable, std::uint64_t begin) noexcept
        : m_last(last), m_index(isUsable ? 0 : last.count), m_begin(begin)
    {
    }

    /// Adds a frame.
    /// \returns whether the walk goes on.
    bool Add(std::uint64_t address, std::uint64_t pointer, std::uint64_t base) noexcept
    {
        if (m_trace.count == 0 && address != m_begin)
        {
            return true; // this code and its callers, up to the throw
        }
        if (address == 0 || Complete(address, pointer, base))
        {
            m_trace.isComplete = m_trace.isComplete || address == 0;
            return false;
        }
        m_trace.addresses[m_trace.count] = address;
        m_trace.bases[m_trace.count] = base;
        m_trace.pointers[m_trace.count++] = pointer;
        return m_trace.count < StackTrace::MaxFrames;
    }

    /// What was found.
    /// \param atEnd the walk has ended because there are no more frames.
    const StackTrace& Result(bool atEnd) noexcept
    {
        m_trace.isComplete = m_trace.isComplete || atEnd;
        return m_trace;
    }

private:
    /// Takes the given frame and those outside it from the last trace.
    /// \returns whether they are the same there.
    bool Complete(std::uint64_t address, std::uint64_t pointer, std::uint64_t base) noexcept
    {
        while (m_index < m_last.count && m_last.pointers[m_index] < pointer)
        {
            ++m_index;
        }
        if (m_index == m_last.count || m_last.pointers[m_index] != pointer || m_last.addresses[m_index] != address ||
            m_last.bases[m_index] != base ||
            (!m_last.isComplete && m_trace.count + m_last.count - m_index < ThrowPlace::MaxFrames))
        {
            return false;
        }
        for (std::uint32_t outer = m_index + 1; outer < m_last.count; ++outer)
        {
            if (!IsReturnedTo(m_last, outer))
            {
                m_index = m_last.count; // no frame of it may be reused
                return false;
            }
        }
        const std::uint32_t count = std::min(m_last.count - m_index, StackTrace::MaxFrames - m_trace.count);
        std::copy_n(m_last.addresses + m_index, count, m_trace.addresses + m_trace.count);
        std::copy_n(m_last.pointers + m_index, count, m_trace.pointers + m_trace.count);
        std::copy_n(m_last.bases + m_index, count, m_trace.bases + m_trace.count);
        m_trace.count += count;
        m_trace.isComplete = m_last.isComplete && count == m_last.count - m_index;
        return true;
    }

    const StackTrace& m_last;
    std::uint32_t m_index; ///< In the last trace: no frame inside it has the stack pointer that is looked for.
    std::uint64_t m_begin;
    StackTrace m_trace;
};

_Unwind_Reason_Code VisitFrame(_Unwind_Context* frame, void* walk)
{
    const bool goesOn = static_cast<Walk*>(walk)->Add(_Unwind_GetIP(frame), _Unwind_GetCFA(frame),
                                                      _Unwind_GetGR(frame, 6)); // 6: RBP, System V ABI
    return goesOn ? _URC_NO_REASON : _URC_END_OF_STACK;
}

} // namespace

void TraceThrow(StackTrace& last, std::uintptr_t stackLow, std::uintptr_t stackHigh, ThrowPlace& place) noexcept
{
    const bool isUsable = last.count != 0 && last.pointers[0] > stackLow && last.pointers[last.count - 1] <= stackHigh;
    Walk walk(last, isUsable, place.address);
    const bool atEnd = _Unwind_Backtrace(VisitFrame, &walk) == _URC_END_OF_STACK;
    const StackTrace& trace = walk.Result(atEnd);
    place.frameCount = std::min(trace.count, ThrowPlace::MaxFrames);
    std::copy_n(trace.addresses, place.frameCount, place.frames);
    last.count = trace.count;
    last.isComplete = trace.isComplete;
    std::copy_n(trace.addresses, trace.count, last.addresses);
    std::copy_n(trace.pointers, trace.count, last.pointers);
    std::copy_n(trace.bases, trace.count, last.bases);
}

} // namespace Ardo::Kiln::Crash
