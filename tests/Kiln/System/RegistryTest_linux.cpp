#include "Ardo/Kiln/System/Registry.h"

#include "Ardo/Kiln/FileSystem/ApplicationName.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

namespace Ardo::Kiln::System
{

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace
{

class RegistryTest : public testing::Test
{
protected:
    RegistryTest()
    {
        ::setenv("XDG_CONFIG_HOME", (m_folder / "user").c_str(), 1);
        ::setenv("XDG_CONFIG_DIRS",
                 ("relative:" + (m_folder / "first").string() + ":" + (m_folder / "second").string()).c_str(), 1);
    }

    ~RegistryTest() override
    {
        ::unsetenv("XDG_CONFIG_HOME");
        ::unsetenv("XDG_CONFIG_DIRS");
    }

    void WriteMachine(const std::string& folder, const std::string& lines) const
    {
        std::filesystem::create_directories(m_folder / folder / "Ardo");
        Support::WriteFile(m_folder / folder / "Ardo" / "Configuration.conf", "[General]\n" + lines);
    }

    std::filesystem::path OwnFile() const
    {
        return m_folder / "user" / "Ardo" / (FileSystem::GetApplicationName() + ".conf");
    }

    Support::ScopedTempDir m_folder;
};

} // namespace

TEST_F(RegistryTest, ReadsTheSettingsOfTheMachineByType)
{
    WriteMachine("first",
                 "Installation%20Path=/mnt/\xE7\xB4\xB0\nCount=42\nOn=1\nAll=a, \"b, c\"\nBig=18446744073709551615\n");
    WriteMachine("second", "Installation%20Path=/other\nOnly%20Here=x\n");
    const Registry registry = Registry::OfMachine(L"SOFTWARE\\Ardo\\Configuration");
    EXPECT_EQ(registry.ReadText(L"Installation Path"), L"/mnt/\u7D30");
    EXPECT_EQ(registry.ReadText(L"Only Here"), L"x");
    EXPECT_EQ(registry.ReadNumber(L"Count"), 42U);
    EXPECT_EQ(registry.ReadNumber(L"Big"), 18446744073709551615U);
    EXPECT_EQ(registry.ReadSwitch(L"On"), true);
    EXPECT_EQ(registry.ReadList(L"All"), (std::vector<std::wstring>{L"a", L"b, c"}));
    EXPECT_EQ(registry.ReadList(L"Only Here"), std::vector<std::wstring>{L"x"});
    // Another kind, or missing.
    EXPECT_EQ(registry.ReadText(L"All"), std::nullopt);
    EXPECT_EQ(registry.ReadNumber(L"Installation Path"), std::nullopt);
    EXPECT_EQ(registry.ReadSwitch(L"Count"), std::nullopt);
    EXPECT_EQ(registry.ReadText(L"Missing"), std::nullopt);
    EXPECT_EQ(Registry::OfMachine(L"SOFTWARE\\Ardo\\Other").ReadList(L"Count"), std::nullopt);
}

TEST_F(RegistryTest, WritesTheFileOfTheApplicationAndNothingElse)
{
    Registry registry = Registry::OfApplication();
    registry.Remove(L"Missing");
    EXPECT_FALSE(std::filesystem::exists(OwnFile()));
    registry.WriteText(L"Last Folder", L"\u7D30");
    Support::WriteFile(OwnFile(), Support::ReadFile(OwnFile()) + "kept=x\n\n[Other]\nkept=1, 2\n");
    registry.WriteNumber(L"Count", 1);
    registry.Remove(L"Count");
    EXPECT_EQ(registry.ReadText(L"Last Folder"), L"\u7D30");
    EXPECT_THAT(Support::ReadFile(OwnFile()), HasSubstr("kept=x\n"));
    EXPECT_THAT(Support::ReadFile(OwnFile()), HasSubstr("[Other]\nkept=1, 2\n"));
}

TEST_F(RegistryTest, ADamagedFileStaysAsItIs)
{
    Registry registry = Registry::OfApplication();
    std::filesystem::create_directories(OwnFile().parent_path());
    Support::WriteFile(OwnFile(), "[General]\nkept=1\nthis line is damaged\n");
    EXPECT_THAT([&] { registry.WriteNumber(L"a", 1); },
                ThrowsMessage<RegistryError>(HasSubstr("the setting \"a\" of SOFTWARE\\Ardo\\")));
    EXPECT_THAT(Support::ReadFile(OwnFile()), HasSubstr("this line is damaged"));
    std::filesystem::remove(OwnFile());
    std::filesystem::create_directory(OwnFile());
    EXPECT_THROW(registry.WriteNumber(L"a", 1), RegistryError);
    Support::WriteFile(m_folder / "file", "");
    ::setenv("XDG_CONFIG_HOME", (m_folder / "file").c_str(), 1);
    EXPECT_THROW(registry.WriteNumber(L"a", 1), RegistryError);
}

} // namespace Ardo::Kiln::System
