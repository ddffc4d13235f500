#pragma once

#include "Ardo/Kiln/Crash/Process/ProcessThreads_linux.h"
#include "Ardo/Kiln/Platform/MappedArray_linux.h"
#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"

#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Crash
{

/// A range of a process's addresses with one kind of access.
struct Mapping
{
    std::uint64_t start;
    std::uint64_t end;
    std::uint64_t offset; ///< In its file.
    std::uint64_t device;
    std::uint64_t inode; ///< 0: no file.
    bool readable;
    bool writable;
    bool executable;
    bool isPrivate;
    bool excluded;        ///< The program asked the kernel to leave it out of dumps, or reading it has side effects.
    std::uint32_t nameAt; ///< Where its name stands in ProcessImage::MapsText().
    std::uint32_t nameLength;
};

/// A program or library in a process.
struct Module
{
    static constexpr std::size_t MaxBuildId = 64;

    std::uint64_t base;
    std::uint64_t size;
    std::uint32_t nameAt; ///< As in Mapping.
    std::uint32_t nameLength;
    std::uint32_t buildIdLength; ///< 0: it has none, or it cannot be read.
    std::uint8_t buildId[MaxBuildId];
};

/// The threads, mappings and modules of a process, for its minidump. Makes system calls only. The process may be the
/// calling one; then its other threads run on.
class ProcessImage
{
public:
    explicit ProcessImage(std::int32_t process) noexcept : m_process(process) {}

    /// Reads threads, mappings and modules.
    /// \param withExclusions whether Mapping::excluded is needed, which costs a
    /// walk through the page tables.
    /// \returns 0 or the error number.
    int Read(bool withExclusions) noexcept;

    /// Lets the process go on.
    void Release() noexcept { m_stopped.Release(); }

    std::int32_t Process() const noexcept { return m_process; }
    Platform::MappedArray<ThreadImage>& Threads() noexcept { return m_threads; }
    const Platform::MappedArray<ThreadImage>& Threads() const noexcept { return m_threads; }
    const Platform::MappedArray<Mapping>& Mappings() const noexcept { return m_mappings; } ///< By address.
    const Platform::MappedArray<Module>& Modules() const noexcept { return m_modules; }    ///< The program first.

    /// The kernel's list of the mappings.
    std::string_view MapsText() const noexcept { return {m_mapsText.begin(), m_mapsText.Size()}; }

    template <typename T>
    std::string_view NameOf(const T& mappingOrModule) const noexcept
    {
        return MapsText().substr(mappingOrModule.nameAt, mappingOrModule.nameLength);
    }

    /// The mapping that holds \p address, or else the next one above; null if there is none.
    const Mapping* FindAtOrAbove(std::uint64_t address) const noexcept;

    /// The mapping that holds \p address, or null.
    const Mapping* Find(std::uint64_t address) const noexcept;

    /// Whether the range overlaps the environment of the process, which may hold secrets. The environment lies above
    /// everything else on the stack of the first thread.
    bool IsEnvironment(std::uint64_t start, std::uint64_t end) const noexcept
    {
        return start < m_environmentEnd && m_environmentStart < end;
    }
    std::uint64_t EnvironmentStart() const noexcept { return m_environmentStart; } ///< 0: not known.

    /// Copies memory of the process.
    /// \returns how much could be read before the first gap.
    std::size_t ReadMemory(std::uint64_t address, void* target, std::size_t size) const noexcept;

    /// The same; zeros stand for what cannot be read.
    void ReadMemoryOrZeros(std::uint64_t address, void* target, std::size_t size) const noexcept;

private:
    int ReadMappings() noexcept;
    void MarkExcluded() noexcept;
    int FindModules() noexcept;
    bool DescribeModule(std::size_t first, Module& module) const noexcept;
    void ReadBuildId(std::uint64_t address, std::uint64_t size, Module& module) const noexcept;
    void PutProgramFirst() noexcept;
    void FindEnvironment() noexcept;

    std::int32_t m_process;
    std::uint64_t m_environmentStart = 0;
    std::uint64_t m_environmentEnd = 0;
    Platform::ScopedDescriptor m_memory;
    StoppedThreads m_stopped;
    Platform::MappedArray<ThreadImage> m_threads;
    Platform::MappedArray<Mapping> m_mappings;
    Platform::MappedArray<Module> m_modules;
    Platform::MappedArray<char> m_mapsText;
};

} // namespace Ardo::Kiln::Crash
