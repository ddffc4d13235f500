#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/TiffDirectory_p.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <jerror.h>
#include <jpeglib.h>
#include <QIODevice>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

constexpr int App1 = JPEG_APP0 + 1;

/// One JPEG file in libjpeg. libjpeg reports errors by longjmp, which must not skip a destructor: libjpeg is called
/// only in the functions whose names begin with Try, and they hold no object with a destructor.
class JpegDecoder
{
public:
    explicit JpegDecoder(QIODevice& file) : m_file(file)
    {
        m_jpeg.err = jpeg_std_error(&m_errors);
        m_errors.error_exit = [](j_common_ptr jpeg) { Decoder(jpeg).Leave(jpeg->err->msg_code); };
        m_errors.emit_message = [](j_common_ptr jpeg, int level) { Decoder(jpeg).OnMessage(level); };
        m_errors.output_message = [](j_common_ptr) {};
        m_jpeg.client_data = this;
        m_source.init_source = [](j_decompress_ptr) {};
        m_source.fill_input_buffer = [](j_decompress_ptr jpeg) -> boolean
        {
            Decoder(reinterpret_cast<j_common_ptr>(jpeg)).Fill();
            return TRUE;
        };
        m_source.skip_input_data = [](j_decompress_ptr jpeg, long count)
        { Decoder(reinterpret_cast<j_common_ptr>(jpeg)).Skip(count); };
        m_source.resync_to_restart = jpeg_resync_to_restart;
        m_source.term_source = [](j_decompress_ptr) {};
        m_progress.progress_monitor = [](j_common_ptr jpeg) { Decoder(jpeg).CountScans(); };
    }
    ~JpegDecoder() { jpeg_destroy_decompress(&m_jpeg); }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    std::unique_ptr<Imaging::const_raw_image> Decode()
    {
        Check(TryReadHeader());
        if (m_jpeg.num_components != 1 && m_jpeg.num_components != 3)
        {
            RefuseKind("a JPEG file with " + std::to_string(m_jpeg.num_components) + " colour components (CMYK)");
        }
        // The first coefficient of a block of 64 pixels takes a bit at least, in any process with Huffman codes.
        constexpr std::uint64_t MaxExpansion = 512;
        CheckCanHold(static_cast<std::uint64_t>(m_file.size()), m_jpeg.image_width, m_jpeg.image_height, MaxExpansion);
        m_budget += 4 * static_cast<qint64>(m_jpeg.image_width) * m_jpeg.image_height * m_jpeg.num_components;
        const int orientation = ExifOrientation();
        const NewImage image(m_jpeg.image_width, m_jpeg.image_height,
                             m_jpeg.num_components == 1 ? PixelKind::UInt8 : PixelKind::Rgb8);
        Check(TryDecode(image.bytes, image.rowSize));
        return Oriented(image.Finish(), orientation);
    }

private:
    static JpegDecoder& Decoder(j_common_ptr jpeg) { return *static_cast<JpegDecoder*>(jpeg->client_data); }

    [[noreturn]] void Leave(int code)
    {
        m_failure = m_errors.msg_code = code;
        std::longjmp(m_return, 1);
    }

    /// After warnings about entropy-coded data libjpeg invents pixels; other warnings do not affect the pixels.
    void OnMessage(int level)
    {
        constexpr std::array Harmless = {JWRN_EXTRANEOUS_DATA, JWRN_JFIF_MAJOR, JWRN_ADOBE_XFORM};
        if (level < 0 && std::ranges::find(Harmless, m_errors.msg_code) == Harmless.end())
        {
            Leave(m_errors.msg_code);
        }
    }

    void Fill()
    {
        const qint64 count =
            m_budget <= 0 ? 0
                          : m_file.read(reinterpret_cast<char*>(m_buffer.data()), static_cast<qint64>(m_buffer.size()));
        if (count <= 0)
        {
            Leave(JERR_INPUT_EOF);
        }
        m_budget -= count;
        m_source.next_input_byte = m_buffer.data();
        m_source.bytes_in_buffer = static_cast<std::size_t>(count);
    }

    void Skip(long count)
    {
        while (count > 0)
        {
            if (m_source.bytes_in_buffer == 0)
            {
                Fill();
            }
            const std::size_t step = std::min(static_cast<std::size_t>(count), m_source.bytes_in_buffer);
            m_source.next_input_byte += step;
            m_source.bytes_in_buffer -= step;
            count -= static_cast<long>(step);
        }
    }

    /// Each scan of a progressive file goes over the whole image, however short it is in the file.
    void CountScans()
    {
        constexpr int MaxScans = 100; // ten are usual
        if (m_jpeg.input_scan_number > MaxScans)
        {
            Leave(JWRN_BOGUS_PROGRESSION);
        }
    }

    bool TryReadHeader()
    {
        if (setjmp(m_return) != 0)
        {
            return false;
        }
        jpeg_create_decompress(&m_jpeg);
        m_jpeg.src = &m_source;
        m_jpeg.progress = &m_progress;
        jpeg_save_markers(&m_jpeg, App1, 0xFFFF);
        jpeg_read_header(&m_jpeg, TRUE);
        m_jpeg.out_color_space = m_jpeg.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
        return true;
    }

    bool TryDecode(unsigned char* row, std::size_t rowSize)
    {
        if (setjmp(m_return) != 0)
        {
            return false;
        }
        jpeg_start_decompress(&m_jpeg);
        while (m_jpeg.output_scanline < m_jpeg.output_height)
        {
            JSAMPROW rows[] = {row + m_jpeg.output_scanline * rowSize};
            jpeg_read_scanlines(&m_jpeg, rows, 1);
        }
        jpeg_finish_decompress(&m_jpeg); // reads up to the end marker
        return true;
    }

    void Check(bool done)
    {
        if (done)
        {
            return;
        }
        if (m_failure == JERR_INPUT_EOF)
        {
            throw std::runtime_error("the JPEG file is cut");
        }
        std::array<char, JMSG_LENGTH_MAX> text{};
        m_errors.format_message(reinterpret_cast<j_common_ptr>(&m_jpeg), text.data());
        if (m_failure == JERR_BAD_PRECISION || m_failure == JERR_SOF_UNSUPPORTED)
        {
            RefuseKind(std::string("a JPEG file of a kind that is not read: ") + text.data());
        }
        throw std::runtime_error(std::string("the JPEG file is damaged: ") + text.data());
    }

    /// The tag Orientation of the Exif data (CIPA DC-008, section 4.5.4), a TIFF file in itself; 1 if there is none.
    int ExifOrientation() const
    {
        constexpr std::string_view Identifier("Exif\0\0", 6);
        constexpr std::uint16_t Orientation = 274;
        for (const auto* marker = m_jpeg.marker_list; marker != nullptr; marker = marker->next)
        {
            std::string_view data(reinterpret_cast<const char*>(marker->data), marker->data_length);
            if (marker->marker != App1 || !data.starts_with(Identifier))
            {
                continue;
            }
            data.remove_prefix(Identifier.size());
            const auto read = [data](std::uint64_t offset, void* bytes, std::size_t size)
            { return data.copy(static_cast<char*>(bytes), size, offset) == size; };
            try
            {
                const TiffDirectoryReader reader(read, data.size());
                for (const auto& entry : reader.At(reader.First()).entries)
                {
                    if (entry.tag == Orientation)
                    {
                        return entry.value;
                    }
                }
            }
            catch (const std::runtime_error&) // invalid Exif data count as none
            {
            }
        }
        return 1;
    }

    QIODevice& m_file;
    jpeg_decompress_struct m_jpeg{};
    jpeg_error_mgr m_errors{};
    jpeg_source_mgr m_source{};
    jpeg_progress_mgr m_progress{};
    std::jmp_buf m_return{};
    int m_failure = 0;
    /// The number of bytes that may still be read: at first for the tables before the image and the data behind it,
    /// later also for the image. Without a limit libjpeg would search a file of any size for the next marker.
    qint64 m_budget = qint64{64} << 20;
    std::array<JOCTET, 65536> m_buffer{};
};

} // namespace

std::unique_ptr<Imaging::const_raw_image> DecodeJpeg(QIODevice& file)
{
    return std::make_unique<JpegDecoder>(file)->Decode();
}

} // namespace Ardo::Kiln::ImageIO
