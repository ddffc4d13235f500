#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace Ardo::Kiln::Logger
{

/// One log file and the records that it takes.
struct LogDefinition
{
    std::wstring fileName;                ///< The file's base name, without folder and extension; not empty.
    std::uint64_t maxFileSize = 0;        ///< In bytes; a file that would grow beyond it is rotated. 0: no limit.
    std::vector<std::string> originators; ///< The originators, compared byte by byte; empty: all.
    std::set<SeverityLevel> severities;   ///< The levels (see SeveritySets.h), also unnamed ones; empty: none.
};

} // namespace Ardo::Kiln::Logger
