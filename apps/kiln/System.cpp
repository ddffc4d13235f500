#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/System/Displays.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "Ardo/Kiln/System/Version.h"

namespace Ardo::Kiln::Tool
{

namespace
{

std::string Known(const std::string& text)
{
    return text.empty() ? "-" : text;
}

std::string Mebibytes(std::uint64_t bytes)
{
    return bytes == 0 ? "-" : std::to_string(bytes >> 20U) + " MiB";
}

std::string Describe(const System::Display& display)
{
    std::string text = display.name;
    if (display.width > 0)
    {
        text += ", " + std::to_string(display.width) + " x " + std::to_string(display.height) + " px";
    }
    if (display.physicalWidth > 0)
    {
        const auto millimetres = [](double metres) { return std::to_string(static_cast<int>(metres * 1000 + 0.5)); };
        text += ", " + millimetres(display.physicalWidth) + " x " + millimetres(display.physicalHeight) + " mm";
    }
    return text;
}

} // namespace

void DescribeSystem(const std::string& file)
{
    if (!file.empty())
    {
        const auto version = System::FileVersionOf(ToPath(file));
        if (!version)
        {
            throw Failure(file + ": has no version");
        }
        Print(version->ToText() + "\n");
        return;
    }
    const auto system = System::ReadSystemInformation();
    std::string text = "Library         " + System::LibraryVersion().ToText() + "\n";
    text += "System          " + Known(system.systemName) + " " + system.systemVersion + "\n";
    text += "Processor       " + Known(system.processor) + ", " + std::to_string(system.processors) + " logical\n";
    text += "Memory          " + Mebibytes(system.physicalMemory) + ", available " + Mebibytes(system.availableMemory) +
            ", swap " + Mebibytes(system.swapMemory) + "\n";
    std::string title = "Displays        ";
    const auto displays = System::ReadDisplays();
    text += displays.empty() ? title + "none\n" : "";
    for (const System::Display& display : displays)
    {
        text += title + Printable(Describe(display)) + "\n";
        title.assign(title.size(), ' ');
    }
    Print(text);
}

} // namespace Ardo::Kiln::Tool
