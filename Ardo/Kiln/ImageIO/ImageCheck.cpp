#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

#include <boost/crc.hpp>
#include <QIODevice>
#include <QSize>
#include <QtEndian>

namespace Ardo::Kiln::ImageIO
{

namespace
{

[[noreturn]] void IsCut(const std::string& format)
{
    throw std::runtime_error("the " + format + " file is cut");
}

template <std::size_t Size>
std::array<unsigned char, Size> Next(QIODevice& file, const char* format)
{
    std::array<unsigned char, Size> bytes{};
    if (file.read(reinterpret_cast<char*>(bytes.data()), Size) != static_cast<qint64>(Size))
    {
        IsCut(format);
    }
    return bytes;
}

/// Passes over \p size bytes, which the file has to have.
void Skip(QIODevice& file, qint64 size, const char* format)
{
    if (size > file.size() - file.pos() || !file.seek(file.pos() + size))
    {
        IsCut(format);
    }
}

/// ISO/IEC 15948, section 5: chunks with checksums, the last one "IEND".
void CheckPng(QIODevice& file)
{
    constexpr qint64 SignatureSize = 8;
    Skip(file, SignatureSize, "PNG");
    for (std::string_view name; name != "IEND";)
    {
        const auto start = Next<8>(file, "PNG");
        const auto length = qFromBigEndian<quint32>(start.data());
        boost::crc_32_type checksum;
        checksum.process_bytes(start.data() + 4, 4);
        std::array<char, 65536> block{};
        for (std::uint64_t rest = length; rest > 0;)
        {
            const auto size = static_cast<qint64>(std::min<std::uint64_t>(rest, block.size()));
            if (file.read(block.data(), size) != size)
            {
                IsCut("PNG");
            }
            checksum.process_bytes(block.data(), static_cast<std::size_t>(size));
            rest -= static_cast<std::uint64_t>(size);
        }
        if (checksum.checksum() != qFromBigEndian<quint32>(Next<4>(file, "PNG").data()))
        {
            throw std::runtime_error("the PNG file is damaged: wrong checksum");
        }
        name = std::equal(start.begin() + 4, start.end(), "IEND") ? "IEND" : "";
    }
}

/// The header of a Windows bitmap says where the rows begin and how long they are.
void CheckBitmap(QIODevice& file)
{
    constexpr quint32 CoreHeaderSize = 12;
    constexpr quint32 Uncompressed = 0;
    constexpr quint32 BitFields = 3;

    const auto start = Next<18>(file, "BMP");
    const auto offset = qFromLittleEndian<quint32>(start.data() + 10);
    const bool isCore = qFromLittleEndian<quint32>(start.data() + 14) == CoreHeaderSize;
    const auto header = isCore ? std::array<unsigned char, 16>{} : Next<16>(file, "BMP");
    const auto core = isCore ? Next<8>(file, "BMP") : std::array<unsigned char, 8>{};
    const qint64 width = isCore ? qFromLittleEndian<quint16>(core.data()) : qFromLittleEndian<qint32>(header.data());
    const qint64 height =
        isCore ? qFromLittleEndian<quint16>(core.data() + 2) : qFromLittleEndian<qint32>(header.data() + 4);
    const qint64 bits = qFromLittleEndian<quint16>(isCore ? core.data() + 6 : header.data() + 10);
    const auto compression = isCore ? Uncompressed : qFromLittleEndian<quint32>(header.data() + 12);
    if (compression != Uncompressed && compression != BitFields)
    {
        RefuseKind("a BMP file with compressed rows"); // which may end early without an error
    }
    const qint64 rows = height < 0 ? -height : height; // negative: from top to bottom
    const qint64 rowSize = (std::max<qint64>(width, 0) * bits + 31) / 32 * 4;
    if (rowSize > 0 && rows > (file.size() - offset) / rowSize)
    {
        IsCut("BMP");
    }
}

/// GIF89a, section 19 and following: blocks up to a trailer.
void CheckGif(QIODevice& file)
{
    constexpr unsigned char Extension = 0x21;
    constexpr unsigned char Image = 0x2C;
    constexpr unsigned char Trailer = 0x3B;
    const auto skipColours = [&](unsigned char flags)
    {
        if ((flags & 0x80) != 0)
        {
            Skip(file, qint64{3} << ((flags & 7) + 1), "GIF");
        }
    };
    skipColours(Next<13>(file, "GIF")[10]);
    for (unsigned char block = 0; (block = Next<1>(file, "GIF")[0]) != Trailer;)
    {
        if (block == Image)
        {
            skipColours(Next<9>(file, "GIF")[8]);
        }
        else if (block != Extension)
        {
            throw std::runtime_error("the GIF file is damaged: a block of no kind");
        }
        Skip(file, 1, "GIF"); // the label of an extension, the code size of an image
        while (const qint64 size = Next<1>(file, "GIF")[0])
        {
            Skip(file, size, "GIF");
        }
    }
}

} // namespace

void CheckXbm(QIODevice& file, const QSize& size)
{
    constexpr qint64 LongestText = 64 << 20;
    if (file.size() > LongestText)
    {
        throw std::runtime_error("an XBM file of more than 64 MiB");
    }
    const QByteArray text = file.readAll();
    const int end = text.lastIndexOf('}');
    const qint64 numbers =
        end < 0 ? 0 : text.mid(text.indexOf('{')).count("0x") + text.mid(text.indexOf('{')).count("0X");
    if (end < 0 || numbers < qint64{(size.width() + 7) / 8} * size.height())
    {
        IsCut("XBM");
    }
}

bool CheckIsWhole(QIODevice& file)
{
    const QByteArray start = file.peek(4);
    if (start == "\x89PNG")
    {
        CheckPng(file);
    }
    else if (start.startsWith("BM"))
    {
        CheckBitmap(file);
    }
    else if (start == "GIF8")
    {
        CheckGif(file);
    }
    else
    {
        return false;
    }
    file.seek(0);
    return true;
}

} // namespace Ardo::Kiln::ImageIO
