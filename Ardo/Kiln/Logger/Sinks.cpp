#include "Ardo/Kiln/Logger/Sinks_p.h"

#include "Ardo/Kiln/Logger/AttributeNames.h"
#include "Ardo/Kiln/Logger/LogFileRegistry_p.h"
#include "Ardo/Kiln/Logger/LogText_p.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"
#include "Ardo/Kiln/Logger/TextLogWriter_p.h"

#include <boost/log/attributes/attribute_name.hpp>
#include <boost/log/attributes/attribute_value_set.hpp>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <optional>

namespace Ardo::Kiln::Logger
{

namespace
{

namespace sinks = boost::log::sinks;

constexpr unsigned FileCount = 3;
constexpr std::uint64_t DebugFileSize = 4'194'304;
constexpr std::size_t FixedPart = 40; // of a debug line

template <typename T>
const T* ValueOf(const boost::log::attribute_value_set& values, const boost::log::attribute_name& name)
{
    const auto value = values.find(name);
    return value == values.end() ? nullptr : value->second.extract<T>().get_ptr();
}

// A name made from text is looked up under a lock, so each is made once.

std::optional<SeverityLevel> SeverityOf(const boost::log::attribute_value_set& values)
{
    static const boost::log::attribute_name g_name(SeverityAttribute);
    const auto* severity = ValueOf<SeverityLevel>(values, g_name);
    return severity != nullptr ? std::optional(*severity) : std::nullopt;
}

std::string_view OriginatorOf(const boost::log::attribute_value_set& values)
{
    static const boost::log::attribute_name g_name(OriginatorAttribute);
    const auto* originator = ValueOf<std::string>(values, g_name);
    return originator != nullptr ? std::string_view(*originator) : std::string_view();
}

std::string_view MessageOf(const boost::log::attribute_value_set& values)
{
    static const boost::log::attribute_name g_name(MessageAttribute);
    const auto* message = ValueOf<std::string>(values, g_name);
    return message != nullptr ? std::string_view(*message) : std::string_view();
}

/// Passes a record of one of some levels, of one of some originators where any are named.
class Filter
{
public:
    Filter(const std::set<SeverityLevel>& severities, std::vector<std::string> originators)
        : m_originators(std::move(originators))
    {
        for (const SeverityLevel severity : severities)
        {
            m_severities |= BitOf(severity);
        }
    }

    bool operator()(const boost::log::attribute_value_set& values) const
    {
        const auto severity = SeverityOf(values);
        return severity && (m_severities & BitOf(*severity)) != 0 &&
               (m_originators.empty() ||
                std::find(m_originators.begin(), m_originators.end(), OriginatorOf(values)) != m_originators.end());
    }

private:
    // A number outside the enumeration is no level, and so in no set of levels.
    static unsigned BitOf(SeverityLevel severity)
    {
        return severity >= trace && severity <= fatal ? 1U << static_cast<unsigned>(severity) : 0U;
    }

    unsigned m_severities = 0;
    std::vector<std::string> m_originators;
};

class DiscardingBackend : public sinks::basic_sink_backend<sinks::concurrent_feeding>
{
public:
    // The name and the signature are those that the sink frontend calls.
    void consume(const boost::log::record_view&) {} // NOLINT(readability-identifier-naming)
};

using FlushedBackend =
    sinks::basic_sink_backend<sinks::combine_requirements<sinks::concurrent_feeding, sinks::flushing>::type>;

/// Writes the debug file. The text file backend of Boost.Log would do if it noticed that its file is gone, and if a
/// rotation neither cut off nor went on with the same file, which is all that it does with a name without a counter.
class DebugFileBackend : public FlushedBackend
{
public:
    explicit DebugFileBackend(const std::filesystem::path& path)
        : m_file(std::make_shared<LogFile>(path, DebugFileSize, FileCount))
    {
        LogFileRegistry::Add(m_file);
    }

    void consume(const boost::log::record_view& record) noexcept // NOLINT(readability-identifier-naming)
    {
        try
        {
            const boost::log::attribute_value_set& values = record.attribute_values();
            std::string line;
            line.reserve(FixedPart + OriginatorOf(values).size() + MessageOf(values).size());
            AppendLocalTime(line, Time::ToTimePoint(std::chrono::system_clock::now()));
            line += ' ';
            line += SeverityTag(SeverityOf(values).value_or(debug));
            line += ' ';
            AppendUtf8(line, OriginatorOf(values));
            line += ' ';
            AppendUtf8(line, MessageOf(values));
            line += '\n';
            m_file->AppendAtOnce(line);
        }
        catch (...)
        {
            // No memory: the record is lost.
        }
    }

    void flush() { m_file->Flush(); } // NOLINT(readability-identifier-naming)

private:
    std::shared_ptr<LogFile> m_file;
};

class DefinitionBackend : public FlushedBackend
{
public:
    DefinitionBackend(const std::filesystem::path& path, std::uint64_t maxFileSize)
        : m_writer(path.wstring(), maxFileSize, FileCount, false)
    {
    }

    void consume(const boost::log::record_view& record) noexcept // NOLINT(readability-identifier-naming)
    {
        try
        {
            std::wstring originator;
            std::wstring message;
            const boost::log::attribute_value_set& values = record.attribute_values();
            AppendWide(originator, OriginatorOf(values));
            AppendWide(message, MessageOf(values));
            m_writer.Write(LevelCode(SeverityOf(values).value_or(warning)), originator, message);
        }
        catch (...)
        {
            // No memory: the record is lost.
        }
    }

    void flush() { m_writer.Flush(); } // NOLINT(readability-identifier-naming)

private:
    TextLogWriter m_writer;
};

template <typename Backend>
void AddSink(boost::shared_ptr<Backend> backend, Filter filter)
{
    // The backends lock for themselves, each no longer than it must.
    const auto sink = boost::make_shared<sinks::unlocked_sink<Backend>>(std::move(backend));
    sink->set_filter(std::move(filter));
    boost::log::core::get()->add_sink(sink);
}

} // namespace

void AddDiscardingSink()
{
    static const auto g_sink = []
    {
        auto sink = boost::make_shared<sinks::unlocked_sink<DiscardingBackend>>();
        sink->set_filter([](const boost::log::attribute_value_set&) { return false; });
        return sink;
    }();
    boost::log::core::get()->add_sink(g_sink); // the core takes a sink only once
}

void AddDebugFileSink(const std::filesystem::path& path)
{
    AddSink(boost::make_shared<DebugFileBackend>(path), Filter(DebugOnly, {}));
}

void AddDefinitionSink(const std::filesystem::path& path, const LogDefinition& definition)
{
    AddSink(boost::make_shared<DefinitionBackend>(path, definition.maxFileSize),
            Filter(definition.severities, definition.originators));
}

void RemoveAllSinks()
{
    boost::log::core::get()->remove_all_sinks();
    AddDiscardingSink();
}

void FlushSinks()
{
    boost::log::core::get()->flush();
}

} // namespace Ardo::Kiln::Logger
