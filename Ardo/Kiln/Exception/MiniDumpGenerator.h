#pragma once

#include "Ardo/Kiln/Platform/MinidumpType.h"
#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Exception
{

/// Writes minidumps of this process, and chooses their folder, names and contents.
///
/// The folder is "CrashDumps" in the product's data folder. Candidates, the preferred first, are "MicroscopeData" where
/// the instrument server's software is installed, "Orbex" and "Pellan Orbex", on Windows below %ProgramData%, on Linux
/// below $XDG_DATA_HOME (~/.local/share where that is not set). The first that exists and can be written to is taken;
/// if there is none, the first that can be created. Where no file can be made in any of them, the same is tried below
/// the system's folder for temporary files.
///
/// Any thread may call the functions. After a fault, those that write take no lock that the rest of the library takes.
/// Messages go to the standard error stream. The functions throw std::bad_alloc only, unless they say more.
///
///     MiniDumpGenerator::CreateDumpDirectory();
///     MiniDumpGenerator::CreateMiniDump(); // the process as it is now
class KILN_EXPORT MiniDumpGenerator
{
public:
    MiniDumpGenerator() = delete;

    /// The base name of the next dump: application name, full version, and the local time's day, month, hour, minute
    /// and second: L"App_V_[5-3_9-7-3]". Characters that a file name cannot hold become L'_'.
    static std::wstring GetTaggedDumpFileName();

    /// Writes a dump for a fault as "<tagged name>.dmp" into the dump folder. It has its name only when it is whole; a
    /// name that is taken gets a counter ("<tagged name>_2.dmp").
    ///
    /// Failures are printed with the system's number: "CreateFile failed. Error: %lu \n" when the file cannot be
    /// created, otherwise as WriteMinidump does; no file is left then, nor with fake writing on.
    /// \param pointers the fault; null for none: then as CreateMiniDump().
    /// \param type see GetSmallSizeMinidumpType.
    static void CreateMiniDump(EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type);

    /// Writes a dump of the process as it stands, of the default type. The process goes on.
    static void CreateMiniDump();

    /// Writes a dump of the process. Prints "MiniDumpWriteDump failed. Error: %lu \n" on failure and "Minidump
    /// faked.\n" with fake writing on, which writes nothing.
    /// \param file open for writing, empty: a HANDLE, on Linux a file descriptor as a pointer's value. Stays open.
    /// \param pointers the fault, whose thread is the calling one; null for none.
    static void WriteMinidump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type);

    /// Chooses the dump folder anew, creates it with all parents if it is missing, and prints "Selected dump directory:
    /// " with the folder; if none can be created, "CreateDirectory failed. Error: %lu \n" with the system's number for
    /// the preferred one, which stays chosen.
    static void CreateDumpDirectory();

    /// The dump folder. Chooses and creates it if none has been chosen yet. One that monitoring has chosen is created
    /// with the first report.
    static std::wstring GetDumpDirectory();

    /// The name of the program's file without ".exe".
    static std::wstring GetApplicationName();

    /// The full path of the program's file; empty if the system does not know it.
    static std::wstring GetApplicationPath();

    /// The version of the program: its file's version resource, "1.2.3.4"; where it has none, as on Linux, the version
    /// that the application gave to Qt; "0.0.0.0" if it gave none.
    static std::wstring GetFullVersion();

    /// Everything: with full memory and the list of its regions, 0x973. As large as the memory of the process.
    static MINIDUMP_TYPE GetLargeSizeMinidumpType();

    /// Enough to see all stacks: registers, stacks and the memory that they point at, thread information, 0x1160.
    static MINIDUMP_TYPE GetSmallSizeMinidumpType();

    /// The type used when none is given. Until it is set: the small one with the writable data of all modules and the
    /// list of memory regions, 0x1961, so that globals can be looked at.
    static MINIDUMP_TYPE GetDefaultMinidumpType();

    /// Sets it, also for the last resort.
    static void SetDefaultMinidumpType(MINIDUMP_TYPE type);

    /// With \p fake, dumps are announced but not written: for tests, and for machines whose memory must not be stored.
    /// Off at start.
    static void SetFakeWriteDump(bool fake);
};

} // namespace Ardo::Kiln::Exception
