#include "Ardo/Kiln/FileSystem/FileAttributes.h"

#include "tests/Support/MessageOf.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/SystemFacilities.h"

#include <gtest/gtest.h>

#include <string>

namespace Ardo::Kiln::FileSystem
{

TEST(FileAttributesTest, AreSeenAndRemovedWhereThatIsPossible)
{
    struct Row
    {
        std::string name;
        bool exists, hidden, readOnly;
    };
    const Support::ScopedTempDir folder;
    for (const Row& row : {Row{"µ.log", true, false, false}, Row{"locked.log", true, false, true},
                           Row{Support::HiddenName("hidden.log"), true, true, true},
                           Row{"missing", false, false, false}, Row{".missing", false, false, false}})
    {
        const auto path = folder / row.name;
        if (row.exists)
        {
            Support::WriteFile(path, "x");
            if (row.hidden)
            {
                Support::Hide(path);
            }
            std::filesystem::permissions(path, std::filesystem::perms(row.readOnly ? 0400 : 0600));
        }
        EXPECT_EQ(IsHidden(path), row.hidden) << path;
        EXPECT_EQ(IsReadOnly(path), row.readOnly) << path;
        const std::string refusal = Support::MessageOf([&] { RemoveHiddenAttribute(path); });
        EXPECT_EQ(refusal, IsHidden(path) ? "Can not remove hidden file attribute of " + path.string() : "");
        EXPECT_EQ(IsHidden(path), row.hidden && Support::HiddenName("") == ".") << path;
        EXPECT_EQ(Support::MessageOf([&] { RemoveReadOnlyAttribute(path); }),
                  row.exists ? "" : "Can not remove read only file attribute of " + path.string());
        EXPECT_FALSE(IsReadOnly(path)) << path;
    }
}

} // namespace Ardo::Kiln::FileSystem
