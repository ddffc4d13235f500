#include "Ardo/Kiln/ImageIO/PictureFormats_p.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include <jpeglib.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

void AppendBigEndian(std::string& bytes, std::uint32_t number, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(number >> shift & 0xffu);
    }
}

/// A resolution as a fraction of 32-bit numbers, as exact as these can be.
void AppendRational(std::string& bytes, double value)
{
    constexpr double Max = std::numeric_limits<std::uint32_t>::max();
    double denominator = 1.0;
    while (value * denominator * 10.0 <= Max && denominator < 1e6)
    {
        denominator *= 10.0;
    }
    AppendBigEndian(bytes, static_cast<std::uint32_t>(std::round(std::min(value * denominator, Max))), 4);
    AppendBigEndian(bytes, static_cast<std::uint32_t>(denominator), 4);
}

/// An Exif marker with one directory: the resolution per centimetre (Exif 2.3, 4.6.2 and 4.6.4 A).
std::string ExifMarker(const PixelDensity& density)
{
    constexpr std::uint32_t Short = 3;
    constexpr std::uint32_t Rational = 5;
    constexpr std::uint32_t Values = 8 + 2 + 3 * 12 + 4; // behind the header, the entries and the end of their list
    std::string marker("Exif\0\0MM\0*", 10);
    AppendBigEndian(marker, 8, 4);
    AppendBigEndian(marker, 3, 2);
    const auto addEntry = [&marker](std::uint32_t tag, std::uint32_t type, std::uint32_t value)
    {
        AppendBigEndian(marker, tag, 2);
        AppendBigEndian(marker, type, 2);
        AppendBigEndian(marker, 1, 4);
        AppendBigEndian(marker, value, 4);
    };
    addEntry(0x011a, Rational, Values);
    addEntry(0x011b, Rational, Values + 8);
    addEntry(0x0128, Short, 3u << 16); // centimetre
    AppendBigEndian(marker, 0, 4);
    AppendRational(marker, density.x / 100.0);
    AppendRational(marker, density.y / 100.0);
    return marker;
}

/// One picture in libjpeg, which reports errors by longjmp. That must not skip a destructor: libjpeg is called in
/// TryEncode, which holds no object with one.
class JpegEncoder
{
public:
    JpegEncoder()
    {
        m_jpeg.err = jpeg_std_error(&m_errors);
        m_errors.error_exit = [](j_common_ptr jpeg)
        { std::longjmp(static_cast<JpegEncoder*>(jpeg->client_data)->m_return, 1); };
        m_errors.output_message = [](j_common_ptr) {};
        m_jpeg.client_data = this;
    }
    ~JpegEncoder()
    {
        jpeg_destroy_compress(&m_jpeg);
        std::free(m_bytes);
    }
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    std::string Encode(const Imaging::const_raw_image& picture, const std::optional<PixelDensity>& density, int quality)
    {
        const std::string exif = density ? ExifMarker(*density) : "";
        if (!TryEncode(picture, density ? &*density : nullptr, exif, quality))
        {
            char text[JMSG_LENGTH_MAX];
            m_errors.format_message(reinterpret_cast<j_common_ptr>(&m_jpeg), text);
            throw std::runtime_error(text);
        }
        return {reinterpret_cast<const char*>(m_bytes), m_size};
    }

private:
    bool TryEncode(const Imaging::const_raw_image& picture, const PixelDensity* density, const std::string& exif,
                   int quality)
    {
        if (setjmp(m_return) != 0)
        {
            return false;
        }
        jpeg_create_compress(&m_jpeg);
        jpeg_mem_dest(&m_jpeg, &m_bytes, &m_size);
        const bool isGrey = picture.Kind() == Imaging::PixelKind::UInt8;
        m_jpeg.image_width = picture.Size().width;
        m_jpeg.image_height = picture.Size().height;
        m_jpeg.input_components = isGrey ? 1 : 3;
        m_jpeg.in_color_space = isGrey ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&m_jpeg);
        jpeg_set_quality(&m_jpeg, quality, TRUE);
        // Scale bars and texts have sharp edges, which halved colours would blur.
        m_jpeg.comp_info[0].h_samp_factor = 1;
        m_jpeg.comp_info[0].v_samp_factor = 1;
        if (density != nullptr)
        {
            SetDensity(*density);
        }
        jpeg_start_compress(&m_jpeg, TRUE);
        if (!exif.empty())
        {
            jpeg_write_marker(&m_jpeg, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(exif.data()),
                              static_cast<unsigned>(exif.size()));
        }
        for (std::uint32_t y = 0; y < picture.Size().height; ++y)
        {
            // libjpeg only reads the samples.
            auto* row = static_cast<JSAMPLE*>(const_cast<void*>(picture.Row(y)));
            jpeg_write_scanlines(&m_jpeg, &row, 1);
        }
        jpeg_finish_compress(&m_jpeg);
        return true;
    }

    void SetDensity(const PixelDensity& density)
    {
        constexpr double Max = std::numeric_limits<std::uint16_t>::max();
        const double x = std::round(density.x / 100.0);
        const double y = std::round(density.y / 100.0);
        if (x >= 1.0 && x <= Max && y >= 1.0 && y <= Max)
        {
            m_jpeg.density_unit = 2; // per centimetre
            m_jpeg.X_density = static_cast<UINT16>(x);
            m_jpeg.Y_density = static_cast<UINT16>(y);
        }
    }

    jpeg_error_mgr m_errors{};
    jpeg_compress_struct m_jpeg{};
    std::jmp_buf m_return{};
    unsigned char* m_bytes = nullptr; ///< Allocated by libjpeg with malloc.
    unsigned long m_size = 0;
};

} // namespace

std::string JpegContents(const Imaging::const_raw_image& picture, const std::optional<PixelDensity>& density,
                         int quality)
{
    return JpegEncoder().Encode(picture, density, quality);
}

} // namespace Ardo::Kiln::ImageIO
