#include "Ardo/Kiln/Conversion/String.h"
#include "tests/Support/Environment.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <locale>

namespace Ardo::Kiln::Support
{

namespace
{

/// Numbers as the German locale writes them, but with groups of five digits: GoogleTest writes line numbers and handles
/// for the processes of its death tests in the global locale, and reads them without groups.
template <typename Char>
class HostileNumbers : public std::numpunct<Char>
{
    Char do_decimal_point() const override { return ','; }
    Char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\5"; }
};

} // namespace

std::optional<std::string> EnvironmentValue(const std::string& name)
{
    const wchar_t* const value = ::_wgetenv(Conversion::String::FromUtf8(name).c_str());
    return value != nullptr ? std::optional(Conversion::String::ToUtf8(value)) : std::nullopt;
}

void SetEnvironmentValue(const std::string& name, const std::optional<std::string>& value)
{
    // Also changes the environment of the system. An empty value removes the variable.
    EXPECT_EQ(::_wputenv_s(Conversion::String::FromUtf8(name).c_str(),
                           Conversion::String::FromUtf8(value.value_or("")).c_str()),
              0)
        << name;
}

void UseLocaleOfEnvironment()
{
    if (EnvironmentValue("KILN_HOSTILE_LOCALE"))
    {
        const std::locale narrow(std::locale::classic(), new HostileNumbers<char>);
        std::locale::global(std::locale(narrow, new HostileNumbers<wchar_t>));
        std::setlocale(LC_ALL, "German_Germany.1252");
    }
}

} // namespace Ardo::Kiln::Support
