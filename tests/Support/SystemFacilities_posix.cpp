#include "tests/Support/SystemFacilities.h"

#include "tests/Support/LibraryCopy_posix.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

namespace Ardo::Kiln::Support
{

namespace fs = std::filesystem;

std::string HiddenName(const std::string& name)
{
    return "." + name;
}

void Hide(const fs::path& /*file*/) {}

fs::path NameThatIsNoText(const std::string& before, const std::string& after)
{
    return before + "\xE4" + after;
}

bool CanHaveNameThatIsNoText()
{
    return true;
}

std::string SaidOnStandardError(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

int HandoverCost()
{
    return 1;
}

std::uint64_t PeakMemory()
{
    rusage usage{};
    EXPECT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
    return static_cast<std::uint64_t>(usage.ru_maxrss) << 10U;
}

void LimitMemory(std::uint64_t bytes)
{
    const rlimit limit{bytes, RLIM_INFINITY};
    EXPECT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
}

ProcessResult RunWithLibraryCopy(const fs::path& folder, const std::string& filter, const std::string& variable)
{
    return RunShell(WithLibraryCopy(folder) + variable + "=1 " + Quoted(fs::canonical("/proc/self/exe")) +
                        " --gtest_filter=" + Quoted(filter),
                    folder);
}

struct ScopedMachineSettings::System
{
    fs::path File(const std::string& key) const { return folder / (key + ".conf"); }

    ScopedTempDir folder;
    ScopedVariable variable{"XDG_CONFIG_DIRS", "/missing:" + folder.Path().string()};
};

ScopedMachineSettings::ScopedMachineSettings() : m_system(std::make_unique<System>()) {}

ScopedMachineSettings::~ScopedMachineSettings() = default;

void ScopedMachineSettings::Set(const std::string& key, const std::string& name, const std::string& text)
{
    fs::create_directories(m_system->File(key).parent_path());
    WriteFile(m_system->File(key),
              "[General]\n" + Replaced(name, " ", "%20") + "=" + Replaced(text, "\\", "\\\\") + "\n");
}

void ScopedMachineSettings::Remove(const std::string& key)
{
    fs::remove_all(m_system->File(key));
}

void ScopedMachineSettings::Spoil(const std::string& key, const std::string& /*name*/)
{
    Remove(key);
    fs::create_directories(m_system->File(key));
}

} // namespace Ardo::Kiln::Support
