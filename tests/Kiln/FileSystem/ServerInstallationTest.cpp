#include "Ardo/Kiln/FileSystem/ServerInstallation_p.h"

#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/VersionedLibrary.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

class ServerInstallationTest : public testing::Test
{
protected:
    ServerInstallationTest() { ::setenv("XDG_CONFIG_DIRS", ("/missing:" + m_folder.Path().string()).c_str(), 1); }
    ~ServerInstallationTest() override { ::unsetenv("XDG_CONFIG_DIRS"); }

    void Write(const fs::path& name, const std::string& bytes) const
    {
        fs::create_directories((m_folder.Path() / name).parent_path());
        std::ofstream(m_folder.Path() / name, std::ios::binary) << bytes;
    }

    void InstallAt(const std::string& key, const std::string& folder) const
    {
        Write(key + ".conf", "[General]\nInstallation%20Path=" + folder + "\n");
    }

    void WriteLibrary(const std::string& bytes) const { Write("Instrument µ/Exe/kestrel.dll", bytes); }

    const Support::ScopedTempDir m_folder;
    const std::string m_installed = (m_folder / "Instrument µ").string();
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

TEST_F(ServerInstallationTest, TheVersionIsThatOfTheServersLibrary)
{
    EXPECT_EQ(ServerVersion(), std::nullopt) << "no setting";
    InstallAt("Ardo/Configuration", m_installed);
    EXPECT_EQ(ServerVersion(), std::nullopt) << "no file";
    using Version = std::tuple<unsigned, unsigned, unsigned>;
    for (const auto& [a, b, c] : {Version(7, 7, 0), Version(7, 6, 9), Version(7, 10, 1), Version(10, 0, 65535)})
    {
        WriteLibrary(Support::VersionedLibrary(
            {static_cast<std::uint16_t>(a), static_cast<std::uint16_t>(b), static_cast<std::uint16_t>(c), 4711}));
        EXPECT_EQ(ServerVersion(), Version(a, b, c));
    }
}

TEST_F(ServerInstallationTest, ALibraryCutAtAnyByteHasNoVersion)
{
    InstallAt("Ardo/Configuration", m_installed);
    const std::string whole = Support::VersionedLibrary({7, 7, 0, 0});
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        WriteLibrary(whole.substr(0, size));
        ASSERT_EQ(ServerVersion(), std::nullopt) << size << " bytes";
    }
}

TEST_F(ServerInstallationTest, NoFieldOfTheLibraryLeadsOutsideOfIt)
{
    InstallAt("Ardo/Configuration", m_installed);
    const std::string whole = Support::VersionedLibrary({7, 7, 0, 0});
    // Whatever a pair of bytes claims: an answer, and nothing read that is not there (the sanitizers watch).
    int missing = 0;
    for (std::size_t offset = 0; offset + 1 < whole.size(); offset += 2)
    {
        for (const char value : {'\xFF', '\x7F', '\x00', '\x10'})
        {
            std::string hostile = whole;
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
