#include "Ardo/Kiln/FileSystem/FileAttributes.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::FileSystem
{

TEST(FileAttributesTest, AreSeenAndRemovedWhereThatIsPossible)
{
    struct Row
    {
        const char* name;
        bool exists, hidden, readOnly;
    };
    const Support::ScopedTempDir folder;
    for (const Row& row :
         {Row{"µ.log", true, false, false}, Row{"locked.log", true, false, true}, Row{".hidden.log", true, true, true},
          Row{"missing", false, false, false}, Row{".missing", false, false, false}})
    {
        const auto path = folder / row.name;
        if (row.exists)
        {
            Support::WriteFile(path, "x");
            std::filesystem::permissions(path, std::filesystem::perms(row.readOnly ? 0400 : 0600));
        }
        EXPECT_EQ(IsHidden(path), row.hidden) << path;
        EXPECT_EQ(IsReadOnly(path), row.readOnly) << path;
        const auto result = [&](void (&remove)(const std::filesystem::path&)) -> std::string
        {
            try
            {
                remove(path);
                return "";
            }
            catch (const std::exception& error)
            {
                return error.what();
            }
        };
        EXPECT_EQ(result(RemoveHiddenAttribute),
                  row.hidden ? "Can not remove hidden file attribute of " + path.string() : "");
        EXPECT_EQ(result(RemoveReadOnlyAttribute),
                  row.exists ? "" : "Can not remove read only file attribute of " + path.string());
        EXPECT_FALSE(IsReadOnly(path)) << path;
    }
}

} // namespace Ardo::Kiln::FileSystem
