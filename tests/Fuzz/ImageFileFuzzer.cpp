// Any bytes as an image file: a record and an image, or a std::exception, is the answer, and nothing else happens.

#include "Ardo/Kiln/ImageIO/ImageFile.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <fstream>
#include <string>

#include <QtGlobal>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const std::string g_path = "/dev/shm/kiln-fuzz-image-" + std::to_string(::getpid());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    std::ofstream(g_path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    try
    {
        Ardo::Kiln::ImageIO::ImageFile file(std::wstring(g_path.begin(), g_path.end()));
        const std::uint32_t page = file.PageCount() - 1;
        try
        {
            file.ReadMetadataText(page);
        }
        catch (const std::exception&) // a damaged record is not in the way of the image
        {
        }
        const auto image = file.ReadImage(page);
        volatile unsigned char sum = 0; // every byte that was read lies in memory
        for (std::uint32_t y = 0; y < image->Size().height; ++y)
        {
            const auto* const row = static_cast<const unsigned char*>(image->Row(y));
            for (std::size_t i = 0; i < image->RowSize(); ++i)
            {
                sum = static_cast<unsigned char>(sum + row[i]);
            }
        }
    }
    catch (const std::exception&)
    {
    }
    return 0;
}
