#include "Ardo/Kiln/System/Registry.h"

#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gmock/gmock.h>

namespace Ardo::Kiln::System
{

/// The application's own settings: on Linux in a folder of the test's, on Windows in the key of the user.
class OwnRegistryTest : public testing::Test
{
protected:
    ~OwnRegistryTest() override
    {
        for (const wchar_t* const name : {L"Last Folder", L"Count", L"On", L"All"})
        {
            m_registry.Remove(name);
        }
    }

    Support::ScopedTempDir m_folder;
    Support::ScopedVariable m_variable{"XDG_CONFIG_HOME", m_folder.Path()};
    Registry m_registry = Registry::OfApplication();
};

TEST_F(OwnRegistryTest, ValuesComeBackByType)
{
    const std::wstring text = L"D:\\a, \"b\" = %20 \u7D30\n\u202E;#[x]";
    m_registry.WriteText(L"Last Folder", text);
    m_registry.WriteNumber(L"Count", 18446744073709551615U);
    m_registry.WriteSwitch(L"On", false);
    m_registry.WriteList(L"All", {L"a", text});
    EXPECT_EQ(m_registry.ReadText(L"Last Folder"), text);
    EXPECT_EQ(m_registry.ReadNumber(L"Count"), 18446744073709551615U);
    EXPECT_EQ(m_registry.ReadSwitch(L"On"), false);
    EXPECT_EQ(m_registry.ReadList(L"All"), (std::vector{std::wstring(L"a"), text}));
    EXPECT_EQ(m_registry.ReadList(L"Last Folder"), std::vector{text});
    // Another kind, or missing.
    EXPECT_EQ(m_registry.ReadText(L"All"), std::nullopt);
    EXPECT_EQ(m_registry.ReadNumber(L"Last Folder"), std::nullopt);
    EXPECT_EQ(m_registry.ReadSwitch(L"Count"), std::nullopt);
    m_registry.Remove(L"All");
    m_registry.Remove(L"All");
    EXPECT_EQ(m_registry.ReadList(L"All"), std::nullopt);
}

TEST_F(OwnRegistryTest, RefusesWhatItCannotKeep)
{
    for (const wchar_t* const key :
         {L"", L"SOFTWARE", L"SOFTWARE\\", L"HARDWARE\\a", L"SOFTWARE\\..\\..\\etc", L"SOFTWARE\\a\\\\b",
          L"SOFTWARE\\a\\", L"SOFTWARE\\a/b", L"SOFTWARE\\.", L"SOFTWARE\\a\nb"})
    {
        EXPECT_THROW(Registry::OfMachine(key), std::invalid_argument) << key;
    }
    for (const std::wstring& name : {std::wstring(), std::wstring(L"a/b"), std::wstring(L"a\\b"),
                                     std::wstring(L"a\0b", 3), std::wstring(256, L'a')})
    {
        EXPECT_THROW(m_registry.ReadText(name), std::invalid_argument);
        EXPECT_THROW(m_registry.WriteText(name, L""), std::invalid_argument);
    }
    EXPECT_THROW(m_registry.WriteText(L"a", std::wstring(32'768, L'a')), std::invalid_argument);
    EXPECT_THROW(m_registry.WriteText(L"a", std::wstring(1, L'\0')), std::invalid_argument);
    EXPECT_THROW(m_registry.WriteList(L"a", {L"x", L""}), std::invalid_argument);
    EXPECT_THROW(m_registry.WriteList(L"a", std::vector<std::wstring>(1'001, L"x")), std::invalid_argument);
    Registry machine = Registry::OfMachine(L"SOFTWARE\\Ardo\\Configuration");
    EXPECT_THROW(machine.WriteText(L"a", L"b"), std::logic_error);
    EXPECT_THROW(machine.Remove(L"a"), std::logic_error);
}

} // namespace Ardo::Kiln::System
