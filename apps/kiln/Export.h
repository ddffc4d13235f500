#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// What is to be exported, in two steps.
struct ExportSteps
{
    std::string name;             ///< What a person calls the file.
    std::filesystem::path file;   ///< What \p write makes; its growth is the progress.
    std::uintmax_t size = 0;      ///< How long it will be about, in bytes.
    std::function<void()> write;  ///< Writes the file.
    std::function<void()> commit; ///< Makes it count.
};

/// Runs the steps one after the other on a thread of their own, while the calling one shows progress, if
/// \p showsProgress or standard error is a console, and listens for Ctrl-C.
/// \throws Interrupted when Ctrl-C was pressed before the last step began: what had not begun is not done.
/// \throws whatever a step throws; the next one is not done then.
void RunExport(const ExportSteps& steps, bool showsProgress);

} // namespace Ardo::Kiln::Tool
