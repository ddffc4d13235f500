#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// The program as a manual page or as completions for a shell, made of its parser.
/// \param format "man", "bash", "zsh" or "fish".
std::string Describe(const CLI::App& app, const std::string& format);

// The parts, in one order for all formats:

std::string ManualPage(const CLI::App& app);
std::string BashCompletion(const CLI::App& app);
std::string ZshCompletion(const CLI::App& app);
std::string FishCompletion(const CLI::App& app);

/// What may stand in place of the value of an argument.
struct ArgumentValue
{
    bool isTaken = false;             ///< False for a flag.
    bool isFile = false;              ///< The name of a file.
    bool isFolder = false;            ///< The name of a folder.
    std::vector<std::string> choices; ///< All values, if they are few.
};

ArgumentValue ValueOf(const CLI::Option& option);

/// The commands in the order of the help.
std::vector<const CLI::App*> CommandsOf(const CLI::App& app);

/// The options of a program or command, without its positional arguments.
std::vector<const CLI::Option*> OptionsOf(const CLI::App& app);

/// The positional arguments of a command.
std::vector<const CLI::Option*> PositionalsOf(const CLI::App& app);

} // namespace Ardo::Kiln::Tool
