#include "Ardo/Kiln/Exception/CrashDump.h"

#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpReader.h"
#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <algorithm>
#include <span>

namespace Ardo::Kiln::Exception
{

namespace
{

using Crash::MinidumpReader;

constexpr std::size_t MaxCalls = 64;

std::string FileName(const std::string& path)
{
    return path.substr(path.find_last_of("/\\") + 1);
}

/// \param instruction where the thread at fault stood; 0: not known.
DumpedFault FaultOf(const Crash::MinidumpFormat::Exception& record, bool isLinux, std::uint64_t instruction)
{
    DumpedFault fault;
    fault.threadId = record.threadId;
    const auto count = std::min<std::size_t>(record.parameterCount, std::size(record.parameters));
    fault.information.assign(record.parameters, record.parameters + count);
    // Dumps of Linux have the signal as their code. The writer of this library adds its own code, and the address is
    // that which was accessed.
    fault.code = !isLinux ? record.code : count == 3 ? static_cast<std::uint32_t>(record.parameters[2]) : 0;
    fault.address = isLinux && instruction != 0 ? instruction : record.address;
    fault.name = fault.code != 0 ? Crash::ExceptionName(fault.code) : "signal " + std::to_string(record.code);
    if (isLinux && count == 3)
    {
        fault.information.pop_back();
    }
    return fault;
}

} // namespace

CrashDump ReadCrashDump(const std::wstring& file)
{
    const std::filesystem::path path = FileSystem::ToPath(file);
    MinidumpReader reader(path);
    CrashDump dump;
    dump.time = reader.Time();
    dump.processId = reader.ProcessId();
    const auto& system = reader.System();
    dump.system = reader.IsLinux() || !system
                      ? reader.SystemText()
                      : "Windows " + std::to_string(system->majorVersion) + "." + std::to_string(system->minorVersion) +
                            "." + std::to_string(system->buildNumber);

    Crash::RecordedProcess process;
    for (const auto& module : reader.Modules())
    {
        process.modules.push_back({module.file, module.base, module.size, module.buildId});
    }
    process.maps = reader.Maps();
    process.folder = FileSystem::ToDisplayText(std::filesystem::absolute(path).parent_path());
    process.read = [&reader](std::uint64_t address, void* bytes, std::size_t size)
    { return reader.ReadMemory(address, bytes, size); };
    Crash::ProcessSymbols symbols(process);

    std::uint64_t instruction = 0;
    std::string moduleAtFault;
    for (const auto& thread : reader.Threads())
    {
        const auto frames = symbols.Walk(std::span(thread.context), reader.IsLinux() ? MaxCalls : 1);
        DumpedThread dumped{thread.id, thread.name, {}};
        for (const auto& frame : frames)
        {
            std::string line = Crash::StackText({frame});
            line.resize(line.size() - 2); // its line end
            dumped.stack.push_back(std::move(line));
        }
        if (reader.Exception() && reader.Exception()->threadId == thread.id && !frames.empty())
        {
            instruction = frames.front().address;
            moduleAtFault = FileName(frames.front().module);
        }
        dump.threads.push_back(std::move(dumped));
    }
    if (reader.Exception())
    {
        dump.fault = FaultOf(*reader.Exception(), reader.IsLinux(), instruction);
        dump.fault->module = moduleAtFault;
    }
    for (const auto& module : reader.Modules())
    {
        const auto known = std::ranges::find_if(process.modules, [&](const Crash::RecordedModule& other)
                                                { return other.base == module.base && other.file == module.file; });
        dump.modules.push_back(
            {module.file, module.base, module.size, module.version, known != process.modules.end() && known->isFound});
    }
    return dump;
}

} // namespace Ardo::Kiln::Exception
