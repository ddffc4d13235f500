#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// The number of units of 10^-decimals in \p magnitude, rounded like printf does: exactly, a tie to the even number.
/// \param magnitude not negative; the result must be less than 2^53.
/// \param decimals from -ExactPowers to ExactPowers.
std::uint64_t RoundToWhole(double magnitude, int decimals) noexcept;

/// The text of one finite number, rounded like printf does: ASCII, independent of the locale, without allocation.
///
/// At most MaxDecimals decimals are written: no double has a digit other than 0 after the 1074th decimal.
class NumberText
{
public:
    /// Maximum number of digits after the decimal point.
    static constexpr int MaxDecimals = 1100;

    /// Writes \p value like "%.<decimals>f". A negative number of decimals rounds to that power of ten, a tie to the
    /// even multiple, and writes no decimals.
    /// \param value finite and less than 1e9 in magnitude.
    void WriteFixed(double value, int decimals) noexcept;

    /// Writes \p value like "%.<decimals>e", with \p exponentSign ('e' or 'E') before the exponent. A negative number
    /// of decimals rounds to that power of ten where this is coarser than a mantissa without decimals.
    void WriteScientific(double value, int decimals, char exponentSign) noexcept;

    /// Writes \p digits * 10^-decimals. A negative number of decimals writes that many zeros behind the digits.
    void WriteDigits(std::uint64_t digits, int decimals) noexcept;

    /// Writes \p sign before a number without sign, which WriteDigits wrote.
    void PrependSign(char sign) noexcept { *--m_begin = sign; }

    /// If the text contains a ".", removes zeros from its end, and then the "." if it is the last character.
    void RemoveTrailingZeros() noexcept;

    /// The text; valid as long as this object.
    std::string_view Get() const noexcept { return {m_begin, static_cast<std::size_t>(m_end - m_begin)}; }

private:
    static constexpr int AroundDecimals = 20; ///< Room for sign, digits before the point, point and exponent.

    char m_text[MaxDecimals + AroundDecimals];
    char* m_begin = m_text;
    char* m_end = m_text;
};

} // namespace Ardo::Kiln::Formatting
