#pragma once

#include "Ardo/Kiln/Crash/Minidump/MinidumpFormat.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Crash
{

/// Reads minidumps of Windows and Linux, from whomever: nothing in the file is trusted, and what is kept in memory is
/// limited, however large the file is. One thread at a time.
class MinidumpReader
{
public:
    struct Thread
    {
        std::uint32_t id = 0;
        std::string name;               ///< UTF-8; empty if the file has none.
        std::vector<std::byte> context; ///< A CONTEXT; empty for another processor than x86-64.
    };

    struct Module
    {
        std::string file; ///< UTF-8, with its folder, on the machine of the process.
        std::uint64_t base = 0;
        std::uint64_t size = 0;
        std::string version; ///< "1.2.3.4"; empty without one.
        std::string buildId; ///< The bytes; empty without one.
    };

    /// Reads all but the memory of the process.
    /// \throws std::system_error with the system's reason if the file cannot be read.
    /// \throws std::runtime_error with the reason if it is no minidump, is cut, or has more parts than a process can
    ///         have.
    explicit MinidumpReader(const std::filesystem::path& file);

    std::int64_t Time() const noexcept { return m_header.time; } ///< Seconds since 1970-01-01 UTC.
    const std::vector<Thread>& Threads() const noexcept { return m_threads; }
    const std::vector<Module>& Modules() const noexcept { return m_modules; } ///< The program first.
    const std::optional<MinidumpFormat::Exception>& Exception() const noexcept { return m_exception; }
    const std::optional<MinidumpFormat::SystemInfo>& System() const noexcept { return m_system; }
    const std::string& SystemText() const noexcept { return m_systemText; } ///< UTF-8.
    std::uint32_t ProcessId() const noexcept { return m_processId; }        ///< 0: not known.
    const std::string& Maps() const noexcept { return m_maps; }             ///< On Linux the kernel's list of mappings.

    /// Whether the process ran on Linux.
    bool IsLinux() const noexcept { return m_system && m_system->platform == MinidumpFormat::PlatformLinux; }

    /// Copies memory of the process.
    /// \returns false where the file does not hold all of it.
    bool ReadMemory(std::uint64_t address, void* bytes, std::size_t size) noexcept;

private:
    struct Range
    {
        std::uint64_t start;
        std::uint64_t size;
        std::uint64_t position; ///< In the file.
    };

    void Read(std::uint64_t position, void* bytes, std::uint64_t size);
    template <typename T>
    T Value(std::uint64_t position);
    template <typename T>
    std::vector<T> Values(std::uint64_t position, std::uint64_t count, std::uint64_t most);
    template <typename T>
    std::vector<T> List(std::uint32_t stream, std::uint64_t most);
    const MinidumpFormat::Location* Stream(std::uint32_t type) const noexcept;
    std::string Text(std::uint32_t position);
    std::string Text(const MinidumpFormat::Location& place, std::uint64_t most);
    std::vector<std::byte> Context(const MinidumpFormat::Location& place);
    void ReadStreams();
    void ReadSystem();
    void ReadThreads();
    void ReadModules();
    void ReadRanges();

    Platform::RandomAccessFile m_file;
    MinidumpFormat::Header m_header{};
    std::map<std::uint32_t, MinidumpFormat::Location> m_streams;
    std::vector<Thread> m_threads;
    std::vector<Module> m_modules;
    std::vector<Range> m_ranges; ///< By address.
    std::optional<MinidumpFormat::Exception> m_exception;
    std::optional<MinidumpFormat::SystemInfo> m_system;
    std::string m_systemText;
    std::uint64_t m_textLeft = 8U << 20U; ///< UTF-16 units that may still be read.
    std::uint32_t m_processId = 0;
    std::string m_maps;
};

} // namespace Ardo::Kiln::Crash
