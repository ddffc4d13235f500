#include "Ardo/Kiln/Logger/TextLogWriter_p.h"

#include "Ardo/Kiln/Logger/LogFileRegistry_p.h"
#include "Ardo/Kiln/Logger/LogText_p.h"

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>

#include <mutex>

namespace Ardo::Kiln::Logger
{

namespace
{

// Date, time of day with fraction and offset from UTC, level, thread, process, text.
constexpr const char* Pattern = "%C-%m-%d\t%T.%f%z\t%L\t%t\t%P\t%v";

/// Formats on the logging thread; the file does the rest.
class LogFileSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit LogFileSink(std::shared_ptr<LogFile> file)
        : base_sink(std::make_unique<spdlog::pattern_formatter>(Pattern, spdlog::pattern_time_type::local, "\n")),
          m_file(std::move(file))
    {
    }

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
    try
    {
        std::string text;
        text.reserve(originator.size() + 2 + message.size());
        AppendUtf8(text, originator);
        text += ": ";
        AppendUtf8(text, message);
        m_implementation->logger.log(LevelOf(levelCode), spdlog::string_view_t(text));
    }
    catch (...)
    {
        // No memory: the line is lost.
    }
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
