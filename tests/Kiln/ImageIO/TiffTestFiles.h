#pragma once

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "tests/Support/Process.h"

#include <cstring>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

using Support::ReadFile;
using Support::WriteFile;

/// A path as the library takes it, whatever the locale.
inline std::wstring Wide(const std::filesystem::path& path)
{
    return Conversion::String::FromUtf8(path.string());
}

/// Values that differ from pixel to pixel, row to row and strip to strip.
template <typename Sample>
std::vector<Sample> Pattern(std::size_t count)
{
    std::vector<unsigned char> bytes(count * sizeof(Sample));
    std::uint32_t state = 1;
    for (unsigned char& byte : bytes)
    {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(state >> 24);
    }
    std::vector<Sample> samples(count);
    std::memcpy(static_cast<void*>(samples.data()), bytes.data(), bytes.size());
    return samples;
}

template <typename Sample>
std::string BytesOf(const std::vector<Sample>& samples)
{
    return {reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(Sample)};
}

inline std::string PixelsOf(const TiffReader& reader)
{
    return {reinterpret_cast<const char*>(reader.GetRawImageData()), reader.GetRawImageDataSize()};
}

/// The text of what \p function throws as \p Exception; anything else fails the test that prints it.
template <typename Exception, typename Function>
std::string MessageOf(Function function)
{
    try
    {
        function();
    }
    catch (const Exception& exception)
    {
        return exception.what();
    }
    return "(nothing was thrown)";
}

} // namespace Ardo::Kiln::ImageIO
