#pragma once

#include "apps/kiln/Files.h"

#include <functional>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// What a command has to say about one file.
struct FileReport
{
    std::string output;   ///< For standard output; with --json one JSON object.
    std::string messages; ///< For standard error, whole lines.
    bool hasFailed = false;
};

/// The options of commands that take many files.
struct BatchOptions
{
    std::vector<std::string> files; ///< Files and folders, UTF-8; "-" for standard input.
    bool isRecursive = false;       ///< Folders stand for the files in the folders below them, too.
    bool isJson = false;            ///< Facts as a JSON array with an object for each file.
    bool progress = false;          ///< Show the progress also when standard error is no console.
};

/// Calls \p work for each file, on as many threads as there are processors, and prints what it says in the order of the
/// files. A file for which it throws has failed, and the others go on. Of several files those that failed are named at
/// the end. A single file is worked on by the calling thread, and its exception passes.
/// \param work called by several threads at once.
/// \returns whether all files are done and none has failed.
/// \throws Interrupted when Ctrl-C was pressed; files that were begun are completed.
/// \throws Failure when the output cannot be written.
bool ForEachFile(const BatchOptions& options, FilesOfFolder kind,
                 const std::function<FileReport(const FoundFile& file)>& work);

/// The same for files that have been found.
bool ForEachFile(const BatchOptions& options, const std::vector<FoundFile>& files,
                 const std::function<FileReport(const FoundFile& file)>& work);

} // namespace Ardo::Kiln::Tool
