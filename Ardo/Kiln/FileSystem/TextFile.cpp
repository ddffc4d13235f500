#include "Ardo/Kiln/FileSystem/TextFile.h"

#include "Ardo/Kiln/FileSystem/FileError.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <array>
#include <system_error>
#include <utility>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

namespace
{

constexpr char32_t ByteOrderMark = 0xFEFF;
constexpr char32_t MaxCodePoint = 0x10FFFF;

std::uint8_t ByteAt(std::string_view bytes, std::size_t at) noexcept
{
    return static_cast<std::uint8_t>(bytes[at]);
}

bool IsSurrogate(char32_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

/// Reads code points one by one. After a fault the position is that of the fault.
class CodePoints
{
public:
    CodePoints(std::string_view bytes, TextEncoding encoding) noexcept : m_bytes(bytes), m_encoding(encoding) {}

    bool IsAtEnd() const noexcept { return m_at == m_bytes.size(); }
    std::size_t Position() const noexcept { return m_at; }

    /// Empty if the bytes are not valid.
    std::optional<char32_t> Next() noexcept { return m_encoding == TextEncoding::Utf8 ? NextOfUtf8() : NextOfUtf16(); }

private:
    std::optional<char32_t> NextOfUtf8() noexcept
    {
        const std::uint8_t first = ByteAt(m_bytes, m_at);
        if (first < 0x80)
        {
            ++m_at;
            return first;
        }
        const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
        if (first < 0xC2 || first > 0xF4 || m_bytes.size() - m_at < length)
        {
            return std::nullopt;
        }
        char32_t value = first & (0x7FU >> length);
        for (std::size_t i = 1; i < length; ++i)
        {
            const std::uint8_t next = ByteAt(m_bytes, m_at + i);
            if ((next & 0xC0U) != 0x80U)
            {
                return std::nullopt;
            }
            value = (value << 6U) | (next & 0x3FU);
        }
        constexpr std::array<char32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
        if (value < smallest[length] || value > MaxCodePoint || IsSurrogate(value))
        {
            return std::nullopt;
        }
        m_at += length;
        return value;
    }

    std::optional<char32_t> NextOfUtf16() noexcept
    {
        const auto unitAt = [&](std::size_t at) -> char32_t
        {
            const std::uint8_t first = ByteAt(m_bytes, at);
            const std::uint8_t second = ByteAt(m_bytes, at + 1);
            return m_encoding == TextEncoding::Utf16LittleEndian ? first | (second << 8U) : (first << 8U) | second;
        };
        if (m_bytes.size() - m_at < 2)
        {
            return std::nullopt;
        }
        const char32_t high = unitAt(m_at);
        if (!IsSurrogate(high))
        {
            m_at += 2;
            return high;
        }
        if (high >= 0xDC00 || m_bytes.size() - m_at < 4)
        {
            return std::nullopt;
        }
        const char32_t low = unitAt(m_at + 2);
        if (low < 0xDC00 || low > 0xDFFF)
        {
            return std::nullopt;
        }
        m_at += 4;
        return 0x10000 + ((high - 0xD800) << 10U) + (low - 0xDC00);
    }

    std::string_view m_bytes;
    TextEncoding m_encoding;
    std::size_t m_at = 0;
};

void AppendUtf8(std::string& text, char32_t value)
{
    const auto append = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (value < 0x80)
    {
        append(value);
        return;
    }
    const unsigned following = value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
    const char32_t leadBits = (0xFF00U >> (following + 1)) & 0xFFU; // one bit for each byte, and a 0
    append(leadBits | (value >> (6 * following)));
    for (unsigned i = following; i-- > 0;)
    {
        append(0x80U | ((value >> (6 * i)) & 0x3FU));
    }
}

void Append(std::string& bytes, char32_t value, TextEncoding encoding)
{
    if (encoding == TextEncoding::Utf8)
    {
        AppendUtf8(bytes, value);
        return;
    }
    const auto appendUnit = [&](char32_t unit)
    {
        const auto low = static_cast<char>(unit & 0xFFU);
        const auto high = static_cast<char>(unit >> 8U);
        bytes.push_back(encoding == TextEncoding::Utf16LittleEndian ? low : high);
        bytes.push_back(encoding == TextEncoding::Utf16LittleEndian ? high : low);
    };
    if (value < 0x10000)
    {
        appendUnit(value);
        return;
    }
    appendUnit(0xD800 + ((value - 0x10000) >> 10U));
    appendUnit(0xDC00 + ((value - 0x10000) & 0x3FFU));
}

/// Copies text from one encoding to another, with other line ends.
/// \returns the position of the first fault, or the size of \p from.
std::size_t Copy(std::string_view from, TextEncoding encoding, std::string& to, const TextFormat& format)
{
    CodePoints points(from, encoding);
    const bool keepsLineEnds = format.lineEnd == LineEnd::Keep;
    bool isAfterCarriageReturn = false;
    while (!points.IsAtEnd())
    {
        const auto point = points.Next();
        if (!point)
        {
            return points.Position();
        }
        const bool endsPair = *point == U'\n' && isAfterCarriageReturn;
        isAfterCarriageReturn = *point == U'\r';
        if (keepsLineEnds || (*point != U'\n' && *point != U'\r'))
        {
            Append(to, *point, format.encoding);
        }
        else if (!endsPair) // otherwise the end was written for the carriage return
        {
            if (format.lineEnd == LineEnd::CarriageReturnLineFeed)
            {
                Append(to, U'\r', format.encoding);
            }
            Append(to, U'\n', format.encoding);
        }
    }
    return from.size();
}

LineEnd FirstLineEnd(std::string_view text) noexcept
{
    const std::size_t end = text.find_first_of("\r\n");
    if (end == std::string_view::npos)
    {
        return LineEnd::Keep;
    }
    return text[end] == '\n'                      ? LineEnd::LineFeed
           : text.substr(end).starts_with("\r\n") ? LineEnd::CarriageReturnLineFeed
                                                  : LineEnd::Keep;
}

/// The encoding that the first bytes tell, and the length of the mark.
std::pair<TextEncoding, std::size_t> EncodingOf(std::string_view bytes, std::optional<TextEncoding> expected) noexcept
{
    if (bytes.starts_with("\xEF\xBB\xBF"))
    {
        return {TextEncoding::Utf8, 3};
    }
    if (bytes.starts_with("\xFF\xFE"))
    {
        return {TextEncoding::Utf16LittleEndian, 2};
    }
    if (bytes.starts_with("\xFE\xFF"))
    {
        return {TextEncoding::Utf16BigEndian, 2};
    }
    if (expected || bytes.size() < 2 || (bytes[0] == 0) == (bytes[1] == 0))
    {
        return {expected.value_or(TextEncoding::Utf8), 0};
    }
    return {bytes[1] == 0 ? TextEncoding::Utf16LittleEndian : TextEncoding::Utf16BigEndian, 0};
}

[[noreturn]] void Fail(const char* operation, const fs::path& path, std::errc reason)
{
    throw FileError(operation, path, std::make_error_code(reason));
}

constexpr char CannotRead[] = "cannot read text";
constexpr char CannotWrite[] = "cannot write text";

std::string ReadBytes(const fs::path& path, std::uint64_t maxSize)
try
{
    std::error_code error;
    if (const fs::file_status status = fs::status(path, error); fs::exists(status) && !fs::is_regular_file(status))
    {
        Fail(CannotRead, path, std::errc::invalid_argument);
    }
    Platform::RandomAccessFile file(path, Platform::RandomAccessFile::Access::Read);
    if (file.SizeWhenOpened() > maxSize)
    {
        Fail(CannotRead, path, std::errc::file_too_large);
    }
    // One byte more than the size: a file that grows meanwhile is read again.
    std::string bytes;
    std::size_t wanted = static_cast<std::size_t>(file.SizeWhenOpened()) + 1;
    for (;;)
    {
        const std::size_t begin = bytes.size();
        bytes.resize(wanted);
        const std::int64_t count = file.ReadAt(begin, bytes.data() + begin, static_cast<std::int64_t>(wanted - begin));
        if (count < 0)
        {
            throw FileError(CannotRead, path, file.LastError());
        }
        bytes.resize(begin + static_cast<std::size_t>(count));
        if (bytes.size() > maxSize)
        {
            Fail(CannotRead, path, std::errc::file_too_large);
        }
        if (bytes.size() < wanted)
        {
            return bytes;
        }
        wanted += wanted;
    }
}
catch (const fs::filesystem_error&)
{
    throw;
}
catch (const std::system_error& error)
{
    throw FileError(CannotRead, path, error.code());
}
catch (const std::runtime_error&)
{
    // No regular file any more.
    Fail(CannotRead, path, std::errc::invalid_argument);
}

void WriteBytes(const fs::path& path, const fs::path& target, const std::string& bytes)
{
    std::error_code error;
    try
    {
        Platform::RandomAccessFile file(path, Platform::RandomAccessFile::Access::Replace);
        const auto size = static_cast<std::int64_t>(bytes.size());
        error = file.WriteAt(0, bytes.data(), size) < 0 ? file.LastError() : std::error_code();
    }
    catch (const std::system_error& failure)
    {
        error = failure.code();
    }
    if (error)
    {
        throw FileError(CannotWrite, target, error);
    }
}

} // namespace

TextFile ReadTextFile(const fs::path& path, const TextReading& reading)
{
    const std::string bytes = ReadBytes(path, reading.maxSize);
    const auto [encoding, markSize] = EncodingOf(bytes, reading.encoding);
    TextFile file;
    file.format = {encoding, markSize != 0, LineEnd::Keep};
    file.text.reserve(bytes.size());
    const std::size_t fault =
        Copy(std::string_view(bytes).substr(markSize), encoding, file.text, {TextEncoding::Utf8, false, LineEnd::Keep});
    if (fault + markSize != bytes.size())
    {
        throw FileError(std::string(CannotRead) + " (byte " + std::to_string(fault + markSize) + " is not valid)", path,
                        std::make_error_code(std::errc::illegal_byte_sequence));
    }
    file.format.lineEnd = FirstLineEnd(file.text);
    if (reading.lineEnd != LineEnd::Keep)
    {
        std::string text;
        text.reserve(file.text.size());
        Copy(file.text, TextEncoding::Utf8, text, {TextEncoding::Utf8, false, reading.lineEnd});
        file.text = std::move(text);
    }
    return file;
}

void WriteTextFile(const fs::path& path, std::string_view text, const TextFormat& format)
{
    std::string bytes;
    bytes.reserve(text.size() * (format.encoding == TextEncoding::Utf8 ? 1 : 2));
    if (format.hasMark)
    {
        Append(bytes, ByteOrderMark, format.encoding);
    }
    if (Copy(text, TextEncoding::Utf8, bytes, format) != text.size())
    {
        Fail(CannotWrite, path, std::errc::illegal_byte_sequence);
    }
    ReplacementFile file(path);
    WriteBytes(file.Path(), path, bytes);
    file.Commit();
}

} // namespace Ardo::Kiln::FileSystem
