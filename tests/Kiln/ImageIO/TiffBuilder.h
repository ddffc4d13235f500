#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// Makes the bytes of a TIFF file, honest or not: header, pixels, directory, values that do not fit their entries.
class TiffBuilder
{
public:
    enum Type : std::uint16_t
    {
        Byte = 1,
        Ascii = 2,
        Short = 3,
        Long = 4
    };
    using Values = std::vector<std::uint64_t>;

    static constexpr std::uint64_t PixelOffset = 16;

    /// A grey image of one strip whose pixels are \p pixels.
    TiffBuilder(std::uint32_t width, std::uint32_t height, std::string pixels, std::uint16_t bits = 8)
        : m_pixels(std::move(pixels))
    {
        Set(256, Long, {width}).Set(257, Long, {height}).Set(258, Short, {bits}).Set(259, Short, {1});
        Set(262, Short, {1}).Set(273, Long, {PixelOffset}).Set(277, Short, {1}).Set(278, Long, {height});
        Set(279, Long, {m_pixels.size()}).Set(339, Short, {1});
    }

    /// \param count If not 0, what the entry states instead of the real number of values.
    TiffBuilder& Set(std::uint16_t tag, Type type, Values values, std::uint64_t count = 0)
    {
        m_entries[tag] = {type, count != 0 ? count : values.size(), std::move(values)};
        return *this;
    }

    /// Without a zero at its end.
    TiffBuilder& SetMetadata(const std::string& text, Type type = Ascii)
    {
        return Set(34683, type, Values(text.begin(), text.end()));
    }

    TiffBuilder& Remove(std::uint16_t tag)
    {
        m_entries.erase(tag);
        return *this;
    }

    /// \param big A big-endian BigTIFF file, not a little-endian classic one.
    /// \param loop The directory names itself as its successor.
    std::string Bytes(bool big = false, bool loop = false) const
    {
        const auto number = [big](std::uint64_t value, std::size_t size)
        {
            std::string bytes(size, '\0');
            for (std::size_t i = 0; i < size; ++i)
            {
                bytes[big ? size - 1 - i : i] = static_cast<char>(value >> (8 * i));
            }
            return bytes;
        };
        const std::size_t word = big ? 8 : 4;
        const std::uint64_t directory = PixelOffset + m_pixels.size();
        const std::string count = number(m_entries.size(), big ? 8 : 2);
        const std::uint64_t behind = directory + count.size() + m_entries.size() * (4 + 2 * word) + word;

        std::string bytes = big ? "MM" : "II";
        bytes += big ? number(43, 2) + number(8, 2) + number(0, 2) : number(42, 2);
        bytes += number(directory, word);
        bytes.resize(PixelOffset, '\0');
        bytes += m_pixels + count;
        std::string values;
        for (const auto& [tag, entry] : m_entries)
        {
            std::string content;
            for (const std::uint64_t value : entry.values)
            {
                content += number(value, entry.type == Long ? 4 : entry.type == Short ? 2 : 1);
            }
            bytes += number(tag, 2) + number(entry.type, 2) + number(entry.count, word);
            if (content.size() > word)
            {
                bytes += number(behind + values.size(), word);
                values += content;
            }
            else
            {
                content.resize(word, '\0');
                bytes += content;
            }
        }
        return bytes + number(loop ? directory : 0, word) + values;
    }

private:
    struct Entry
    {
        Type type;
        std::uint64_t count;
        Values values;
    };

    std::string m_pixels;
    std::map<std::uint16_t, Entry> m_entries;
};

} // namespace Ardo::Kiln::ImageIO
