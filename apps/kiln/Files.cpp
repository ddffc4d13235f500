#include "apps/kiln/Files.h"

#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <system_error>

namespace Ardo::Kiln::Tool
{

namespace fs = std::filesystem;

namespace
{

bool IsTaken(const fs::path& file, FilesOfFolder kind)
{
    constexpr std::array Extensions = {".tif", ".tiff", ".png", ".jpg", ".jpeg", ".bmp", ".gif", ".pgm", ".ppm"};
    std::string extension = FileSystem::ToDisplayText(file.extension());
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const auto end = Extensions.begin() + (kind == FilesOfFolder::Tiff ? 2 : Extensions.size());
    return std::find(Extensions.begin(), end, std::string_view(extension)) != end;
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
        found.push_back({ToName(folder), {}, {}, error.code().message()});
    }
    std::ranges::sort(files);
    for (const fs::path& file : files)
    {
        found.push_back({ToName(file), file.lexically_relative(first), {}, {}});
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

} // namespace

std::vector<FoundFile> FindFiles(const std::vector<std::string>& arguments, bool isRecursive, FilesOfFolder kind)
{
    std::vector<FoundFile> found;
    for (const std::string& argument : arguments)
    {
        const fs::path path = ToPath(argument);
        if (argument == StandardStream || !IsFolder(argument))
        {
            found.push_back({argument, path.filename(), {}, {}});
            continue;
        }
        const std::size_t before = found.size();
        Search(path, path, isRecursive, kind, found);
        if (found.size() == before)
        {
            found.push_back({argument, {}, {}, kind == FilesOfFolder::Tiff ? "has no TIFF files" : "has no images"});
        }
    }
    return found;
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
