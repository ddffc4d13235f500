#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/QtImageReaders_p.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/Platform/Plugin.h"

#include <algorithm>
#include <stdexcept>

#include <QIODevice>

namespace Ardo::Kiln::ImageIO
{

namespace
{

/// The most pixels that one byte of a file can become.
std::uint64_t MaxExpansion(QIODevice& file, const std::string& format)
{
    constexpr std::uint64_t Deflate = 1032; // bytes: 258 of two bits, see zlib's technical notes
    constexpr std::uint64_t Lzw = 2731;     // a table entry of 4096 pixels of 12 bits
    if (format == "gif")
    {
        return Lzw;
    }
    if (format == "png")
    {
        // Depth and colour type of the header, ISO/IEC 15948, section 11.2.2.
        const QByteArray header = file.peek(26);
        const int channels = header.size() < 26 || header[25] == 0 || header[25] == 3 ? 1 : header[25] == 4 ? 2 : 3;
        const auto bits = static_cast<std::uint64_t>(header.size() < 26 ? 1 : header[24] * channels);
        return 8 * Deflate / std::max<std::uint64_t>(bits, 1);
    }
    return 8 * Deflate;
}

/// Loads the readers when they are first asked for.
/// \throws NoImageReaders
const QtImageReaders& Readers()
{
    static const QtImageReaders& g_readers = []() -> const QtImageReaders&
    {
        try
        {
            void* const function = Platform::PluginFunction("CommonImages", "KilnQtImageReaders");
            if (const auto* const readers = reinterpret_cast<decltype(&KilnQtImageReaders)>(function)())
            {
                return *readers;
            }
        }
        catch (const std::runtime_error& error)
        {
            throw NoImageReaders(error.what());
        }
        throw NoImageReaders("no image reader is installed");
    }();
    return g_readers;
}

} // namespace

std::unique_ptr<Imaging::const_raw_image> DecodeWithQt(QIODevice& file)
{
    // Readers of text formats may search the whole file for the beginning of an image.
    constexpr qint64 MaxTextFormat = qint64{256} << 20;
    const bool isKnown = CheckIsWhole(file);
    const bool isTried = isKnown || file.size() <= MaxTextFormat;
    const auto [format, size] = isTried ? Readers().ReadHeader(file) : QtImageReaders::Header();
    if (format.empty())
    {
        throw ReadImageException(ReadImageException::Cause::NotAnImage, "no image of a known format");
    }

    // Qt allocates the size that the file states, without a check.
    if (!size.isValid() || size.isEmpty())
    {
        throw std::runtime_error("the " + format + " file states no size");
    }
    file.seek(0);
    CheckCanHold(static_cast<std::uint64_t>(file.size()), static_cast<std::uint64_t>(size.width()),
                 static_cast<std::uint64_t>(size.height()), MaxExpansion(file, format));
    if (format == "xbm")
    {
        CheckXbm(file, size);
        file.seek(0);
    }

    std::string refusal;
    auto image = Readers().Decode(file, format, refusal);
    if (image == nullptr)
    {
        RefuseKind(refusal);
    }
    return image;
}

std::unique_ptr<Imaging::const_raw_image> DecodeDevice(QIODevice& file)
{
    const QByteArray start = file.peek(3);
    if (start.startsWith("\xFF\xD8"))
    {
        return DecodeJpeg(file);
    }
    const bool isPnm = start.size() == 3 && start[0] == 'P' && start[1] >= '1' && start[1] <= '6' &&
                       (QChar(start[2]).isSpace() || start[2] == '#');
    return isPnm ? DecodePnm(file) : DecodeWithQt(file);
}

} // namespace Ardo::Kiln::ImageIO
