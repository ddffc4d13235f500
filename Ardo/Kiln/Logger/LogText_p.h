#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"
#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/KilnExport.h"

#include <array>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Logger
{

// Parts of log lines. DebugOutput::Write and TextLogWriter compose the lines. Any thread may call the functions.

/// Appends \p text, which should be UTF-8, to a log line, which is UTF-8 and stays one line.
///
/// Line feed, carriage return and tab are written as \\n, \\r and \\t, other control characters as \\x1B (two digits
/// below U+0080) or \\u0085 (four digits; also the line ends U+2028 and U+2029). A backslash of the text stays as it
/// is, so that paths stay readable. Each unit that is no valid text becomes the replacement character U+FFFD.
///
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS void AppendText(std::string& line, std::string_view text);

/// The same for wide text.
KILN_EXPORT_FOR_TESTS void AppendText(std::string& line, std::wstring_view text);

/// Appends Time::ToLocalTimeISOString(time). That function is called once per second and thread; within the same second
/// only the fraction is replaced.
KILN_EXPORT_FOR_TESTS void AppendLocalTime(std::string& text, Time::TimePoint time);

/// What the debug file prints for a level, which must be one of the six.
inline std::string_view SeverityTag(SeverityLevel level)
{
    constexpr std::array<std::string_view, 6> Tags{"[trace  ]", "[debug  ]", "[info   ]",
                                                   "[warning]", "[error  ]", "[fatal  ]"};
    return Tags[static_cast<std::size_t>(level)];
}

/// The level code of the text log files. Debug counts like warning, trace like info; an unknown level is a warning.
inline int LevelCode(SeverityLevel level)
{
    switch (level)
    {
    case trace:
    case info:
        return 1;
    case error:
        return 4;
    case fatal:
        return 8;
    case debug:
    case warning:
        break;
    }
    return 2;
}

} // namespace Ardo::Kiln::Logger
