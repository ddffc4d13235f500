#include "Ardo/Kiln/Logger/LogText_p.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace Ardo::Kiln::Logger
{

namespace
{

/// Whether each byte is one printable ASCII character.
bool IsPlain(std::string_view text)
{
    // No early end: so the compiler checks many bytes at a time, and most texts are short or plain.
    bool isPlain = true;
    for (const char byte : text)
    {
        isPlain &= static_cast<unsigned char>(byte - 0x20) < 0x7F - 0x20;
    }
    return isPlain;
}

/// The control character at the begin of \p text, which is valid UTF-8 and not empty.
struct ControlCharacter
{
    explicit ControlCharacter(std::string_view text)
    {
        const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
        if (byte(0) < 0x20 || byte(0) == 0x7F)
        {
            code = byte(0);
            size = 1;
        }
        else if (byte(0) == 0xC2 && byte(1) < 0xA0)
        {
            code = byte(1);
            size = 2;
        }
        else if (text.starts_with("\u2028") || text.starts_with("\u2029"))
        {
            code = text[2] == '\xA8' ? 0x2028 : 0x2029;
            size = 3;
        }
    }

    unsigned code = 0;
    std::size_t size = 0; ///< In bytes; 0 for any other character.
};

void AppendEscape(std::string& line, unsigned code)
{
    constexpr std::string_view Digits = "0123456789ABCDEF";
    switch (code)
    {
    case '\n':
        line += "\\n";
        return;
    case '\r':
        line += "\\r";
        return;
    case '\t':
        line += "\\t";
        return;
    default:
        break;
    }
    line += code < 0x80 ? "\\x" : "\\u";
    for (int shift = code < 0x80 ? 4 : 12; shift >= 0; shift -= 4)
    {
        line += Digits[(code >> shift) & 0xFU];
    }
}

template <typename Text>
void AppendVisibly(std::string& line, Text text)
{
    const std::size_t begin = line.size();
    Conversion::AppendReplacing(line, text);
    if (IsPlain(std::string_view(line).substr(begin)))
    {
        return;
    }
    const std::string valid = line.substr(begin);
    line.resize(begin);
    for (std::string_view rest = valid; !rest.empty();)
    {
        if (const ControlCharacter control(rest); control.size > 0)
        {
            AppendEscape(line, control.code);
            rest.remove_prefix(control.size);
        }
        else
        {
            line += rest.front();
            rest.remove_prefix(1);
        }
    }
}

} // namespace

void AppendText(std::string& line, std::string_view text)
{
    AppendVisibly(line, text);
}

void AppendText(std::string& line, std::wstring_view text)
{
    AppendVisibly(line, text);
}

void AppendLocalTime(std::string& text, Time::TimePoint time)
{
    // Trivial to destroy: static objects may still log when a thread's other variables are gone.
    struct Cache
    {
        std::int64_t second = std::numeric_limits<std::int64_t>::min();
        std::array<char, 32> text{};
        std::size_t size = 0;
    };
    static thread_local Cache g_cache;

    const auto second = std::chrono::floor<std::chrono::seconds>(time);
    if (second.time_since_epoch().count() != g_cache.second)
    {
        const std::string whole = Time::ToLocalTimeISOString(Time::TimePoint(second));
        g_cache.size = std::min(whole.size(), g_cache.text.size());
        std::copy_n(whole.begin(), g_cache.size, g_cache.text.begin());
        g_cache.second = second.time_since_epoch().count();
    }
    text.append(g_cache.text.data(), g_cache.size);
    if (g_cache.size >= 3) // empty for a year that the format does not hold
    {
        auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time - second).count();
        for (auto digit = text.rbegin(); digit != text.rbegin() + 3; ++digit, milliseconds /= 10)
        {
            *digit = static_cast<char>('0' + milliseconds % 10);
        }
    }
}

} // namespace Ardo::Kiln::Logger
