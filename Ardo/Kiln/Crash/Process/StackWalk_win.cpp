#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "Ardo/Kiln/Platform/ScopedHandle_win.h"

#include <algorithm>
#include <mutex>
#include <new>
// After windows.h, which they need.
#include <dbghelp.h>
#include <psapi.h>

namespace Ardo::Kiln::Crash
{

namespace
{

std::mutex g_debuggingLibrary; ///< It serves one thread at a time.

std::string ToUtf8(const wchar_t* wide)
{
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1)
    {
        return {};
    }
    std::string text(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
    text.pop_back();
    return text;
}

Platform::ScopedHandle OpenForReading(std::uint32_t processId) noexcept
{
    return Platform::ScopedHandle(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
}

/// The module of a process that holds \p address; null outside every module.
HMODULE HandleOf(HANDLE process, std::uint64_t address) noexcept
{
    MEMORY_BASIC_INFORMATION range = {};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the other process
    const bool isModule =
        ::VirtualQueryEx(process, reinterpret_cast<const void*>(address), &range, sizeof range) != 0 &&
        range.Type == MEM_IMAGE;
    return isModule ? static_cast<HMODULE>(range.AllocationBase) : nullptr;
}

/// The file of a module, null for the program, of a process; empty when the system does not tell.
std::wstring FileOf(HANDLE process, HMODULE module)
{
    constexpr DWORD LongestPath = 32'767;
    std::wstring file(LongestPath + 1, L'\0');
    file.resize(::K32GetModuleFileNameExW(process, module, file.data(), LongestPath + 1));
    return file;
}

std::optional<LoadedModule> ModuleIn(HANDLE process, std::uint64_t address)
{
    const HMODULE module = HandleOf(process, address);
    const std::wstring file = module != nullptr ? FileOf(process, module) : std::wstring();
    if (file.empty())
    {
        return std::nullopt;
    }
    return LoadedModule{ToUtf8(file.c_str()), reinterpret_cast<std::uint64_t>(module)};
}

/// The folder of the program: symbols are looked for there and beside each module. Without it the library would take
/// its path from the environment, which may name a server.
std::wstring SymbolFolder(HANDLE process)
{
    const std::wstring file = FileOf(process, nullptr);
    return file.empty() ? L"." : file.substr(0, file.rfind(L'\\'));
}

/// Where the module begins that holds \p address; 0 outside every module. The library reads the modules that are asked
/// for, not all of the process: few are on a stack. It calls this function with its lock held.
DWORD64 CALLBACK LoadedBase(HANDLE process, DWORD64 address) noexcept
{
    const DWORD64 known = ::SymGetModuleBase64(process, address);
    const HMODULE module = known == 0 ? HandleOf(process, address) : nullptr;
    MODULEINFO extent = {};
    if (module == nullptr || !::K32GetModuleInformation(process, module, &extent, sizeof extent))
    {
        return known;
    }
    try
    {
        const std::wstring file = FileOf(process, module);
        return ::SymLoadModuleExW(process, nullptr, file.c_str(), nullptr, reinterpret_cast<DWORD64>(module),
                                  extent.SizeOfImage, nullptr, 0);
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
}

void* CALLBACK FunctionTable(HANDLE process, DWORD64 address) noexcept
{
    LoadedBase(process, address);
    return ::SymFunctionTableAccess64(process, address);
}

} // namespace

std::optional<LoadedModule> ModuleOf(std::uint32_t processId, std::uint64_t address)
{
    const auto process = OpenForReading(processId);
    return process ? ModuleIn(process.Get(), address) : std::nullopt;
}

struct ProcessSymbols::Implementation
{
    /// A handle of its own, because the library keeps its state by handles, and the application may use it, too.
    explicit Implementation(std::uint32_t processId) : m_process(OpenForReading(processId))
    {
        const std::lock_guard lock(g_debuggingLibrary);
        ::SymSetOptions(SYMOPT_UNDNAME | SYMOPT_LOAD_LINES | SYMOPT_DEFERRED_LOADS | SYMOPT_FAIL_CRITICAL_ERRORS |
                        SYMOPT_NO_PROMPTS);
        m_ready = m_process && ::SymInitializeW(m_process.Get(), SymbolFolder(m_process.Get()).c_str(), FALSE);
    }

    explicit Implementation(const RecordedProcess& process) : m_recorded(&process.modules) {}

    ~Implementation()
    {
        if (m_ready)
        {
            const std::lock_guard lock(g_debuggingLibrary);
            ::SymCleanup(m_process.Get());
        }
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    StackEnds Walk(std::uint32_t threadId, CONTEXT context, std::size_t innermost, std::size_t outermost) const
    {
        StackEnds ends;
        auto& frames = ends.innermost;
        bool returns = false;
        MEMORY_BASIC_INFORMATION range = {};
        constexpr DWORD Executable = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the other process
        if (::VirtualQueryEx(m_process.Get(), reinterpret_cast<const void*>(context.Rip), &range, sizeof range) == 0 ||
            range.State != MEM_COMMIT || (range.Protect & Executable) == 0)
        {
            // It jumped to nowhere: only the return address that the call left behind tells from where.
            if (innermost > 0)
            {
                frames.push_back(FrameAt(context.Rip, false));
            }
            // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the other process
            if (!::ReadProcessMemory(m_process.Get(), reinterpret_cast<const void*>(context.Rsp), &context.Rip,
                                     sizeof context.Rip, nullptr))
            {
                return ends;
            }
            context.Rsp += sizeof context.Rip;
            returns = true;
        }

        const Platform::ScopedHandle thread(
            ::OpenThread(THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION, FALSE, threadId));
        STACKFRAME64 frame = {};
        frame.AddrPC = {context.Rip, 0, AddrModeFlat};
        frame.AddrStack = {context.Rsp, 0, AddrModeFlat};
        frame.AddrFrame = {context.Rbp, 0, AddrModeFlat};
        DWORD64 lastCode = 0;
        DWORD64 lastStack = 0;
        constexpr std::size_t MaxDepth = 200'000;
        const auto deadline = ::GetTickCount64() + 1000;
        std::vector<DWORD64> ring; // the last of the others
        std::size_t others = 0;
        while (frames.size() < innermost || (outermost > 0 && others < MaxDepth && ::GetTickCount64() < deadline))
        {
            const std::lock_guard lock(g_debuggingLibrary);
            if (!::StackWalk64(IMAGE_FILE_MACHINE_AMD64, m_process.Get(), thread.Get(), &frame, &context, nullptr,
                               FunctionTable, LoadedBase, nullptr) ||
                frame.AddrPC.Offset == 0 || (frame.AddrPC.Offset == lastCode && frame.AddrStack.Offset == lastStack))
            {
                ends.omitted = others - ring.size();
                for (std::size_t index = others - ring.size(); index < others; ++index)
                {
                    ends.outermost.push_back(Named(ring[index % outermost], true));
                }
                break;
            }
            lastCode = frame.AddrPC.Offset;
            lastStack = frame.AddrStack.Offset;
            if (frames.size() < innermost)
            {
                frames.push_back(Named(lastCode, returns));
            }
            else
            {
                ring.resize(std::min(others + 1, outermost));
                ring[others++ % outermost] = lastCode;
            }
            returns = true;
        }
        return ends;
    }

    StackFrame FrameAt(std::uint64_t address, bool returns) const
    {
        const std::lock_guard lock(g_debuggingLibrary);
        return Named(address, returns);
    }

    /// A call of a process of which only a minidump is left.
    StackFrame RecordedFrame(std::uint64_t address) const
    {
        StackFrame frame;
        frame.address = address;
        for (const RecordedModule& module : *m_recorded)
        {
            if (address - module.base < module.size)
            {
                frame.module = module.file;
                frame.moduleBase = module.base;
            }
        }
        return frame;
    }

private:
    /// Calls that the compiler inlined are not told apart. The caller holds the library's lock.
    StackFrame Named(std::uint64_t address, bool returns) const
    {
        StackFrame frame;
        frame.address = address;
        if (const auto module = ModuleIn(m_process.Get(), address))
        {
            frame.module = module->file;
            frame.moduleBase = module->base;
        }
        const auto code = returns && address != 0 ? address - 1 : address; // a call may end its function
        if (!m_ready)
        {
            return frame;
        }
        LoadedBase(m_process.Get(), code);
        alignas(SYMBOL_INFOW) char memory[sizeof(SYMBOL_INFOW) + MAX_SYM_NAME * sizeof(wchar_t)] = {};
        auto& symbol = *reinterpret_cast<SYMBOL_INFOW*>(memory);
        symbol.SizeOfStruct = sizeof symbol;
        symbol.MaxNameLen = MAX_SYM_NAME;
        DWORD64 offset = 0;
        if (::SymFromAddrW(m_process.Get(), code, &offset, &symbol))
        {
            frame.function = ToUtf8(symbol.Name);
        }
        IMAGEHLP_LINEW64 line = {};
        line.SizeOfStruct = sizeof line;
        DWORD distance = 0;
        if (::SymGetLineFromAddrW64(m_process.Get(), code, &distance, &line) && line.FileName != nullptr)
        {
            frame.sourceFile = ToUtf8(line.FileName);
            frame.line = line.LineNumber;
        }
        return frame;
    }

    Platform::ScopedHandle m_process;
    bool m_ready = false;
    const std::vector<RecordedModule>* m_recorded = nullptr; ///< Null for a process that still is.
};

ProcessSymbols::ProcessSymbols(std::uint32_t processId) : m_implementation(std::make_unique<Implementation>(processId))
{
}

ProcessSymbols::ProcessSymbols(RecordedProcess& process) : m_implementation(std::make_unique<Implementation>(process))
{
}

ProcessSymbols::~ProcessSymbols() = default;

StackEnds ProcessSymbols::Walk(std::uint32_t threadId, const CONTEXT& context, std::size_t innermost,
                               std::size_t outermost)
{
    return m_implementation->Walk(threadId, context, innermost, outermost);
}

std::vector<StackFrame> ProcessSymbols::Walk(std::span<const std::byte> context, std::size_t innermost)
{
    CONTEXT registers = {};
    if (context.size() < sizeof registers || innermost == 0)
    {
        return {};
    }
    std::copy_n(context.begin(), sizeof registers, reinterpret_cast<std::byte*>(&registers));
    return {m_implementation->RecordedFrame(registers.Rip)};
}

std::vector<StackFrame> ProcessSymbols::Describe(std::span<const std::uint64_t> returnAddresses)
{
    std::vector<StackFrame> frames;
    for (const auto address : returnAddresses)
    {
        frames.push_back(m_implementation->FrameAt(address, true));
    }
    return frames;
}

} // namespace Ardo::Kiln::Crash
