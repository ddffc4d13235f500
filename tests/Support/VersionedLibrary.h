#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace Ardo::Kiln::Support
{

/// The bytes of the smallest Windows library that has a version resource; the resource's last byte is the file's.
std::string VersionedLibrary(const std::array<std::uint16_t, 4>& version);

} // namespace Ardo::Kiln::Support
