#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "Ardo/Kiln/Platform/ScopedHandle_win.h"

#include <algorithm>
#include <array>
#include <mutex>
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

std::optional<LoadedModule> ModuleIn(HANDLE process, std::uint64_t address)
{
    MEMORY_BASIC_INFORMATION range = {};
    std::array<wchar_t, 1024> file = {};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the other process
    if (::VirtualQueryEx(process, reinterpret_cast<const void*>(address), &range, sizeof range) == 0 ||
        range.Type != MEM_IMAGE ||
        ::K32GetModuleFileNameExW(process, static_cast<HMODULE>(range.AllocationBase), file.data(),
                                  static_cast<DWORD>(file.size())) == 0)
    {
        return std::nullopt;
    }
    file.back() = L'\0';
    return LoadedModule{ToUtf8(file.data()), reinterpret_cast<std::uint64_t>(range.AllocationBase)};
}

/// The folder of the program: symbols are looked for there and beside each module. Without it the library would take
/// its path from the environment, which may name a server.
std::string SymbolFolder(HANDLE process)
{
    std::array<char, 1024> file = {};
    if (::K32GetModuleFileNameExA(process, nullptr, file.data(), static_cast<DWORD>(file.size() - 1)) == 0)
    {
        return ".";
    }
    const std::string path = file.data();
    return path.substr(0, path.rfind('\\'));
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
        m_ready = m_process && ::SymInitialize(m_process.Get(), SymbolFolder(m_process.Get()).c_str(), TRUE);
    }

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
                               ::SymFunctionTableAccess64, ::SymGetModuleBase64, nullptr) ||
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
        alignas(SYMBOL_INFO) char memory[sizeof(SYMBOL_INFO) + MAX_SYM_NAME] = {};
        auto& symbol = *reinterpret_cast<SYMBOL_INFO*>(memory);
        symbol.SizeOfStruct = sizeof symbol;
        symbol.MaxNameLen = MAX_SYM_NAME;
        DWORD64 offset = 0;
        if (m_ready && ::SymFromAddr(m_process.Get(), code, &offset, &symbol))
        {
            frame.function = symbol.Name;
        }
        IMAGEHLP_LINE64 line = {};
        line.SizeOfStruct = sizeof line;
        DWORD distance = 0;
        if (m_ready && ::SymGetLineFromAddr64(m_process.Get(), code, &distance, &line) && line.FileName != nullptr)
        {
            frame.sourceFile = line.FileName;
            frame.line = line.LineNumber;
        }
        return frame;
    }

    Platform::ScopedHandle m_process;
    bool m_ready = false;
};

ProcessSymbols::ProcessSymbols(std::uint32_t processId) : m_implementation(std::make_unique<Implementation>(processId))
{
}

ProcessSymbols::~ProcessSymbols() = default;

StackEnds ProcessSymbols::Walk(std::uint32_t threadId, const CONTEXT& context, std::size_t innermost,
                               std::size_t outermost)
{
    return m_implementation->Walk(threadId, context, innermost, outermost);
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
