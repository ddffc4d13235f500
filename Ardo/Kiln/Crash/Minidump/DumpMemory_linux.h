#pragma once

#include "Ardo/Kiln/Crash/Process/ProcessImage_linux.h"
#include "Ardo/Kiln/Platform/MappedArray_linux.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// A range of addresses whose memory goes into a dump.
struct DumpedRange
{
    std::uint64_t start;
    std::uint64_t end;
    std::uint32_t position; ///< In the file; set by the writer of the dump.
};

/// Chooses the memory for a dump that does not hold all memory: the parts of the stacks in use, and the memory that
/// registers and stacks point at. The size is bounded also for an endless recursion and for a thousand threads.
class DumpMemory
{
public:
    /// \param indirect whether the memory that registers and stacks point at is taken as well.
    /// \param firstThread the thread whose pointers are followed first.
    /// \returns 0 or the error number.
    int Choose(const ProcessImage& image, bool indirect, std::int32_t firstThread) noexcept;

    /// All memory chosen: by address, without overlap.
    Platform::MappedArray<DumpedRange>& Ranges() noexcept { return m_ranges; }

    /// For each thread, in the order of the image, the part of its stack in use next to the stack pointer. It lies
    /// within one of Ranges(). Empty if the stack pointer leads nowhere.
    const Platform::MappedArray<DumpedRange>& Stacks() const noexcept { return m_stacks; }

private:
    bool AddStack(const ProcessImage& image, const ThreadImage& thread) noexcept;
    bool FollowThread(const ProcessImage& image, std::size_t thread) noexcept;
    bool FollowPointer(const ProcessImage& image, std::uint64_t pointer) noexcept;
    bool AddAround(const ProcessImage& image, std::uint64_t address, std::uint64_t before,
                   std::uint64_t behind) noexcept;
    void SortAndMerge() noexcept;

    Platform::MappedArray<DumpedRange> m_ranges;
    Platform::MappedArray<DumpedRange> m_stacks;
    Platform::MappedArray<std::uint64_t> m_seen; ///< Hash table of the blocks taken because something points at them.
    std::size_t m_blocks = 0;                    ///< In m_seen.
    std::size_t m_blocksOfThread = 0;
};

} // namespace Ardo::Kiln::Crash
