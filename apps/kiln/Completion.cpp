#include "apps/kiln/Description.h"

#include <algorithm>
#include <string_view>

namespace Ardo::Kiln::Tool
{

namespace
{

std::string Joined(const std::vector<std::string>& words, const std::string& separator)
{
    std::string text;
    for (const std::string& word : words)
    {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

/// The names of options, "--format".
std::vector<std::string> NamesOf(const std::vector<const CLI::Option*>& options)
{
    std::vector<std::string> names;
    for (const CLI::Option* const option : options)
    {
        for (const std::string& name : option->get_lnames())
        {
            names.push_back("--" + name);
        }
    }
    return names;
}

/// \p text between single quotes of a shell.
/// \param quote what stands for a single quote in it.
std::string Quoted(std::string_view text, std::string_view quote)
{
    std::string quoted = "'";
    for (const char c : text)
    {
        quoted += c == '\'' ? quote : std::string_view(&c, 1);
    }
    return quoted + "'";
}

/// Whether the arguments of a command are files.
bool TakesFiles(const CLI::App& command)
{
    const auto positionals = PositionalsOf(command);
    return std::ranges::any_of(positionals, [](const CLI::Option* option)
                               { return ValueOf(*option).isFile || ValueOf(*option).isFolder; });
}

/// The values of the positional arguments of a command, if they are few.
std::vector<std::string> ChoicesOf(const CLI::App& command)
{
    const auto positionals = PositionalsOf(command);
    return positionals.empty() ? std::vector<std::string>() : ValueOf(*positionals[0]).choices;
}

/// The branches that complete the values of the options of \p app behind \p command.
std::string BashValues(const CLI::App& app, const std::string& command)
{
    std::string text;
    for (const CLI::Option* const option : OptionsOf(app))
    {
        const ArgumentValue value = ValueOf(*option);
        if (!value.isTaken)
        {
            continue;
        }
        const std::string words = value.isFile     ? "-f"
                                  : value.isFolder ? "-d"
                                                   : "-W " + Quoted(Joined(value.choices, " "), "'\\''");
        for (const std::string& name : NamesOf({option}))
        {
            text += "        " + command + "/" + name + ") _kiln_reply " + words + "; return ;;\n";
        }
    }
    return text;
}

} // namespace

std::string BashCompletion(const CLI::App& app)
{
    std::vector<std::string> names;
    std::string values = BashValues(app, "*");
    std::string words;
    for (const CLI::App* const command : CommandsOf(app))
    {
        const std::string& name = command->get_name();
        names.push_back(name);
        values += BashValues(*command, name);
        const std::string choices = Joined(ChoicesOf(*command), " ");
        words += "        " + name + "/-*) _kiln_reply -W " +
                 Quoted(Joined(NamesOf(OptionsOf(*command)), " ") + " " + Joined(NamesOf(OptionsOf(app)), " "), "") +
                 " ;;\n        " + name + "/*) " +
                 (!choices.empty()       ? "_kiln_reply -W '" + choices + "'"
                  : TakesFiles(*command) ? "_kiln_reply -f"
                                         : ":") +
                 " ;;\n";
    }
    return R"(# Completions of kiln for bash. Made by "kiln describe bash".
_kiln_reply()
{
    local IFS=$'\n'
    [ "$1" = -W ] && set -- -W "${2// /$'\n'}"
    COMPREPLY=($(compgen "$@" -- "$current"))
}
_kiln()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        )" +
           Joined(names, "|") +
           R"()
            command=${COMP_WORDS[i]}
            break
            ;;
        esac
    done
    case $command/$previous in
)" + values +
           R"(    esac
    case $command/$current in
        /-*) _kiln_reply -W ')" +
           Joined(NamesOf(OptionsOf(app)), " ") + R"(' ;;
        /*) _kiln_reply -W ')" +
           Joined(names, " ") + R"(' ;;
)" + words +
           R"(    esac
}
complete -o filenames -F _kiln kiln
)";
}

namespace
{

/// \p text as a description in an argument of _arguments, where brackets and colons are part of the syntax.
std::string ZshText(std::string_view text)
{
    std::string escaped;
    for (const char c : text)
    {
        escaped += c == '[' || c == ']' || c == ':' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return escaped;
}

std::string ZshValues(const ArgumentValue& value)
{
    return value.isFile             ? "_files"
           : value.isFolder         ? "_files -/"
           : !value.choices.empty() ? "(" + Joined(value.choices, " ") + ")"
                                    : " ";
}

std::string ZshArguments(const CLI::App& app)
{
    std::string text;
    for (const CLI::Option* const option : OptionsOf(app))
    {
        for (const std::string& name : NamesOf({option}))
        {
            const ArgumentValue value = ValueOf(*option);
            std::string argument = name + "[" + ZshText(option->get_description()) + "]";
            argument += value.isTaken ? ":value:" + ZshValues(value) : "";
            text += " \\\n            " + Quoted(argument, "'\\''");
        }
    }
    return text;
}

} // namespace

std::string ZshCompletion(const CLI::App& app)
{
    std::string names;
    std::string branches;
    for (const CLI::App* const command : CommandsOf(app))
    {
        names +=
            "            " + Quoted(command->get_name() + ":" + ZshText(command->get_description()), "'\\''") + "\n";
        branches +=
            "        " + command->get_name() + ")\n            _arguments" + ZshArguments(*command) + ZshArguments(app);
        const auto positionals = PositionalsOf(*command);
        if (!positionals.empty())
        {
            branches += " \\\n            " + Quoted("*:argument:" + ZshValues(ValueOf(*positionals[0])), "");
        }
        branches += "\n            ;;\n";
    }
    return R"(#compdef kiln
# Completions of kiln for zsh. Made by "kiln describe zsh".
_kiln()
{
    local state line
    typeset -A opt_args
    _arguments -C)" +
           ZshArguments(app) + R"( \
            '1:command:->command' '*::argument:->argument'
    case $state in
    command)
        local -a commands=(
)" + names +
           R"(        )
        _describe command commands
        ;;
    argument)
        case $words[1] in
)" + branches +
           R"(        esac
        ;;
    esac
}
_kiln "$@"
)";
}

namespace
{

std::string FishOptions(const CLI::App& app, const std::string& condition)
{
    std::string text;
    for (const CLI::Option* const option : OptionsOf(app))
    {
        const ArgumentValue value = ValueOf(*option);
        const std::string argument = !value.isTaken   ? ""
                                     : value.isFile   ? " -r -F"
                                     : value.isFolder ? " -x -a '(__fish_complete_directories)'"
                                                      : " -x -a " + Quoted(Joined(value.choices, " "), "\\'");
        for (const std::string& name : option->get_lnames())
        {
            text += "complete -c kiln" + condition + " -l " + name + argument + " -d " +
                    Quoted(option->get_description(), "\\'") + "\n";
        }
    }
    return text;
}

} // namespace

std::string FishCompletion(const CLI::App& app)
{
    std::string text = "# Completions of kiln for fish. Made by \"kiln describe fish\".\ncomplete -c kiln -f\n";
    text += FishOptions(app, "");
    for (const CLI::App* const command : CommandsOf(app))
    {
        const std::string condition = " -n '__fish_seen_subcommand_from " + command->get_name() + "'";
        text += "complete -c kiln -n __fish_use_subcommand -a " + command->get_name() + " -d " +
                Quoted(command->get_description(), "\\'") + "\n" + FishOptions(*command, condition);
        const std::string choices = Joined(ChoicesOf(*command), " ");
        text += !choices.empty()       ? "complete -c kiln" + condition + " -a '" + choices + "'\n"
                : TakesFiles(*command) ? "complete -c kiln" + condition + " -F\n"
                                       : "";
    }
    return text;
}

} // namespace Ardo::Kiln::Tool
