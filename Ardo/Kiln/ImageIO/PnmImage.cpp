#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"

#include <cstring>
#include <stdexcept>

#include <QIODevice>
#include <QtEndian>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

constexpr unsigned char BlackLevel = 0;
constexpr unsigned char WhiteLevel = 255;

/// The header before the samples; see the manual pages pbm(5), pgm(5) and ppm(5).
struct Header
{
    int type; ///< The digit of the magic number.
    std::uint64_t width;
    std::uint64_t height;
    std::uint64_t maximum; ///< The largest value of a sample.

    bool IsText() const noexcept { return type <= 3; }
    bool IsBitmap() const noexcept { return type == 1 || type == 4; }
    bool IsColour() const noexcept { return type == 3 || type == 6; }

    PixelKind Kind() const noexcept
    {
        return IsColour() ? PixelKind::Rgb8 : maximum > 255 ? PixelKind::UInt16 : PixelKind::UInt8;
    }

    /// The bytes of a row of binary samples.
    std::uint64_t RowSize() const noexcept
    {
        return type == 4 ? width / 8 + (width % 8 == 0 ? 0 : 1) : BytesPerPixel(Kind()) * width;
    }
};

char NextCharacter(QIODevice& file)
{
    char character = 0;
    if (!file.getChar(&character))
    {
        throw std::runtime_error("the PNM file is cut");
    }
    return character;
}

bool IsSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// The next character that is neither a space nor part of a comment.
char NextSignificant(QIODevice& file)
{
    char character = NextCharacter(file);
    while (IsSpace(character) || character == '#')
    {
        if (character == '#')
        {
            while (character != '\n' && character != '\r')
            {
                character = NextCharacter(file);
            }
        }
        character = NextCharacter(file);
    }
    return character;
}

/// The next number, together with the space behind it.
std::uint64_t NextNumber(QIODevice& file, std::uint64_t largest)
{
    std::uint64_t number = 0;
    char character = NextSignificant(file);
    do
    {
        if (character < '0' || character > '9')
        {
            throw std::runtime_error("a PNM file with something else than a number");
        }
        number = number * 10 + static_cast<unsigned int>(character - '0');
        if (number > largest)
        {
            throw std::runtime_error("a PNM file with a number above " + std::to_string(largest));
        }
    } while (file.getChar(&character) && !IsSpace(character));
    return number;
}

Header ReadHeader(QIODevice& file)
{
    constexpr std::uint64_t MaxSide = 0x7fffffff;
    constexpr std::uint64_t MaxSample = 65535;

    NextCharacter(file); // "P"
    Header header{.type = NextCharacter(file) - '0', .width = 0, .height = 0, .maximum = 1};
    header.width = NextNumber(file, MaxSide);
    header.height = NextNumber(file, MaxSide);
    if (!header.IsBitmap())
    {
        header.maximum = NextNumber(file, MaxSample);
    }
    if (header.width == 0 || header.height == 0 || header.maximum == 0)
    {
        throw std::runtime_error("a PNM file without pixels");
    }
    if (header.IsColour() && header.maximum > 255)
    {
        RefuseKind("colours of 16 bits a sample");
    }
    const auto rest = static_cast<std::uint64_t>(file.size() - file.pos());
    const std::uint64_t rowSize = header.IsText() ? header.width * (header.IsColour() ? 3 : 1) : header.RowSize();
    if (rowSize > rest / header.height)
    {
        throw std::runtime_error("the PNM file is cut");
    }
    return header;
}

void ReadTextRow(QIODevice& file, const Header& header, unsigned char* row)
{
    const std::uint64_t samples = header.width * (header.IsColour() ? 3 : 1);
    for (std::uint64_t i = 0; i < samples; ++i)
    {
        if (header.IsBitmap()) // the digits need no white space between them
        {
            const char digit = NextSignificant(file);
            if (digit != '0' && digit != '1')
            {
                throw std::runtime_error("a PBM file with something else than 0 and 1");
            }
            row[i] = digit == '1' ? BlackLevel : WhiteLevel;
            continue;
        }
        const std::uint64_t value = NextNumber(file, header.maximum);
        if (header.maximum > 255)
        {
            const auto wide = static_cast<std::uint16_t>(value);
            std::memcpy(row + 2 * i, &wide, sizeof wide);
        }
        else
        {
            row[i] = static_cast<unsigned char>(value);
        }
    }
}

void ReadBinaryRow(QIODevice& file, const Header& header, unsigned char* row)
{
    const auto size = static_cast<qint64>(header.RowSize());
    if (file.read(reinterpret_cast<char*>(row), size) != size)
    {
        throw std::runtime_error("the PNM file is cut");
    }
    if (header.IsBitmap())
    {
        // The bits lie at the beginning of the row: backwards, none is overwritten before it is read.
        for (std::uint64_t x = header.width; x-- > 0;)
        {
            row[x] = (row[x / 8] >> (7 - x % 8) & 1) != 0 ? BlackLevel : WhiteLevel;
        }
    }
    else if (header.maximum > 255)
    {
        qFromBigEndian<quint16>(row, static_cast<qsizetype>(header.width), row);
    }
}

} // namespace

std::unique_ptr<Imaging::const_raw_image> DecodePnm(QIODevice& file)
{
    const Header header = ReadHeader(file);
    const NewImage image(header.width, header.height, header.Kind());
    for (std::uint64_t y = 0; y < header.height; ++y)
    {
        header.IsText() ? ReadTextRow(file, header, image.Row(y)) : ReadBinaryRow(file, header, image.Row(y));
    }
    return image.Finish();
}

} // namespace Ardo::Kiln::ImageIO
