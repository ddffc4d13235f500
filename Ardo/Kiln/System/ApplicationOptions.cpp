#include "Ardo/Kiln/System/ApplicationOptions.h"

#include "Ardo/Kiln/System/OptionText_p.h"

#include <QSettings>
#include <QString>
#include <QVariant>

#include <algorithm>
#include <iterator>

namespace Ardo::Kiln::System
{

namespace
{

bool IsSwitch(const OptionDeclaration& declaration) noexcept
{
    return std::holds_alternative<bool>(declaration.defaultValue);
}

bool IsName(std::string_view name) noexcept
{
    const auto isLetter = [](char character) { return character >= 'a' && character <= 'z'; };
    const auto isPart = [&](char character)
    { return isLetter(character) || (character >= '0' && character <= '9') || character == '-'; };
    return !name.empty() && isLetter(name.front()) && std::all_of(name.begin(), name.end(), isPart) &&
           !name.starts_with("no-");
}

void Check(const OptionDeclaration& declaration)
{
    const std::string subject = "the option \"" + declaration.name + "\" ";
    if (!IsName(declaration.name))
    {
        throw std::invalid_argument(subject + "has no valid name");
    }
    if (!declaration.choices.empty() && !std::holds_alternative<std::string>(declaration.defaultValue))
    {
        throw std::invalid_argument(subject + "has choices, but is no text");
    }
    if (!IsAllowed(declaration.defaultValue, declaration))
    {
        throw std::invalid_argument(subject + "has a default that is not allowed");
    }
}

} // namespace

ApplicationOptions::ApplicationOptions(std::string prefix, std::vector<OptionDeclaration> declarations)
    : m_prefix(std::move(prefix))
{
    for (OptionDeclaration& declaration : declarations)
    {
        Check(declaration);
        if (IndexOf(declaration.name) != m_options.size())
        {
            throw std::invalid_argument("the option \"" + declaration.name + "\" is declared twice");
        }
        OptionValue value = declaration.defaultValue;
        m_options.push_back({std::move(declaration), std::move(value)});
    }
}

void ApplicationOptions::ReadSettings(const QSettings& settings)
{
    const std::string where = "the settings " + settings.fileName().toStdString();
    settings.allKeys(); // the lines of a section are read when they are first asked for
    if (settings.status() != QSettings::NoError)
    {
        throw OptionError(where + ": the file is damaged or cannot be read");
    }
    std::vector<Change> changes;
    for (std::size_t i = 0; i < m_options.size(); ++i)
    {
        const QString key = "Options/" + QString::fromStdString(m_options[i].declaration.name);
        if (!settings.contains(key))
        {
            continue;
        }
        const QVariant value = settings.value(key);
        if (value.userType() == QMetaType::QStringList || !value.canConvert<QString>())
        {
            throw OptionError(where + ": " + m_options[i].declaration.name + " is no single value");
        }
        changes.push_back(Read(i, value.toString().toStdString(), where));
    }
    Apply(std::move(changes), OptionSource::Settings);
}

void ApplicationOptions::ReadEnvironment()
{
    std::vector<Change> changes;
    for (std::size_t i = 0; i < m_options.size(); ++i)
    {
        const std::string variable = VariableOf(m_options[i]);
        // Through Qt: the environment of Windows is UTF-16.
        const std::string text = qEnvironmentVariable(variable.c_str()).toStdString();
        if (!text.empty())
        {
            changes.push_back(Read(i, text, "the environment variable " + variable));
        }
    }
    Apply(std::move(changes), OptionSource::Environment);
}

std::vector<std::string> ApplicationOptions::ReadCommandLine(const std::vector<std::string>& arguments)
{
    const std::string where = "the command line";
    std::vector<std::string> rest;
    std::vector<Change> changes;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument)
    {
        if (*argument == "--")
        {
            rest.insert(rest.end(), std::next(argument), arguments.end());
            break;
        }
        if (!argument->starts_with("--"))
        {
            rest.push_back(*argument);
            continue;
        }
        const std::size_t equals = argument->find('=');
        std::string name = argument->substr(2, equals == std::string::npos ? equals : equals - 2);
        const bool isNegated = IndexOf(name) == m_options.size() && name.starts_with("no-");
        name = isNegated ? name.substr(3) : name;
        const std::size_t option = IndexOf(name);
        const std::string shown = Quoted(*argument);
        if (option == m_options.size() || (isNegated && !IsSwitch(m_options[option].declaration)))
        {
            throw OptionError(where + ": " + shown + " is no option");
        }
        if (std::any_of(changes.begin(), changes.end(), [&](const Change& change) { return change.option == option; }))
        {
            throw OptionError(where + ": --" + name + " is given twice");
        }
        if (IsSwitch(m_options[option].declaration) && equals == std::string::npos)
        {
            changes.push_back({option, !isNegated});
        }
        else if (equals != std::string::npos && !isNegated)
        {
            changes.push_back(Read(option, argument->substr(equals + 1), where));
        }
        else if (!isNegated && std::next(argument) != arguments.end())
        {
            changes.push_back(Read(option, *++argument, where));
        }
        else
        {
            throw OptionError(where + ": " + shown + (isNegated ? " takes no value" : " needs a value"));
        }
    }
    Apply(std::move(changes), OptionSource::CommandLine);
    return rest;
}

void ApplicationOptions::Set(std::string_view name, const std::string& text, OptionSource source)
{
    const std::size_t option = IndexOf(name);
    if (option == m_options.size())
    {
        throw OptionError(Quoted(std::string(name)) + " is no option");
    }
    const std::string where = source == OptionSource::CommandLine   ? "the command line"
                              : source == OptionSource::Environment ? "the environment"
                              : source == OptionSource::Settings    ? "the settings"
                                                                    : "the default";
    Apply({Read(option, text, where)}, source);
}

OptionSource ApplicationOptions::SourceOf(std::string_view name) const
{
    return Find(name).source;
}

std::string ApplicationOptions::Help() const
{
    constexpr std::size_t maxColumn = 28;
    std::vector<std::string> names;
    std::size_t column = 0;
    for (const Option& option : m_options)
    {
        names.push_back("  --" + option.declaration.name + ValueName(option.declaration));
        column = std::max(column, std::min(names.back().size() + 2, maxColumn));
    }
    std::string help;
    for (std::size_t i = 0; i < m_options.size(); ++i)
    {
        std::string name = names[i];
        name.resize(std::max(column, name.size() + 2), ' ');
        help += name + m_options[i].declaration.description + " (" + Limits(m_options[i].declaration) +
                VariableOf(m_options[i]) + ")\n";
    }
    return help;
}

const ApplicationOptions::Option& ApplicationOptions::Find(std::string_view name) const
{
    const std::size_t index = IndexOf(name);
    if (index == m_options.size())
    {
        throw std::invalid_argument("there is no option " + std::string(name));
    }
    return m_options[index];
}

std::size_t ApplicationOptions::IndexOf(std::string_view name) const noexcept
{
    const auto found = std::find_if(m_options.begin(), m_options.end(),
                                    [&](const Option& option) { return option.declaration.name == name; });
    return static_cast<std::size_t>(found - m_options.begin());
}

std::string ApplicationOptions::VariableOf(const Option& option) const
{
    std::string variable = m_prefix + "_";
    for (const char character : option.declaration.name)
    {
        const bool isLetter = character >= 'a' && character <= 'z';
        variable += character == '-' ? '_' : isLetter ? static_cast<char>(character - 'a' + 'A') : character;
    }
    return variable;
}

void ApplicationOptions::Apply(std::vector<Change> changes, OptionSource source)
{
    for (Change& change : changes)
    {
        Option& option = m_options[change.option];
        if (source >= option.source)
        {
            option.value = std::move(change.value);
            option.source = source;
        }
    }
}

ApplicationOptions::Change ApplicationOptions::Read(std::size_t option, const std::string& text,
                                                    const std::string& where) const
{
    const OptionDeclaration& declaration = m_options[option].declaration;
    auto value = ReadOptionValue(text, declaration);
    if (!value || !IsAllowed(*value, declaration))
    {
        throw OptionError(where + ": " + declaration.name + ": " + Quoted(text) + " is not " + Allowed(declaration));
    }
    return {option, std::move(*value)};
}

} // namespace Ardo::Kiln::System
