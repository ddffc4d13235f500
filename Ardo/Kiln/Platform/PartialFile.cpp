#include "Ardo/Kiln/Platform/PartialFile.h"

#include <array>
#include <cstdio>
#include <random>

namespace Ardo::Kiln::Platform
{

std::filesystem::path PartialFile::RandomName()
{
    std::random_device random;
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), ".%08x%08x.part", random(), random());
    return name.data();
}

} // namespace Ardo::Kiln::Platform
