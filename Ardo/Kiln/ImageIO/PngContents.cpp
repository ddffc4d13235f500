#include "Ardo/Kiln/ImageIO/PictureFormats_p.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string_view>

#include <boost/crc.hpp>
#include <QByteArray>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

void AppendBigEndian(std::string& bytes, std::uint32_t number)
{
    for (const int shift : {24, 16, 8, 0})
    {
        bytes += static_cast<char>(number >> shift & 0xffu);
    }
}

/// A chunk of a PNG file (W3C recommendation "Portable Network Graphics", second edition, section 5.3).
void AppendChunk(std::string& file, std::string_view type, std::string_view data)
{
    AppendBigEndian(file, static_cast<std::uint32_t>(data.size()));
    boost::crc_32_type checksum;
    checksum.process_bytes(type.data(), type.size());
    checksum.process_bytes(data.data(), data.size());
    file.append(type).append(data);
    AppendBigEndian(file, checksum.checksum());
}

/// The rows, each the difference from the row above (filter "Up"), which makes smooth images smaller.
QByteArray FilteredRows(const Imaging::const_raw_image& picture)
{
    const std::size_t rowSize = picture.RowSize();
    constexpr char Up = 2;
    const std::uint64_t size = (rowSize + 1) * std::uint64_t{picture.Size().height};
    if (size >= static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
    {
        throw std::runtime_error("the picture is too large for a PNG file");
    }
    QByteArray rows(static_cast<int>(size), '\0');
    char* out = rows.data();
    const std::string zeros(rowSize, '\0');
    const auto* above = reinterpret_cast<const unsigned char*>(zeros.data());
    for (std::uint32_t y = 0; y < picture.Size().height; ++y)
    {
        const auto* const row = static_cast<const unsigned char*>(picture.Row(y));
        *out++ = Up;
        for (std::size_t x = 0; x < rowSize; ++x)
        {
            *out++ = static_cast<char>(static_cast<unsigned char>(row[x] - above[x]));
        }
        above = row;
    }
    return rows;
}

std::string NumberText(double number)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number, std::chars_format::scientific, 12).ptr};
}

} // namespace

std::string PngContents(const Imaging::const_raw_image& picture, const std::optional<PixelDensity>& density)
{
    std::string file("\x89PNG\r\n\x1a\n", 8);
    std::string data;
    AppendBigEndian(data, picture.Size().width);
    AppendBigEndian(data, picture.Size().height);
    const bool isGrey = picture.Kind() == PixelKind::UInt8;
    data += {'\x08', isGrey ? '\x00' : '\x02', '\0', '\0', '\0'}; // 8 bits a sample; grey or RGB; not interlaced
    AppendChunk(file, "IHDR", data);
    if (density)
    {
        constexpr double Max = std::numeric_limits<std::int32_t>::max(); // of a PNG integer
        if (std::round(density->x) >= 1.0 && density->x <= Max && std::round(density->y) >= 1.0 && density->y <= Max)
        {
            data.clear();
            AppendBigEndian(data, static_cast<std::uint32_t>(std::llround(density->x)));
            AppendBigEndian(data, static_cast<std::uint32_t>(std::llround(density->y)));
            AppendChunk(file, "pHYs", data + '\x01'); // pixels per metre
        }
        // The size of what the picture shows, also beyond the range of the chunk above: metres per pixel.
        AppendChunk(file, "sCAL",
                    '\x01' + NumberText(1.0 / density->x) + std::string(1, '\0') + NumberText(1.0 / density->y));
    }
    // Behind the length, which Qt writes first, is the stream that PNG takes.
    constexpr int LengthSize = 4;
    const QByteArray compressed = qCompress(FilteredRows(picture));
    if (compressed.size() <= LengthSize)
    {
        throw std::runtime_error("the picture cannot be compressed");
    }
    AppendChunk(file, "IDAT",
                {compressed.constData() + LengthSize, static_cast<std::size_t>(compressed.size() - LengthSize)});
    AppendChunk(file, "IEND", {});
    return file;
}

} // namespace Ardo::Kiln::ImageIO
