#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::Exception
{

// What a minidump tells about the process that left it. Texts are UTF-8 and empty where nothing is known.

/// The fault in a minidump.
struct DumpedFault
{
    std::uint32_t code = 0;     ///< As in reports, also on Linux; 0 if the writer of the dump has left it out.
    std::string name;           ///< "ACCESS_VIOLATION"; the number of the signal if the code is not known.
    std::uint32_t threadId = 0; ///< The system's number of the thread at fault.
    std::uint64_t address = 0;  ///< The instruction at fault.
    std::string module;         ///< The file name of the module that holds it.
    std::vector<std::uint64_t> information; ///< Depends on the code: kind of access and address.
};

/// A thread in a minidump.
struct DumpedThread
{
    std::uint32_t id = 0;           ///< The system's number.
    std::string name;               ///< As debuggers show it.
    std::vector<std::string> stack; ///< The innermost calls, in the form of SymbolHandler::GetStackDetails.
};

/// A program or library in a minidump.
struct DumpedModule
{
    std::string file;       ///< With its folder, on the machine of the process.
    std::uint64_t base = 0; ///< Where it began in memory.
    std::uint64_t size = 0; ///< In bytes.
    std::string version;    ///< "1.2.3.4"; only from Windows.
    bool isFound = false;   ///< Its file is on this machine, so that its functions have names.
};

/// The contents of a minidump.
struct CrashDump
{
    std::int64_t time = 0;             ///< When it was written, seconds since 1970-01-01 UTC.
    std::uint32_t processId = 0;       ///< The system's number; 0: not known.
    std::string system;                ///< Name and version of the operating system.
    std::optional<DumpedFault> fault;  ///< Nothing in a dump on request.
    std::vector<DumpedThread> threads; ///< In the order of the dump.
    std::vector<DumpedModule> modules; ///< The program first.
};

/// Reads a minidump of Windows or Linux, and walks the stacks in it.
///
/// On Linux functions have names where the file of their module, with the same build id, is in its old place or in the
/// folder of the dump. The stacks of dumps from Windows, and all stacks on Windows, have one call: a
/// debugger shows the others. The file may come from anywhere: what it says is checked, and the memory that is used for
/// it is limited. Any thread may call it.
/// \param file path of the dump.
/// \throws std::runtime_error with the reason if it cannot be read, is no minidump, is cut or damaged.
KILN_EXPORT CrashDump ReadCrashDump(const std::wstring& file);

} // namespace Ardo::Kiln::Exception
