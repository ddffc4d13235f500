#include "tests/Support/TemporaryFolder.h"

#include "tests/Support/Environment.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <optional>

namespace Ardo::Kiln::Support
{

namespace
{

namespace fs = std::filesystem;

class TemporaryFolder : public testing::Environment
{
public:
    void SetUp() override
    {
        constexpr const char* IsChild = "KILN_TEST_HAS_TEMPORARY_FOLDER";
        if (EnvironmentValue(IsChild))
        {
            return;
        }
        m_folder.emplace();
        // Qt makes this folder for each user in the folder for temporary files, and leaves it there.
        const fs::path runtime = *m_folder / "runtime";
        fs::create_directories(runtime);
        fs::permissions(runtime, fs::perms::owner_all);
        SetEnvironmentValue("XDG_RUNTIME_DIR", runtime.string());
        fs::create_directory(Files());
        for (const char* const variable : {"TMPDIR", "TMP", "TEMP"}) // by the system
        {
            SetEnvironmentValue(variable, Files().string());
        }
        SetEnvironmentValue(IsChild, "1");
    }

    void TearDown() override
    {
        if (m_folder)
        {
            for (const auto& entry : fs::directory_iterator(Files()))
            {
                ADD_FAILURE() << "a test has left " << entry.path() << " in the folder for temporary files";
            }
            m_folder.reset();
        }
    }

private:
    fs::path Files() const { return *m_folder / "files"; }

    std::optional<ScopedTempDir> m_folder;
};

} // namespace

void CheckTemporaryFolder()
{
    testing::AddGlobalTestEnvironment(new TemporaryFolder); // owned by the test library
}

} // namespace Ardo::Kiln::Support
