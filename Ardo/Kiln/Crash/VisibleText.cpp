#include "Ardo/Kiln/Crash/VisibleText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Character
{
    std::uint32_t code = 0;
    std::size_t length = 0; ///< In bytes; 0 when the bytes are not UTF-8.
};

/// Decodes the first character of \p text, which is not empty.
Character Decode(std::string_view text) noexcept
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    if (first < 0x80)
    {
        return {first, 1};
    }
    const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (length == 0 || length > text.size())
    {
        return {};
    }
    std::uint32_t code = first & (0x7FU >> length);
    for (std::size_t at = 1; at < length; ++at)
    {
        if ((byte(at) & 0xC0U) != 0x80)
        {
            return {};
        }
        code = code << 6U | (byte(at) & 0x3FU);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool none = (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF;
    return overlong || none ? Character() : Character{code, length};
}

/// One character as it is shown, at most 6 bytes.
class Shown
{
public:
    explicit Shown(std::string_view text) noexcept
    {
        const auto [code, length] = Decode(text);
        const unsigned char first = static_cast<unsigned char>(text.front());
        m_consumed = length != 0 ? length : 1;
        switch (code)
        {
        case '\n':
            Add("\\n");
            return;
        case '\r':
            Add("\\r");
            return;
        case '\t':
            Add("\\t");
            return;
        default:
            break;
        }
        if (length == 0 || code < 0x20 || code == 0x7F)
        {
            AddCode("\\x", first, 2);
        }
        else if ((code >= 0x80 && code < 0xA0) || code == 0x2028 || code == 0x2029)
        {
            AddCode("\\u", code, 4);
        }
        else
        {
            Add(text.substr(0, length));
        }
    }

    std::string_view Text() const noexcept { return {m_text, m_size}; }
    std::size_t Consumed() const noexcept { return m_consumed; } ///< Bytes of the text.

private:
    void Add(std::string_view text) noexcept { m_size = text.copy(m_text, sizeof m_text); }

    void AddCode(std::string_view prefix, std::uint32_t code, std::size_t digits) noexcept
    {
        constexpr std::string_view Digits = "0123456789ABCDEF";
        Add(prefix);
        for (; digits > 0; --digits)
        {
            m_text[m_size++] = Digits[code >> (4 * (digits - 1)) & 0xFU];
        }
    }

    char m_text[6] = {};
    std::size_t m_size = 0;
    std::size_t m_consumed = 0;
};

} // namespace

void CopyVisible(char* target, std::size_t size, std::string_view text) noexcept
{
    constexpr std::string_view Mark = " [cut: ";
    constexpr std::string_view MarkEnd = " bytes]";
    constexpr std::size_t MarkSize = Mark.size() + 20 + MarkEnd.size(); // with any number
    std::size_t length = 0;
    std::size_t beforeMark = 0; // as much as there is room for when the mark follows
    for (std::size_t at = 0; at < text.size();)
    {
        const Shown shown(text.substr(at));
        if (length + shown.Text().size() >= size)
        {
            char* end = std::copy(Mark.begin(), Mark.end(), target + beforeMark);
            end = std::to_chars(end, target + size, text.size()).ptr;
            *std::copy(MarkEnd.begin(), MarkEnd.end(), end) = '\0';
            return;
        }
        length += shown.Text().copy(target + length, shown.Text().size());
        at += shown.Consumed();
        beforeMark = length + MarkSize < size ? length : beforeMark;
    }
    target[length] = '\0';
}

} // namespace Ardo::Kiln::Crash
