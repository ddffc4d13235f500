#pragma once

#include "Ardo/Kiln/Profiling/Trace.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace Ardo::Kiln::Profiling
{

/// Writes a trace, holds it against the format and returns a line for each event.
inline std::string CheckedTrace()
{
    const Support::ScopedTempDir folder;
    WriteTraceFile(folder / "trace.json");
    const Support::ProcessResult checked =
        Support::RunShell("/usr/bin/python3 " + Support::Quoted(KILN_CHECK_TRACE) + " trace.json", folder.Path());
    EXPECT_EQ(checked.status, 0) << checked.error;
    return checked.output;
}

} // namespace Ardo::Kiln::Profiling
