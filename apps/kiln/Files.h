#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// Which files of a folder a command takes.
enum class FilesOfFolder
{
    Tiff,    ///< .tif and .tiff
    Images,  ///< TIFF and the other formats that can be read.
    Reports, ///< .dmp and .txt: what crashes leave behind.
};

/// A file that a command works on.
struct FoundFile
{
    std::string name;               ///< As the command takes it, UTF-8: "images/a.tif".
    std::filesystem::path relative; ///< Below the folder that was given: "a.tif"; the file's own name without one.
    std::string output;             ///< What is written for it, UTF-8; empty unless PlanOutputs has set it.
    std::string problem;            ///< Why there is nothing to work on: a folder that cannot be read, or has no files.
    bool isRegular = false;         ///< It was no pipe and no device when it was found.
};

/// Whether a folder that is searched for that kind stands for this file: judged by the extension of its name.
bool IsTaken(const std::filesystem::path& file, FilesOfFolder kind);

/// The files that arguments stand for: a folder stands for its files of the kind, in the order of their names, anything
/// else for itself. Links to folders below the first one are not followed, so a search always ends.
/// \param arguments   UTF-8; also "-" for standard input.
/// \param isRecursive whether the folders below a folder are searched, too.
std::vector<FoundFile> FindFiles(const std::vector<std::string>& arguments, bool isRecursive, FilesOfFolder kind);

/// Leaves one of each pair of report and minidump, the first one.
void DropSecondOfPairs(std::vector<FoundFile>& files);

/// Sets the output of each file: its relative path with another extension, below \p folder. Of two files with the same
/// output the second one gets a problem.
/// \param folder    UTF-8.
/// \param extension with the dot.
void PlanOutputs(std::vector<FoundFile>& files, const std::string& folder, const std::string& extension);

/// Makes the folder of an output that PlanOutputs has set.
/// \throws Failure.
void MakeFolderOf(const std::string& output);

/// Whether there is a folder of this name.
/// \param name UTF-8.
bool IsFolder(const std::string& name);

} // namespace Ardo::Kiln::Tool
