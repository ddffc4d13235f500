#include "Ardo/Kiln/ImageIO/ImageFile.h"

#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "tests/Kiln/ImageIO/OpenTiff.h"
#include "tests/Kiln/ImageIO/TiffBuilder.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/SystemFacilities.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <tuple>

#include <gmock/gmock.h>
#include <QBuffer>
#include <QImage>

namespace Ardo::Kiln::ImageIO
{

using Imaging::PixelKind;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using enum TiffBuilder::Type;
using Cause = ReadImageException::Cause;

namespace
{

class ImageFileTest : public TiffTest
{
protected:
    /// The rows of the image, without gaps.
    std::string Read(std::uint32_t page = 0)
    {
        const auto image = ImageFile(m_name).ReadImage(page);
        m_kind = image->Kind();
        m_size = image->Size();
        std::string rows;
        for (std::uint32_t y = 0; y < m_size.height; ++y)
        {
            rows.append(static_cast<const char*>(image->Row(y)), image->RowSize());
        }
        return rows;
    }

    std::string Read(const std::string& bytes)
    {
        WriteFile(m_path, bytes);
        return Read();
    }

    /// Why the file is refused; empty if it is not.
    std::string Refusal(const std::string& bytes, std::optional<Cause> cause = std::nullopt)
    {
        WriteFile(m_path, bytes);
        return Refusal(cause);
    }

    std::string Refusal(std::optional<Cause> cause)
    {
        try
        {
            Read();
            return {};
        }
        catch (const ReadImageException& failure)
        {
            EXPECT_EQ(failure.GetCause(), cause.value_or(failure.GetCause())) << failure.what();
            EXPECT_EQ(failure.what(), failure.Reason());
            return failure.Reason();
        }
    }

    static std::string Encoded(const QImage& image, const char* format)
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        EXPECT_TRUE(image.save(&buffer, format)) << format;
        return bytes.toStdString();
    }

    PixelKind m_kind{};
    Imaging::size_2d m_size;
};

template <typename Number>
std::string Numbers(std::initializer_list<Number> numbers)
{
    return {reinterpret_cast<const char*>(std::data(numbers)), numbers.size() * sizeof(Number)};
}

/// A TIFF file with these codes of SampleFormat, PhotometricInterpretation and SamplesPerPixel.
TiffBuilder Samples(std::uint32_t width, const std::string& pixels, std::uint16_t bits, std::uint64_t format,
                    std::uint64_t photometric = 1, std::uint64_t samples = 1)
{
    TiffBuilder file(width, 1, pixels, bits);
    return file.Set(339, Short, {format}).Set(262, Short, {photometric}).Set(277, Short, {samples});
}

} // namespace

TEST_F(ImageFileTest, SamplesOfOtherProgramsBecomePixels)
{
    TiffBuilder::Values palette(3 * 256, 0x0707);
    palette[1] = 0xFFFF;
    TiffBuilder::Values narrow(3 * 256, 7);
    const auto planes =
        Samples(2, "RrGgBb", 8, 1, 2, 3).Set(284, Short, {2}).Set(273, Long, {16, 18, 20}).Set(279, Long, {2, 2, 2});
    const std::tuple<const char*, TiffBuilder, PixelKind, std::string> rows[] = {
        {"1 bit", Samples(10, "\xAA\x40", 1, 1), PixelKind::UInt8, std::string("\xFF\0\xFF\0\xFF\0\xFF\0\0\xFF", 10)},
        {"1 bit, 0 is white", Samples(3, "\xA0", 1, 1, 0), PixelKind::UInt8, std::string("\0\xFF\0", 3)},
        {"4 bits", Samples(3, "\x0F\x50", 4, 1), PixelKind::UInt8, std::string("\0\xFF\x55", 3)},
        {"8 bits, 0 is white", Samples(3, std::string("\0\x01\xFF", 3), 8, 1, 0), PixelKind::UInt8,
         std::string("\xFF\xFE\0", 3)},
        {"12 bits", Samples(3, "12345", 12, 1), PixelKind::UInt16, Numbers<std::uint16_t>({0x313, 0x233, 0x343})},
        {"16 bits, 0 is white", Samples(2, Numbers<std::uint16_t>({1, 65535}), 16, 1, 0), PixelKind::UInt16,
         Numbers<std::uint16_t>({65534, 0})},
        {"signed 8", Samples(3, "\xFF\x01\x80", 8, 2), PixelKind::Float32, Numbers<float>({-1, 1, -128})},
        {"signed 16", Samples(2, Numbers<std::int16_t>({-32768, 7}), 16, 2), PixelKind::Float32,
         Numbers<float>({-32768, 7})},
        {"signed 32", Samples(2, Numbers<std::int32_t>({-16777216, 7}), 32, 2), PixelKind::Float32,
         Numbers<float>({-16777216, 7})},
        {"unsigned 32", Samples(2, Numbers<std::uint32_t>({0x80000000, 7}), 32, 1), PixelKind::Float32,
         Numbers<float>({2147483648.0f, 7})},
        {"double", Samples(3, Numbers<double>({0.1, -1e300 * 1e300, 3}), 64, 3), PixelKind::Float32,
         Numbers<float>({0.1f, -INFINITY, 3})},
        {"palette", Samples(2, std::string("\x01\0", 2), 8, 1, 3).Set(320, Short, palette), PixelKind::Rgb8,
         "\xFF\x07\x07\x07\x07\x07"},
        {"grey palette of 8 bits", Samples(2, "ab", 8, 1, 3).Set(320, Short, narrow), PixelKind::UInt8, "\x07\x07"},
        {"planes", planes, PixelKind::Rgb8, "RGBrgb"},
        {"grey and opacity", Samples(2, "aAbB", 8, 1, 1, 2).Set(338, Short, {2}), PixelKind::Rgba8, "aaaAbbbB"},
        {"multiplied grey", Samples(1, "\x20\x40", 8, 1, 1, 2).Set(338, Short, {1}), PixelKind::Rgba8,
         "\x80\x80\x80\x40"},
        {"multiplied colours", Samples(2, std::string("\x20\x10\x40\x40\1\1\1\0", 8), 8, 1, 2, 4).Set(338, Short, {1}),
         PixelKind::Rgba8, std::string("\x80\x40\xFF\x40\0\0\0\0", 8)},
        {"colours and opacity", Samples(1, "rgba", 8, 1, 2, 4).Set(338, Short, {2}), PixelKind::Rgba8, "rgba"}};
    for (const auto& [name, file, kind, pixels] : rows)
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(Read(file.Bytes()), pixels);
        EXPECT_EQ(m_kind, kind);
    }

    const std::string colours48 = "RGB, with 3 samples a pixel of 16 bits";
    const std::pair<TiffBuilder, std::string> refused[] = {
        {Samples(1, "123456", 16, 1, 2, 3), "a TIFF image, " + colours48},
        {Samples(1, "12345678", 16, 1, 2, 4), "RGB, with 4 samples a pixel of 16 bits"},
        {Samples(1, "cmyk", 8, 1, 5, 4), "CMYK"},
        {Samples(1, "lab", 8, 1, 8, 3), "CIE L*a*b*"},
        {Samples(1, "rgbas", 8, 1, 2, 5), "5 samples"},
        {Samples(1, "12345678", 64, 6), "64 bits complex"},
        {Samples(1, "12", 16, 3), "16 bits float"},
        {Samples(1, "1234", 32, 3, 0), "0 as white"},
        {Samples(2, Numbers<std::uint32_t>({1, 16777217}), 32, 1), "16777217"},
        {Samples(1, Numbers<double>({1e300}), 64, 3), "64 bit float beyond"},
        {TiffBuilder(1, 1, "x").Set(259, Short, {34712}), "compression 34712"}};
    for (const auto& [file, reason] : refused)
    {
        EXPECT_THAT(Refusal(file.Bytes(), Cause::Unsupported), HasSubstr(reason));
    }
}

TEST_F(ImageFileTest, PartialStripsAndTilesArePutTogether)
{
    auto strips = TiffBuilder(3, 5, "abcdefghijklmno").Set(278, Long, {2});
    strips.Set(273, Long, {16, 22, 28}).Set(279, Long, {6, 6, 3});
    EXPECT_EQ(Read(strips.Bytes()), "abcdefghijklmno");
    EXPECT_THAT(Refusal(strips.Set(279, Long, {6, 6, 2}).Bytes(), Cause::Damaged), HasSubstr("strips of 14 bytes"));
    const TiffBuilder one(3, 1, "abc"); // the header has no pixels
    EXPECT_THAT(Refusal(TiffBuilder(one).Set(273, Long, {0}).Bytes(), Cause::Damaged), HasSubstr("strips of 0 bytes"));
    EXPECT_EQ(Refusal(TiffBuilder(one).Set(273, Long, {}).Bytes(), Cause::Damaged),
              "tag 273 cannot be read: 0 values of type 4");

    const auto pixels = Pattern<unsigned char>(40 * 35 * 3);
    using Row = std::tuple<std::uint16_t, std::uint16_t, int, std::uint32_t>; // samples, planes, compression, tile
    for (const auto& [samples, planar, compression, tile] :
         {Row{1, PLANARCONFIG_CONTIG, COMPRESSION_NONE, 16}, Row{3, PLANARCONFIG_CONTIG, COMPRESSION_LZW, 32},
          Row{3, PLANARCONFIG_SEPARATE, COMPRESSION_ADOBE_DEFLATE, 16},
          Row{3, PLANARCONFIG_SEPARATE, COMPRESSION_NONE, 0}, Row{1, PLANARCONFIG_CONTIG, COMPRESSION_PACKBITS, 64}})
    {
        SCOPED_TRACE(testing::Message() << samples << " samples, tiles of " << tile);
        TiffHandle tiff = OpenTiff(m_path, "w");
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 40);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 35);
        TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, planar);
        TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
        const std::uint32_t width = tile != 0 ? tile : 40;
        const std::uint32_t height = tile != 0 ? tile : 8;
        TIFFSetField(tiff.get(), tile != 0 ? TIFFTAG_TILEWIDTH : TIFFTAG_ROWSPERSTRIP, tile != 0 ? width : height);
        if (tile != 0)
        {
            TIFFSetField(tiff.get(), TIFFTAG_TILELENGTH, height);
        }
        const bool isPlanar = planar == PLANARCONFIG_SEPARATE;
        const std::size_t step = isPlanar ? 1 : samples;
        for (std::uint16_t plane = 0; plane < (isPlanar ? samples : 1); ++plane)
        {
            for (std::uint32_t top = 0; top < 35; top += height)
            {
                for (std::uint32_t left = 0; left < 40; left += width)
                {
                    std::vector<unsigned char> block(width * height * step);
                    const std::uint32_t rows = tile != 0 ? height : std::min(height, 35 - top);
                    for (std::uint32_t y = 0; y < rows && top + y < 35; ++y)
                    {
                        for (std::uint32_t x = 0; x < width && left + x < 40; ++x)
                        {
                            std::memcpy(&block[(y * width + x) * step],
                                        &pixels[((top + y) * 40 + left + x) * samples + plane], step);
                        }
                    }
                    const auto size = static_cast<tmsize_t>(width * rows * step);
                    tile != 0 ? TIFFWriteEncodedTile(tiff.get(), TIFFComputeTile(tiff.get(), left, top, 0, plane),
                                                     block.data(), size)
                              : TIFFWriteEncodedStrip(tiff.get(), TIFFComputeStrip(tiff.get(), top, plane),
                                                      block.data(), size);
                }
            }
        }
        tiff.reset();
        EXPECT_EQ(Read(), BytesOf(pixels).substr(0, std::size_t{40} * 35 * samples));
    }
}

TEST_F(ImageFileTest, OrientationIsHonoured)
{
    const std::pair<std::uint64_t, std::string> rows[] = {{1, "abcdef"}, {2, "cbafed"}, {3, "fedcba"}, {4, "defabc"},
                                                          {5, "adbecf"}, {6, "daebfc"}, {7, "fcebda"}, {8, "cfbead"}};
    QImage picture(48, 16, QImage::Format_Grayscale8);
    picture.fill(0);
    for (int y = 0; y < 8; ++y)
    {
        std::memset(picture.scanLine(y), 255, 8); // the upper left
    }
    const std::string jpeg = Encoded(picture, "JPG");
    for (const auto& [orientation, pixels] : rows)
    {
        EXPECT_EQ(Read(TiffBuilder(3, 2, "abcdef").Set(274, Short, {orientation}).Bytes()), pixels);
        EXPECT_EQ(m_size.width, orientation < 5 ? 3u : 2u);

        // the Exif data of a camera: a TIFF file without an image
        std::string exif("\xFF\xE1\0\x22"
                         "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\0\0\0\0\0\0\0",
                         36);
        exif[29] = static_cast<char>(orientation);
        const std::string turned = Read(jpeg.substr(0, 2) + exif + jpeg.substr(2));
        EXPECT_EQ(m_size.width, orientation < 5 ? 48u : 16u);
        const std::size_t corners[] = {0, m_size.width - 1, turned.size() - m_size.width, turned.size() - 1};
        const std::size_t bright[] = {0, 0, 1, 3, 2, 0, 1, 3, 2};
        for (std::size_t corner = 0; corner < 4; ++corner)
        {
            EXPECT_EQ(static_cast<unsigned char>(turned[corners[corner]]) > 128, corner == bright[orientation])
                << orientation;
        }
    }
}

TEST_F(ImageFileTest, EachPageHasItsImageAndItsRecord)
{
    const std::string document = MetadataSerializer::Record(Support::FullMetadata()).SerializeToString({});
    {
        TiffHandle tiff = OpenTiff(m_path, "w");
        for (char page = 0; page < 3; ++page)
        {
            TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 2);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 1);
            TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
            TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            if (page == 1)
            {
                TIFFSetField(tiff.get(), 34683, document.c_str());
            }
            char pixels[] = {page, 'p'};
            TIFFWriteEncodedStrip(tiff.get(), 0, pixels, 2);
            TIFFWriteDirectory(tiff.get());
        }
    }
    ImageFile file(m_name);
    EXPECT_EQ(file.PageCount(), 3u);
    for (const std::uint32_t page : {0u, 2u, 1u, 0u})
    {
        EXPECT_EQ(static_cast<const char*>(file.ReadImage(page)->Row(0))[0], static_cast<char>(page));
        EXPECT_EQ(file.ReadMetadataText(page), page == 1 ? document : "");
        EXPECT_EQ(file.ReadMetadata(page).has_value(), page == 1);
    }
    EXPECT_TRUE(file.ReadMetadata(1) == Support::FullMetadata());
    EXPECT_THROW(file.ReadImage(3), std::out_of_range);
    const ImageFile moved = std::move(file);
    EXPECT_EQ(moved.PageCount(), 3u);

    const std::string whole = ReadFile(m_path);
    for (std::size_t size = 0; size<whole.size(); size += size + 20> whole.size() ? 1u : 97u)
    {
        EXPECT_NE(Refusal(whole.substr(0, size)), "") << size;
    }
    EXPECT_EQ(Read(TiffBuilder(1, 1, "x").Bytes(false, true)), "x"); // the directory is its own successor
    EXPECT_EQ(ImageFile(m_name).PageCount(), 1u);
    // a record that is none is not in the way of the pixels
    EXPECT_EQ(Read(TiffBuilder(1, 1, "x").SetMetadata("<Other/>").Bytes()), "x");
    EXPECT_ANY_THROW(ImageFile(m_name).ReadMetadata());
}

TEST_F(ImageFileTest, ARecordIsReadAsLibtiffReadsItAndWithoutTheFieldsOfThePixels)
{
    const std::string nul(1, '\0');
    const TiffBuilder small(1, 1, "x");
    for (const std::string& text :
         {std::string("<Metadata>of some length</Metadata>"), std::string("abc"), std::string(), "abc" + nul,
          "longer than a word" + nul + "hidden", nul + "hidden and longer than a word"})
    {
        for (const TiffBuilder::Type type : {Ascii, Byte, TiffBuilder::Type{7}}) // 7: undefined
        {
            for (const bool big : {false, true})
            {
                WriteFile(m_path, TiffBuilder(small).SetMetadata(text, type).Bytes(big));
                TiffReader reader;
                reader.OpenFields(m_name);
                EXPECT_EQ(ImageFile(m_name).ReadMetadataText(), reader.GetMetadataText()) << text << type << big;
            }
        }
    }

    const TiffBuilder::Values values(40, 'x');
    const std::tuple<TiffBuilder, const char*, const char*> rows[] = {
        // the record, the reason why it cannot be read
        {TiffBuilder(small).SetMetadata("text").Set(262, Ascii, {1}), "text", ""},
        {TiffBuilder(small).SetMetadata("text").Set(273, Long, {7}, 1000), "text", ""},
        {TiffBuilder(small).Set(34683, Ascii, values, 41), "", "tag 34683 lies beyond the end of the file"},
        {TiffBuilder(small).Set(34683, Ascii, values, 0xffffffff), "", "tag 34683 lies beyond the end of the file"},
        {TiffBuilder(small).Set(34683, Short, {300}), "", "tag 34683 cannot be read: 1 values of type 3"}};
    for (const auto& [builder, record, reason] : rows)
    {
        WriteFile(m_path, builder.Bytes());
        ImageFile file(m_name);
        EXPECT_THROW(file.ReadImage(), ReadImageException) << record << reason;
        std::string text;
        std::string failure;
        try
        {
            text = file.ReadMetadataText(); // also after the failure
        }
        catch (const ReadImageException& exception)
        {
            failure = exception.Reason();
        }
        EXPECT_EQ(text, record);
        EXPECT_EQ(failure, reason);
    }
}

TEST_F(ImageFileTest, BlankImagesMayBeVerySmall)
{
    for (const int compression : {COMPRESSION_ZSTD, COMPRESSION_LZMA, COMPRESSION_CCITTFAX4, COMPRESSION_PACKBITS,
                                  COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE})
    {
        SCOPED_TRACE(compression);
        if (compression != COMPRESSION_CCITTFAX4 && TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0)
        {
            continue; // a libtiff without it
        }
        const int bits = compression == COMPRESSION_CCITTFAX4 ? 1 : 8;
        {
            TiffHandle tiff = OpenTiff(m_path, "w");
            TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, 4096);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, 4001);
            TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, bits);
            TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
            TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 4001);
            std::vector<char> pixels(std::size_t{4096} * 4001 * static_cast<std::size_t>(bits) / 8);
            TIFFWriteEncodedStrip(tiff.get(), 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
        }
        EXPECT_EQ(Read(), std::string(std::size_t{4096} * 4001, '\0'));
        if (bits == 8)
        {
            EXPECT_EQ(Open(m_path), ""); // TiffReader
        }
    }
}

TEST_F(ImageFileTest, PortableMapsKeepTheirSamples)
{
    const std::tuple<std::string, PixelKind, std::string> rows[] = {
        {"P1\n3 2 010\n1 1#c\n1", PixelKind::UInt8, std::string("\xFF\0\xFF\0\0\0", 6)},
        {"P2 # one\n#two\n2 1 15 0 15", PixelKind::UInt8, std::string("\0\x0F", 2)},
        {"P2 2 1 1000 1000 7", PixelKind::UInt16, Numbers<std::uint16_t>({1000, 7})},
        {"P3 1 1 255 1 2 3\n", PixelKind::Rgb8, "\x01\x02\x03"},
        {"P4 10 2\n\x55\x7F\xFF\xFF", PixelKind::UInt8,
         std::string("\xFF\0\xFF\0\xFF\0\xFF\0\xFF\0\0\0\0\0\0\0\0\0\0\0", 20)},
        {"P5 3 1 15\nabc", PixelKind::UInt8, "abc"},
        {std::string("P5 2 1 65535\n\x12\x34\0\x01", 17), PixelKind::UInt16, Numbers<std::uint16_t>({0x1234, 1})},
        {"P6\t1 1\r100 rgb", PixelKind::Rgb8, "rgb"}};
    for (const auto& [file, kind, pixels] : rows)
    {
        SCOPED_TRACE(file);
        EXPECT_EQ(Read(file), pixels);
        EXPECT_EQ(m_kind, kind);
        if (file[1] != '1' && file.back() != '\n')
        {
            EXPECT_EQ(Refusal(file.substr(0, file.size() - (file[1] == '2' ? 2 : 1)), Cause::Damaged),
                      "the PNM file is cut");
        }
    }
    EXPECT_EQ(Refusal("P6 1 1 65535 123456", Cause::Unsupported), "colours of 16 bits a sample");
    for (const char* const file :
         {"P5 -1 1 255 a", "P5 99999999999 1 255 a", "P5 0 1 255 a", "P5 1 1 0 a", "P5 1 1 65536 ab", "P2 1 1 9 10",
          "P1 1 1 2", "P5 2147483647 2147483647 65535 a", "P2 1 1 9 x", "P5 1"})
    {
        EXPECT_NE(Refusal(file, Cause::Damaged), "") << file;
    }
}

TEST_F(ImageFileTest, AJpegFileOfTooManyScansIsRefused)
{
    // A black block of each component in a scan of its own. The first one, of six bits, comes again and again.
    const std::string whole = Encoded(QImage(8, 8, QImage::Format_RGB32), "JPG");
    const auto scan = [](char component, char tables, char block)
    { return std::string("\xFF\xDA\0\x08\x01", 5) + component + tables + std::string("\0\x3F\0", 3) + block; };
    for (const std::size_t count : {98u, 99u})
    {
        std::string file = whole.substr(0, whole.find("\xFF\xDA"));
        for (std::size_t i = 0; i < count; ++i)
        {
            file += scan(1, 0, 0x2B);
        }
        file += scan(2, 0x11, 0x0F) + scan(3, 0x11, 0x0F) + "\xFF\xD9";
        EXPECT_EQ(Refusal(file).empty(), count == 98) << count << Refusal(file);
    }
}

TEST_F(ImageFileTest, WhatIsCutOrDamagedIsRefused)
{
    testing::internal::CaptureStderr();
    QImage noise(64, 64, QImage::Format_Grayscale8);
    std::memcpy(noise.bits(), Pattern<char>(64 * 64).data(), 64 * 64);
    const std::string gif("GIF89a\1\0\1\0\x80\0\0abcABC!\xF9\4\0\0\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 43);
    const std::string xbm = Encoded(QImage(20, 3, QImage::Format_Mono), "XBM");
    for (const auto& [format, file] : {std::pair("GIF", gif), {"XBM", xbm}, {"JPEG", Encoded(noise, "JPG")}})
    {
        SCOPED_TRACE(format);
        EXPECT_NE(Read(file), "");
        const std::size_t end = file.find_last_not_of(" \n};") + 1; // white space may follow the last number of text
        for (std::size_t size = 0; size < (format == std::string("XBM") ? end : file.size());
             size += size < 60 || file.size() - size < 30 ? 1u : 29u)
        {
            EXPECT_NE(Refusal(file.substr(0, size)), "") << size;
        }
    }
    std::string jpeg = Encoded(noise, "JPG");
    EXPECT_THAT(Refusal(jpeg.substr(0, jpeg.size() / 2) + "\xFF\xD9", Cause::Damaged), StartsWith("the JPEG file is"));
    jpeg.erase(jpeg.size() / 2, 200);
    EXPECT_THAT(Refusal(jpeg, Cause::Damaged), StartsWith("the JPEG file is"));

    std::string bmp = Encoded(noise.convertToFormat(QImage::Format_RGB888), "BMP");
    bmp.resize(bmp.size() / 2);
    const auto size = static_cast<std::uint32_t>(bmp.size());
    std::memcpy(&bmp[2], &size, 4); // a file that says itself how short it is
    EXPECT_EQ(Refusal(bmp, Cause::Damaged), "the BMP file is cut");

    for (const QImage::Format deep : {QImage::Format_RGBX64, QImage::Format_RGBA64})
    {
        QImage image(2, 2, deep);
        image.fill(Qt::red);
        EXPECT_THAT(Refusal(Encoded(image, "PNG"), Cause::Unsupported), HasSubstr("more than 8 bits a sample"));
    }
    EXPECT_EQ(Refusal("junk", Cause::NotAnImage), "no image of a known format");
    std::filesystem::remove(m_path);
    EXPECT_EQ(Refusal(Cause::System), ReasonOf(m_path));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ImageFileTest, LargeFilesAndLargeClaimsCostNoMemory)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
    QImage flat(600, 600, QImage::Format_RGB32);
    flat.fill(Qt::gray);
    std::string jpeg = Encoded(flat, "JPG");
    const std::size_t frame = jpeg.find("\xFF\xC0") + 5;
    jpeg.replace(frame, 4, "\xEA\x60\xEA\x60"); // 60000 x 60000
    const std::uint64_t before = Support::PeakMemory();
    EXPECT_THAT(Refusal(jpeg, Cause::Damaged), StartsWith("60000 x 60000 pixels in "));
    const std::string starts[] = {std::string("\0\0\0\0", 4),
                                  "\x89PNG\r\n\x1A\n",
                                  "GIF89a",
                                  "\xFF\xD8\xFF\xE0",
                                  "BM",
                                  "#define x_width 9\n#define x_height 9\nstatic char x_bits[] = {",
                                  std::string("II*\0\x10\0\0\0", 8)};
    for (const std::string& start : starts)
    {
        WriteFile(m_path, start);
        std::filesystem::resize_file(m_path, std::uintmax_t{12} << 30); // nothing of it is on the disk
        try
        {
            Read();
            ADD_FAILURE() << start;
        }
        catch (const ReadImageException&)
        {
        }
    }
    EXPECT_LT(Support::PeakMemory() - before, 100 << 20);
}

/// One strip, so that libtiff asks for the whole image at once, and a format whose decoder reads through a device.
TEST_F(ImageFileTest, ReadingTellsItsProgressAndCanBeEnded)
{
    constexpr std::uint32_t Side = 4001; // no multiple of the rows of a strip
    const std::vector<std::uint8_t> pixels(std::size_t{Side} * Side, 7);
    TiffExporter().WriteUInt8Image(m_name, pixels.data(), Side, Side, nullptr);
    const std::string tiff = Support::ReadFile(m_path);
    const std::string pgm = "P5 4001 4001 255\n" + std::string(pixels.begin(), pixels.end());
    for (const std::string& bytes : {tiff, pgm})
    {
        WriteFile(m_path, bytes);
        ImageFile file(m_name);
        std::vector<std::uint64_t> steps;
        const auto count = [&](std::uint64_t read, std::uint64_t size)
        {
            EXPECT_EQ(size, bytes.size());
            steps.push_back(read);
            return steps.size() < 3;
        };
        file.SetProgress(count);
        try
        {
            file.ReadImage();
            FAIL() << "not ended";
        }
        catch (const ReadImageException& failure)
        {
            EXPECT_EQ(failure.GetCause(), Cause::Cancelled);
        }
        EXPECT_EQ(steps.size(), 3u);
        EXPECT_TRUE(std::ranges::is_sorted(steps));
        EXPECT_LE(steps.back(), std::uint64_t{13} << 20);

        file.SetProgress([](std::uint64_t, std::uint64_t) -> bool { throw std::logic_error("no more"); });
        EXPECT_THROW(file.ReadImage(), std::logic_error);
        file.SetProgress({});
        const auto image = file.ReadImage(); // the file is as usable as before
        EXPECT_EQ(image->Size(), (Imaging::size_2d{Side, Side}));
        EXPECT_EQ(static_cast<const std::uint8_t*>(image->Row(Side - 1))[Side - 1], 7);
    }
}

} // namespace Ardo::Kiln::ImageIO
