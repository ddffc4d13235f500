#include "tests/Support/ScopedTempDir.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

namespace Ardo::Kiln::Support
{

namespace fs = std::filesystem;

ScopedTempDir::ScopedTempDir()
{
    std::random_device random;
    do
    {
        m_path = fs::temp_directory_path() / ("kiln-test-" + std::to_string(random()));
    } while (!fs::create_directory(m_path));
}

ScopedTempDir::~ScopedTempDir()
{
    std::error_code ignored; // a test that failed half-way may have left the folder read-only
    fs::permissions(m_path, fs::perms::owner_all, ignored);
    fs::remove_all(m_path, ignored);
    if (fs::exists(m_path, ignored)) // on Windows a read-only file cannot be removed
    {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(m_path, error), end; !error && entry != end; entry.increment(error))
        {
            if (!entry->is_symlink(ignored))
            {
                fs::permissions(entry->path(), fs::perms::owner_write, fs::perm_options::add, ignored);
            }
        }
        fs::remove_all(m_path, ignored);
    }
    // On Windows the files of a process that has ended may stay open a moment longer.
    for (int attempts = 100; attempts > 0 && fs::exists(m_path, ignored); --attempts)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        fs::remove_all(m_path, ignored);
    }
}

fs::path ScopedTempDir::operator/(std::string_view name) const
{
    return m_path / fs::path(std::u8string(name.begin(), name.end()));
}

std::vector<std::string> NamesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
    {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

unsigned ModeOf(const fs::path& path)
{
    return static_cast<unsigned>(fs::status(path).permissions());
}

} // namespace Ardo::Kiln::Support
