#pragma once

#include "Ardo/Kiln/System/ApplicationOptions.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::System
{

/// The value of the type of an option that a text stands for; empty if there is none.
std::optional<OptionValue> ReadOptionValue(const std::string& text, const OptionDeclaration& declaration);

/// True if the value has the type of the option and is in its range or one of its choices.
bool IsAllowed(const OptionValue& value, const OptionDeclaration& declaration);

/// What an option can be, for a message: "a whole number from 1 to 64".
std::string Allowed(const OptionDeclaration& declaration);

/// The value in the help text: " N"; empty for a switch.
std::string ValueName(const OptionDeclaration& declaration);

/// Range, choices and default for the help text, with a separator behind each: "1 to 64; default 4; ".
std::string Limits(const OptionDeclaration& declaration);

/// A text from outside for a message: quoted, cut, valid UTF-8 and without control characters.
std::string Quoted(const std::string& text);

} // namespace Ardo::Kiln::System
