#include "apps/kiln/Description.h"

#include <algorithm>
#include <sstream>

namespace Ardo::Kiln::Tool
{

std::string Describe(const CLI::App& app, const std::string& format)
{
    return format == "man"    ? ManualPage(app)
           : format == "bash" ? BashCompletion(app)
           : format == "zsh"  ? ZshCompletion(app)
                              : FishCompletion(app);
}

ArgumentValue ValueOf(const CLI::Option& option)
{
    ArgumentValue value;
    // The type has the descriptions of the checks behind it: "TEXT:{xml,json}:".
    const std::string type = option.get_type_name();
    value.isTaken = option.get_items_expected_max() > 0;
    value.isFile = type.starts_with("FILE");
    value.isFolder = type.starts_with("FOLDER");
    const std::size_t begin = type.find('{');
    const std::size_t end = type.find('}');
    if (begin != std::string::npos && end != std::string::npos)
    {
        const std::string list = type.substr(begin + 1, end - begin - 1);
        // A comma may be a choice itself: ",,;,tab".
        std::size_t at = 0;
        while (at <= list.size())
        {
            const std::size_t comma = list.find(',', at == list.size() ? at : at + 1);
            value.choices.push_back(list.substr(at, comma == std::string::npos ? std::string::npos : comma - at));
            at = comma == std::string::npos ? list.size() + 1 : comma + 1;
        }
    }
    return value;
}

std::vector<const CLI::App*> CommandsOf(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

std::vector<const CLI::Option*> PositionalsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

} // namespace Ardo::Kiln::Tool
