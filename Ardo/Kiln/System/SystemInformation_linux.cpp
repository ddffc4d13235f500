#include "Ardo/Kiln/System/SystemInformation.h"

#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include <algorithm>
#include <charconv>
#include <sys/utsname.h>

namespace Ardo::Kiln::System
{

namespace
{

/// The value of the first line "name: value" or "name=value" of \p text, without blanks and quotation marks around it.
std::string_view ValueOf(std::string_view text, std::string_view name) noexcept
{
    while (!text.empty())
    {
        auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (!line.starts_with(name))
        {
            continue;
        }
        line.remove_prefix(name.size());
        line.remove_prefix(std::min(line.size(), line.find_first_not_of(" \t")));
        if (line.starts_with(':') || line.starts_with('='))
        {
            constexpr std::string_view Around = " \t\"'";
            const auto begin = line.find_first_not_of(Around, 1);
            return begin == std::string_view::npos ? std::string_view()
                                                   : line.substr(begin, line.find_last_not_of(Around) - begin + 1);
        }
    }
    return {};
}

/// The value of such a line in bytes. The line has units of 1024 bytes.
std::uint64_t BytesOf(std::string_view text, std::string_view name) noexcept
{
    std::uint64_t value = 0;
    const auto digits = ValueOf(text, name);
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value * 1024;
}

/// The contents of a file; empty if it cannot be read.
std::string TextOf(const char* path)
{
    Platform::MappedArray<char> text;
    return Platform::ReadWholeFile(path, text) == 0 ? std::string(text.begin(), text.Size()) : std::string();
}

} // namespace

SystemInformation ReadSystemInformation(std::uint32_t processId)
{
    SystemInformation information;
    const auto processors = TextOf("/proc/cpuinfo");
    information.processor = ValueOf(processors, "model name");
    for (std::size_t at = 0; at < processors.size();
         at = std::min(processors.find('\n', at), processors.size() - 1) + 1)
    {
        information.processors += processors.compare(at, 10, "processor\t") == 0 ? 1U : 0U;
    }

    const auto memory = TextOf("/proc/meminfo");
    information.physicalMemory = BytesOf(memory, "MemTotal");
    information.availableMemory = BytesOf(memory, "MemAvailable");
    information.swapMemory = BytesOf(memory, "SwapTotal");
    information.freeSwapMemory = BytesOf(memory, "SwapFree");

    const auto process = TextOf(Platform::ProcPath(static_cast<std::int32_t>(processId), 0, "status").Text());
    information.processMemory = BytesOf(process, "VmRSS");
    information.peakProcessMemory = BytesOf(process, "VmHWM");
    information.processAddresses = BytesOf(process, "VmSize");

    const auto release = TextOf("/etc/os-release");
    information.systemName = ValueOf(release, "NAME");
    information.systemVersion = ValueOf(release, "VERSION");
    if (utsname kernel; ::uname(&kernel) == 0)
    {
        information.systemName = information.systemName.empty() ? kernel.sysname : information.systemName;
        information.systemVersion.append(information.systemVersion.empty() ? "" : ", ")
            .append(kernel.sysname)
            .append(" ")
            .append(kernel.release)
            .append(" ")
            .append(kernel.machine);
    }
    return information;
}

} // namespace Ardo::Kiln::System
