#include "Ardo/Kiln/Crash/Process/MemoryMap_linux.h"
#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"
#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"

#include <boost/core/demangle.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <dwarf.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwelf.h>
#include <elfutils/libdwfl.h>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Free
{
    void operator()(void* memory) const noexcept { std::free(memory); }
};

struct EndSession
{
    void operator()(Dwfl* session) const noexcept { ::dwfl_end(session); }
};

bool IsModule(const MappedRange& range) noexcept
{
    return range.file.starts_with('/') || range.file == "[vdso]";
}

/// The build id of an ELF file; empty without one.
std::string_view BuildId(Elf* file) noexcept
{
    const void* bytes = nullptr;
    const auto size = ::dwelf_elf_gnu_build_id(file, &bytes);
    return size > 0 ? std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(size))
                    : std::string_view();
}

/// Looks for a module's separate debug information on this machine. The library's own search would go on to ask a
/// server, if the environment names one.
int FindDebugInformation(Dwfl_Module* module, void** userData, const char* moduleName, Dwarf_Addr base,
                         const char* file, const char* link, GElf_Word checksum, char** found)
{
    if (const int descriptor =
            ::dwfl_build_id_find_debuginfo(module, userData, moduleName, base, file, link, checksum, found);
        descriptor >= 0 || file == nullptr || link == nullptr)
    {
        return descriptor;
    }
    const std::string_view path(file);
    const auto folder = std::string(path.substr(0, path.rfind('/') + 1));
    GElf_Addr bias = 0;
    const auto wanted = BuildId(::dwfl_module_getelf(module, &bias));
    for (const std::string& candidate : {folder + link, folder + ".debug/" + link, "/usr/lib/debug" + folder + link})
    {
        Platform::ScopedDescriptor descriptor(candidate == path ? -1 : ::open(candidate.c_str(), O_RDONLY | O_CLOEXEC));
        Elf* const elf = descriptor ? ::elf_begin(descriptor.Get(), ELF_C_READ_MMAP, nullptr) : nullptr;
        const bool matches = elf != nullptr && BuildId(elf) == wanted;
        ::elf_end(elf);
        if (matches && (*found = ::strdup(candidate.c_str())) != nullptr)
        {
            return descriptor.Release();
        }
    }
    return -1;
}

/// The name of a function or of an inlined call of it. Without parameters and namespaces where the compiler left its
/// linkage name out.
std::string FunctionName(Dwarf_Die* function)
{
    Dwarf_Attribute attribute;
    if (::dwarf_attr_integrate(function, DW_AT_linkage_name, &attribute) != nullptr)
    {
        if (const char* name = ::dwarf_formstring(&attribute); name != nullptr)
        {
            return boost::core::demangle(name);
        }
    }
    const char* name = ::dwarf_diename(function);
    return name != nullptr ? name : "";
}

std::uint32_t NumberOf(Dwarf_Die* entry, unsigned name) noexcept
{
    Dwarf_Attribute attribute;
    Dwarf_Word value = 0;
    return ::dwarf_formudata(::dwarf_attr(entry, name, &attribute), &value) == 0 ? static_cast<std::uint32_t>(value)
                                                                                 : 0;
}

} // namespace

std::optional<LoadedModule> ModuleOf(std::uint32_t processId, std::uint64_t address)
{
    const auto map = ReadMemoryMap(processId);
    const auto* const range = RangeOf(map, address);
    if (range == nullptr || !IsModule(*range))
    {
        return std::nullopt;
    }
    return LoadedModule{range->file, range->fileBase};
}

namespace
{

/// Opens a regular file; a device or a pipe of that name is not touched.
Platform::ScopedDescriptor OpenRegular(const std::string& path) noexcept
{
    Platform::ScopedDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    const bool isRegular = descriptor && ::fstat(descriptor.Get(), &status) == 0 && S_ISREG(status.st_mode);
    return isRegular ? std::move(descriptor) : Platform::ScopedDescriptor();
}

/// Tells the session where the file of a module is, if it is on this machine and the right one.
bool ReportRecorded(Dwfl* session, const RecordedModule& module, const std::string& folder)
{
    const std::string name = module.file.substr(module.file.find_last_of("/\\") + 1);
    for (const std::string& path : {module.file, folder + "/" + name})
    {
        auto descriptor = path.starts_with('/') && !name.empty() ? OpenRegular(path) : Platform::ScopedDescriptor();
        Elf* const elf = descriptor ? ::elf_begin(descriptor.Get(), ELF_C_READ_MMAP, nullptr) : nullptr;
        const bool matches = elf != nullptr && ::elf_kind(elf) == ELF_K_ELF && BuildId(elf) == module.buildId;
        ::elf_end(elf);
        if (matches &&
            ::dwfl_report_elf(session, name.c_str(), path.c_str(), descriptor.Get(), module.base, false) != nullptr)
        {
            descriptor.Release();
            return true;
        }
    }
    return false;
}

/// The memory map of a recorded process; without the kernel's list, one in which all of a module is code.
std::vector<MappedRange> MapOf(const RecordedProcess& process)
{
    std::vector<MappedRange> map = ParseMemoryMap(process.maps);
    for (const RecordedModule& module : process.modules)
    {
        if (process.maps.empty())
        {
            map.push_back({module.base, module.base + module.size, true, module.file, module.base});
        }
    }
    std::ranges::sort(map, {}, &MappedRange::begin);
    return map;
}

} // namespace

struct ProcessSymbols::Implementation
{
    explicit Implementation(std::uint32_t process)
        : m_read(
              [process](std::uint64_t address, void* bytes, std::size_t size) {
                  return Platform::ReadProcessMemory(static_cast<std::int32_t>(process), address, bytes, size) == size;
              }),
          m_map(ReadMemoryMap(process))
    {
        Begin(static_cast<pid_t>(process),
              [process](Dwfl* session) { return ::dwfl_linux_proc_report(session, static_cast<pid_t>(process)) == 0; });
    }

    explicit Implementation(RecordedProcess& process)
        : m_read(process.read), m_map(MapOf(process)), m_recorded(&process.modules)
    {
        std::ranges::sort(process.modules, {}, &RecordedModule::base);
        Begin(1,
              [&process](Dwfl* session)
              {
                  ::dwfl_report_begin(session);
                  for (RecordedModule& module : process.modules)
                  {
                      module.isFound = ReportRecorded(session, module, process.folder);
                  }
                  return true;
              });
    }

    StackEnds Walk(std::uint32_t threadId, const CONTEXT& context, std::size_t innermost, std::size_t outermost)
    {
        m_calls.clear();
        m_ring.clear();
        m_innermost = innermost;
        m_outermost = outermost;
        m_count = 0;
        m_failed = false;
        m_cut = false;
        m_deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        m_pageAddress = NoPage;
        m_threadId = static_cast<pid_t>(threadId);
        m_start = &context;
        m_pc = context.Rip;
        m_sp = context.Rsp;
        m_startReturns = false;
        const auto* code = RangeOf(m_map, m_pc);
        if (code == nullptr || !code->executable)
        {
            // No code is mapped there: the thread called an invalid address, and its return address is on top of the
            // stack.
            AddCall({m_pc, false});
            m_startReturns = true;
            code = ReadWord(m_sp, m_pc) ? RangeOf(m_map, m_pc) : nullptr;
            m_sp += sizeof(std::uint64_t);
        }
        if (code != nullptr && code->executable)
        {
            if (m_canWalk)
            {
                ::dwfl_getthread_frames(m_session.get(), m_threadId, OnFrame, this);
            }
            else
            {
                AddCall({m_pc, m_startReturns});
            }
        }
        if (m_failed)
        {
            throw std::bad_alloc();
        }
        return Name();
    }

    std::vector<StackFrame> Describe(std::span<const std::uint64_t> returnAddresses)
    {
        std::vector<StackFrame> frames;
        for (const auto address : returnAddresses)
        {
            AddFrame({address, true}, frames);
        }
        return frames;
    }

private:
    /// \param process stands for it in the session; no thread of it is asked for anything.
    /// \param report  tells the session the modules.
    template <typename Report>
    void Begin(pid_t process, Report report)
    {
        m_session.reset(::dwfl_begin(&g_callbacks));
        if (m_session && (!report(m_session.get()) || ::dwfl_report_end(m_session.get(), nullptr, nullptr) != 0))
        {
            m_session.reset();
        }
        m_canWalk = m_session && ::dwfl_attach_state(m_session.get(), nullptr, process, &g_threadCallbacks, this);
    }

    /// One call of a walk.
    struct Call
    {
        std::uint64_t address = 0;
        bool returns = false; ///< It is where a call returns to, so that the call stands before it: a call that never
                              ///< returns may be the last thing in its function.
    };

    /// \returns whether more are wanted.
    bool AddCall(const Call& call)
    {
        constexpr std::size_t MaxDepth = 200'000;
        if (m_count < m_innermost)
        {
            m_calls.push_back(call);
        }
        else if (m_ring.size() < m_outermost)
        {
            m_ring.push_back(call);
        }
        else if (m_outermost > 0)
        {
            m_ring[(m_count - m_innermost) % m_outermost] = call;
        }
        ++m_count;
        m_cut = m_count >= MaxDepth || (m_count % 1024 == 0 && std::chrono::steady_clock::now() > m_deadline);
        return !m_cut && (m_outermost > 0 || m_count < m_innermost);
    }

    /// The calls of the walk with their names.
    StackEnds Name()
    {
        StackEnds ends;
        for (const auto& call : m_calls)
        {
            AddFrame(call, ends.innermost);
        }
        if (!m_cut && !m_ring.empty())
        {
            const auto beyond = m_count - m_innermost;
            ends.omitted = beyond - m_ring.size();
            for (std::size_t index = beyond - m_ring.size(); index < beyond; ++index)
            {
                AddFrame(m_ring[index % m_outermost], ends.outermost);
            }
        }
        return ends;
    }

    /// Adds the frame of \p call and those that are inlined in it.
    void AddFrame(const Call& call, std::vector<StackFrame>& frames)
    {
        const auto address = call.address;
        StackFrame frame;
        frame.address = address;
        if (const auto loaded = ModuleAt(address); loaded)
        {
            frame.module = loaded->file;
            frame.moduleBase = loaded->base;
        }
        const auto pc = call.returns && address != 0 ? address - 1 : address;
        auto* const module = m_session ? ::dwfl_addrmodule(m_session.get(), pc) : nullptr;
        if (module == nullptr)
        {
            frames.push_back(std::move(frame));
            return;
        }

        Dwarf_Addr bias = 0;
        auto* const unit = ::dwfl_module_addrdie(module, pc, &bias);
        // The library answers with the nearest unit and its nearest line, also for code without debug information.
        if (unit != nullptr && ::dwarf_haspc(unit, pc - bias) > 0)
        {
            if (auto* const line = ::dwfl_module_getsrc(module, pc); line != nullptr)
            {
                int number = 0;
                const char* const file = ::dwfl_lineinfo(line, nullptr, &number, nullptr, nullptr, nullptr);
                frame.sourceFile = file != nullptr && number > 0 ? file : "";
                frame.line = file != nullptr && number > 0 ? static_cast<std::uint32_t>(number) : 0;
            }
            AddInlined(unit, pc - bias, frame, frames);
        }

        GElf_Off offset = 0;
        GElf_Sym symbol;
        const char* const name = ::dwfl_module_addrinfo(module, pc, &offset, &symbol, nullptr, nullptr, nullptr);
        // Without its own symbols a module answers with the nearest exported function, however far away.
        if (name != nullptr && (symbol.st_size == 0 || offset < symbol.st_size) &&
            (frame.function.empty() || std::strncmp(name, "_Z", 2) == 0))
        {
            frame.function = boost::core::demangle(name);
        }
        frames.push_back(std::move(frame));
    }

    std::optional<LoadedModule> ModuleAt(std::uint64_t address) const
    {
        if (m_recorded != nullptr)
        {
            const auto after = std::ranges::upper_bound(*m_recorded, address, {}, &RecordedModule::base);
            const auto module = after == m_recorded->begin() ? m_recorded->end() : std::prev(after);
            return module != m_recorded->end() && address - module->base < module->size
                       ? std::optional(LoadedModule{module->file, module->base})
                       : std::nullopt;
        }
        const auto* const range = RangeOf(m_map, address);
        return range != nullptr && IsModule(*range) ? std::optional(LoadedModule{range->file, range->fileBase})
                                                    : std::nullopt;
    }

    /// Adds a frame for each call that is inlined at \p pc of \p unit, and puts the name and the line of the function
    /// that holds them into \p frame, which comes with the line of \p pc.
    static void AddInlined(Dwarf_Die* unit, Dwarf_Addr pc, StackFrame& frame, std::vector<StackFrame>& frames)
    {
        Dwarf_Die* found = nullptr;
        if (::dwarf_getscopes(unit, pc, &found) <= 0)
        {
            return;
        }
        const std::unique_ptr<Dwarf_Die, Free> innermost(found);
        // The scopes around an inlined call differ from those around the function in the source.
        const int count = ::dwarf_getscopes_die(innermost.get(), &found);
        const std::unique_ptr<Dwarf_Die, Free> scopes(count > 0 ? found : nullptr);
        Dwarf_Files* files = nullptr;
        std::size_t fileCount = 0;
        if (::dwarf_getsrcfiles(unit, &files, &fileCount) != 0)
        {
            files = nullptr;
        }
        for (int index = 0; index < count; ++index)
        {
            auto* const scope = scopes.get() + index;
            const int tag = ::dwarf_tag(scope);
            if (tag == DW_TAG_subprogram)
            {
                frame.function = FunctionName(scope);
                return;
            }
            if (tag == DW_TAG_inlined_subroutine)
            {
                auto inlined = frame;
                inlined.function = FunctionName(scope);
                inlined.inlined = true;
                frames.push_back(std::move(inlined));
                frame.line = NumberOf(scope, DW_AT_call_line);
                const char* const file =
                    files != nullptr ? ::dwarf_filesrc(files, NumberOf(scope, DW_AT_call_file), nullptr, nullptr)
                                     : nullptr;
                frame.sourceFile = file != nullptr ? file : "";
            }
        }
    }

    bool ReadWord(std::uint64_t address, std::uint64_t& word) noexcept
    {
        constexpr std::uint64_t PageSize = sizeof m_page;
        const auto page = address & ~(PageSize - 1);
        // A word may lie across two pages, and a minidump may hold a part of one.
        if (address % sizeof word != 0 || m_recorded != nullptr)
        {
            return m_read(address, &word, sizeof word);
        }
        if (m_pageAddress != page)
        {
            m_pageAddress = m_read(page, m_page, sizeof m_page) ? page : NoPage;
        }
        if (m_pageAddress == NoPage)
        {
            return false;
        }
        std::memcpy(&word, m_page + (address - page), sizeof word);
        return true;
    }

    // Callbacks of the library. No exception may leave them.

    static pid_t NextThread(Dwfl*, void* self, void** threadArgument) noexcept
    {
        if (*threadArgument != nullptr)
        {
            return 0;
        }
        *threadArgument = self;
        return static_cast<Implementation*>(self)->m_threadId;
    }

    static bool GetThread(Dwfl*, pid_t, void* self, void** threadArgument) noexcept
    {
        *threadArgument = self;
        return true;
    }

    static bool ReadMemory(Dwfl*, Dwarf_Addr address, Dwarf_Word* result, void* self) noexcept
    {
        std::uint64_t word = 0;
        const bool done = static_cast<Implementation*>(self)->ReadWord(address, word);
        *result = word;
        return done;
    }

    static bool SetRegisters(Dwfl_Thread* thread, void* self) noexcept
    {
        const auto& walk = *static_cast<Implementation*>(self);
        const auto& context = *walk.m_start;
        // In the order of DWARF (System V ABI, AMD64 supplement, "DWARF Register Number Mapping").
        const Dwarf_Word registers[] = {context.Rax, context.Rdx, context.Rcx, context.Rbx, context.Rsi, context.Rdi,
                                        context.Rbp, walk.m_sp,   context.R8,  context.R9,  context.R10, context.R11,
                                        context.R12, context.R13, context.R14, context.R15, walk.m_pc};
        return ::dwfl_thread_state_registers(thread, 0, std::size(registers), registers);
    }

    static int OnFrame(Dwfl_Frame* state, void* self) noexcept
    {
        auto& walk = *static_cast<Implementation*>(self);
        constexpr unsigned StackPointer = 7;
        Dwarf_Addr pc = 0;
        Dwarf_Word sp = 0;
        bool interrupted = false;
        if (!::dwfl_frame_pc(state, &pc, &interrupted))
        {
            return DWARF_CB_ABORT;
        }
        const bool first = walk.m_count == (walk.m_startReturns ? 1U : 0U);
        if (::dwfl_frame_reg(state, StackPointer, &sp) != 0)
        {
            sp = 0;
        }
        if (pc == 0 || (!first && pc == walk.m_pc && sp == walk.m_sp))
        {
            return DWARF_CB_ABORT;
        }
        walk.m_pc = pc;
        walk.m_sp = sp;
        try
        {
            return walk.AddCall({pc, first ? walk.m_startReturns : !interrupted}) ? DWARF_CB_OK : DWARF_CB_ABORT;
        }
        catch (...)
        {
            walk.m_failed = true;
            return DWARF_CB_ABORT;
        }
    }

    static constexpr Dwfl_Callbacks g_callbacks = {&dwfl_linux_proc_find_elf, &FindDebugInformation, nullptr, nullptr};
    static constexpr Dwfl_Thread_Callbacks g_threadCallbacks = {&NextThread,   &GetThread, &ReadMemory,
                                                                &SetRegisters, nullptr,    nullptr};
    static constexpr std::uint64_t NoPage = 1;

    const RecordedProcess::ReadMemory m_read; ///< Does not throw.
    const std::vector<MappedRange> m_map;
    const std::vector<RecordedModule>* m_recorded = nullptr; ///< By address; null for a process that still is.
    std::unique_ptr<Dwfl, EndSession> m_session;
    bool m_canWalk = false;

    // The state of the current walk.
    std::vector<Call> m_calls; ///< The innermost.
    std::vector<Call> m_ring;  ///< The last of the others.
    std::size_t m_innermost = 0;
    std::size_t m_outermost = 0;
    std::size_t m_count = 0; ///< Calls so far.
    bool m_failed = false;   ///< Out of memory.
    bool m_cut = false;      ///< It was given up before the end.
    std::chrono::steady_clock::time_point m_deadline;
    pid_t m_threadId = 0;
    const CONTEXT* m_start = nullptr;
    std::uint64_t m_pc = 0; ///< Of the last frame; before the first that of the start.
    std::uint64_t m_sp = 0;
    bool m_startReturns = false; ///< Whether the walk starts at a return address.
    std::uint64_t m_pageAddress = NoPage;
    unsigned char m_page[4096] = {};
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
    CONTEXT registers{};
    if (context.size() < sizeof registers)
    {
        return {};
    }
    std::memcpy(&registers, context.data(), sizeof registers);
    return m_implementation->Walk(1, registers, innermost, 0).innermost;
}

std::vector<StackFrame> ProcessSymbols::Describe(std::span<const std::uint64_t> returnAddresses)
{
    return m_implementation->Describe(returnAddresses);
}

} // namespace Ardo::Kiln::Crash
