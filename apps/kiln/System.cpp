#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/System/Displays.h"
#include "Ardo/Kiln/System/Registry.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "Ardo/Kiln/System/Version.h"

#include <QJsonArray>

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

/// The installation folder in the settings of the machine, which docs/logging.md describes; empty if they have none.
std::string InstallationFolder()
{
    const auto folder = System::Registry::OfMachine(L"SOFTWARE\\Ardo\\Configuration").ReadText(L"Installation Path");
    return folder ? FileSystem::ToDisplayText(FileSystem::ToPath(*folder)) : "";
}

/// docs/kiln.md describes the object.
QJsonObject FactsOf(const System::SystemInformation& system)
{
    const auto text = [](const std::string& value)
    { return value.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(value)); };
    const auto number = [](auto value) { return value > 0 ? QJsonValue(static_cast<qint64>(value)) : QJsonValue(); };
    QJsonArray displays;
    for (const System::Display& display : System::ReadDisplays())
    {
        displays.append(QJsonObject{{"name", text(display.name)},
                                    {"width", number(display.width)},
                                    {"height", number(display.height)},
                                    {"physicalWidth", display.physicalWidth},
                                    {"physicalHeight", display.physicalHeight}});
    }
    return {{"library", text(System::LibraryVersion().ToText())},
            {"system", text(system.systemName)},
            {"systemVersion", text(system.systemVersion)},
            {"processor", text(system.processor)},
            {"processors", number(system.processors)},
            {"memory", number(system.physicalMemory)},
            {"availableMemory", number(system.availableMemory)},
            {"swap", static_cast<qint64>(system.swapMemory)},
            {"installation", text(InstallationFolder())},
            {"displays", displays}};
}

} // namespace

bool DescribeSystem(const SystemOptions& options)
{
    if (!options.file.empty())
    {
        const auto version = System::FileVersionOf(ToPath(options.file));
        if (!version)
        {
            throw Failure(options.file + ": has no version");
        }
        const std::string text = version->ToText();
        Print((options.isJson ? JsonText({{"file", QString::fromStdString(options.file)},
                                          {"version", QString::fromStdString(text)}})
                              : text) +
              "\n");
        return true;
    }
    const auto system = System::ReadSystemInformation();
    if (options.isJson)
    {
        Print(JsonText(FactsOf(system)) + "\n");
        return true;
    }
    std::string text = "Library         " + System::LibraryVersion().ToText() + "\n";
    text += "System          " + Known(system.systemName) + " " + system.systemVersion + "\n";
    text += "Processor       " + Known(system.processor) + ", " + std::to_string(system.processors) + " logical\n";
    text += "Memory          " + Mebibytes(system.physicalMemory) + ", available " + Mebibytes(system.availableMemory) +
            ", swap " + Mebibytes(system.swapMemory) + "\n";
    text += "Installation    " + Printable(Known(InstallationFolder())) + "\n";
    std::string title = "Displays        ";
    const auto displays = System::ReadDisplays();
    text += displays.empty() ? title + "none\n" : "";
    for (const System::Display& display : displays)
    {
        text += title + Printable(Describe(display)) + "\n";
        title.assign(title.size(), ' ');
    }
    Print(text);
    return true;
}

} // namespace Ardo::Kiln::Tool
