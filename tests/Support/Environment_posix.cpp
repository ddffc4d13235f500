#include "tests/Support/Environment.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <locale>

namespace Ardo::Kiln::Support
{

std::optional<std::string> EnvironmentValue(const std::string& name)
{
    const char* const value = std::getenv(name.c_str());
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

void SetEnvironmentValue(const std::string& name, const std::optional<std::string>& value)
{
    EXPECT_EQ(value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str()), 0) << name;
}

void UseLocaleOfEnvironment()
{
    std::locale::global(std::locale("")); // the C library's, too
}

} // namespace Ardo::Kiln::Support
