#include "Ardo/Kiln/Crash/Process/ProcessImage_linux.h"

#include "Ardo/Kiln/Platform/MapsReader_linux.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"
#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <elf.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::string_view SharedProcedures = "[vdso]";

/// Whether memory with this name is left out of dumps. Device mappings are skipped, because reading a device may have
/// side effects; shared memory is not.
bool IsExcluded(std::string_view name) noexcept
{
    return (name.starts_with("/dev/") && !name.starts_with("/dev/shm/") && name != "/dev/zero") || name == "[vvar]" ||
           name == "[vsyscall]" || name == "[vvar_vclock]";
}

} // namespace

int ProcessImage::Read(bool withExclusions) noexcept
{
    const bool own = m_process == ::getpid();
    if (const int error = own ? ReadRunningThreads(m_process, m_threads) : m_stopped.StopAll(m_process, m_threads);
        error != 0)
    {
        return error;
    }
    // Where a sandbox forbids the system call, the file may still be there.
    m_memory = Platform::ScopedDescriptor(::open(Platform::ProcPath(m_process, 0, "mem").Text(), O_RDONLY | O_CLOEXEC));
    if (const int error = ReadMappings(); error != 0)
    {
        return error;
    }
    if (withExclusions)
    {
        MarkExcluded();
    }
    FindEnvironment();
    return FindModules();
}

int ProcessImage::ReadMappings() noexcept
{
    if (const int error = Platform::ReadMaps(m_process, m_mapsText); error != 0)
    {
        return error;
    }
    std::string_view list = MapsText();
    for (Platform::MapsLine line; TakeMapsLine(list, line);)
    {
        const Mapping mapping = {line.start,
                                 line.end,
                                 line.offset,
                                 line.device,
                                 line.inode,
                                 line.readable,
                                 line.writable,
                                 line.executable,
                                 line.isPrivate,
                                 IsExcluded(line.name),
                                 static_cast<std::uint32_t>(line.name.data() - m_mapsText.begin()),
                                 static_cast<std::uint32_t>(line.name.size())};
        if (mapping.end > mapping.start && !m_mappings.Add(mapping))
        {
            return ENOMEM;
        }
    }
    return m_mappings.Size() == 0 ? ESRCH : 0;
}

void ProcessImage::MarkExcluded() noexcept
{
    Platform::MappedArray<char> text;
    if (Platform::ReadWholeFile(Platform::ProcPath(m_process, 0, "smaps").Text(), text) != 0)
    {
        return; // then no mapping is excluded
    }
    Mapping* current = m_mappings.begin();
    for (std::string_view rest(text.begin(), text.Size()); !rest.empty();)
    {
        const std::string_view line = Platform::TakeUntil(rest, '\n');
        if (line.starts_with("VmFlags:"))
        {
            const bool excluded =
                line.find(" dd") != std::string_view::npos || line.find(" io") != std::string_view::npos;
            current->excluded = current->excluded || excluded;
        }
        else if (!line.empty() && (line[0] < 'A' || line[0] > 'Z')) // the head of a mapping; addresses are lower-case
        {
            std::string_view head = line;
            const std::uint64_t start = Platform::TakeNumber(head, 16);
            current =
                std::lower_bound(m_mappings.begin(), m_mappings.end(), start,
                                 [](const Mapping& mapping, std::uint64_t value) { return mapping.start < value; });
            if (current == m_mappings.end())
            {
                return;
            }
        }
    }
}

int ProcessImage::FindModules() noexcept
{
    std::uint64_t end = 0; // of the module before
    for (std::size_t i = 0; i < m_mappings.Size(); ++i)
    {
        Module module{};
        if (m_mappings[i].start < end || !DescribeModule(i, module))
        {
            continue;
        }
        end = module.base + module.size;
        if (!m_modules.Add(module))
        {
            return ENOMEM;
        }
    }
    PutProgramFirst();
    return 0;
}

bool ProcessImage::DescribeModule(std::size_t first, Module& module) const noexcept
{
    const Mapping& mapping = m_mappings[first];
    const std::string_view name = NameOf(mapping);
    const bool isSharedProcedures = name == SharedProcedures;
    if (mapping.offset != 0 || !(mapping.inode != 0 || isSharedProcedures))
    {
        return false;
    }
    // Its parts follow each other, with nameless memory between and behind. A file without a part that can be executed
    // is data that the process maps, not a module.
    constexpr std::size_t maxParts = 64;
    const std::size_t last = std::min(first + maxParts, m_mappings.Size());
    bool executable = false;
    std::uint64_t end = mapping.end;
    for (std::size_t i = first; i < last && (m_mappings[i].inode == 0 || NameOf(m_mappings[i]) == name); ++i)
    {
        if (m_mappings[i].inode == mapping.inode && m_mappings[i].device == mapping.device &&
            NameOf(m_mappings[i]) == name)
        {
            executable = executable || m_mappings[i].executable;
            end = m_mappings[i].end;
        }
    }
    if (!executable)
    {
        return false;
    }
    module.base = mapping.start;
    module.size = end - mapping.start;
    module.nameAt = mapping.nameAt;
    module.nameLength = mapping.nameLength;

    Elf64_Ehdr header{};
    Elf64_Phdr segments[48];
    if (ReadMemory(module.base, &header, sizeof header) != sizeof header)
    {
        return true; // its file may have been truncated; the module is listed with its name and place all the same
    }
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof segments[0])
    {
        return false;
    }
    const std::size_t size = std::min<std::size_t>(header.e_phnum, std::size(segments)) * sizeof segments[0];
    const std::size_t count = ReadMemory(module.base + header.e_phoff, segments, size) / sizeof segments[0];
    const auto* const lastSegment = segments + count;
    const auto* const firstLoaded =
        std::find_if(segments, segments + count, [](const Elf64_Phdr& segment) { return segment.p_type == PT_LOAD; });
    if (firstLoaded == lastSegment)
    {
        return true;
    }
    const std::uint64_t bias = module.base - firstLoaded->p_vaddr / Platform::PageSize * Platform::PageSize;
    for (const auto* segment = segments; segment != lastSegment; ++segment)
    {
        if (segment->p_type == PT_LOAD)
        {
            const std::uint64_t segmentEnd = bias + segment->p_vaddr + segment->p_memsz;
            if (segmentEnd > module.base)
            {
                module.size = std::max(module.size, (segmentEnd - module.base + Platform::PageSize - 1) /
                                                        Platform::PageSize * Platform::PageSize);
            }
        }
        else if (segment->p_type == PT_NOTE && module.buildIdLength == 0)
        {
            ReadBuildId(bias + segment->p_vaddr, segment->p_memsz, module);
        }
    }
    return true;
}

void ProcessImage::ReadBuildId(std::uint64_t address, std::uint64_t size, Module& module) const noexcept
{
    char notes[1024];
    std::string_view rest(notes, ReadMemory(address, notes, std::min<std::uint64_t>(size, sizeof notes)));
    const auto padded = [](std::uint64_t length) { return (length + 3) / 4 * 4; };
    while (rest.size() >= sizeof(Elf64_Nhdr))
    {
        Elf64_Nhdr note{};
        std::memcpy(&note, rest.data(), sizeof note);
        const std::uint64_t nameEnd = sizeof note + padded(note.n_namesz);
        const std::uint64_t noteEnd = nameEnd + padded(note.n_descsz);
        if (noteEnd > rest.size())
        {
            return;
        }
        if (note.n_type == NT_GNU_BUILD_ID &&
            rest.substr(sizeof note, note.n_namesz) == std::string_view(ELF_NOTE_GNU, sizeof ELF_NOTE_GNU))
        {
            module.buildIdLength = static_cast<std::uint32_t>(std::min<std::size_t>(note.n_descsz, Module::MaxBuildId));
            std::memcpy(module.buildId, rest.data() + nameEnd, module.buildIdLength);
            return;
        }
        rest.remove_prefix(noteEnd);
    }
}

void ProcessImage::PutProgramFirst() noexcept
{
    alignas(Elf64_auxv_t) char buffer[1024];
    std::string_view rest =
        Platform::ReadSmallFile(Platform::ProcPath(m_process, 0, "auxv").Text(), buffer, sizeof buffer);
    for (; rest.size() >= sizeof(Elf64_auxv_t); rest.remove_prefix(sizeof(Elf64_auxv_t)))
    {
        Elf64_auxv_t entry{};
        std::memcpy(&entry, rest.data(), sizeof entry);
        if (entry.a_type == AT_ENTRY)
        {
            const auto program =
                std::find_if(m_modules.begin(), m_modules.end(),
                             [&entry](const Module& module) { return entry.a_un.a_val - module.base < module.size; });
            if (program != m_modules.end())
            {
                std::rotate(m_modules.begin(), program, program + 1);
            }
            return;
        }
    }
}

void ProcessImage::FindEnvironment() noexcept
{
    char buffer[1024];
    std::string_view stat =
        Platform::ReadSmallFile(Platform::ProcPath(m_process, 0, "stat").Text(), buffer, sizeof buffer);
    // Numbered as in the manual of the file. The second is a name, which may contain any characters.
    stat.remove_prefix(std::min(stat.rfind(')'), stat.size()));
    constexpr int start = 50;
    for (int field = 2; field < start; ++field)
    {
        Platform::TakeUntil(stat, ' ');
    }
    m_environmentStart = Platform::TakeNumber(stat, 10);
    m_environmentEnd = Platform::TakeNumber(stat, 10);
}

const Mapping* ProcessImage::FindAtOrAbove(std::uint64_t address) const noexcept
{
    const Mapping* const found =
        std::upper_bound(m_mappings.begin(), m_mappings.end(), address,
                         [](std::uint64_t value, const Mapping& mapping) { return value < mapping.end; });
    return found == m_mappings.end() ? nullptr : found;
}

const Mapping* ProcessImage::Find(std::uint64_t address) const noexcept
{
    const Mapping* const found = FindAtOrAbove(address);
    return found != nullptr && found->start <= address ? found : nullptr;
}

std::size_t ProcessImage::ReadMemory(std::uint64_t address, void* target, std::size_t size) const noexcept
{
    const std::size_t got = Platform::ReadProcessMemory(m_process, address, target, size);
    if (got == 0 && size > 0 && (errno == ENOSYS || errno == EPERM) && m_memory)
    {
        const ssize_t fromFile = ::pread(m_memory.Get(), target, size, static_cast<off_t>(address));
        return fromFile > 0 ? static_cast<std::size_t>(fromFile) : 0;
    }
    return got;
}

void ProcessImage::ReadMemoryOrZeros(std::uint64_t address, void* target, std::size_t size) const noexcept
{
    auto* const bytes = static_cast<unsigned char*>(target);
    for (std::size_t done = 0; done < size;)
    {
        const std::size_t got = ReadMemory(address + done, bytes + done, size - done);
        done += got;
        if (got == 0)
        {
            const std::uint64_t toNextPage = Platform::PageSize - (address + done) % Platform::PageSize;
            const std::size_t gap = std::min<std::size_t>(toNextPage, size - done);
            std::memset(bytes + done, 0, gap);
            done += gap;
        }
    }
}

} // namespace Ardo::Kiln::Crash
