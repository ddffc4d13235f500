#include "Ardo/Kiln/Crash/Report/TextSink.h"

#include <algorithm>
#include <charconv>

namespace Ardo::Kiln::Crash
{

TextSink& TextSink::operator<<(Hexadecimal number)
{
    constexpr std::size_t MaxDigits = 16;
    char text[MaxDigits];
    std::size_t first = MaxDigits;
    do
    {
        text[--first] = "0123456789ABCDEF"[number.value & 0xFU];
        number.value >>= 4U;
    } while (first > 0 && (number.value != 0 || MaxDigits - first < number.digits));
    Append({text + first, MaxDigits - first});
    return *this;
}

TextSink& TextSink::AppendDecimal(std::uint64_t number)
{
    char digits[24];
    Append({digits, static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits)});
    return *this;
}

std::string_view CutUtf8(std::string_view text, std::size_t size) noexcept
{
    if (text.size() <= size)
    {
        return text;
    }
    const auto continues = [&] { return (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80; };
    while (size > 0 && continues())
    {
        --size;
    }
    return text.substr(0, size);
}

void BufferSink::Append(std::string_view text) noexcept
{
    const std::string_view fitting = m_isCut ? std::string_view() : CutUtf8(text, m_capacity - m_length);
    m_isCut = m_isCut || fitting.size() < text.size();
    std::copy(fitting.begin(), fitting.end(), m_begin + m_length);
    m_length += fitting.size();
    m_begin[m_length] = '\0';
}

} // namespace Ardo::Kiln::Crash
