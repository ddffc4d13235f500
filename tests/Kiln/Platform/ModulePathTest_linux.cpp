#include "Ardo/Kiln/Platform/ModulePath.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace Ardo::Kiln::Platform
{

namespace fs = std::filesystem;

TEST(ModulePathTest, IsThePathOfTheRunningFileEvenWhenItIsGone)
{
    // A copy of this program runs this test, too, and writes what it finds.
    if (const char* const answer = std::getenv("KILN_MODULE_PATH_ANSWER"))
    {
        if (const char* const removed = std::getenv("KILN_MODULE_PATH_REMOVED"))
        {
            fs::remove(removed);
        }
        Support::WriteFile(answer, ExecutablePath());
        return;
    }
    EXPECT_EQ(ExecutablePath(), fs::canonical("/proc/self/exe"));

    const Support::ScopedTempDir folder;
    const struct
    {
        const char* name;
        bool isRemoved;
    } rows[] = {{"program ü", false}, {"program ü", true}, {"program (deleted)", false}, {"program (deleted)", true}};
    for (const auto& row : rows)
    {
        const fs::path program = folder / row.name;
        fs::copy_file("/proc/self/exe", program);
        const std::string remove =
            row.isRemoved ? "KILN_MODULE_PATH_REMOVED=" + Support::Quoted(program) + " " : std::string();
        const auto result = Support::RunShell(remove + "KILN_MODULE_PATH_ANSWER=answer " + Support::Quoted(program) +
                                                  " --gtest_filter=ModulePathTest.*",
                                              folder.Path());
        EXPECT_EQ(result.status, 0) << result.output << result.error;
        EXPECT_EQ(Support::ReadFile(folder / "answer"), program);
        EXPECT_EQ(fs::exists(program), !row.isRemoved);
        fs::remove(program);
    }
}

} // namespace Ardo::Kiln::Platform
