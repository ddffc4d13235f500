#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// An export in two steps.
struct ExportSteps
{
    /// Called with the number of bytes written and the approximate size of the file; returns false to end the write.
    using Progress = std::function<bool(std::uint64_t written, std::uint64_t size)>;

    std::string name;                           ///< The name of the file for messages.
    std::function<void(const Progress&)> write; ///< Writes the file. Throws when its progress returns false.
    std::function<void()> commit;               ///< Gives the file its name.
};

/// Runs the steps one after the other on a thread of their own, while the calling one shows progress, if
/// \p showsProgress or standard error is a console, and listens for Ctrl-C.
/// \throws Interrupted when Ctrl-C was pressed before the last step began: the first one is ended.
/// \throws whatever a step throws; the next one is not done then.
void RunExport(const ExportSteps& steps, bool showsProgress);

} // namespace Ardo::Kiln::Tool
