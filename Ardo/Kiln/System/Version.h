#pragma once

#include "Ardo/KilnExport.h"

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::System
{

/// A version of one to four numbers, the most significant first: "7.7", "1.2.3", "10.0.19045.3803".
///
/// Versions compare number by number. A number that is not given counts as 0, so "7.7" equals "7.7.0". A value type;
/// any thread may use its own.
///
///     if (*Version::Parse("7.10") > Version(7, 9)) ...
class KILN_EXPORT Version
{
public:
    /// "0"
    constexpr Version() noexcept = default;

    /// A version of as many numbers as there are arguments.
    constexpr explicit Version(std::uint32_t first) noexcept : m_numbers{first} {}
    /// \copydoc Version(std::uint32_t)
    constexpr Version(std::uint32_t first, std::uint32_t second) noexcept : m_numbers{first, second}, m_count(2) {}
    /// \copydoc Version(std::uint32_t)
    constexpr Version(std::uint32_t first, std::uint32_t second, std::uint32_t third) noexcept
        : m_numbers{first, second, third}, m_count(3)
    {
    }
    /// \copydoc Version(std::uint32_t)
    constexpr Version(std::uint32_t first, std::uint32_t second, std::uint32_t third, std::uint32_t fourth) noexcept
        : m_numbers{first, second, third, fourth}, m_count(4)
    {
    }

    /// The version in a text: one to four decimal numbers up to 2^32 - 1 with "." between, and nothing else, not even
    /// blanks or signs. Empty for any other text.
    static std::optional<Version> Parse(std::string_view text) noexcept;

    constexpr std::uint32_t Major() const noexcept { return m_numbers[0]; } ///< The first number.
    constexpr std::uint32_t Minor() const noexcept { return m_numbers[1]; } ///< The second number, or 0.
    constexpr std::uint32_t Patch() const noexcept { return m_numbers[2]; } ///< The third number, or 0.
    constexpr std::uint32_t Build() const noexcept { return m_numbers[3]; } ///< The fourth number, or 0.

    /// The text that Parse reads, with as many numbers as were given.
    std::string ToText() const;

    /// The text with \p count numbers, from 1 to 4; other values are limited to this range.
    std::string ToText(int count) const;

    /// Compares the numbers.
    constexpr std::strong_ordering operator<=>(const Version& other) const noexcept
    {
        for (int i = 0; i < MaxNumbers; ++i)
        {
            if (m_numbers[i] != other.m_numbers[i])
            {
                return m_numbers[i] <=> other.m_numbers[i];
            }
        }
        return std::strong_ordering::equal;
    }
    /// Compares the numbers, not how many were given.
    constexpr bool operator==(const Version& other) const noexcept { return (*this <=> other) == 0; }

private:
    static constexpr int MaxNumbers = 4;

    std::uint32_t m_numbers[MaxNumbers] = {};
    int m_count = 1; ///< How many numbers were given.
};

/// The version of the library that the program runs with. Ardo/KilnVersion.h has the one that it was compiled with.
KILN_EXPORT Version LibraryVersion() noexcept;

/// The file version of a Windows executable or library, read from its version resource on every system. Empty for a
/// file that is missing, has another format or no version, or is damaged. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT std::optional<Version> FileVersionOf(const std::filesystem::path& file);

} // namespace Ardo::Kiln::System
