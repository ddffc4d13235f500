#include "Ardo/Kiln/Profiling/Trace.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileSystem/ApplicationName.h"
#include "Ardo/Kiln/FileSystem/FileError.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/Platform/ProcessId.h"
#include "Ardo/Kiln/Platform/SystemError.h"
#include "Ardo/Kiln/Profiling/Registry_p.h"
#include "Ardo/Kiln/Profiling/Startup.h"
#include "Ardo/Kiln/Profiling/Startup_p.h"

#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Profiling
{

namespace
{

using Private::Event;
using Private::ThreadRecorder;

/// A number as JSON; whatever the locale.
template <typename Number>
std::string NumberText(Number value)
{
    std::array<char, 32> text{};
    return {text.begin(), std::to_chars(text.begin(), text.end(), value).ptr};
}

/// A text as a JSON string.
std::string StringText(std::string_view text)
{
    std::string valid;
    Conversion::AppendReplacing(valid, text);
    std::string quoted = "\"";
    for (const char character : valid)
    {
        if (static_cast<unsigned char>(character) < 0x20)
        {
            constexpr std::string_view Digits = "0123456789abcdef";
            const auto code = static_cast<unsigned char>(character);
            quoted += {'\\', 'u', '0', '0', Digits[code / 16], Digits[code % 16]};
            continue;
        }
        if (character == '"' || character == '\\')
        {
            quoted += '\\';
        }
        quoted += character;
    }
    return quoted + '"';
}

/// Nanoseconds as microseconds, the unit of the format.
std::string MicrosecondsText(std::int64_t nanoseconds)
{
    const std::int64_t below = nanoseconds % 1000;
    const std::string digits = NumberText(1000 + (below < 0 ? -below : below)).substr(1);
    return (nanoseconds < 0 ? "-" : "") + NumberText(nanoseconds < 0 ? -(nanoseconds / 1000) : nanoseconds / 1000) +
           "." + digits;
}

/// Writes the elements of "traceEvents".
class EventWriter
{
public:
    explicit EventWriter(std::ostream& stream)
        : m_stream(stream),
          m_process(NumberText(Platform::OwnProcessId())),
          m_zero(std::chrono::duration_cast<std::chrono::nanoseconds>(Private::StartOfProcess().time.time_since_epoch())
                     .count())
    {
    }

    /// The name of the process, or of a thread.
    void WriteName(std::string_view kind, std::uint32_t thread, std::string_view name)
    {
        Begin("M", kind, "__metadata", 0, thread);
        m_stream << ",\"args\":{\"name\":" << StringText(name) << "}}";
    }

    void WriteMark(const StartupMark& mark, std::uint32_t thread)
    {
        Begin("i", mark.name, "startup", mark.sinceStart.count(), thread);
        m_stream << ",\"s\":\"p\"}";
    }

    void WriteEvent(const Event& event, std::uint32_t thread)
    {
        const bool isCounter = event.duration == Event::IsCounter;
        Begin(isCounter ? "C" : "X", event.name, isCounter ? "counter" : "stage", event.begin - m_zero, thread);
        if (isCounter)
        {
            m_stream << ",\"args\":{\"value\":" << NumberText(std::bit_cast<double>(event.bytes)) << "}}";
            return;
        }
        m_stream << ",\"dur\":" << MicrosecondsText(event.duration);
        if (event.bytes != 0 || event.items != 0)
        {
            m_stream << ",\"args\":{\"bytes\":" << NumberText(event.bytes) << ",\"items\":" << NumberText(event.items)
                     << "}";
        }
        m_stream << "}";
    }

private:
    /// Some readers expect category and time of every event, also where the format needs none.
    /// \param time in ns since the start of the process.
    void Begin(std::string_view phase, std::string_view name, std::string_view category, std::int64_t time,
               std::uint32_t thread)
    {
        m_stream << (m_isFirst ? "\n" : ",\n") << R"({"ph":")" << phase << R"(","name":)" << StringText(name)
                 << R"(,"cat":")" << category << R"(","pid":)" << m_process << R"(,"tid":)" << NumberText(thread)
                 << R"(,"ts":)" << MicrosecondsText(time);
        m_isFirst = false;
    }

    std::ostream& m_stream;
    const std::string m_process;
    const std::int64_t m_zero; ///< The start of the process as Now().
    bool m_isFirst = true;
};

std::string ApplicationName()
{
    try
    {
        return FileSystem::GetApplicationName();
    }
    catch (const std::runtime_error&)
    {
        return "application";
    }
}

} // namespace

void WriteTrace(std::ostream& stream)
{
    stream << R"({"displayTimeUnit":"ns","traceEvents":[)";
    EventWriter writer(stream);
    const std::uint32_t ownThread = Platform::OwnThreadId();
    writer.WriteName("process_name", ownThread, ApplicationName());
    for (const StartupMark& mark : StartupMarks())
    {
        writer.WriteMark(mark, ownThread);
    }
    const Private::Registry::Traced traced = Private::Registry::Instance().ReadEvents();
    std::uint64_t dropped = traced.droppedOfEnded;
    traced.ForEach(
        [&](const ThreadRecorder::Events& thread)
        {
            dropped += thread.dropped;
            if (!thread.threadName.empty())
            {
                writer.WriteName("thread_name", thread.threadId, thread.threadName);
            }
            for (const Event& event : thread.events)
            {
                writer.WriteEvent(event, thread.threadId);
            }
        });
    stream << "\n],\"otherData\":{\"droppedEvents\":" << NumberText(dropped) << "}}\n";
}

void WriteTraceFile(const std::filesystem::path& file)
{
    FileSystem::ReplacementFile target(file);
    errno = 0;
    std::ofstream stream(target.Path(), std::ios::binary);
    WriteTrace(stream);
    stream.close();
    if (!stream)
    {
        throw FileSystem::FileError("The trace cannot be written", file, Platform::LastSystemError());
    }
    target.Commit();
}

} // namespace Ardo::Kiln::Profiling
