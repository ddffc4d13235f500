#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// The writer: a process outside that writes the reports of a fault. It does not depend on memory or locks of the
/// faulted process. Linux only.
///
/// It is the program kiln-crash-writer, which stands beside the library or in the folder of its helper programs.
class KILN_EXPORT_FOR_TESTS CrashWriterProcess
{
public:
    CrashWriterProcess() = delete;

    /// Finds the program and reserves what Run needs. Called once at start-up; later calls do nothing.
    /// \returns whether there is such a program.
    static bool Prepare() noexcept;

    /// Starts a writer for \p request and waits for it.
    ///
    /// Makes system calls only, no allocation, no lock: a signal handler may call it in whatever state the process is.
    /// The writer stops all threads of the process while it copies. No SIGCHLD is sent.
    /// \param request in this process's memory; receives the answers.
    /// \param descriptor of the file for
    /// CrashRequest::WriteDump, otherwise -1; stays open.
    /// \param timeoutMilliseconds after which the writer is killed.
    /// \returns whether all tasks were carried out.
    static bool Run(CrashRequest& request, int descriptor, int timeoutMilliseconds) noexcept;

    /// Whether a call of Run is under way in this process. A signal handler may call it.
    static bool IsRunning() noexcept;
};

} // namespace Ardo::Kiln::Crash
