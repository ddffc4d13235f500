#include "Ardo/Kiln/Platform/Pages.h"

#include <cstdint>
#include <limits>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

constexpr std::size_t HugePage = std::size_t{2} << 20;

std::size_t RoundUp(std::size_t size, std::size_t multiple)
{
    return (size + multiple - 1) / multiple * multiple;
}

std::size_t WholePages(std::size_t size)
{
    static const auto g_pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return RoundUp(size, g_pageSize);
}

} // namespace

unsigned char* AllocatePages(std::size_t size)
{
    if (size > std::numeric_limits<std::size_t>::max() / 2)
    {
        throw std::bad_alloc();
    }
    // Maps more than needed to find a multiple of HugePage in it, and unmaps the rest before and behind.
    const std::size_t needed = WholePages(size);
    void* const mapped = ::mmap(nullptr, needed + HugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
    {
        throw std::bad_alloc();
    }
    auto* const begin = static_cast<unsigned char*>(mapped);
    const auto address = reinterpret_cast<std::uintptr_t>(begin);
    const std::size_t before = RoundUp(address, HugePage) - address;
    if (before != 0)
    {
        ::munmap(begin, before);
    }
    if (before != HugePage)
    {
        ::munmap(begin + before + needed, HugePage - before);
    }
    // A failure is ignored: without huge pages only the first access is slower.
    if (needed >= HugePage)
    {
        ::madvise(begin + before, needed / HugePage * HugePage, MADV_HUGEPAGE);
    }
    return begin + before;
}

void ShrinkPages(unsigned char* pages, std::size_t size, std::size_t newSize) noexcept
{
    const std::size_t kept = WholePages(newSize);
    if (kept < WholePages(size))
    {
        ::munmap(pages + kept, WholePages(size) - kept);
    }
}

void FreePages(unsigned char* pages, std::size_t size) noexcept
{
    if (pages != nullptr)
    {
        ::munmap(pages, WholePages(size));
    }
}

} // namespace Ardo::Kiln::Platform
