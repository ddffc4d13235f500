#include "Ardo/Kiln/FileNaming/NamePattern_p.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <QString>

#include <algorithm>
#include <type_traits>

namespace Ardo::Kiln::FileNaming
{

namespace
{

using Native = std::filesystem::path::value_type;
using NativeView = std::basic_string_view<Native>;

bool IsDigit(Native unit) noexcept
{
    return unit >= '0' && unit <= '9';
}

bool IsAscii(Native unit) noexcept
{
    return (static_cast<std::make_unsigned_t<Native>>(unit) & ~0x7FU) == 0;
}

Native ToLower(Native unit) noexcept
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<Native>(unit - 'A' + 'a') : unit;
}

QString Folded(NativeView text)
{
    return QString::fromStdWString(FileSystem::ToWide(std::filesystem::path(text))).toCaseFolded();
}

/// The length of the beginning of \p name that is \p begin in upper or lower case; empty if it does not begin so.
///
/// Nearly all names of a large folder begin with the very same units or differ in one of ASCII.
std::optional<std::size_t> LengthOfBegin(NativeView name, NativeView begin)
{
    if (name.starts_with(begin))
    {
        return begin.size();
    }
    bool isAscii = true;
    for (std::size_t i = 0; i < std::min(name.size(), begin.size()); ++i)
    {
        if (!IsAscii(name[i]) || !IsAscii(begin[i]))
        {
            isAscii = false;
            break;
        }
        if (ToLower(name[i]) != ToLower(begin[i]))
        {
            return std::nullopt;
        }
    }
    if (isAscii)
    {
        return name.size() >= begin.size() ? std::optional(begin.size()) : std::nullopt;
    }
    // The two may have different lengths: "ß" in another case has two letters. The digits tell where the text ends.
    const QString folded = Folded(begin);
    if (!Folded(name).startsWith(folded))
    {
        return std::nullopt;
    }
    for (std::size_t end = 1; end <= name.size(); ++end)
    {
        if ((end == name.size() || IsDigit(name[end]) || name[end] == '.') && Folded(name.substr(0, end)) == folded)
        {
            return end;
        }
    }
    return std::nullopt;
}

} // namespace

NamePattern::NamePattern(const std::wstring& begin, int maxDigits, const std::wstring& whole)
    : m_begin(FileSystem::ToPath(begin).native()),
      m_whole(FileSystem::ToPath(whole).native()),
      m_maxDigits(static_cast<std::size_t>(maxDigits))
{
}

std::optional<std::uint32_t> NamePattern::ReadNumber(NativeView text) const
{
    std::size_t length = 0;
    std::uint32_t number = 0;
    while (length < text.size() && IsDigit(text[length]))
    {
        if (++length > m_maxDigits)
        {
            return std::nullopt;
        }
        number = 10 * number + static_cast<std::uint32_t>(text[length - 1] - '0');
    }
    return length > 0 ? std::optional(number) : std::nullopt;
}

std::optional<std::uint32_t> NamePattern::NumberOf(NativeView name) const
{
    if (const auto length = LengthOfBegin(name, m_begin))
    {
        if (const auto number = ReadNumber(name.substr(*length)))
        {
            return number;
        }
    }
    if (!m_whole.empty())
    {
        const auto length = LengthOfBegin(name, m_whole);
        if (length && (*length == name.size() || name[*length] == '.'))
        {
            return 1;
        }
    }
    return std::nullopt;
}

} // namespace Ardo::Kiln::FileNaming
