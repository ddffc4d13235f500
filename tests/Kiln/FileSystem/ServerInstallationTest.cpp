#include "Ardo/Kiln/FileSystem/ServerInstallation_p.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"
#include "tests/Support/VersionedLibrary.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

class ServerInstallationTest : public testing::Test
{
protected:
    void Write(const fs::path& name, const std::string& bytes) const
    {
        fs::create_directories((m_folder.Path() / name).parent_path());
        Support::WriteFile(m_folder.Path() / name, bytes);
    }

    void InstallAt(const std::string& key, const std::string& folder) const
    {
        Write(key + ".conf", "[General]\nInstallation%20Path=" + folder + "\n");
    }

    void WriteLibrary(const std::string& bytes) const { Write("Instrument µ/Exe/kestrel.dll", bytes); }

    const Support::ScopedTempDir m_folder;
    const std::string m_installed = (m_folder / "Instrument µ").string();
    const std::string m_library = Support::VersionedLibrary({7, 10, 65535, 4711});

private:
    const Support::ScopedVariable m_configuration{"XDG_CONFIG_DIRS", "/missing:" + m_folder.Path().string()};
};

TEST_F(ServerInstallationTest, TheSettingOfEitherViewIsFoundAndReadAnew)
{
    EXPECT_EQ(ServerInstallationFolder(), std::nullopt);
    InstallAt("Wow6432Node/Ardo/Configuration", "/of/32 bits");
    EXPECT_EQ(ServerInstallationFolder(), "/of/32 bits");
    InstallAt("Ardo/Configuration", R"(C:\\Program Files\\Ardo)");
    EXPECT_EQ(ServerInstallationFolder(), R"(C:\Program Files\Ardo)");
    Write("Ardo/Configuration.conf", "[General]\nOther=1\n");
    EXPECT_EQ(ServerInstallationFolder(), "/of/32 bits");
    fs::remove(m_folder / "Wow6432Node/Ardo/Configuration.conf");
    fs::create_directory(m_folder / "Wow6432Node/Ardo/Configuration.conf");
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

    fs::remove(m_folder / "Instrument µ/Exe/kestrel.dll");
    fs::create_directory(m_folder / "Instrument µ/Exe/kestrel.dll");
    EXPECT_EQ(ServerVersion(), std::nullopt);
}

} // namespace Ardo::Kiln::FileSystem
