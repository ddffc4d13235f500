#pragma once

#include <algorithm>
#include <cstdint>
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
        Long = 4,
        Long8 = 16
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

    TiffBuilder& Set(std::uint16_t tag, Type type, Values values) { return Set(tag, type, values, values.size()); }

    /// An entry whose stated count may be a lie.
    TiffBuilder& Set(std::uint16_t tag, Type type, Values values, std::uint64_t count)
    {
        Remove(tag);
        m_entries.push_back({tag, type, std::move(values), count});
        std::ranges::sort(m_entries, {}, &Entry::tag);
        return *this;
    }

    TiffBuilder& SetText(std::uint16_t tag, const std::string& text)
    {
        return Set(tag, Ascii, Values(text.begin(), text.end()));
    }

    TiffBuilder& Remove(std::uint16_t tag)
    {
        std::erase_if(m_entries, [tag](const Entry& entry) { return entry.tag == tag; });
        return *this;
    }

    TiffBuilder& BigEndian()
    {
        m_bigEndian = true;
        return *this;
    }

    TiffBuilder& BigTiff()
    {
        m_bigTiff = true;
        return *this;
    }

    /// Makes the directory name itself as its successor.
    TiffBuilder& Loop()
    {
        m_loop = true;
        return *this;
    }

    std::string Bytes() const
    {
        const std::size_t word = m_bigTiff ? 8 : 4;
        const std::uint64_t directory = PixelOffset + m_pixels.size();
        const std::size_t countSize = m_bigTiff ? 8 : 2;
        std::uint64_t values = directory + countSize + m_entries.size() * (4 + 2 * word) + word;

        std::string bytes = m_bigEndian ? "MM" : "II";
        Put(bytes, m_bigTiff ? 43 : 42, 2);
        if (m_bigTiff)
        {
            Put(bytes, 8, 2);
            Put(bytes, 0, 2);
        }
        Put(bytes, directory, word);
        bytes.resize(PixelOffset, '\0');
        bytes += m_pixels;

        std::string behind;
        Put(bytes, m_entries.size(), countSize);
        for (const Entry& entry : m_entries)
        {
            std::string content;
            for (const std::uint64_t value : entry.values)
            {
                Put(content, value, entry.type == Long8 ? 8 : entry.type == Long ? 4 : entry.type == Short ? 2 : 1);
            }
            Put(bytes, entry.tag, 2);
            Put(bytes, entry.type, 2);
            Put(bytes, entry.count, word);
            if (content.size() > word)
            {
                Put(bytes, values + behind.size(), word);
                behind += content;
            }
            else
            {
                content.resize(word, '\0');
                bytes += content;
            }
        }
        Put(bytes, m_loop ? directory : 0, word);
        return bytes + behind;
    }

private:
    struct Entry
    {
        std::uint16_t tag;
        Type type;
        Values values;
        std::uint64_t count;
    };

    void Put(std::string& bytes, std::uint64_t value, std::size_t size) const
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            bytes += static_cast<char>(value >> (8 * (m_bigEndian ? size - 1 - i : i)));
        }
    }

    std::string m_pixels;
    std::vector<Entry> m_entries;
    bool m_bigEndian = false;
    bool m_bigTiff = false;
    bool m_loop = false;
};

} // namespace Ardo::Kiln::ImageIO
