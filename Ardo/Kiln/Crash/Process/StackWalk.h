#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Ardo::Kiln::Crash
{

/// One function call of a stack. Texts are UTF-8 and empty where nothing is known.
struct StackFrame
{
    std::uint64_t address = 0;    ///< The instruction at fault, or the return address of a callee.
    std::string module;           ///< File of the program or library, with its folder.
    std::uint64_t moduleBase = 0; ///< Where the module begins in memory; 0 outside every module.
    std::string function;         ///< As written in the source: demangled, with parameters where the name has them.
    std::string sourceFile;       ///< As the compiler recorded it.
    std::uint32_t line = 0;       ///< 0: not known.
    bool inlined = false;         ///< Inlined into the next frame, which has the same address. Never on Windows.
};

/// A stack that may be too deep to be shown whole.
struct StackEnds
{
    std::vector<StackFrame> innermost; ///< The innermost function first.
    std::size_t omitted = 0;           ///< How many calls lie between the two; inlined ones do not count.
    std::vector<StackFrame> outermost; ///< The calls with which the stack began, also from the inside to the outside.
};

/// A program or library in memory.
struct LoadedModule
{
    std::string file;       ///< UTF-8, with its folder; a name in brackets for what the kernel itself provides.
    std::uint64_t base = 0; ///< Where it begins in memory.
};

/// A program or library of a process of which only a minidump is left.
struct RecordedModule
{
    std::string file;       ///< UTF-8, with its folder, on the machine of the process.
    std::uint64_t base = 0; ///< Where it began in memory.
    std::uint64_t size = 0; ///< In bytes.
    std::string buildId;    ///< The bytes of its build id; empty without one.
    bool isFound = false;   ///< Its file is on this machine. Set by ProcessSymbols.
};

/// What a minidump holds of a process for walks of its stacks.
struct RecordedProcess
{
    /// Copies memory of the process. False where the minidump does not hold all of it.
    using ReadMemory = std::function<bool(std::uint64_t address, void* bytes, std::size_t size)>;

    std::vector<RecordedModule> modules;
    std::string maps;   ///< The kernel's list of mappings; empty where there is none.
    std::string folder; ///< UTF-8, where the files of modules are looked for that are not in their old place.
    ReadMemory read;    ///< Not empty.
};

/// The module that holds \p address in the process \p processId; empty outside every module.
/// Takes no lock but the allocator's. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<LoadedModule> ModuleOf(std::uint32_t processId, std::uint64_t address);

/// Names the functions on the stacks of a process: its own or, if the system allows reading its memory, another.
///
/// On Linux the modules are those at the time of construction. Debug information is looked for on this machine only,
/// never on a server. On Linux the process is only read, with system calls: no lock of its loader or its standard
/// streams is taken, so that it may be used on a faulted process, itself included; only the allocator must work in the
/// process that calls. On Windows calls are serialised, because the debugging library is not thread-safe. One thread at
/// a time may use an object. The functions throw std::bad_alloc only.
class KILN_EXPORT_FOR_TESTS ProcessSymbols
{
public:
    /// \param processId the system's number of the process. One that cannot be read has stacks without frames.
    explicit ProcessSymbols(std::uint32_t processId);
    /// Stacks of a process of which only a minidump is left.
    ///
    /// On Linux a module has names if its file is in its place or in the folder of \p process, with the same build id.
    /// Anything but a regular file is left alone. On Windows no file is read, and stacks have one frame.
    /// \param process marks the modules that are found. It must outlive this object.
    explicit ProcessSymbols(RecordedProcess& process);
    ~ProcessSymbols();
    ProcessSymbols(const ProcessSymbols&) = delete;
    ProcessSymbols& operator=(const ProcessSymbols&) = delete;

    /// The stack of a stopped thread.
    ///
    /// If the program counter is outside any code, that address is the first frame and the caller the second. The walk
    /// stops at a cycle, and where the stack cannot be read.
    /// \param threadId the system's number of the thread.
    /// \param context its registers.
    /// \param innermost how many frames at most; inlined ones do not count.
    /// \param outermost how many of the other frames at most, the outermost. In an endless recursion they show how it
    ///        began. A stack whose end is not found within a second, or 200000 calls, has none.
    StackEnds Walk(std::uint32_t threadId, const CONTEXT& context, std::size_t innermost, std::size_t outermost = 0);

    /// The stack of a thread in a minidump, its innermost calls.
    /// \param context the bytes of a CONTEXT.
    /// \returns nothing if they are too few.
    std::vector<StackFrame> Walk(std::span<const std::byte> context, std::size_t innermost);

    /// The calls that return to \p returnAddresses, in the same order, with the inlined ones between them.
    std::vector<StackFrame> Describe(std::span<const std::uint64_t> returnAddresses);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Crash
