#include "apps/kiln/CommandLine.h"

#include "apps/kiln/Commands.h"
#include "apps/kiln/Description.h"
#include "apps/kiln/Streams.h"
#include "apps/kiln/ToolOptions.h"

#include "Ardo/KilnVersion.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

constexpr const char* Version = "kiln " KILN_VERSION;

constexpr const char* Footer =
    R"(A file name of "-" is standard input or standard output. Results go to standard output, messages to standard
error. Exit status: 0 done, 1 failed (or not valid, or different), 2 wrong usage, 130 interrupted by Ctrl-C.)";

// Type names of arguments. Completions offer files and folders by them.
constexpr const char* File = "FILE";
constexpr const char* Folder = "FOLDER";

/// Adds commands to the parser.
class Commands
{
public:
    Commands(CLI::App& app, std::function<void(const CLI::App& command, const Action& action)> run)
        : m_app(app), m_run(std::move(run))
    {
    }

    /// \param declare adds the arguments of the command; they are stored in the options.
    /// \param action  gets the options when the command has been parsed.
    template <typename Options>
    void Add(const std::string& name, const std::string& description,
             const std::function<void(CLI::App& command, Options& options)>& declare, bool (*action)(const Options&))
    {
        CLI::App* const command = m_app.add_subcommand(name, description);
        command->set_version_flag("--version", Version, "Print the version and exit");
        command->footer(Footer);
        const auto options = std::make_shared<Options>();
        declare(*command, *options);
        command->callback([run = m_run, command, options, action]
                          { run(*command, [options, action] { return action(*options); }); });
    }

private:
    CLI::App& m_app;
    std::function<void(const CLI::App& command, const Action& action)> m_run;
};

void AddPage(CLI::App& command, auto& page)
{
    constexpr std::uint32_t MaxPages = 65'536;
    command.add_option("--page", page, "Which image of a file that has several, from 1")
        ->check(CLI::Range(std::uint32_t{1}, MaxPages));
}

void AddJson(CLI::App& command, bool& isJson)
{
    command.add_flag("--json", isJson, "Print the facts as JSON");
}

void AddFiles(CLI::App& command, BatchOptions& batch, const std::string& description)
{
    command.add_option("FILE", batch.files, description)->required()->type_name(File);
    command.add_flag("--recursive", batch.isRecursive, "Also the files in the folders below a folder");
    command.add_flag("--progress", batch.progress, "Show the progress on standard error also when it is no console");
    AddJson(command, batch.isJson);
}

void DeclareImport(CLI::App& command, ImportOptions& options)
{
    command
        .add_option("IMAGE", options.batch.files,
                    "Images and folders; last the TIFF to write, or a folder for several, unless they are named")
        ->required()
        ->type_name(File);
    command.add_option("--name", options.folder, "Name the files by the naming settings, in FOLDER")->type_name(Folder);
    command.add_option("--settings", options.settings, "Name the files by the naming settings in an INI file")
        ->type_name(File);
    command.add_option("--pixel-size", options.pixelSize,
                       "Width and height of a pixel: \"107 nm\", or a plain number of metres");
    command.add_option("--metadata", options.metadata, "The record to embed: an XML, JSON or TIFF file")
        ->type_name(File);
    AddPage(command, options.page);
    command.add_flag("--recursive", options.batch.isRecursive, "Also the images in the folders below a folder");
    command.add_flag("--progress", options.batch.progress,
                     "Show the progress on standard error also when it is no console");
}

void DeclareExport(CLI::App& command, PictureOptions& options)
{
    command.add_option("IN", options.image, "The image to read")->required()->type_name(File);
    command.add_option("OUT", options.output, "A PNG, JPEG or TIFF file; it is replaced when it is complete")
        ->required()
        ->type_name(File);
    command.add_option("--type", options.type, "png, jpeg, tiff, or data: a TIFF with all data; else by the extension");
    command.add_option("--size", options.size, "\"50 %\", \"1024\" (longest side) or \"800x600\" (within)");
    command.add_option("--range", options.range,
                       "Values that become black and white: \"100..4000\", \"1%..99%\" or \"full\"");
    command.add_option("--gamma", options.gamma, "More than 1 makes the middle brighter")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 10.0));
    command.add_option("--colours", options.colours, "A colour table: its name, or a file with one")
        ->capture_default_str();
    command.add_flag("--scale-bar", options.hasScaleBar, "Draw a scale bar");
    command.add_option("--data-bar", options.dataBar,
                       "Quantities below the image: \"usual\", or names separated by commas");
    CLI::Option* const forImageJ =
        command.add_flag("--for-imagej", options.isForImageJ,
                         "A TIFF with all samples unchanged, with the pixel size where ImageJ looks for it");
    for (const char* const other : {"--type", "--size", "--range", "--gamma", "--colours", "--scale-bar", "--data-bar"})
    {
        forImageJ->excludes(command.get_option(other));
    }
    command.add_option("--quality", options.quality, "Of JPEG")->capture_default_str()->check(CLI::Range(1, 100));
    AddPage(command, options.page);
}

void DeclareHistogram(CLI::App& command, HistogramOptions& options)
{
    command.add_option("IN", options.image, "The image to read")->required()->type_name(File);
    command
        .add_option("OUT", options.output,
                    "The text file to write, for example with the extension csv; not needed with --json")
        ->type_name(File);
    command.add_option("--parts", options.parts, "Maximum number of lines below the header")
        ->capture_default_str()
        ->check(CLI::Range(1, 1'000'000));
    command.add_option("--separator", options.separator, "Between the cells of a line")
        ->capture_default_str()
        ->check(CLI::IsMember({",", ";", "tab"}));
    AddPage(command, options.page);
    AddJson(command, options.isJson);
}

void DeclareMetadata(CLI::App& command, MetadataOptions& options)
{
    AddFiles(command, options.batch, "TIFF, XML or JSON files, or folders with TIFF files");
    command.add_option("--format", options.format, "xml or json")
        ->capture_default_str()
        ->check(CLI::IsMember({"xml", "json"}));
    options.output = StandardStream;
    command.add_option("--output", options.output, "The document to write, or a folder for several")
        ->capture_default_str()
        ->type_name(File);
    command.add_flag("--as-is", options.isAsIs, "The document as it stands in the file, without reading it");
}

void DeclareSet(CLI::App& command, SetOptions& options)
{
    command.add_option("FILE", options.file, "A TIFF, XML or JSON file with a record")->required()->type_name(File);
    command.add_option(
        "CHANGE", options.changes,
        "FIELD=VALUE, for example Optics/AccelerationVoltage=200e3; without a value the field is removed");
    command.add_option("--changes", options.list, "A text file with changes, one a line")->type_name(File);
    command.add_option("--output", options.output, "The changed copy")->required()->type_name(File);
}

void DeclareCompare(CLI::App& command, CompareOptions& options)
{
    command.add_option("FIRST", options.first, "An image, or a TIFF, XML or JSON file with a record")
        ->required()
        ->type_name(File);
    command.add_option("SECOND", options.second, "The file to compare with it")->required()->type_name(File);
    command.add_flag("--allow-additions", options.allowAdditions, "Fields that only SECOND has are no difference");
    AddJson(command, options.isJson);
}

void DeclareName(CLI::App& command, NameOptions& options)
{
    command.add_option("FOLDER", options.folder, "Where experiments go, if not where the settings say")
        ->type_name(Folder);
    command.add_option("--settings", options.settings, "An INI file with naming settings")->type_name(File);
    command.add_option("--record", options.record, "The record that fills in labels: an XML, JSON or TIFF file")
        ->type_name(File);
    command.add_option("--extension", options.extension, "Of the file, without the dot")->capture_default_str();
    command.add_flag("--reserve", options.reserve, "Take the next free name: make the folder and an empty file");
    constexpr std::uint32_t MaxNames = 100'000;
    command.add_option("--count", options.count, "Take so many names")->check(CLI::Range(std::uint32_t{1}, MaxNames));
    AddJson(command, options.isJson);
}

void DeclareFormat(CLI::App& command, FormatOptions& options)
{
    command.add_option("VALUE", options.value, "The number in the base unit")->required();
    command
        .add_option("UNIT", options.unit,
                    "The base unit, for example m, m^-1 or e/nm^2, or a quantity, for example defocus")
        ->required();
    command.add_option("--decimals", options.decimals, "Digits after the point; negative: round before it")
        ->capture_default_str()
        ->check(CLI::Range(-400, 400));
    command.add_option("--prefix", options.prefix, "The only prefix allowed, for example n; empty for none");
    command.add_option("--uncertainty", options.uncertainty, "Show the digits that it justifies, in the base unit");
    command.add_option("--reference", options.reference, "The value that picks the prefix, in the base unit");
    AddJson(command, options.isJson);
}

void DeclareParse(CLI::App& command, ParseOptions& options)
{
    command.add_option("TEXT", options.text, "The quantity, for example \"12.5 nm\"")->required();
    command
        .add_option("UNIT", options.unit, "The base unit of the number, or a quantity, for example \"camera length\"")
        ->required();
    AddJson(command, options.isJson);
}

/// The arguments of `kiln describe`.
struct DescribeOptions
{
    const CLI::App* app = nullptr;
    std::string format;
};

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

/// The number of letters to insert, remove or replace to make one word of the other (Levenshtein distance).
std::size_t Distance(std::string_view from, std::string_view to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i)
    {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j)
        {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string UnknownCommand(const CLI::App& app)
{
    constexpr std::size_t MaxDistance = 2;
    constexpr std::size_t MaxLength = 80;
    const auto words = app.remaining();
    const auto word = std::ranges::find_if(words, [](const std::string& text) { return !text.starts_with('-'); });
    if (word == words.end())
    {
        return {};
    }
    const std::string shown = word->substr(0, MaxLength);
    std::string nearest;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    {
        if (Distance(shown, command->get_name()) <= MaxDistance || command->get_name().starts_with(shown))
        {
            nearest += (nearest.empty() ? "; similar: " : ", ") + command->get_name();
        }
    }
    return "there is no command " + shown + nearest;
}

void AddCommands(CLI::App& app, CommonOptions& common,
                 const std::function<void(const CLI::App& command, const Action& action)>& run)
{
    app.name("kiln");
    app.description("Writes, reads and checks microscope images with their acquisition record.");
    app.set_version_flag("--version", Version, "Print the version and exit");
    app.footer(std::string("Also from the environment and the tool's settings:\n") + OptionsHelp() + "\n" + Footer);
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // a word that begins with "/" is a path on every system
    app.fallthrough();                      // so that the options below may stand behind the command, too
    app.add_option("--log", common.logFolder, "Log what is done to FOLDER/Log/kiln.log and kiln_Dbg.log")
        ->type_name(Folder);
    app.add_option("--profile", common.profile,
                   "Record the stages of the command: a trace to FILE, a table to standard error")
        ->type_name(File);
    Commands commands(app, run);
    commands.Add<ImportOptions>("import", "Write images and their records as TIFF files", DeclareImport, Import);
    commands.Add<PictureOptions>("export", "Write an image as a picture: scaled, with range, colours and scale bar",
                                 DeclareExport, ExportPicture);
    commands.Add<HistogramOptions>("histogram", "Write how often each value of an image occurs", DeclareHistogram,
                                   WriteHistogram);
    commands.Add<InfoOptions>(
        "info", "Print what TIFF files hold, also when their pixels are damaged",
        [](CLI::App& command, InfoOptions& options)
        {
            AddFiles(command, options.batch, "TIFF files, or folders with TIFF files");
            command.add_flag("--no-pixels", options.isQuick, "Do not read the pixels");
        },
        Info);
    commands.Add<MetadataOptions>("metadata", "Write the records of files as documents", DeclareMetadata,
                                  WriteMetadata);
    commands.Add<SetOptions>("set", "Write a copy of a file with changed fields of its record", DeclareSet, Set);
    commands.Add<BatchOptions>(
        "validate", "Hold the records of files against the schema; print each fault with its place",
        [](CLI::App& command, BatchOptions& options)
        { AddFiles(command, options, "TIFF, XML or JSON files, or folders with TIFF files"); },
        Validate);
    commands.Add<BatchOptions>(
        "report", "Print what happened in a crash, from its report and its minidump",
        [](CLI::App& command, BatchOptions& options)
        { AddFiles(command, options, "Reports (.txt) and minidumps (.dmp), or folders with them"); },
        Report);
    commands.Add<CompareOptions>("compare", "Compare the pixels and the records of two files", DeclareCompare, Compare);
    commands.Add<SystemOptions>(
        "system", "Describe the machine, or print the version of a Windows program or library",
        [](CLI::App& command, SystemOptions& options)
        {
            command.add_option("FILE", options.file, "The program or library")->type_name(File);
            AddJson(command, options.isJson);
        },
        DescribeSystem);
    commands.Add<NameOptions>("name", "Print the path that an acquisition gets, or take it", DeclareName, Name);
    commands.Add<FormatOptions>("format", "Print a quantity with an SI prefix", DeclareFormat, Format);
    commands.Add<ParseOptions>("parse", "Print the number in base units that a quantity stands for", DeclareParse,
                               Parse);
    commands.Add<DescribeOptions>(
        "describe", "Print the manual page of this program, or its completions for a shell",
        [&app](CLI::App& command, DescribeOptions& options)
        {
            options.app = &app;
            command.add_option("FORMAT", options.format, "The manual page, or the shell")
                ->required()
                ->check(CLI::IsMember({"man", "bash", "zsh", "fish"}));
        },
        [](const DescribeOptions& options)
        {
            Print(Describe(*options.app, options.format));
            return true;
        });
    RefuseEmptyTexts(app);
}

} // namespace Ardo::Kiln::Tool
