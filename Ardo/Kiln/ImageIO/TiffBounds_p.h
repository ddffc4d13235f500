#pragma once

#include <cstdint>
#include <string>

namespace Ardo::Kiln::ImageIO
{

class TiffFile;

/// "6 bytes", for messages.
std::string BytesText(std::uint64_t count);

/// The bytes of the strips or tiles of the current directory that lie inside the file; the first \p count of them.
/// \throws std::runtime_error with the numbers if together they have more bytes than the file, which means that some of
///        them overlap.
std::uint64_t PresentBytes(TiffFile& file, std::uint32_t count);

/// \throws std::runtime_error with the numbers if \p presentBytes, compressed as the current directory says, cannot
///        decompress to \p rows rows of \p rowSize bytes.
void CheckExpansion(TiffFile& file, std::uint64_t presentBytes, std::uint64_t rowSize, std::uint64_t rows);

} // namespace Ardo::Kiln::ImageIO
