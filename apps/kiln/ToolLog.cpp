#include "apps/kiln/ToolLog.h"

#include "apps/kiln/Streams.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/make_shared.hpp>

#include <iostream>
#include <optional>

namespace Ardo::Kiln::Tool
{

namespace
{

constexpr std::uint64_t MaxLogSize = 1 << 20;

constinit thread_local const std::string* g_warningSubject = nullptr; ///< Of the present WarningSubject.

class ErrorStreamBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding>
{
public:
    // The name and the signature are those that the sink frontend calls.
    void consume(const boost::log::record_view& record) // NOLINT(readability-identifier-naming)
    {
        const std::string text = boost::log::extract_or_default<std::string>("Message", record, std::string());
        std::cerr << "kiln: warning: " +
                         Printable((g_warningSubject != nullptr ? *g_warningSubject : std::string()) + text) + "\n";
    }
};

using ErrorStreamSink = boost::log::sinks::synchronous_sink<ErrorStreamBackend>;

void Log(Logger::SeverityLevel level, const std::string& text)
{
    static auto g_logger = Logger::CreateLogger("Tool");
    BOOST_LOG_SEV(g_logger, level) << text;
}

} // namespace

struct ToolLog::Implementation
{
    boost::shared_ptr<ErrorStreamSink> sink = boost::make_shared<ErrorStreamSink>();
    std::optional<Logger::Logging> files;
};

ToolLog::ToolLog(const std::string& folder) : m_implementation(std::make_unique<Implementation>())
{
    if (!folder.empty())
    {
        Logger::Logging& files = m_implementation->files.emplace(ToPath(folder), L"kiln");
        files.Initialize();
        files.AddSinks({{L"kiln", MaxLogSize, {}, Logger::InfoAndAbove}});
    }
    m_implementation->sink->set_filter(
        [](const boost::log::attribute_value_set& values)
        {
            return boost::log::extract_or_default<Logger::SeverityLevel>("Severity", values, Logger::trace) ==
                   Logger::warning; // an error ends the command, which prints it itself
        });
    boost::log::core::get()->add_sink(m_implementation->sink);
}

ToolLog::~ToolLog()
{
    boost::log::core::get()->remove_sink(m_implementation->sink);
}

WarningSubject::WarningSubject(const std::string& name) : m_text(name + ": ")
{
    g_warningSubject = &m_text;
}

WarningSubject::~WarningSubject()
{
    g_warningSubject = nullptr;
}

void LogInfo(const std::string& text)
{
    Log(Logger::info, text);
}

void LogDebug(const std::string& text)
{
    Log(Logger::debug, text);
}

void LogError(const std::string& text)
{
    Log(Logger::error, text);
}

} // namespace Ardo::Kiln::Tool
