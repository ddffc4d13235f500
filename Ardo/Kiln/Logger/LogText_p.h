#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"
#include "Ardo/Kiln/Time/TimePoint.h"
#include "Ardo/KilnExport.h"

#include <array>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Logger
{

// The texts of log lines. A log takes whatever it is given: what is no valid text is written with the replacement
// character U+FFFD in the place of each wrong unit. Any thread may call the functions.

/// Appends \p utf8 to \p wide. Does not throw but for memory.
KILN_EXPORT_FOR_TESTS void AppendWide(std::wstring& wide, std::string_view utf8);

/// Appends \p wide to \p utf8. Does not throw but for memory.
KILN_EXPORT_FOR_TESTS void AppendUtf8(std::string& utf8, std::wstring_view wide);

/// Appends \p text, which should be UTF-8, to \p utf8, which is.
KILN_EXPORT_FOR_TESTS void AppendUtf8(std::string& utf8, std::string_view text);

/// Appends Time::ToLocalTimeISOString(time), at a small part of its cost while the second stays the same. The machine's
/// time zone is looked up once a second and thread.
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
