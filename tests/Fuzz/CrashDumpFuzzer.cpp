// Any bytes as a minidump: the reader answers what it holds or a std::runtime_error, and nothing else happens.

#include "Ardo/Kiln/Exception/CrashDump.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>

#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const std::string g_path = "/dev/shm/kiln-fuzz-" + std::to_string(::getpid());
    std::ofstream(g_path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    try
    {
        Ardo::Kiln::Exception::ReadCrashDump(std::wstring(g_path.begin(), g_path.end()));
    }
    catch (const std::runtime_error&)
    {
    }
    return 0;
}
