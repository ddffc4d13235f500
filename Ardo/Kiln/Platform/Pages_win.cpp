#include "Ardo/Kiln/Platform/Pages.h"

#include <new>

#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

std::size_t WholePages(std::size_t size)
{
    constexpr std::size_t PageSize = 4096; // of x64
    return (size + PageSize - 1) / PageSize * PageSize;
}

} // namespace

unsigned char* AllocatePages(std::size_t size)
{
    void* const pages = ::VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (pages == nullptr)
    {
        throw std::bad_alloc();
    }
    return static_cast<unsigned char*>(pages);
}

void ShrinkPages(unsigned char* pages, std::size_t size, std::size_t newSize) noexcept
{
    const std::size_t kept = WholePages(newSize);
    if (kept < WholePages(size))
    {
        ::VirtualFree(pages + kept, WholePages(size) - kept, MEM_DECOMMIT);
    }
}

void FreePages(unsigned char* pages, std::size_t) noexcept
{
    if (pages != nullptr)
    {
        ::VirtualFree(pages, 0, MEM_RELEASE);
    }
}

} // namespace Ardo::Kiln::Platform
