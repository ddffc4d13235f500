#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace Ardo::Kiln::Support
{

// Extended regular expressions of POSIX, where a dot is also a line feed. GoogleTest's own matchers of patterns know
// neither groups nor sets of characters on Windows.

MATCHER_P(ContainsPattern, pattern, "contains the pattern")
{
    return std::regex_search(std::string(arg), std::regex(std::string(pattern), std::regex::extended));
}

MATCHER_P(MatchesPattern, pattern, "matches the pattern")
{
    return std::regex_match(std::string(arg), std::regex(std::string(pattern), std::regex::extended));
}

} // namespace Ardo::Kiln::Support
