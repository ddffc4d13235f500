#include "apps/kiln/Profile.h"

#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Profiling/Recording.h"
#include "Ardo/Kiln/Profiling/Report.h"
#include "Ardo/Kiln/Profiling/Startup.h"
#include "Ardo/Kiln/Profiling/Trace.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <sstream>
#include <system_error>

namespace Ardo::Kiln::Tool
{

Profile::Profile(const std::string& file) : m_name(file)
{
    if (m_name.empty())
    {
        return;
    }
    try
    {
        if (m_name != StandardStream)
        {
            m_file.emplace(ToPath(m_name));
        }
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        throw Failure(m_name + ": " + ReasonOf(error));
    }
    Profiling::MarkStartup("command");
    Profiling::LogStartup();
    Profiling::StartRecording();
}

void Profile::Write()
{
    if (m_name.empty())
    {
        return;
    }
    Profiling::StopRecording();
    std::cerr << Profiling::ToText(Profiling::MakeReport());
    if (!m_file)
    {
        std::ostringstream trace;
        Profiling::WriteTrace(trace);
        Print(trace.str());
        return;
    }
    try
    {
        errno = 0;
        std::ofstream stream(m_file->Path(), std::ios::binary);
        Profiling::WriteTrace(stream);
        stream.close();
        if (!stream)
        {
            throw Failure(m_name + ": " + std::generic_category().message(errno != 0 ? errno : EIO));
        }
        m_file->Commit();
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        throw Failure(m_name + ": " + ReasonOf(error));
    }
}

} // namespace Ardo::Kiln::Tool
