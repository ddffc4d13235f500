#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Profile.h"
#include "apps/kiln/Streams.h"
#include "apps/kiln/ToolLog.h"
#include "apps/kiln/ToolOptions.h"
#include "apps/Program/ProgramArguments.h"

#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Profiling/Startup.h"
#include "Ardo/KilnVersion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int WrongUsage = 2;
constexpr int WasInterrupted = 130; // the status that shells give for a program ended by Ctrl-C

constexpr const char* Version = "kiln " KILN_VERSION;

constexpr const char* Footer =
    R"(A file name of "-" is standard input or standard output. Results go to standard output, messages to standard
error. Exit status: 0 done, 1 failed (or not valid, or different), 2 wrong usage, 130 interrupted by Ctrl-C.)";

/// The options of every command. Empty texts: not given.
struct CommonOptions
{
    std::string logFolder;
    std::string profile;
};

/// Runs a command with its log and its profile.
template <typename Action>
void Do(const CommonOptions& options, const CLI::App* command, Action action)
{
    using namespace Ardo::Kiln;
    using namespace Ardo::Kiln::Tool;

    const ToolLog log(LogFolder(options.logFolder));
    Profile profile(options.profile);
    LogDebug("begin " + command->get_name());
    try
    {
        const Profiling::Stage stage(Profiling::InternName(command->get_name()));
        action();
    }
    catch (const std::exception& error)
    {
        LogError(command->get_name() + ": " + error.what());
        try
        {
            profile.Write(); // shows how far the command came
        }
        catch (const std::exception& second)
        {
            std::cerr << "kiln: " << Printable(second.what()) << '\n'; // the exit status is that of the first
        }
        throw;
    }
    profile.Write();
    LogDebug("end " + command->get_name());
}

/// Refuses empty texts, because the commands take them for "not given". Only a unit and a prefix may be empty.
void RefuseEmptyTexts(CLI::App& app)
{
    const CLI::Validator notEmpty([](const std::string& text) { return std::string(text.empty() ? "is empty" : ""); },
                                  "");
    const auto refusesEmpty = [](const CLI::Option* option)
    { return option->get_items_expected_max() > 0 && !option->check_name("UNIT") && !option->check_name("--prefix"); };
    for (CLI::Option* const option : app.get_options(refusesEmpty))
    {
        option->check(notEmpty);
    }
    for (CLI::App* const command : app.get_subcommands({}))
    {
        RefuseEmptyTexts(*command);
    }
}

CLI::App* AddCommand(CLI::App& app, const std::string& name, const std::string& description)
{
    CLI::App* command = app.add_subcommand(name, description);
    command->set_version_flag("--version", Version, "Print the version and exit");
    command->footer(Footer);
    return command;
}

/// \param arguments the command line without the name of the program.
int Run(std::vector<std::string> arguments)
{
    using namespace Ardo::Kiln::Tool;

    int status = Done;
    CLI::App app("Writes, reads and checks microscope images with their acquisition record.", "kiln");
    app.set_version_flag("--version", Version, "Print the version and exit");
    app.footer(std::string("Also from the environment and the tool's settings:\n") + OptionsHelp() + "\n" + Footer);
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // a word that begins with "/" is a path on every system
    app.fallthrough();                      // so that the options below may stand behind the command, too
    CommonOptions options;
    app.add_option("--log", options.logFolder, "Log what is done to FOLDER/Log/kiln.log and kiln_Dbg.log")
        ->type_name("FOLDER");
    app.add_option("--profile", options.profile,
                   "Record the stages of the command: a trace to FILE, a table to standard error")
        ->type_name("FILE");
    const auto on = [&](CLI::App* command, auto action)
    { command->callback([&options, command, action] { Do(options, command, action); }); };

    ImportOptions import;
    CLI::App* command = AddCommand(app, "import", "Write an image and its record as a TIFF file");
    command->add_option("IMAGE", import.image, "The image: PNG, TIFF or another format that can be read")->required();
    command->add_option("OUT.tif", import.output, "The TIFF to write; it appears under this name when it is complete")
        ->required();
    command->add_option("--pixel-size", import.pixelSize,
                        "Width and height of a pixel: \"107 nm\", or a plain number of metres");
    command->add_option("--metadata", import.metadata, "The record to embed: an XML, JSON or TIFF file");
    constexpr std::uint32_t MaxPages = 65'536;
    command->add_option("--page", import.page, "Which image of a file that has several, from 1")
        ->check(CLI::Range(std::uint32_t{1}, MaxPages));
    command->add_flag("--progress", import.progress, "Show the progress on standard error also when it is no console");
    on(command, [&] { Import(import); });

    PictureOptions picture;
    command = AddCommand(app, "export", "Write an image as a picture: scaled, with range, colours and scale bar");
    command->add_option("IN", picture.image, "The image to read")->required();
    command->add_option("OUT", picture.output, "A PNG, JPEG or 8-bit TIFF file; it is replaced when it is complete")
        ->required();
    command->add_option("--type", picture.type,
                        "png, jpeg, tiff, or data: a TIFF with all data; else by the extension");
    command->add_option("--size", picture.size, "\"50 %\", \"1024\" (longest side) or \"800x600\" (within)");
    command->add_option("--range", picture.range,
                        "Values that become black and white: \"100..4000\", \"1%..99%\" or \"full\"");
    command->add_option("--gamma", picture.gamma, "More than 1 makes the middle brighter")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 10.0));
    command->add_option("--colours", picture.colours, "A colour table: its name, or a file with one")
        ->capture_default_str();
    command->add_flag("--scale-bar", picture.hasScaleBar, "Draw a scale bar");
    command->add_option("--data-bar", picture.dataBar,
                        "Quantities below the image: \"usual\", or names separated by commas");
    command->add_option("--quality", picture.quality, "Of JPEG")->capture_default_str()->check(CLI::Range(1, 100));
    command->add_option("--page", picture.page, "Which image of a file that has several, from 1")
        ->check(CLI::Range(std::uint32_t{1}, MaxPages));
    on(command, [&] { ExportPicture(picture); });

    HistogramOptions histogram;
    command = AddCommand(app, "histogram", "Write how often each value of an image occurs");
    command->add_option("IN", histogram.image, "The image to read")->required();
    command->add_option("OUT", histogram.output, "The text file to write, for example with the extension csv")
        ->required();
    command->add_option("--parts", histogram.parts, "Maximum number of lines below the header")
        ->capture_default_str()
        ->check(CLI::Range(1, 1'000'000));
    command->add_option("--separator", histogram.separator, "Between the cells of a line")
        ->capture_default_str()
        ->check(CLI::IsMember({",", ";", "tab"}));
    command->add_option("--page", histogram.page, "Which image of a file that has several, from 1")
        ->check(CLI::Range(std::uint32_t{1}, MaxPages));
    on(command, [&] { WriteHistogram(histogram); });

    std::string file;
    command = AddCommand(app, "info", "Print what a TIFF file holds, also when its pixels are damaged");
    command->add_option("FILE.tif", file, "The file to read")->required();
    on(command, [&] { Info(file); });

    std::string format = "xml";
    std::string output(StandardStream);
    command = AddCommand(app, "metadata", "Write the record of a file as a document");
    command->add_option("FILE", file, "A TIFF, XML or JSON file")->required();
    command->add_option("--format", format, "xml or json")
        ->capture_default_str()
        ->check(CLI::IsMember({"xml", "json"}));
    command->add_option("--output", output, "The document to write")->capture_default_str();
    on(command, [&] { WriteMetadata(file, format, output); });

    command =
        AddCommand(app, "validate", "Hold the record of a file against the schema; print each fault with its place");
    command->add_option("FILE", file, "A TIFF, XML or JSON file")->required();
    on(command, [&] { status = Validate(file) ? Done : Failed; });

    std::string other;
    bool allowAdditions = false;
    command = AddCommand(app, "compare", "Compare the pixels and the records of two files");
    command->add_option("FIRST", file, "An image, or a TIFF, XML or JSON file with a record")->required();
    command->add_option("SECOND", other, "The file to compare with it")->required();
    command->add_flag("--allow-additions", allowAdditions, "Fields that only SECOND has are no difference");
    on(command, [&] { status = Compare(file, other, allowAdditions) ? Done : Failed; });

    command = AddCommand(app, "system", "Describe the machine, or print the version of a Windows program or library");
    command->add_option("FILE", file, "The program or library");
    on(command, [&] { DescribeSystem(file); });

    NameOptions naming;
    command = AddCommand(app, "name", "Print the path that an acquisition gets, or take it");
    command->add_option("FOLDER", naming.folder, "Where experiments go, if not where the settings say");
    command->add_option("--settings", naming.settings, "An INI file with naming settings");
    command->add_option("--record", naming.record, "The record that fills in labels: an XML, JSON or TIFF file");
    command->add_option("--extension", naming.extension, "Of the file, without the dot")->capture_default_str();
    command->add_flag("--reserve", naming.reserve, "Take the next free name: make the folder and an empty file");
    constexpr std::uint32_t MaxNames = 100'000;
    command->add_option("--count", naming.count, "Take so many names")->check(CLI::Range(std::uint32_t{1}, MaxNames));
    on(command, [&] { Name(naming); });

    FormatOptions formatting;
    command = AddCommand(app, "format", "Print a quantity with an SI prefix");
    command->add_option("VALUE", formatting.value, "The number in the base unit")->required();
    command
        ->add_option("UNIT", formatting.unit,
                     "The base unit, for example m, m^-1 or e/nm^2, or a quantity, for example defocus")
        ->required();
    command->add_option("--decimals", formatting.decimals, "Digits after the point; negative: round before it")
        ->capture_default_str()
        ->check(CLI::Range(-400, 400));
    command->add_option("--prefix", formatting.prefix, "The only prefix allowed, for example n; empty for none");
    command->add_option("--uncertainty", formatting.uncertainty, "Show the digits that it justifies, in the base unit");
    command->add_option("--reference", formatting.reference, "The value that picks the prefix, in the base unit");
    on(command, [&] { Format(formatting); });

    std::string text;
    std::string unit;
    command = AddCommand(app, "parse", "Print the number in base units that a quantity stands for");
    command->add_option("TEXT", text, "The quantity, for example \"12.5 nm\"")->required();
    command->add_option("UNIT", unit, "The base unit of the number, or a quantity, for example \"camera length\"")
        ->required();
    on(command, [&] { Parse(text, unit); });

    RefuseEmptyTexts(app);
    try
    {
        std::ranges::reverse(arguments); // as CLI11 takes them
        app.parse(std::move(arguments));
        std::cout.flush();
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == Done ? Done : WrongUsage;
    }
    catch (const UsageError& error)
    {
        std::cerr << "kiln: " << error.what() << "\nRun with --help for more information.\n";
        return WrongUsage;
    }
    catch (const Interrupted& interrupted)
    {
        std::cerr << "kiln: " << interrupted.what() << '\n';
        return WasInterrupted;
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit on file sizes fails instead
#endif
    Ardo::Kiln::Profiling::MarkStartup("main");
    try
    {
        using namespace Ardo::Kiln::Program;
        UseBinaryStreams();
        std::vector<std::string> arguments = ProgramArguments(argc, argv);
        arguments.erase(arguments.begin(), arguments.begin() + (arguments.empty() ? 0 : 1));
        return Run(std::move(arguments));
    }
    catch (const std::exception& error)
    {
        std::cerr << "kiln: " << Ardo::Kiln::Tool::Printable(error.what()) << '\n';
    }
    catch (...)
    {
        std::cerr << "kiln: unknown failure\n";
    }
    return Failed;
}
