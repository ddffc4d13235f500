#include "Ardo/Kiln/FileSystem/ServerInstallation.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/SystemFacilities.h"
#include "tests/Support/VersionedLibrary.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

class ServerInstallationTest : public testing::Test
{
protected:
    ServerInstallationTest() { fs::create_directories(m_file.parent_path()); }

    void InstallAt(const std::string& key, const std::string& folder)
    {
        m_settings.Set(key, "Installation Path", folder);
    }

    void WriteLibrary(const std::string& bytes) const { Support::WriteFile(m_file, bytes); }

    const Support::ScopedTempDir m_folder;
    Support::ScopedMachineSettings m_settings;
    const std::string m_installed = ToDisplayText(m_folder / "Instrument µ");
    const fs::path m_file = m_folder / "Instrument µ/Exe/kestrel.dll";
    const std::string m_library = Support::VersionedLibrary({7, 10, 65535, 4711});
};

TEST_F(ServerInstallationTest, TheSettingOfEitherViewIsFoundAndReadAnew)
{
    EXPECT_EQ(ServerInstallationFolder(), std::nullopt);
    InstallAt("Wow6432Node/Ardo/Configuration", "/of/32 bits");
    EXPECT_EQ(ServerInstallationFolder(), "/of/32 bits");
    InstallAt("Ardo/Configuration", R"(C:\Program Files\Ardo)");
    EXPECT_EQ(ServerInstallationFolder(), R"(C:\Program Files\Ardo)");
    m_settings.Set("Ardo/Configuration", "Other", "1");
    EXPECT_EQ(ServerInstallationFolder(), "/of/32 bits");
    m_settings.Spoil("Wow6432Node/Ardo/Configuration", "Installation Path");
    EXPECT_EQ(ServerInstallationFolder(), std::nullopt);
}

TEST_F(ServerInstallationTest, ALibraryCutAtAnyByteHasNoVersion)
{
    InstallAt("Ardo/Configuration", m_installed);
    for (std::size_t size = 0; size < m_library.size(); ++size)
    {
        WriteLibrary(m_library.substr(0, size));
        ASSERT_EQ(ServerVersion(), std::nullopt) << size << " bytes";
    }
    WriteLibrary(m_library);
    EXPECT_EQ(ServerVersion(), std::tuple(7U, 10U, 65535U));
}

TEST_F(ServerInstallationTest, NoFieldOfTheLibraryLeadsOutsideOfIt)
{
    InstallAt("Ardo/Configuration", m_installed);
    // Whatever a pair of bytes claims: an answer, and nothing read that is not there (the sanitizers watch).
    int missing = 0;
    for (std::size_t offset = 0; offset + 1 < m_library.size(); offset += 2)
    {
        for (const char value : {'\xFF', '\x7F', '\x00', '\x10'})
        {
            std::string hostile = m_library;
            hostile.replace(offset, 2, 2, value);
            WriteLibrary(hostile);
            missing += ServerVersion().has_value() ? 0 : 1;
        }
    }
    EXPECT_GT(missing, 100);
    EXPECT_LT(missing, 500) << "most bytes do not matter";

    fs::remove(m_file);
    fs::create_directory(m_file);
    EXPECT_EQ(ServerVersion(), std::nullopt);
}

} // namespace Ardo::Kiln::FileSystem
