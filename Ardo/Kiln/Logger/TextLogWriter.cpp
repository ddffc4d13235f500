#include "Ardo/Kiln/Logger/TextLogWriter_p.h"

#include "Ardo/Kiln/Logger/LogFileRegistry.h"
#include "Ardo/Kiln/Logger/LogText_p.h"
#include "Ardo/Kiln/Platform/CalendarFields.h"

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/version.h>

#include <array>
#include <cstdlib>
#include <mutex>

namespace Ardo::Kiln::Logger
{

namespace
{

// The interfaces of sinks and of formatters name types of spdlog::details.
static_assert(SPDLOG_VERSION >= 11000 && SPDLOG_VERSION < 20000,
              "The log files are written for spdlog 1.10 or a later 1.x");

// Date, time of day with fraction and offset from UTC, level, thread, process, text.
constexpr const char* Pattern = "%C-%m-%d\t%T.%f%z\t%L\t%t\t%P\t%v";

/// The pattern's %z. That of spdlog keeps an offset for ten seconds, also beyond a change to or from daylight saving
/// time.
class UtcOffset : public spdlog::custom_flag_formatter
{
public:
    void format(const spdlog::details::log_msg& message, const std::tm& local, spdlog::memory_buf_t& line) override
    {
        using namespace std::chrono;
        const auto utc = duration_cast<seconds>(message.time.time_since_epoch()).count();
        const auto total = (Platform::SecondsOf(local) - utc) / 60;
        const auto minutes = static_cast<unsigned>(std::abs(total));
        const auto digit = [](unsigned value) { return static_cast<char>('0' + value % 10); };
        const std::array<char, 6> text{total < 0 ? '-' : '+',    digit(minutes / 600), digit(minutes / 60), ':',
                                       digit(minutes % 60 / 10), digit(minutes % 60)};
        line.append(text.data(), text.data() + text.size());
    }

    std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<UtcOffset>(); }
};

std::unique_ptr<spdlog::formatter> MakeFormatter()
{
    auto formatter = std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, "\n");
    formatter->add_flag<UtcOffset>('z');
    formatter->set_pattern(Pattern);
    return formatter;
}

/// Formats on the logging thread; the file does the rest.
class LogFileSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit LogFileSink(std::shared_ptr<LogFile> file) : base_sink(MakeFormatter()), m_file(std::move(file)) {}

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        m_file->Append(std::string_view(line.data(), line.size()));
    }

    void flush_() override { m_file->Flush(); }

private:
    std::shared_ptr<LogFile> m_file;
};

spdlog::level::level_enum LevelOf(int code)
{
    switch (code)
    {
    case 1:
        return spdlog::level::info;
    case 4:
        return spdlog::level::err;
    case 8:
        return spdlog::level::critical;
    default:
        return spdlog::level::warn;
    }
}

std::shared_ptr<LogFile> MakeFile(const std::filesystem::path& path, std::uint64_t maxSize, unsigned fileCount,
                                  bool rotateOnOpen)
{
    auto file = std::make_shared<LogFile>(path, maxSize, fileCount);
    if (rotateOnOpen)
    {
        file->BeginNewFile();
    }
    LogFileRegistry::Add(file);
    return file;
}

} // namespace

struct TextLogWriter::Implementation
{
    template <typename Text>
    void Write(int levelCode, Text originator, Text message, std::chrono::system_clock::time_point time) noexcept
    {
        try
        {
            std::string text;
            text.reserve(originator.size() + 2 + message.size());
            AppendText(text, originator);
            text += ": ";
            AppendText(text, message);
            logger.log(time, spdlog::source_loc{}, LevelOf(levelCode), spdlog::string_view_t(text));
        }
        catch (...)
        {
            // No memory: the line is lost.
        }
    }

    spdlog::logger logger;
};

TextLogWriter::TextLogWriter(const std::filesystem::path& path, std::uint64_t maxSize, unsigned fileCount,
                             bool rotateOnOpen)
    : m_implementation(new Implementation{
          spdlog::logger({}, std::make_shared<LogFileSink>(MakeFile(path, maxSize, fileCount, rotateOnOpen)))})
{
    m_implementation->logger.flush_on(spdlog::level::warn);
}

TextLogWriter::~TextLogWriter() = default;

void TextLogWriter::Write(int levelCode, std::wstring_view originator, std::wstring_view message) noexcept
{
    m_implementation->Write(levelCode, originator, message, std::chrono::system_clock::now());
}

void TextLogWriter::WriteUtf8(int levelCode, std::string_view originator, std::string_view message,
                              std::chrono::system_clock::time_point time) noexcept
{
    m_implementation->Write(levelCode, originator, message, time);
}

void TextLogWriter::Flush() noexcept
{
    try
    {
        m_implementation->logger.flush();
    }
    catch (...)
    {
        // Nothing of ours throws here, and the caller is not to blame.
    }
}

} // namespace Ardo::Kiln::Logger
