#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// The text report about a crash. Texts are empty where it says nothing.
struct CrashReport
{
    std::string date; ///< Local time of the machine: "2026-11-22 06:39".
    std::string version;
    std::uint32_t code = 0;
    std::string name;               ///< "ACCESS_VIOLATION"
    std::string message;            ///< Of an exception.
    std::string module;             ///< The file name of the module at fault.
    std::vector<std::string> stack; ///< Of the thread at fault, a line a call.
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::vector<std::string> details;                         ///< Lines about the fault.
    std::map<std::string, std::vector<std::string>> sections; ///< The others, by title: "Log files".
    bool isWhole = false; ///< It has its last section: neither cut nor the short report of the last resort.
};

/// Reads a report.
/// \param text the whole file, whoever has written it.
/// \throws Failure if it is no report.
CrashReport ParseCrashReport(std::string_view text);

/// What an exception means, in a sentence; empty for an unknown one.
std::string_view MeaningOf(std::uint32_t code);

} // namespace Ardo::Kiln::Tool
