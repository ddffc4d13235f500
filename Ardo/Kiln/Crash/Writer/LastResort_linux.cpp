#include "Ardo/Kiln/Crash/Writer/LastResort_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Process/MapsReader_linux.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <iterator>
#include <string_view>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Text in memory of a fixed size; what does not fit is dropped.
class TextBuffer
{
public:
    TextBuffer(char* begin, std::size_t size) noexcept : m_begin(begin), m_at(begin), m_end(begin + size - 1) {}

    TextBuffer& operator<<(std::string_view text) noexcept
    {
        const std::size_t room = static_cast<std::size_t>(m_end - m_at);
        const std::size_t length = text.size() < room ? text.size() : room;
        std::memcpy(m_at, text.data(), length);
        m_at += length;
        *m_at = '\0';
        return *this;
    }

    TextBuffer& Number(std::uint64_t number, int base = 10, std::size_t width = 1) noexcept
    {
        char digits[24];
        const char* const end = std::to_chars(std::begin(digits), std::end(digits), number, base).ptr;
        for (auto length = static_cast<std::size_t>(end - digits); length < width; ++length)
        {
            *this << "0";
        }
        return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
    }

    std::string_view Text() const noexcept { return {m_begin, static_cast<std::size_t>(m_at - m_begin)}; }
    const char* Path() const noexcept { return m_begin; }

private:
    char* m_begin;
    char* m_at;
    char* m_end;
};

struct Calendar
{
    explicit Calendar(std::int64_t local) noexcept
        : date(std::chrono::floor<std::chrono::days>(Seconds(std::chrono::seconds(local)))),
          time(Seconds(std::chrono::seconds(local)) -
               std::chrono::floor<std::chrono::days>(Seconds(std::chrono::seconds(local))))
    {
    }
    using Seconds = std::chrono::sys_seconds;
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<std::chrono::seconds> time;

    unsigned Day() const noexcept { return static_cast<unsigned>(date.day()); }
    unsigned Month() const noexcept { return static_cast<unsigned>(date.month()); }
    unsigned Hour() const noexcept { return static_cast<unsigned>(time.hours().count()); }
    unsigned Minute() const noexcept { return static_cast<unsigned>(time.minutes().count()); }
    unsigned Second() const noexcept { return static_cast<unsigned>(time.seconds().count()); }
};

/// Adds a name as a part of a file name.
void AddName(TextBuffer& path, std::string_view name) noexcept
{
    for (const char character : name)
    {
        path << (character == '/' ? "_" : std::string_view(&character, 1));
    }
}

void AddStem(TextBuffer& path, const CrashRequest& request, const Calendar& now, unsigned counter) noexcept
{
    path << request.dumpFolder << "/";
    AddName(path, request.applicationName);
    path << "_";
    AddName(path, request.fullVersion);
    path << "_[";
    path.Number(now.Day()) << "-";
    path.Number(now.Month()) << "_";
    path.Number(now.Hour()) << "-";
    path.Number(now.Minute()) << "-";
    path.Number(now.Second()) << "]";
    if (counter > 1)
    {
        path << "_";
        path.Number(counter);
    }
}

/// Creates a file, has \p write fill it, and gives it its name when that and the flush succeeded.
template <class Write>
bool CreateFile(const CrashRequest& request, const Calendar& now, std::string_view extension,
                const Write& write) noexcept
{
    constexpr unsigned attempts = 100;
    for (unsigned counter = 1; counter <= attempts; ++counter)
    {
        char partMemory[2048];
        char nameMemory[2048];
        TextBuffer part(partMemory, sizeof partMemory);
        TextBuffer name(nameMemory, sizeof nameMemory);
        AddStem(name, request, now, counter);
        name << extension;
        part << name.Text() << ".part";
        if (access(name.Path(), F_OK) == 0)
        {
            continue;
        }
        const int file = open(part.Path(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (file < 0)
        {
            if (errno == EEXIST)
            {
                continue;
            }
            return false;
        }
        const bool whole = write(file) && fsync(file) == 0;
        if (close(file) == 0 && whole && renameat2(AT_FDCWD, part.Path(), AT_FDCWD, name.Path(), RENAME_NOREPLACE) == 0)
        {
            return true;
        }
        unlink(part.Path());
        return false;
    }
    return false;
}

/// "module + 0xoffset" of the address, as far as the kernel's list of mappings tells.
void AddModule(TextBuffer& text, std::uint64_t address) noexcept
{
    Platform::MappedArray<char> maps;
    const bool read = ReadMaps(getpid(), maps) == 0;
    const auto module = read ? FindModule({maps.begin(), maps.Size()}, address) : std::nullopt;
    if (!module)
    {
        text << "unknown module";
        return;
    }
    text << module->file.substr(module->file.rfind('/') + 1) << " + 0x"; // npos + 1 is the beginning
    text.Number(address - module->base, 16);
}

void MakeText(CrashRequest& request, const Calendar& now) noexcept
{
    constexpr std::string_view line = "//=====================================================\r\n";
    TextBuffer text(request.text, sizeof request.text);
    const auto address = reinterpret_cast<std::uint64_t>(request.record.ExceptionAddress);
    text << line << "Date ";
    text.Number(now.Day()) << ":";
    text.Number(now.Month()) << ":";
    text.Number(static_cast<std::uint64_t>(static_cast<int>(now.date.year()))) << ". Time ";
    text.Number(now.Hour()) << ":";
    text.Number(now.Minute()) << " \r\nRevision: " << request.fullVersion << " \r\nRelease mode \r\n\r\n" << line;
    text << "Exception code: ";
    char* const digits = request.text + text.Text().size();
    text.Number(request.record.ExceptionCode, 16, 8);
    for (int at = 0; at < 8; ++at)
    {
        digits[at] = static_cast<char>(digits[at] >= 'a' ? digits[at] - 'a' + 'A' : digits[at]);
    }
    text << "\r\n";
    if (request.exceptionMessage[0] != '\0')
    {
        text << "Exception message: " << request.exceptionMessage << " \r";
    }
    text << "Fault at: 0x";
    text.Number(address, 16) << ", ";
    AddModule(text, address);
    text << "\r\nThis is a short report: the usual ways to make one did not come to an end."
         << (request.fakesDump == 0 ? " The call stacks are in the minidump.\r\n" : "\r\n");
    request.textLength = static_cast<std::uint32_t>(text.Text().size());
}

bool WriteAll(int file, std::string_view text) noexcept
{
    while (!text.empty())
    {
        const ssize_t count = write(file, text.data(), text.size());
        if (count <= 0)
        {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace

void WriteReportsHere(CrashRequest& request) noexcept
{
    const Calendar now(request.time + Platform::LocalOffset());
    bool dumped = true;
    if (request.fakesDump != 0)
    {
        Platform::WriteStandardError("Minidump faked.\n");
    }
    else
    {
        dumped = CreateFile(request, now, ".dmp", [&](int file) { return WriteMinidumpFile(file, request) == 0; });
    }
    MakeText(request, now);
    const std::string_view text(request.text, request.textLength);
    const bool reported = CreateFile(request, now, ".txt", [&](int file) { return WriteAll(file, text); });
    Platform::WriteStandardError(text);
    Platform::WriteStandardError(dumped && reported ? "Report file created.\n" : "Error writing the crash log\r\n");
}

} // namespace Ardo::Kiln::Crash
