// Any bytes as the contents of a colour table's file: a table or std::invalid_argument, and nothing else.

#include "Ardo/Imaging/ColourTable.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    try
    {
        static_cast<void>(
            Ardo::Imaging::ColourTable::Parse({static_cast<const char*>(static_cast<const void*>(bytes)), size}));
    }
    catch (const std::invalid_argument&)
    {
    }
    return 0;
}
