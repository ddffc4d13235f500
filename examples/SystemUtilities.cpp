#include <Ardo/Kiln/FileSystem/TextFile.h>
#include <Ardo/Kiln/System/ApplicationOptions.h>
#include <Ardo/Kiln/System/SystemInformation.h>
#include <Ardo/Kiln/System/Version.h>
#include <filesystem>
#include <iostream>

int main(int argc, char** argv)
{
    using namespace Ardo::Kiln;
    using Number = std::int64_t;

    // Declared once; the command line comes before the environment, and that before a settings file.
    System::ApplicationOptions options("GUIDE",
                                       {{"threads", Number{4}, "Threads of the exporter", 1, 64},
                                        {"format", std::string("tif"), "Export format", 0, 0, {"tif", "png"}}});
    options.ReadEnvironment();
    options.ReadCommandLine({argv + 1, argv + argc});
    std::cout << options.Help() << "threads: " << options.Get<Number>("threads") << '\n';
    try
    {
        options.ReadCommandLine({"--threads", "100"});
    }
    catch (const System::OptionError& error)
    {
        std::cout << error.what() << '\n';
    }

    const auto version = System::Version::Parse("7.10.2");
    std::cout << version->ToText(2) << (*version > System::Version(7, 9) ? " is newer than 7.9\n" : "\n");

    // Written in one step, and read back with one kind of line end.
    const auto path = std::filesystem::temp_directory_path() / "system-guide.txt";
    FileSystem::WriteTextFile(
        path, "one\ntwo\n",
        {FileSystem::TextEncoding::Utf16LittleEndian, true, FileSystem::LineEnd::CarriageReturnLineFeed});
    std::cout << std::filesystem::file_size(path)
              << " bytes: " << FileSystem::ReadTextFile(path, {.lineEnd = FileSystem::LineEnd::LineFeed}).text;
    std::filesystem::remove(path);

    const auto system = System::ReadSystemInformation();
    std::cout << (system.processors > 0 && system.physicalMemory > system.processMemory ? "a machine\n"
                                                                                        : "no machine\n");
}
