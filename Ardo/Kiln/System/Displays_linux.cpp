#include "Ardo/Kiln/System/Displays_linux.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <string_view>

namespace Ardo::Kiln::System
{

namespace fs = std::filesystem;

namespace
{

/// The beginning of a small file; empty if it cannot be read.
std::string ReadHead(const fs::path& path)
{
    constexpr std::size_t maxSize = 4096;
    std::string bytes(maxSize, '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

/// Reads "1920x1080"; leaves the size as it is for another text.
void ReadMode(std::string_view mode, Display& display)
{
    const char* const end = mode.data() + mode.size();
    std::int32_t width = 0;
    std::int32_t height = 0;
    const auto [times, error] = std::from_chars(mode.data(), end, width);
    if (error == std::errc() && times != end && *times == 'x' &&
        std::from_chars(times + 1, end, height).ec == std::errc() && width > 0 && height > 0)
    {
        display.width = width;
        display.height = height;
    }
}

/// Takes the physical size and the name of the model from the identification of the display.
void ReadIdentification(std::string_view edid, Display& display)
{
    constexpr std::string_view header("\0\xFF\xFF\xFF\xFF\xFF\xFF\0", 8);
    constexpr std::size_t size = 128;
    constexpr std::size_t sizeInCentimetres = 21;
    constexpr std::size_t firstDescriptor = 54;
    constexpr std::size_t descriptorSize = 18;
    constexpr std::string_view nameOfModel("\0\0\0\xFC\0", 5);
    if (edid.size() < size || !edid.starts_with(header))
    {
        return;
    }
    display.physicalWidth = static_cast<unsigned char>(edid[sizeInCentimetres]) / 100.0;
    display.physicalHeight = static_cast<unsigned char>(edid[sizeInCentimetres + 1]) / 100.0;
    for (std::size_t at = firstDescriptor; at + descriptorSize < size; at += descriptorSize)
    {
        std::string_view descriptor = edid.substr(at, descriptorSize);
        if (!descriptor.starts_with(nameOfModel))
        {
            continue;
        }
        descriptor.remove_prefix(nameOfModel.size());
        descriptor = descriptor.substr(0, descriptor.find('\n'));
        descriptor = descriptor.substr(0, descriptor.find_last_not_of(' ') + 1);
        if (!descriptor.empty())
        {
            display.name.clear();
            Conversion::AppendReplacing(display.name, descriptor);
        }
    }
}

} // namespace

std::vector<Display> ReadDisplays(const fs::path& folder)
{
    std::vector<fs::path> connectors;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    {
        if (ReadHead(entry->path() / "status").starts_with("connected"))
        {
            connectors.push_back(entry->path());
        }
    }
    std::sort(connectors.begin(), connectors.end());
    std::vector<Display> displays;
    for (const fs::path& connector : connectors)
    {
        Display display;
        const std::string name = FileSystem::ToDisplayText(connector.filename());
        display.name = name.substr(std::min(name.find('-') + 1, name.size())); // without "card0-"
        const std::string modes = ReadHead(connector / "modes");
        ReadMode(std::string_view(modes).substr(0, modes.find('\n')), display);
        ReadIdentification(ReadHead(connector / "edid"), display);
        displays.push_back(std::move(display));
    }
    return displays;
}

std::vector<Display> ReadDisplays()
{
    return ReadDisplays("/sys/class/drm");
}

} // namespace Ardo::Kiln::System
