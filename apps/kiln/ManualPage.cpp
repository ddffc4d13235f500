#include "apps/kiln/Description.h"

#include <string_view>

namespace Ardo::Kiln::Tool
{

namespace
{

/// \p text for a source of man(7): its lines are taken as they are.
std::string Escaped(std::string_view text)
{
    std::string escaped;
    for (const char c : text)
    {
        const bool beginsLine = escaped.empty() || escaped.back() == '\n';
        if (beginsLine && (c == '.' || c == '\''))
        {
            escaped += "\\&"; // else a request
        }
        escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    }
    return escaped;
}

std::string Bold(std::string_view text)
{
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string ValueName(const CLI::Option& option)
{
    const ArgumentValue value = ValueOf(option);
    std::string name;
    for (const std::string& choice : value.choices)
    {
        name += (name.empty() ? "" : "|") + choice;
    }
    return !value.isTaken          ? ""
           : value.isFile          ? "FILE"
           : value.isFolder        ? "FOLDER"
           : value.choices.empty() ? "VALUE"
                                   : name;
}

std::string Options(const std::vector<const CLI::Option*>& options)
{
    std::string text;
    for (const CLI::Option* const option : options)
    {
        std::string title = Bold(option->get_name(option->get_positional(), true));
        if (!option->get_positional() && ValueOf(*option).isTaken)
        {
            title += " \\fI" + Escaped(ValueName(*option)) + "\\fR";
        }
        text += ".TP\n" + title + "\n" + Escaped(option->get_description());
        const std::string initial = option->get_default_str();
        text += (initial.empty() ? "" : " (default: " + Escaped(initial) + ")") + ".\n";
    }
    return text;
}

std::string Synopsis(const CLI::App& command)
{
    std::string text = Bold("kiln " + command.get_name());
    for (const CLI::Option* const option : PositionalsOf(command))
    {
        const bool isMany = option->get_items_expected_max() > 1;
        const std::string name = "\\fI" + Escaped(option->get_name(true)) + "\\fR" + (isMany ? "..." : "");
        text += option->get_required() ? " " + name : " [" + name + "]";
    }
    return text + " [\\fIOPTIONS\\fR]";
}

} // namespace

std::string ManualPage(const CLI::App& app)
{
    std::string page = ".TH KILN 1 \"\" \"" + Escaped(app.version()) + "\" \"User Commands\"\n";
    page += ".SH NAME\nkiln \\- writes, reads and checks microscope images\n.SH SYNOPSIS\n";
    for (const char* separator = ""; const CLI::App* const command : CommandsOf(app))
    {
        page += separator + Synopsis(*command) + "\n";
        separator = ".br\n";
    }
    page += ".SH DESCRIPTION\n" + Escaped(app.get_description()) + "\n.SH COMMANDS\n";
    for (const CLI::App* const command : CommandsOf(app))
    {
        page += ".SS " + command->get_name() + "\n" + Escaped(command->get_description()) + ".\n";
        page += Options(PositionalsOf(*command)) + Options(OptionsOf(*command));
    }
    page += ".SH OPTIONS\nThe options of every command:\n" + Options(OptionsOf(app));
    page += ".SH NOTES\n.nf\n" + Escaped(app.get_footer()) + "\n.fi\n";
    return page;
}

} // namespace Ardo::Kiln::Tool
