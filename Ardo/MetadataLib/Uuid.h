#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace Ardo::MetadataLib
{

/// A 128-bit identifier of an image, an acquisition or a sample. All bytes are zero if it is not given.
struct Uuid
{
    /// The bytes in the order of the text form: its first two digits are the first byte.
    std::array<std::uint8_t, 16> bytes{};

    auto operator<=>(const Uuid&) const = default;
};

} // namespace Ardo::MetadataLib
