#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

class QSettings;

namespace Ardo::Kiln::System
{

/// The value of an option: a switch, a whole number, a number, or text in UTF-8. The type of the default is the type of
/// the option.
using OptionValue = std::variant<bool, std::int64_t, double, std::string>;

/// One option of an application.
struct OptionDeclaration
{
    std::string name;         ///< Lower-case letters, digits and "-", a letter first: "log-folder".
    OptionValue defaultValue; ///< Its type is the type of the option.
    std::string description;  ///< One line for the help text, UTF-8.
    /// The range of a number, inclusive. Texts and switches ignore it.
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity(); ///< \copydoc minimum
    std::vector<std::string> choices{};                       ///< The only texts allowed; empty: any text.
    std::size_t maxLength = 4096;                             ///< Of a text, in bytes.
};

/// Where the value of an option comes from. A later source replaces an earlier one, in whatever order they are read.
enum class OptionSource : std::int32_t
{
    Default,     ///< The declaration.
    Settings,    ///< The key "Options/NAME" of a settings file.
    Environment, ///< The environment variable PREFIX_NAME, in upper case and with "_" for "-".
    CommandLine, ///< "--NAME VALUE" or "--NAME=VALUE"; of a switch "--NAME" or "--no-NAME".
};

/// An option has a value that it cannot have, or there is no such option. The text names the source, the option, the
/// value and what is allowed.
class OptionError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The options of an application, declared once.
///
///     ApplicationOptions options("ORBEX", {{"threads", std::int64_t{4}, "Threads of the exporter", 1, 64},
///                                          {"log", std::string(), "Folder of the log files"}});
///     options.ReadSettings(settings);
///     options.ReadEnvironment();
///     const auto files = options.ReadCommandLine({argv + 1, argv + argc});
///     options.Get<std::int64_t>("threads")
///
/// A source with a wrong value throws and changes nothing, so an application may report the error and go on. One thread
/// at a time; reading values is possible from any number of threads.
class KILN_EXPORT ApplicationOptions
{
public:
    /// \param prefix begins the names of environment variables: upper-case letters, digits and "_".
    /// \throws std::invalid_argument if a declaration contradicts itself: a name that is malformed or declared twice or
    ///         begins with "no-", a default out of its range, choices for something else than text.
    ApplicationOptions(std::string prefix, std::vector<OptionDeclaration> declarations);

    /// Reads the options that \p settings has.
    /// \throws OptionError for a value that an option cannot have, and for a file that is damaged or cannot be read.
    void ReadSettings(const QSettings& settings);

    /// Reads the options that are set in the environment. An empty variable counts as not set. Not while another thread
    /// changes the environment.
    /// \throws OptionError for a value that an option cannot have.
    void ReadEnvironment();

    /// Reads a command line. Everything behind "--" is no option.
    /// \param arguments without the name of the program, UTF-8.
    /// \returns the arguments that are no options, in order.
    /// \throws OptionError for an unknown option, one that is given twice or has no value, and a value that an option
    ///         cannot have.
    std::vector<std::string> ReadCommandLine(const std::vector<std::string>& arguments);

    /// Sets one option, as the sources above do. For an application whose command line is read by something else.
    /// \param text UTF-8. Switches: "true", "1", "on", "yes" or "false", "0", "off", "no". Numbers: decimal, with ".".
    /// \throws OptionError if there is no such option or \p text is no value for it.
    void Set(std::string_view name, const std::string& text, OptionSource source);

    /// The value of an option.
    /// \tparam Value bool, std::int64_t, double or std::string: the type of the declaration.
    /// \throws std::invalid_argument if there is no such option, or it has another type.
    template <typename Value>
    const Value& Get(std::string_view name) const
    {
        const auto* const value = std::get_if<Value>(&Find(name).value);
        if (value == nullptr)
        {
            throw std::invalid_argument("the option " + std::string(name) + " has another type");
        }
        return *value;
    }

    /// Where the value of an option comes from.
    /// \throws std::invalid_argument if there is no such option.
    OptionSource SourceOf(std::string_view name) const;

    /// The help text: for each option a line with its name and type, its description, its range or choices, its default
    /// and its environment variable. UTF-8.
    std::string Help() const;

private:
    struct Option
    {
        OptionDeclaration declaration;
        OptionValue value;
        OptionSource source = OptionSource::Default;
    };

    struct Change
    {
        std::size_t option;
        OptionValue value;
    };

    const Option& Find(std::string_view name) const;
    std::size_t IndexOf(std::string_view name) const noexcept;
    std::string VariableOf(const Option& option) const;
    void Apply(std::vector<Change> changes, OptionSource source);
    Change Read(std::size_t option, const std::string& text, const std::string& where) const;

    std::string m_prefix;
    std::vector<Option> m_options;
};

} // namespace Ardo::Kiln::System
