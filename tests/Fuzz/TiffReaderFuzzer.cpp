// Any bytes as a TIFF file: the reader answers an image or a std::exception, and nothing else happens.

#include "Ardo/Kiln/ImageIO/TiffReader.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <fstream>
#include <string>

#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const std::string g_path = "/dev/shm/kiln-fuzz-" + std::to_string(::getpid());
    std::ofstream(g_path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    static Ardo::Kiln::ImageIO::TiffReader g_reader; // used again, as an application does
    try
    {
        g_reader.Open(std::wstring(g_path.begin(), g_path.end()));
        volatile unsigned char sum = 0; // every byte that was read lies in memory
        for (std::size_t i = 0; i < g_reader.GetRawImageDataSize(); ++i)
        {
            sum = static_cast<unsigned char>(sum + g_reader.GetRawImageData()[i]);
        }
    }
    catch (const std::exception&)
    {
    }
    return 0;
}
