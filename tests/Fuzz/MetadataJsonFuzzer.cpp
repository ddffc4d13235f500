#include "tests/Fuzz/MetadataFuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace Ardo::Kiln::MetadataSerializer;
    return FuzzMetadata(data, size, SerializeType::Json);
}
