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
#include <boost/log/sinks/sink.hpp>
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

// The sinks are Boost.Log's interface itself and not its frontends: those take a lock at every record to guard a filter
// that could change, which ours do not. The names of the methods are those that the core calls.
// NOLINTBEGIN(readability-identifier-naming)

class DiscardingSink : public sinks::sink
{
public:
    DiscardingSink() : sink(false) {}
    bool will_consume(const boost::log::attribute_value_set&) override { return false; }
    void consume(const boost::log::record_view&) override {}
    void flush() override {}
};

/// Hands what passes its filter to a file, on the thread that logs. Does not throw what goes wrong there.
class FilteringSink : public sinks::sink
{
public:
    explicit FilteringSink(Filter filter) : sink(false), m_filter(std::move(filter)) {}

    bool will_consume(const boost::log::attribute_value_set& values) override { return m_filter(values); }

    void consume(const boost::log::record_view& record) override
    {
        try
        {
            Write(record.attribute_values());
        }
        catch (...)
        {
            // No memory: the record is lost.
        }
    }

private:
    virtual void Write(const boost::log::attribute_value_set& values) = 0;

    const Filter m_filter;
};

/// Writes the debug file. The text file backend of Boost.Log would do if it noticed that its file is gone, and if a
/// rotation neither cut off nor went on with the same file, which is all that it does with a name without a counter.
class DebugFileSink : public FilteringSink
{
public:
    explicit DebugFileSink(const std::filesystem::path& path)
        : FilteringSink(Filter(DebugOnly, {})), m_file(std::make_shared<LogFile>(path, DebugFileSize, FileCount))
    {
        LogFileRegistry::Add(m_file);
    }

    void flush() override { m_file->Flush(); }

private:
    void Write(const boost::log::attribute_value_set& values) override
    {
        const std::string_view originator = OriginatorOf(values);
        const std::string_view message = MessageOf(values);
        std::string line;
        line.reserve(FixedPart + originator.size() + message.size());
        const auto now = std::chrono::system_clock::now();
        AppendLocalTime(line, Time::ToTimePoint(now));
        line += ' ';
        line += SeverityTag(debug);
        line += ' ';
        AppendUtf8(line, originator);
        line += ' ';
        AppendUtf8(line, message);
        line += '\n';
        m_file->AppendAtOnce(line, now);
    }

    const std::shared_ptr<LogFile> m_file;
};

/// Writes the file of a definition.
class DefinitionSink : public FilteringSink
{
public:
    DefinitionSink(const std::filesystem::path& path, const LogDefinition& definition)
        : FilteringSink(Filter(definition.severities, definition.originators)),
          m_writer(path, definition.maxFileSize, FileCount, false)
    {
    }

    void flush() override { m_writer.Flush(); }

private:
    void Write(const boost::log::attribute_value_set& values) override
    {
        const std::string_view originator = OriginatorOf(values);
        const std::string_view message = MessageOf(values);
        std::wstring text; // both in one, for a single allocation
        text.reserve(originator.size() + message.size());
        AppendWide(text, originator);
        const std::size_t middle = text.size();
        AppendWide(text, message);
        const std::wstring_view both(text);
        m_writer.Write(LevelCode(SeverityOf(values).value_or(warning)), both.substr(0, middle), both.substr(middle));
    }

    TextLogWriter m_writer;
};

// NOLINTEND(readability-identifier-naming)

} // namespace

void AddDiscardingSink()
{
    static const auto g_sink = boost::make_shared<DiscardingSink>();
    boost::log::core::get()->add_sink(g_sink); // the core takes a sink only once
}

void AddDebugFileSink(const std::filesystem::path& path)
{
    boost::log::core::get()->add_sink(boost::make_shared<DebugFileSink>(path));
}

void AddDefinitionSink(const std::filesystem::path& path, const LogDefinition& definition)
{
    boost::log::core::get()->add_sink(boost::make_shared<DefinitionSink>(path, definition));
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
