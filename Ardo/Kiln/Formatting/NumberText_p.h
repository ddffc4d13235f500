#pragma once

#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// The digits of one finite number as printf rounds them, in ASCII and on the stack, whatever the locale.
///
/// More than MostDecimals digits are not written: no double has a digit other than 0 after the 1074th decimal.
class NumberText
{
public:
    /// The most digits after the decimal point.
    static constexpr int MostDecimals = 1100;

    /// As "%.<decimals>f". A negative count rounds to that power of ten, half to even like printf, and shows no
    /// decimals.
    /// \param value finite and less than 1e9 in magnitude.
    void WriteFixed(double value, int decimals) noexcept;

    /// As "%.<decimals>e", with \p exponentSign ('e' or 'E') before the exponent. A negative count rounds to that power
    /// of ten where this is coarser than the mantissa without decimals.
    void WriteScientific(double value, int decimals, char exponentSign) noexcept;

    /// Removes "0" from the end of a text with a ".", and the "." if nothing follows it any more.
    void RemoveTrailingZeros() noexcept;

    /// The text; valid as long as this object.
    std::string_view Get() const noexcept { return {m_begin, static_cast<std::size_t>(m_end - m_begin)}; }

private:
    /// WriteFixed for 0 to MostFewDecimals decimals, in a third of the time that the general way takes.
    void WriteFewDecimals(double value, int decimals) noexcept;

    /// Above, a number of nine digits before the point would not fit the 53 bits of a double.
    static constexpr int MostFewDecimals = 6;
    static constexpr int AroundDecimals = 20; ///< Sign, digits before the point, point and exponent.

    char m_text[MostDecimals + AroundDecimals];
    char* m_begin = m_text;
    char* m_end = m_text;
};

} // namespace Ardo::Kiln::Formatting
