#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// What a command does.
/// \returns whether it is done; false: exit status 1.
using Action = std::function<bool()>;

/// The options of every command. Empty texts: not given.
struct CommonOptions
{
    std::string logFolder;
    std::string profile;
};

/// Declares the program and its commands with their arguments. It is the only place where they are named: help, manual
/// page and completions are made of it.
/// \param common filled in by the parser.
/// \param run    called when a command has been parsed.
void AddCommands(CLI::App& app, CommonOptions& common,
                 const std::function<void(const CLI::App& command, const Action& action)>& run);

/// What is wrong with a command line without a command: the word that is none, with the commands of similar names.
/// Empty if there is no such word.
std::string UnknownCommand(const CLI::App& app);

} // namespace Ardo::Kiln::Tool
