#pragma once

#include <cstdint>

namespace Ardo::Kiln::ImageIO
{

class TiffFile;

/// The bytes of the strips or tiles of the current directory that lie inside the file; the first \p count of them.
/// \throws std::runtime_error with the numbers if together they have more bytes than the file: a byte that two of them
///         claim cannot be both's.
std::uint64_t PresentBytes(TiffFile& file, std::uint32_t count);

/// \throws std::runtime_error with the numbers if \p presentBytes of the compression of the current directory cannot
///         become rows of \p rowSize bytes, \p rows of them.
void CheckExpansion(TiffFile& file, std::uint64_t presentBytes, std::uint64_t rowSize, std::uint64_t rows);

} // namespace Ardo::Kiln::ImageIO
