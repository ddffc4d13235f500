#pragma once

#include <optional>
#include <string>

namespace Ardo::Kiln::Support
{

/// The value of an environment variable in UTF-8; nothing if there is none.
std::optional<std::string> EnvironmentValue(const std::string& name);

/// Sets an environment variable for this process and those that it starts; nothing as \p value removes it.
void SetEnvironmentValue(const std::string& name, const std::optional<std::string>& value);

/// Makes the locale of the environment the global one of C and C++. The hostile run has a decimal comma and points
/// between groups of digits in it. On Windows the variable KILN_HOSTILE_LOCALE selects it, because the C++ library of
/// some compilers knows no named locales.
void UseLocaleOfEnvironment();

} // namespace Ardo::Kiln::Support
