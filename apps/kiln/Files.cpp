#include "apps/kiln/Files.h"

#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <system_error>

namespace Ardo::Kiln::Tool
{

namespace fs = std::filesystem;

namespace
{

const char* Named(FilesOfFolder kind)
{
    return kind == FilesOfFolder::Tiff ? "TIFF files" : kind == FilesOfFolder::Images ? "images" : "crash reports";
}

/// Appends the files of \p folder and, if asked for, of those below it.
/// \param first the folder that was given.
void Search(const fs::path& folder, const fs::path& first, bool isRecursive, FilesOfFolder kind,
            std::vector<FoundFile>& found)
{
    std::vector<fs::path> files;
    std::vector<fs::path> folders;
    try
    {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        {
            std::error_code error; // a file that vanishes meanwhile is not there
            if (entry.is_directory(error) && !entry.is_symlink(error))
            {
                folders.push_back(entry.path());
            }
            else if (IsTaken(entry.path(), kind) && entry.is_regular_file(error))
            {
                files.push_back(entry.path());
            }
        }
    }
    catch (const fs::filesystem_error& error)
    {
        found.push_back({ToName(folder), {}, {}, error.code().message(), false});
    }
    std::ranges::sort(files);
    for (const fs::path& file : files)
    {
        found.push_back({ToName(file), file.lexically_relative(first), {}, {}, true});
    }
    std::ranges::sort(folders);
    for (const fs::path& below : folders)
    {
        if (isRecursive)
        {
            Search(below, first, isRecursive, kind, found);
        }
    }
}

/// Why a folder stands for no file.
std::string NothingIn(const fs::path& folder, bool isRecursive, FilesOfFolder kind)
{
    const auto isFolder = [](const fs::directory_entry& entry)
    {
        std::error_code error;
        return entry.is_directory(error);
    };
    std::error_code error;
    const fs::directory_iterator entries(folder, error);
    const bool hasFolders = !isRecursive && !error && std::any_of(begin(entries), end(entries), isFolder);
    return std::string("has no ") + Named(kind) +
           (hasFolders ? " itself; with --recursive the folders below are searched, too" : "");
}

} // namespace

bool IsTaken(const fs::path& file, FilesOfFolder kind)
{
    constexpr std::array<std::string_view, 11> Extensions = {".dmp",  ".txt", ".tif", ".tiff", ".png", ".jpg",
                                                             ".jpeg", ".bmp", ".gif", ".pgm",  ".ppm"};
    std::string extension = FileSystem::ToDisplayText(file.extension());
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const std::span taken = kind == FilesOfFolder::Reports ? std::span(Extensions).first(2)
                            : kind == FilesOfFolder::Tiff  ? std::span(Extensions).subspan(2, 2)
                                                           : std::span(Extensions).subspan(2);
    return std::ranges::find(taken, extension) != taken.end();
}

std::vector<FoundFile> FindFiles(const std::vector<std::string>& arguments, bool isRecursive, FilesOfFolder kind)
{
    std::vector<FoundFile> found;
    for (const std::string& argument : arguments)
    {
        const fs::path path = ToPath(argument);
        std::error_code error;
        const fs::file_status status = argument == StandardStream ? fs::file_status() : fs::status(path, error);
        if (!fs::is_directory(status))
        {
            found.push_back({argument, path.filename(), {}, {}, fs::is_regular_file(status)});
            continue;
        }
        const std::size_t before = found.size();
        Search(path, path, isRecursive, kind, found);
        if (found.size() == before)
        {
            found.push_back({argument, {}, {}, NothingIn(path, isRecursive, kind), false});
        }
    }
    return found;
}

void DropSecondOfPairs(std::vector<FoundFile>& files)
{
    std::set<fs::path> seen;
    std::erase_if(files,
                  [&seen](const FoundFile& file)
                  {
                      return file.problem.empty() && IsTaken(ToPath(file.name), FilesOfFolder::Reports) &&
                             !seen.insert(ToPath(file.name).replace_extension()).second;
                  });
}

void PlanOutputs(std::vector<FoundFile>& files, const std::string& folder, const std::string& extension)
{
    std::map<std::string, std::string> sources;
    for (FoundFile& file : files)
    {
        file.output = ToName(ToPath(folder) / fs::path(file.relative).replace_extension(extension));
        const auto [other, isNew] = sources.emplace(file.output, file.name);
        if (!isNew && file.problem.empty())
        {
            file.problem = file.output + " is that of " + other->second;
        }
    }
}

void MakeFolderOf(const std::string& output)
{
    const fs::path folder = ToPath(output).parent_path();
    std::error_code error;
    if (!folder.empty() && !fs::create_directories(folder, error) && error)
    {
        throw Failure(ToName(folder) + ": " + error.message());
    }
}

bool IsFolder(const std::string& name)
{
    std::error_code error;
    return fs::is_directory(ToPath(name), error);
}

} // namespace Ardo::Kiln::Tool
