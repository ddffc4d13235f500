#include "Ardo/Kiln/Crash/Minidump/DumpMemory_linux.h"

#include <algorithm>
#include <cerrno>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::uint64_t RedZone = 128; // in use below the stack pointer (System V ABI)
constexpr std::uint64_t Kilobyte = 1024;

// A debugger needs the innermost frames, and the outermost to tell what the thread is for.
constexpr std::uint64_t MaxInner = 256 * Kilobyte;
constexpr std::uint64_t MaxOuter = 64 * Kilobyte;
constexpr std::uint64_t InnerOfAllThreads = 12 * Kilobyte * Kilobyte; // shared out when there are many threads
constexpr std::uint64_t MinInner = 32 * Kilobyte;
constexpr std::size_t ManyThreads = 40;
constexpr std::uint64_t OuterOfManyThreads = 8 * Kilobyte;

// How far an overflow may leave the stack pointer below the stack's first page: one large frame.
constexpr std::uint64_t MaxOverflow = 8 * Kilobyte * Kilobyte;

// Of the memory that a pointer refers to, 1 KiB is taken, in blocks of half that size.
constexpr std::uint64_t Block = 512;
constexpr std::size_t MaxBlocks = 4 * Kilobyte * Kilobyte / Block;
constexpr std::size_t MaxBlocksOfThread = 48 * Kilobyte / Block;
constexpr std::size_t SeenSize = 2 * MaxBlocks;
constexpr std::uint64_t MaxScanned = 64 * Kilobyte; // of a stack, for pointers

constexpr std::uint64_t CodeAround = 128;

} // namespace

int DumpMemory::Choose(const ProcessImage& image, bool indirect, std::int32_t firstThread) noexcept
{
    const Platform::MappedArray<ThreadImage>& threads = image.Threads();
    for (const ThreadImage& thread : threads)
    {
        if (!AddStack(image, thread) || !AddAround(image, thread.context.Rip, CodeAround, CodeAround))
        {
            return ENOMEM;
        }
    }
    if (indirect)
    {
        if (!m_seen.Resize(SeenSize))
        {
            return ENOMEM;
        }
        for (const bool isFirst : {true, false})
        {
            for (std::size_t i = 0; i < threads.Size(); ++i)
            {
                if ((threads[i].id == firstThread) == isFirst && !FollowThread(image, i))
                {
                    return ENOMEM;
                }
            }
        }
    }
    SortAndMerge();
    return 0;
}

bool DumpMemory::AddStack(const ProcessImage& image, const ThreadImage& thread) noexcept
{
    const std::size_t count = image.Threads().Size();
    const std::uint64_t maxInner = std::clamp(InnerOfAllThreads / count, MinInner, MaxInner);
    const std::uint64_t maxOuter = count > ManyThreads ? OuterOfManyThreads : MaxOuter;

    const std::uint64_t pointer = thread.context.Rsp;
    const Mapping* mapping = image.FindAtOrAbove(pointer);
    // After an overflow the stack pointer lies in the guard, or below it.
    while (mapping != nullptr && !mapping->readable && mapping->end - pointer < MaxOverflow)
    {
        mapping = image.FindAtOrAbove(mapping->end);
    }
    if (mapping == nullptr || !mapping->readable || !mapping->writable ||
        (mapping->start > pointer && mapping->start - pointer > MaxOverflow))
    {
        return m_stacks.Add({});
    }
    const std::uint64_t start = std::max(mapping->start, (pointer - RedZone) / 16 * 16);
    const bool hasEnvironment = image.IsEnvironment(start, mapping->end) && start < image.EnvironmentStart();
    const std::uint64_t top = hasEnvironment ? image.EnvironmentStart() : mapping->end;
    const std::uint64_t end = std::min(top, start + maxInner);
    const std::uint64_t outer = std::max(end, top - std::min(maxOuter, top));
    return m_stacks.Add({start, end, 0}) && m_ranges.Add({start, end, 0}) &&
           (outer == top || m_ranges.Add({outer, top, 0}));
}

bool DumpMemory::FollowThread(const ProcessImage& image, std::size_t thread) noexcept
{
    m_blocksOfThread = 0;
    const CONTEXT& context = image.Threads()[thread].context;
    for (const std::uint64_t pointer :
         {context.Rax, context.Rcx, context.Rdx, context.Rbx, context.Rbp, context.Rsi, context.Rdi, context.R8,
          context.R9, context.R10, context.R11, context.R12, context.R13, context.R14, context.R15})
    {
        if (!FollowPointer(image, pointer))
        {
            return false;
        }
    }
    const DumpedRange& stack = m_stacks[thread];
    const std::uint64_t end = std::min(stack.end, stack.start + MaxScanned);
    for (std::uint64_t address = stack.start; address < end && m_blocksOfThread < MaxBlocksOfThread;)
    {
        std::uint64_t words[256];
        const std::size_t size = std::min<std::size_t>(sizeof words, end - address);
        image.ReadMemoryOrZeros(address, words, size);
        for (std::size_t i = 0; i < size / sizeof words[0]; ++i)
        {
            if (!FollowPointer(image, words[i]))
            {
                return false;
            }
        }
        address += size;
    }
    return true;
}

bool DumpMemory::FollowPointer(const ProcessImage& image, std::uint64_t pointer) noexcept
{
    if (m_blocks >= MaxBlocks || m_blocksOfThread >= MaxBlocksOfThread)
    {
        return true;
    }
    // Memory that cannot be written is code or constants; the module's file holds both.
    const Mapping* const mapping = image.Find(pointer);
    if (mapping == nullptr || !mapping->readable || !mapping->writable || mapping->excluded)
    {
        return true;
    }
    // Half a block before, and one and a half behind: pointers mostly point at beginnings.
    const std::uint64_t first = (std::max(pointer, Block / 2) - Block / 2) / Block * Block;
    for (std::uint64_t block = first; block < first + 2 * Block; block += Block)
    {
        std::size_t place = block / Block * 0x9E3779B97F4A7C15u % SeenSize;
        while (m_seen[place] != 0 && m_seen[place] != block)
        {
            place = (place + 1) % SeenSize;
        }
        if (m_seen[place] == block || block < mapping->start || block >= mapping->end ||
            image.IsEnvironment(block, block + Block))
        {
            continue;
        }
        m_seen[place] = block;
        ++m_blocks;
        ++m_blocksOfThread;
        if (!m_ranges.Add({block, block + Block, 0}))
        {
            return false;
        }
    }
    return true;
}

bool DumpMemory::AddAround(const ProcessImage& image, std::uint64_t address, std::uint64_t before,
                           std::uint64_t behind) noexcept
{
    const Mapping* const mapping = image.Find(address);
    return mapping == nullptr || !mapping->readable ||
           m_ranges.Add({address - std::min(address - mapping->start, before),
                         address + std::min(mapping->end - address, behind), 0});
}

void DumpMemory::SortAndMerge() noexcept
{
    std::sort(m_ranges.begin(), m_ranges.end(),
              [](const DumpedRange& left, const DumpedRange& right) { return left.start < right.start; });
    std::size_t count = 0;
    for (const DumpedRange& range : m_ranges)
    {
        if (count > 0 && range.start <= m_ranges[count - 1].end)
        {
            m_ranges[count - 1].end = std::max(m_ranges[count - 1].end, range.end);
        }
        else
        {
            m_ranges[count] = range;
            ++count;
        }
    }
    m_ranges.Resize(count);
}

} // namespace Ardo::Kiln::Crash
