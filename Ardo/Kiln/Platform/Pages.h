#pragma once

#include "Ardo/KilnExport.h"

#include <cstddef>

namespace Ardo::Kiln::Platform
{

/// Memory in whole pages of the system, for buffers of several MiB. The process does not fill it with zeros first, and
/// it returns to the system when it is freed.
///
/// Mapping each small page of a large buffer costs more time than reading an image into it. On Linux each full 2 MiB
/// are therefore requested as a huge page. The rest at the end has small pages, so no more memory than requested is
/// used. On Windows all pages are small, because large ones need a privilege. Any thread may call these functions.

/// At least \p size bytes, at a multiple of 2 MiB on Linux and of 64 kiB on Windows. \p size is not 0.
/// \throws std::bad_alloc
KILN_EXPORT_FOR_TESTS unsigned char* AllocatePages(std::size_t size);

/// Reduces the size of \p pages from \p size to \p newSize bytes and frees the whole pages behind them. \p newSize is
/// not 0 and at most \p size.
KILN_EXPORT_FOR_TESTS void ShrinkPages(unsigned char* pages, std::size_t size, std::size_t newSize) noexcept;

/// Frees \p pages, whose size is \p size. \p pages may be null.
KILN_EXPORT_FOR_TESTS void FreePages(unsigned char* pages, std::size_t size) noexcept;

} // namespace Ardo::Kiln::Platform
