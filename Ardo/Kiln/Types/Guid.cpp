#include "Ardo/Kiln/Types/Guid.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace Ardo::Kiln::Types
{

namespace
{

constexpr std::size_t DigitCount = 2 * sizeof(boost::uuids::uuid);
constexpr char Digits[] = "0123456789abcdef";
constexpr std::uint8_t NoDigit = 0xFF;

/// The two digits of each byte value.
constexpr auto DigitPairs = []
{
    std::array<std::array<char, 2>, 256> pairs{};
    for (std::size_t byte = 0; byte < pairs.size(); ++byte)
    {
        pairs[byte] = {Digits[byte >> 4], Digits[byte & 0xF]};
    }
    return pairs;
}();

/// The value of each character as a digit, or NoDigit.
constexpr auto DigitValues = []
{
    std::array<std::uint8_t, 256> values{};
    values.fill(NoDigit);
    for (std::uint8_t value = 0; value < 16; ++value)
    {
        values[static_cast<unsigned char>(Digits[value])] = value;
        if (value >= 10)
        {
            values[static_cast<unsigned char>('A' + value - 10)] = value;
        }
    }
    return values;
}();

template <typename Char>
std::basic_string<Char> Write(const boost::uuids::uuid& uuid)
{
    std::basic_string<Char> text(DigitCount, Char());
    auto place = text.begin();
    for (const std::uint8_t byte : uuid)
    {
        place = std::copy_n(DigitPairs[byte].begin(), 2, place);
    }
    return text;
}

/// Reads 32 digits without hyphens, the most frequent form, by table. Boost's reader, which is slower, reads the other
/// forms and throws for malformed text.
template <typename Char>
boost::uuids::uuid Read(const std::basic_string<Char>& text)
{
    boost::uuids::uuid uuid{};
    if (text.size() == DigitCount)
    {
        bool valid = true;
        const auto valueOf = [&valid](Char digit)
        {
            const auto code = static_cast<std::size_t>(std::char_traits<Char>::to_int_type(digit));
            const std::uint8_t value = code < DigitValues.size() ? DigitValues[code] : NoDigit;
            valid &= value != NoDigit;
            return value;
        };
        for (std::size_t byte = 0; byte < uuid.size(); ++byte)
        {
            uuid.data[byte] = static_cast<std::uint8_t>(valueOf(text[2 * byte]) << 4 | valueOf(text[2 * byte + 1]));
        }
        if (valid)
        {
            return uuid;
        }
    }
    return boost::uuids::string_generator()(text);
}

} // namespace

Guid::Guid(const std::array<std::uint8_t, 16>& bytes) noexcept : m_uuid(std::bit_cast<boost::uuids::uuid>(bytes)) {}

Guid::Guid(_GUID guid) noexcept : m_uuid(std::bit_cast<boost::uuids::uuid>(guid)) {}

Guid::Guid(const std::string& text) : m_uuid(Read(text)) {}

Guid Guid::Generate()
{
    return boost::uuids::random_generator_pure()();
}

void Guid::FromString(const std::string& text)
{
    m_uuid = Read(text);
}

void Guid::FromWString(const std::wstring& text)
{
    m_uuid = Read(text);
}

std::string Guid::ToString() const
{
    return Write<char>(m_uuid);
}

std::wstring Guid::ToWString() const
{
    return Write<wchar_t>(m_uuid);
}

std::array<std::uint8_t, 16> Guid::Bytes() const noexcept
{
    return std::bit_cast<std::array<std::uint8_t, 16>>(m_uuid);
}

_GUID Guid::ConvertToMicrosoftGUID() const noexcept
{
    return std::bit_cast<_GUID>(m_uuid);
}

} // namespace Ardo::Kiln::Types
