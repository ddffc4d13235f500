#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// What is to be exported, in two steps.
struct ExportSteps
{
    /// Is told how many bytes are written and how many there will be about; answers false when that is to end.
    using Progress = std::function<bool(std::uint64_t written, std::uint64_t size)>;

    std::string name;                           ///< What a person calls the file.
    std::function<void(const Progress&)> write; ///< Writes the file. Throws when its progress answers false.
    std::function<void()> commit;               ///< Makes it count.
};

/// Runs the steps one after the other on a thread of their own, while the calling one shows progress, if
/// \p showsProgress or standard error is a console, and listens for Ctrl-C.
/// \throws Interrupted when Ctrl-C was pressed before the last step began: the first one is ended.
/// \throws whatever a step throws; the next one is not done then.
void RunExport(const ExportSteps& steps, bool showsProgress);

} // namespace Ardo::Kiln::Tool
