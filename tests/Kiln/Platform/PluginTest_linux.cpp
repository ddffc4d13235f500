#include "Ardo/Kiln/Platform/Plugin.h"

#include "tests/Support/LibraryCopy_posix.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

namespace Ardo::Kiln::Platform
{

namespace
{

/// "found", or why not.
std::string Load(const std::string& plugin, const char* function)
{
    try
    {
        return PluginFunction(plugin, function) != nullptr ? "found" : "null";
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
}

} // namespace

TEST(PluginTest, IsLookedForBesideTheLibraryThatRunsAndNowhereElse)
{
    using testing::HasSubstr;
    if (const char* const answer = std::getenv("KILN_PLUGIN_ANSWER")) // the process below
    {
        std::filesystem::current_path("elsewhere");
        Support::WriteFile(answer, Load("CommonImages", "KilnQtImageReaders"));
        return;
    }
    EXPECT_EQ(Load("CommonImages", "KilnQtImageReaders"), "found");
    EXPECT_EQ(Load("CommonDialogs", "KilnShowErrorDialog"), "found");
    EXPECT_THAT(Load("CommonDialogs", "NoSuchFunction"), HasSubstr("NoSuchFunction"));

    // The path of the library is given to the loader relative to a folder that is not the current one any more.
    const Support::ScopedTempDir folder;
    std::filesystem::create_directories(folder / "lib ü");
    std::filesystem::create_directories(folder / "elsewhere");
    Support::WithLibraryCopy(folder / "lib ü");
    std::string plugin;
    for (const auto& file : std::filesystem::directory_iterator(LibraryPath().parent_path()))
    {
        if (file.path().filename().native().starts_with("CommonImages-"))
        {
            plugin = file.path();
            std::filesystem::copy(plugin, folder / "elsewhere");
        }
    }
    for (const bool isThere : {false, true})
    {
        if (isThere)
        {
            std::filesystem::copy(plugin, folder / "lib ü");
        }
        const auto answer = folder / "answer";
        const auto result = Support::RunShell(
            "LC_ALL=C LD_LIBRARY_PATH='lib ü' KILN_PLUGIN_ANSWER=" + Support::Quoted(answer) + " " +
                Support::Quoted(std::filesystem::canonical("/proc/self/exe")) + " --gtest_filter=PluginTest.*",
            folder.Path());
        EXPECT_EQ(result.status, 0) << result.output << result.error;
        EXPECT_THAT(Support::ReadFile(answer), HasSubstr(isThere ? "found" : "lib ü/CommonImages-"));
    }
}

} // namespace Ardo::Kiln::Platform
