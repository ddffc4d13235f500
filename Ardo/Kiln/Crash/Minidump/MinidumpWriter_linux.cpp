#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Minidump/DumpFile_linux.h"
#include "Ardo/Kiln/Crash/Minidump/DumpMemory_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpFormat.h"
#include "Ardo/Kiln/Crash/Process/ProcessImage_linux.h"
#include "Ardo/Kiln/Platform/FileSizeSignal_posix.h"
#include "Ardo/Kiln/Platform/MinidumpType.h"
#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <cpuid.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

namespace Format = MinidumpFormat;

class Writer
{
public:
    Writer(int descriptor, const CrashRequest& request) noexcept
        : m_request(request), m_image(request.processId), m_file(descriptor), m_descriptor(descriptor)
    {
    }

    int Write() noexcept
    {
        if (const int error = m_image.Read(Has(MiniDumpWithFullMemory)); error != 0)
        {
            return error;
        }
        TakeRegistersOfRequest();
        if (const int error = m_memory.Choose(m_image, Has(MiniDumpWithIndirectlyReferencedMemory), m_request.threadId);
            error != 0)
        {
            return error;
        }
        if (::ftruncate(m_descriptor, 0) != 0)
        {
            return errno;
        }
        m_file.AppendHole(sizeof(Format::Header) + sizeof m_directory);
        WriteMemory();
        WriteThreads();
        WriteModules();
        WriteException();
        WriteSystemInfo();
        WriteMiscInfo();
        WriteMemoryInfo();
        if (Has(MiniDumpWithUnloadedModules))
        {
            // Linux keeps no list of unloaded modules.
            constexpr Format::ListHead head{sizeof head, 24, 0};
            AddStream(Format::StreamType::UnloadedModuleList, head);
        }
        WriteKernelFiles();
        WriteWholeMappings();
        m_image.Release();
        m_file.Finish();
        WriteHeader();
        return m_file.Error();
    }

private:
    static constexpr std::size_t MaxStreams = 24;

    bool Has(MINIDUMP_TYPE flag) const noexcept { return (m_request.minidumpType & flag) != 0; }

    std::uint32_t Here() const noexcept { return static_cast<std::uint32_t>(m_file.Position()); }

    // Makes the bytes appended since \p start a stream.
    void EndStream(std::uint32_t type, std::uint32_t start) noexcept
    {
        if (m_streamCount < MaxStreams)
        {
            m_directory[m_streamCount] = {type, {Here() - start, start}};
            ++m_streamCount;
        }
        m_file.Align();
    }

    template <typename T>
    void AddStream(std::uint32_t type, const T& record) noexcept
    {
        const std::uint32_t start = Here();
        Append(record);
        EndStream(type, start);
    }

    template <typename T>
    void Append(const T& record) noexcept
    {
        m_file.Append(&record, sizeof record);
    }

    std::uint32_t AppendText(std::string_view utf8) noexcept;

    void TakeRegistersOfRequest() noexcept;
    void WriteMemory() noexcept;
    void WriteThreads() noexcept;
    void WriteModules() noexcept;
    void WriteException() noexcept;
    void WriteSystemInfo() noexcept;
    void WriteMiscInfo() noexcept;
    void WriteMemoryInfo() noexcept;
    void WriteKernelFiles() noexcept;
    void WriteKernelFile(std::uint32_t type, const char* path, std::size_t limit) noexcept;
    bool GoesWhole(const Mapping& mapping) const noexcept;
    void WriteWholeMappings() noexcept;
    void AppendMapping(const Mapping& mapping, int pageMap) noexcept;
    void WriteHeader() noexcept;
    Format::Location LocationOf(const DumpedRange& stack) noexcept;
    int StopSignal() const noexcept;

    const CrashRequest& m_request;
    ProcessImage m_image;
    DumpMemory m_memory;
    DumpFile m_file;
    int m_descriptor;
    Format::DirectoryEntry m_directory[MaxStreams] = {};
    std::uint32_t m_streamCount = 0;
    Format::Location m_requestContext = {}; ///< Where the registers of the request's thread are.
};

// Length in bytes, UTF-16 and a null. Returns its position.
std::uint32_t Writer::AppendText(std::string_view utf8) noexcept
{
    constexpr char32_t replacement = 0xFFFD;
    char16_t units[512];
    std::size_t count = 0;
    while (!utf8.empty() && count + 3 <= std::size(units))
    {
        const auto lead = static_cast<unsigned char>(utf8[0]);
        const auto length = static_cast<std::size_t>(std::countl_one(lead));
        char32_t code = lead < 0x80 ? lead : replacement;
        std::size_t taken = 1;
        if (length >= 2 && length <= 4 && length <= utf8.size())
        {
            char32_t value = lead & (0x7Fu >> length);
            while (taken < length && (static_cast<unsigned char>(utf8[taken]) & 0xC0u) == 0x80)
            {
                value = value << 6 | (static_cast<unsigned char>(utf8[taken]) & 0x3Fu);
                ++taken;
            }
            code = taken == length && value <= 0x10FFFF ? value : replacement;
        }
        utf8.remove_prefix(taken);
        if (code > 0xFFFF)
        {
            units[count++] = static_cast<char16_t>(0xD7C0 + (code >> 10));
            code = 0xDC00 + (code & 0x3FF);
        }
        units[count++] = static_cast<char16_t>(code);
    }
    units[count] = 0;
    m_file.Align();
    const std::uint32_t position = Here();
    Append(static_cast<std::uint32_t>(count * sizeof units[0]));
    m_file.Append(units, (count + 1) * sizeof units[0]);
    m_file.Align();
    return position;
}

// The thread at fault is shown with the registers at the fault, not with those in its signal handler.
void Writer::TakeRegistersOfRequest() noexcept
{
    Platform::MappedArray<ThreadImage>& threads = m_image.Threads();
    auto* thread = std::find_if(threads.begin(), threads.end(),
                                [this](const ThreadImage& candidate) { return candidate.id == m_request.threadId; });
    if (thread == threads.end())
    {
        ThreadImage missing;
        missing.id = m_request.threadId;
        missing.context.ContextFlags = ContextFlag::Full;
        if (m_request.hasFault == 0 || !threads.Add(missing))
        {
            return;
        }
        thread = threads.end() - 1;
    }
    if (m_request.context.ContextFlags != 0)
    {
        thread->context = m_request.context;
        thread->context.ContextFlags |= ContextFlag::Control; // which tells readers the processor
    }
}

void Writer::WriteMemory() noexcept
{
    for (DumpedRange& range : m_memory.Ranges())
    {
        m_file.Align();
        range.position = Here();
        m_file.AppendMemory(m_image, range.start, range.end - range.start);
    }
    m_file.Align();
    if (Has(MiniDumpWithFullMemory))
    {
        return; // listed with everything else
    }
    const std::uint32_t start = Here();
    Append(static_cast<std::uint32_t>(m_memory.Ranges().Size()));
    for (const DumpedRange& range : m_memory.Ranges())
    {
        Append(Format::MemoryRange{range.start, {static_cast<std::uint32_t>(range.end - range.start), range.position}});
    }
    EndStream(Format::StreamType::MemoryList, start);
}

Format::Location Writer::LocationOf(const DumpedRange& stack) noexcept
{
    if (stack.end == stack.start)
    {
        return {};
    }
    const auto* const range =
        std::upper_bound(m_memory.Ranges().begin(), m_memory.Ranges().end(), stack.start,
                         [](std::uint64_t address, const DumpedRange& candidate) { return address < candidate.end; });
    return {static_cast<std::uint32_t>(stack.end - stack.start),
            range->position + static_cast<std::uint32_t>(stack.start - range->start)};
}

void Writer::WriteThreads() noexcept
{
    const Platform::MappedArray<ThreadImage>& threads = m_image.Threads();
    while (m_file.Position() % alignof(CONTEXT) != 0)
    {
        m_file.Append("", 1);
    }
    const std::uint32_t contexts = Here();
    for (const ThreadImage& thread : threads)
    {
        if (thread.id == m_request.threadId)
        {
            m_requestContext = {sizeof thread.context, Here()};
        }
        Append(thread.context);
    }
    const std::uint32_t list = Here();
    Append(static_cast<std::uint32_t>(threads.Size()));
    for (std::size_t i = 0; i < threads.Size(); ++i)
    {
        Format::Thread record{};
        record.id = static_cast<std::uint32_t>(threads[i].id);
        record.threadBlock = threads[i].threadPointer;
        record.stack = {m_memory.Stacks()[i].start, LocationOf(m_memory.Stacks()[i])};
        record.context = {sizeof threads[i].context,
                          contexts + static_cast<std::uint32_t>(i * sizeof threads[i].context)};
        Append(record);
    }
    EndStream(Format::StreamType::ThreadList, list);

    // One text after the other, then the list, so that the places of the texts follow from their lengths: each name is
    // shorter than 16 bytes and takes what AppendText says.
    Platform::MappedArray<Format::ThreadName> names;
    for (const ThreadImage& thread : threads)
    {
        if (!names.Add({static_cast<std::uint32_t>(thread.id), AppendText(thread.name)}))
        {
            return;
        }
    }
    const std::uint32_t nameList = Here();
    Append(static_cast<std::uint32_t>(names.Size()));
    m_file.Append(names.begin(), names.Size() * sizeof(Format::ThreadName));
    EndStream(Format::StreamType::ThreadNames, nameList);

    if (Has(MiniDumpWithThreadInfo))
    {
        const std::uint32_t infoList = Here();
        Append(Format::ListHead{sizeof(Format::ListHead), sizeof(Format::ThreadInfo),
                                static_cast<std::uint32_t>(threads.Size())});
        for (const ThreadImage& thread : threads)
        {
            Format::ThreadInfo info{};
            info.id = static_cast<std::uint32_t>(thread.id);
            info.systemTime = thread.systemTime;
            info.userTime = thread.userTime;
            Append(info);
        }
        EndStream(Format::StreamType::ThreadInfoList, infoList);
    }
}

void Writer::WriteModules() noexcept
{
    Platform::MappedArray<Format::Module> records;
    for (const Module& module : m_image.Modules())
    {
        Format::Module record{};
        record.base = module.base;
        record.size = static_cast<std::uint32_t>(std::min<std::uint64_t>(module.size, UINT32_MAX));
        const std::string_view name = m_image.NameOf(module);
        // Readers know the kernel's own library by this name.
        record.namePosition = AppendText(name == "[vdso]" ? "linux-gate.so" : name);
        record.version.signature = Format::FileVersionSignature;
        record.version.structureVersion = Format::FileVersionStructure;
        if (module.buildIdLength != 0)
        {
            record.codeView = {static_cast<std::uint32_t>(sizeof Format::BuildIdSignature) + module.buildIdLength,
                               Here()};
            Append(Format::BuildIdSignature);
            m_file.Append(module.buildId, module.buildIdLength);
        }
        if (!records.Add(record))
        {
            return;
        }
    }
    m_file.Align();
    const std::uint32_t start = Here();
    Append(static_cast<std::uint32_t>(records.Size()));
    m_file.Append(records.begin(), records.Size() * sizeof(Format::Module));
    EndStream(Format::StreamType::ModuleList, start);
}

// The number that readers show as the reason of the stop. Debuggers wait for ever for the process to continue unless
// they know the reason as final. Ignored and real-time signals, and the codes of Windows, are not.
int Writer::StopSignal() const noexcept
{
    switch (m_request.signal)
    {
    case SIGSEGV:
    case SIGABRT:
    case SIGBUS:
    case SIGILL:
    case SIGFPE:
    case SIGTRAP:
    case SIGSYS:
        return m_request.signal;
    default:
        return m_request.record.ExceptionCode == FaultCode::AccessViolation ? SIGSEGV : SIGABRT;
    }
}

void Writer::WriteException() noexcept
{
    if (m_request.hasFault == 0)
    {
        return;
    }
    const EXCEPTION_RECORD& fault = m_request.record;
    const bool hasAddress =
        (fault.ExceptionCode == FaultCode::AccessViolation || fault.ExceptionCode == FaultCode::InPageError) &&
        fault.NumberParameters >= 2;
    Format::Exception record{};
    record.threadId = static_cast<std::uint32_t>(m_request.threadId);
    record.code = static_cast<std::uint32_t>(StopSignal());
    record.flags = static_cast<std::uint32_t>(m_request.signalCode);
    record.address = reinterpret_cast<std::uint64_t>(fault.ExceptionAddress);
    record.parameterCount = 3;
    if (hasAddress)
    {
        record.parameters[0] = fault.ExceptionInformation[0];
        record.parameters[1] = fault.ExceptionInformation[1];
        // Readers of Linux dumps expect the kernel's meaning of the address of a crash: the address that was accessed.
        if (fault.ExceptionInformation[1] != UINT64_MAX)
        {
            record.address = fault.ExceptionInformation[1];
        }
    }
    // Kind of access, address, and the code that the fault has for the rest of this library.
    record.parameters[2] = fault.ExceptionCode;
    record.context = m_requestContext;
    AddStream(Format::StreamType::Exception, record);
}

void Writer::WriteSystemInfo() noexcept
{
    Format::SystemInfo record{};
    record.architecture = Format::ArchitectureAmd64;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) != 0)
    {
        const unsigned family = (a >> 8 & 0xF) + (a >> 20 & 0xFF);
        const unsigned model = (a >> 4 & 0xF) | (a >> 12 & 0xF0);
        record.level = static_cast<std::uint16_t>(family);
        record.revision = static_cast<std::uint16_t>(model << 8 | (a & 0xF));
    }
    cpu_set_t processors;
    CPU_ZERO(&processors);
    if (::sched_getaffinity(m_request.processId, sizeof processors, &processors) == 0)
    {
        record.processorCount = static_cast<std::uint8_t>(std::min(CPU_COUNT(&processors), 255));
    }
    record.productType = Format::ProductWorkstation;
    record.platform = Format::PlatformLinux;
    utsname system{};
    ::uname(&system);
    std::string_view release = system.release;
    record.majorVersion = static_cast<std::uint32_t>(Platform::TakeNumber(release, 10));
    record.minorVersion = static_cast<std::uint32_t>(Platform::TakeNumber(release, 10));
    record.buildNumber = static_cast<std::uint32_t>(Platform::TakeNumber(release, 10));
    char text[sizeof(utsname) + 8];
    std::size_t length = 0;
    for (const std::string_view part : {std::string_view(system.sysname), std::string_view(system.release),
                                        std::string_view(system.version), std::string_view(system.machine)})
    {
        if (length != 0)
        {
            text[length++] = ' ';
        }
        std::memcpy(text + length, part.data(), part.size());
        length += part.size();
    }
    record.versionTextPosition = AppendText({text, length});
    AddStream(Format::StreamType::SystemInfo, record);
}

void Writer::WriteMiscInfo() noexcept
{
    Format::MiscInfo record{};
    record.size = sizeof record;
    record.flags = Format::MiscProcessId;
    record.processId = static_cast<std::uint32_t>(m_request.processId);
    char buffer[1024];
    std::string_view stat =
        Platform::ReadSmallFile(Platform::ProcPath(m_request.processId, 0, "stat").Text(), buffer, sizeof buffer);
    if (const std::size_t close = stat.rfind(") "); close != std::string_view::npos)
    {
        constexpr std::uint64_t ticksPerSecond = 100;
        stat.remove_prefix(close + 2);
        std::uint64_t fields[23] = {};
        for (std::size_t field = 3; field < std::size(fields); ++field)
        {
            std::string_view text = Platform::TakeUntil(stat, ' ');
            fields[field] = Platform::TakeNumber(text, 10);
        }
        timespec now{};
        timespec sinceStart{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        ::clock_gettime(CLOCK_BOOTTIME, &sinceStart);
        record.flags |= Format::MiscProcessTimes;
        record.userTime = static_cast<std::uint32_t>(fields[14] / ticksPerSecond);
        record.systemTime = static_cast<std::uint32_t>(fields[15] / ticksPerSecond);
        record.createTime = static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec - sinceStart.tv_sec) +
                                                       fields[22] / ticksPerSecond);
    }
    AddStream(Format::StreamType::MiscInfo, record);
}

void Writer::WriteMemoryInfo() noexcept
{
    // By read, write, execute; as Windows names page protections.
    constexpr std::uint32_t protections[8] = {0x01, 0x10, 0x04, 0x40, 0x02, 0x20, 0x04, 0x40};
    const std::uint32_t start = Here();
    Append(Format::MemoryInfoListHead{sizeof(Format::MemoryInfoListHead), sizeof(Format::MemoryInfo),
                                      m_image.Mappings().Size()});
    for (const Mapping& mapping : m_image.Mappings())
    {
        Format::MemoryInfo record{};
        record.base = mapping.start;
        record.allocationBase = mapping.start;
        record.protection =
            protections[(mapping.readable ? 4 : 0) | (mapping.writable ? 2 : 0) | (mapping.executable ? 1 : 0)];
        record.allocationProtection = record.protection;
        record.size = mapping.end - mapping.start;
        record.state = Format::MemoryCommitted;
        record.type = mapping.inode != 0 ? Format::MemoryMapped : Format::MemoryPrivate;
        Append(record);
    }
    EndStream(Format::StreamType::MemoryInfoList, start);
}

void Writer::WriteKernelFile(std::uint32_t type, const char* path, std::size_t limit) noexcept
{
    Platform::MappedArray<char> text;
    if (Platform::ReadWholeFile(path, text, limit) == 0 && text.Size() != 0)
    {
        const std::uint32_t start = Here();
        m_file.Append(text.begin(), text.Size());
        EndStream(type, start);
    }
}

void Writer::WriteKernelFiles() noexcept
{
    constexpr std::size_t noLimit = std::size_t{16} << 20;
    const auto ofProcess = [this](std::string_view name) { return Platform::ProcPath(m_request.processId, 0, name); };
    WriteKernelFile(Format::StreamType::LinuxCpuInfo, "/proc/cpuinfo", 2048); // the first processor; all are alike
    WriteKernelFile(Format::StreamType::LinuxProcStatus, ofProcess("status").Text(), noLimit);
    WriteKernelFile(Format::StreamType::LinuxLsbRelease, "/etc/os-release", 4096);
    WriteKernelFile(Format::StreamType::LinuxCommandLine, ofProcess("cmdline").Text(), noLimit);
    WriteKernelFile(Format::StreamType::LinuxAuxiliaryVector, ofProcess("auxv").Text(), noLimit);
    const std::uint32_t start = Here();
    m_file.Append(m_image.MapsText().data(), m_image.MapsText().size());
    EndStream(Format::StreamType::LinuxMaps, start);
}

bool Writer::GoesWhole(const Mapping& mapping) const noexcept
{
    if (!mapping.readable || mapping.excluded)
    {
        return false;
    }
    if (Has(MiniDumpWithFullMemory))
    {
        return true;
    }
    // The variables of a module lie in its file's pages and in nameless ones behind.
    const auto holds = [&mapping](const Module& module) { return mapping.start - module.base < module.size; };
    return mapping.writable && mapping.isPrivate &&
           (Has(MiniDumpWithPrivateReadWriteMemory) ||
            (Has(MiniDumpWithDataSegs) && std::any_of(m_image.Modules().begin(), m_image.Modules().end(), holds)));
}

// Last, because only its bytes may lie beyond 4 GiB.
void Writer::WriteWholeMappings() noexcept
{
    Format::Memory64ListHead head{};
    for (const Mapping& mapping : m_image.Mappings())
    {
        head.count += static_cast<std::uint64_t>(GoesWhole(mapping));
    }
    if (head.count == 0)
    {
        return;
    }
    constexpr std::uint64_t pageSize = 4096;
    const std::uint32_t start = Here();
    const std::uint64_t listEnd = start + sizeof head + head.count * sizeof(Format::Memory64Range);
    head.position = (listEnd + pageSize - 1) / pageSize * pageSize;
    Append(head);
    for (const Mapping& mapping : m_image.Mappings())
    {
        if (GoesWhole(mapping))
        {
            Append(Format::Memory64Range{mapping.start, mapping.end - mapping.start});
        }
    }
    EndStream(Format::StreamType::Memory64List, start);
    m_file.AppendHole(head.position - m_file.Position());
    const Platform::ScopedDescriptor pageMap(
        ::open(Platform::ProcPath(m_request.processId, 0, "pagemap").Text(), O_RDONLY | O_CLOEXEC));
    for (const Mapping& mapping : m_image.Mappings())
    {
        if (GoesWhole(mapping))
        {
            AppendMapping(mapping, pageMap.Get());
        }
    }
}

// Memory that was reserved and never touched reads as zeros; reading it would make the kernel allocate pages.
void Writer::AppendMapping(const Mapping& mapping, int pageMap) noexcept
{
    constexpr std::uint64_t pageSize = 4096;
    std::uint64_t pages[512];
    std::uint64_t address = mapping.start;
    while (address < mapping.end && m_file.Error() == 0)
    {
        const std::size_t count = std::min<std::uint64_t>(std::size(pages), (mapping.end - address) / pageSize);
        ssize_t got = 0;
        if (pageMap != -1 && mapping.inode == 0 && count != 0)
        {
            got = ::pread(pageMap, pages, count * sizeof pages[0],
                          static_cast<off_t>(address / pageSize * sizeof pages[0]));
        }
        const bool known = got > 0 && static_cast<std::size_t>(got) == count * sizeof pages[0];
        constexpr std::uint64_t presentOrSwapped = 3ull << 62;
        const auto isEmpty = [](std::uint64_t page) { return (page & presentOrSwapped) == 0; };
        const std::uint64_t size =
            std::min<std::uint64_t>(sizeof pages / sizeof pages[0] * pageSize, mapping.end - address);
        if (known && std::all_of(pages, pages + count, isEmpty))
        {
            m_file.AppendHole(size);
        }
        else
        {
            m_file.AppendMemory(m_image, address, size);
        }
        address += size;
    }
}

void Writer::WriteHeader() noexcept
{
    Format::Header header{};
    header.signature = Format::Signature;
    header.version = Format::Version;
    header.streamCount = m_streamCount;
    header.directoryPosition = sizeof header;
    header.time = static_cast<std::uint32_t>(m_request.time);
    header.flags = m_request.minidumpType;
    m_file.WriteAt(sizeof header, m_directory, sizeof m_directory);
    if (m_file.Error() == 0 && ::fsync(m_descriptor) != 0 && errno != EINVAL && errno != EROFS)
    {
        m_file.Fail(errno);
    }
    m_file.WriteAt(0, &header, sizeof header);
    if (m_file.Error() == 0 && ::fsync(m_descriptor) != 0 && errno != EINVAL && errno != EROFS)
    {
        m_file.Fail(errno);
    }
}

} // namespace

int WriteMinidumpFile(int descriptor, const CrashRequest& request) noexcept
{
    const int savedErrno = errno;
    const Platform::FileSizeSignalBlock withoutSignal; // a write beyond the limit fails with an error number
    Writer writer(descriptor, request);
    const int error = writer.Write();
    if (error != 0)
    {
        // A part of a minidump is of no use.
        static_cast<void>(::ftruncate(descriptor, 0) == 0);
    }
    errno = savedErrno;
    return error;
}

} // namespace Ardo::Kiln::Crash
