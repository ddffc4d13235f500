#pragma once

#include "Ardo/KilnExport.h"

#include <cstddef>

namespace Ardo::Kiln::Platform
{

/// Memory taken from the system in whole pages, for buffers of several MiB that are filled at once: it is not filled
/// with zeros by the process first, and goes back to the system when it is freed.
///
/// Handing out every small page of a large buffer by itself costs more than reading an image into it. On Linux whole
/// stretches of 2 MiB are therefore asked for as huge pages; what is left over at the end keeps small ones, so that no
/// more memory than asked for is ever taken. On Windows all pages are small: large ones need a privilege.
/// Any thread may call these functions.

/// At least \p size bytes, at a multiple of 2 MiB on Linux and of 64 kiB on Windows. \p size is not 0.
/// \throws std::bad_alloc
KILN_EXPORT_FOR_TESTS unsigned char* AllocatePages(std::size_t size);

/// Gives back whole pages at the end of \p pages, taken with \p size, that the first \p newSize bytes do not need.
/// From now on \p newSize is their size. \p newSize is not 0 and at most \p size.
KILN_EXPORT_FOR_TESTS void ShrinkPages(unsigned char* pages, std::size_t size, std::size_t newSize) noexcept;

/// Gives back \p pages, whose size is now \p size. Null is fine.
KILN_EXPORT_FOR_TESTS void FreePages(unsigned char* pages, std::size_t size) noexcept;

} // namespace Ardo::Kiln::Platform
