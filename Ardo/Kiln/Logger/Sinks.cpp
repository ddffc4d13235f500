#include "Ardo/Kiln/Logger/Sinks_p.h"

#include "Ardo/Kiln/Logger/AttributeNames.h"
#include "Ardo/Kiln/Logger/LogFileRegistry.h"
#include "Ardo/Kiln/Logger/LogText_p.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"
#include "Ardo/Kiln/Logger/TextLogWriter_p.h"

#include <boost/log/attributes/attribute_name.hpp>
#include <boost/log/attributes/attribute_value_set.hpp>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace Ardo::Kiln::Logger
{

namespace
{

constexpr unsigned FileCount = 3;
constexpr std::uint64_t DebugFileSize = 4'194'304;
constexpr std::size_t FixedPart = 40; // bytes of time, tag and separators, for reserve()

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

/// All numbers outside the enumeration share one bit.
constexpr unsigned UnnamedLevels = 1U << 31U;

/// The bit of a level in a set of levels.
unsigned BitOf(SeverityLevel severity)
{
    return severity >= trace && severity <= fatal ? 1U << static_cast<unsigned>(severity) : UnnamedLevels;
}

/// A log file and the records that it takes: those of the given levels and, if any are named, of the given originators.
class Output
{
public:
    Output(std::set<SeverityLevel> severities, std::vector<std::string> originators)
        : m_severities(std::move(severities)), m_originators(std::move(originators))
    {
        for (const SeverityLevel severity : m_severities)
        {
            m_severityBits |= BitOf(severity);
        }
    }
    virtual ~Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    unsigned SeverityBits() const { return m_severityBits; }

    bool Takes(SeverityLevel severity, const boost::log::attribute_value_set& values) const
    {
        const unsigned bit = BitOf(severity);
        return (m_severityBits & bit) != 0 && (bit != UnnamedLevels || m_severities.contains(severity)) &&
               (m_originators.empty() ||
                std::find(m_originators.begin(), m_originators.end(), OriginatorOf(values)) != m_originators.end());
    }

    virtual void Write(SeverityLevel severity, std::string_view originator, std::string_view message) = 0;
    virtual void Flush() = 0;

private:
    const std::set<SeverityLevel> m_severities;
    unsigned m_severityBits = 0; ///< The same, except for the numbers outside the enumeration.
    const std::vector<std::string> m_originators;
};

/// Writes the debug file. Not with Boost.Log's text file backend: it does not notice that its file was deleted, and
/// with a name without a counter its rotation truncates the file.
class DebugOutput : public Output
{
public:
    explicit DebugOutput(const std::filesystem::path& path)
        : Output(DebugOnly, {}), m_file(std::make_shared<LogFile>(path, DebugFileSize, FileCount))
    {
        LogFileRegistry::Add(m_file);
    }

    void Write(SeverityLevel severity, std::string_view originator, std::string_view message) override
    {
        std::string line;
        line.reserve(FixedPart + originator.size() + message.size());
        const auto now = std::chrono::system_clock::now();
        AppendLocalTime(line, Time::ToTimePoint(now));
        line += ' ';
        line += SeverityTag(severity);
        line += ' ';
        AppendText(line, originator);
        line += ' ';
        AppendText(line, message);
        line += '\n';
        m_file->AppendAtOnce(line, now);
    }

    void Flush() override { m_file->Flush(); }

private:
    const std::shared_ptr<LogFile> m_file;
};

/// Writes the file of a definition.
class DefinitionOutput : public Output
{
public:
    DefinitionOutput(const std::filesystem::path& path, const LogDefinition& definition)
        : Output(definition.severities, definition.originators),
          m_writer(path, definition.maxFileSize, FileCount, false)
    {
    }

    void Write(SeverityLevel severity, std::string_view originator, std::string_view message) override
    {
        m_writer.WriteUtf8(LevelCode(severity), originator, message, std::chrono::system_clock::now());
    }

    void Flush() override { m_writer.Flush(); }

private:
    TextLogWriter m_writer;
};

// Derived from Boost.Log's sink interface and not from one of its frontends: a frontend locks at every record, to guard
// a filter that may be replaced; our filters are constant. The core defines the names of the methods.
// NOLINTBEGIN(readability-identifier-naming)

/// All our log files as one sink: the core asks each sink about each record, and finding the record's level is most of
/// the cost. Without a file it discards. Failures of a file do not leave it as exceptions.
class LogFilesSink : public boost::log::sinks::sink
{
public:
    LogFilesSink() : sink(false)
    {
        m_tables.push_back(std::make_unique<Table>());
        m_current = m_tables.back().get();
    }

    void Add(std::shared_ptr<Output> output)
    {
        const std::lock_guard lock(m_mutex);
        auto table = std::make_unique<Table>(*m_tables.back());
        table->severityBits |= output->SeverityBits();
        table->outputs.push_back(std::move(output));
        m_tables.push_back(std::move(table));
        m_current.store(m_tables.back().get());
    }

    bool will_consume(const boost::log::attribute_value_set& values) override
    {
        const Table& table = *m_current.load();
        const auto severity = SeverityOf(values);
        return severity && (table.severityBits & BitOf(*severity)) != 0 &&
               std::any_of(table.outputs.begin(), table.outputs.end(),
                           [&](const auto& output) { return output->Takes(*severity, values); });
    }

    void consume(const boost::log::record_view& record) override
    {
        const boost::log::attribute_value_set& values = record.attribute_values();
        const SeverityLevel severity = SeverityOf(values).value_or(warning);
        for (const auto& output : m_current.load()->outputs)
        {
            try
            {
                if (output->Takes(severity, values))
                {
                    output->Write(severity, OriginatorOf(values), MessageOf(values));
                }
            }
            catch (...)
            {
                // No memory: the record is lost.
            }
        }
    }

    void flush() override
    {
        for (const auto& output : m_current.load()->outputs)
        {
            output->Flush();
        }
    }

private:
    struct Table
    {
        unsigned severityBits = 0; ///< Of the levels that any of the outputs takes.
        std::vector<std::shared_ptr<Output>> outputs;
    };

    std::mutex m_mutex;
    /// Every table that was ever current, because threads that log read one without a lock. Guarded by m_mutex.
    std::vector<std::unique_ptr<Table>> m_tables;
    std::atomic<const Table*> m_current = nullptr;
};

// NOLINTEND(readability-identifier-naming)

/// Never destroyed, like the core that it keeps alive: static objects may log after others are destroyed.
struct Environment
{
    boost::log::core_ptr core = boost::log::core::get();
    std::mutex mutex;
    boost::weak_ptr<LogFilesSink> sink; ///< Guarded by mutex. The core owns it: removing it there destroys it.
};

Environment& TheEnvironment()
{
    static Environment& g_environment = *new Environment;
    return g_environment;
}

boost::shared_ptr<LogFilesSink> SinkInCore()
{
    Environment& environment = TheEnvironment();
    const std::lock_guard lock(environment.mutex);
    boost::shared_ptr<LogFilesSink> sink = environment.sink.lock();
    if (sink == nullptr)
    {
        sink = boost::make_shared<LogFilesSink>();
        environment.sink = sink;
    }
    environment.core->add_sink(sink); // the core takes a sink only once
    return sink;
}

} // namespace

void KeepSinkInCore()
{
    SinkInCore();
}

void AddDebugFile(const std::filesystem::path& path)
{
    LogFileRegistry::CheckNames(path, FileCount);
    SinkInCore()->Add(std::make_shared<DebugOutput>(path));
}

void AddDefinitionFile(const std::filesystem::path& path, const LogDefinition& definition)
{
    LogFileRegistry::CheckNames(path, FileCount);
    SinkInCore()->Add(std::make_shared<DefinitionOutput>(path, definition));
}

void RemoveAllSinks()
{
    Environment& environment = TheEnvironment();
    {
        const std::lock_guard lock(environment.mutex);
        environment.sink.reset();
        environment.core->remove_all_sinks();
    }
    SinkInCore();
}

void FlushSinks()
{
    TheEnvironment().core->flush();
}

} // namespace Ardo::Kiln::Logger
