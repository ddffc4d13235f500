#pragma once

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace Ardo::Kiln::Tool
{

inline const std::string Kiln = Support::Quoted(KILN_TOOL);
inline const std::string Cell = Support::Quoted(KILN_TEST_DATA "/images/cell.png");
inline const std::string Ihc = Support::Quoted(KILN_TEST_DATA "/images/ihc.png");

/// Runs the tool in a folder of the test's own.
class ToolTest : public testing::Test
{
protected:
    /// Runs a line of Support::RunLine in which the first word "kiln" is the tool.
    Support::ProcessResult Run(const std::string& line) const
    {
        const bool isTool = line == "kiln" || line.starts_with("kiln ");
        return Support::RunLine(isTool ? Kiln + line.substr(4) : line, m_folder.Path());
    }

    /// Runs a step that the test builds on.
    std::string Must(const std::string& line) const
    {
        const Support::ProcessResult result = Run(line);
        EXPECT_EQ(result.status, 0) << line << '\n' << result.error;
        EXPECT_EQ(result.error, "") << line;
        return result.output;
    }

    /// Writes a document of the example's record, "record.xml".
    void WriteExampleRecord() const
    {
        Must(Support::Quoted(KILN_EXAMPLE_RECORD) + " 'one cell' 550 660 '107 nm' > record.xml");
    }

    using Lines = std::vector<std::pair<std::string, std::string>>;

    /// Runs lines that fail, each with a text that is in its message, and leave "out.tif" and nothing else.
    void CheckFailures(const Lines& lines, const std::function<Support::ProcessResult(const std::string&)>& run) const
    {
        const std::size_t entries = Entries();
        for (const auto& [line, named] : lines)
        {
            const Support::ProcessResult result = run(line);
            EXPECT_EQ(result.status, 1) << line;
            EXPECT_EQ(result.output, "") << line;
            EXPECT_THAT(result.error, testing::StartsWith("kiln: ")) << line;
            EXPECT_THAT(result.error, testing::HasSubstr(named)) << line;
            EXPECT_EQ(Support::ReadFile(m_folder / "out.tif").substr(0, 100), "the old file") << line;
            EXPECT_EQ(Entries(), entries) << line;
        }
    }

    void CheckFailures(const Lines& lines) const
    {
        CheckFailures(lines, [this](const std::string& line) { return Run(line); });
    }

    std::size_t Entries() const
    {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(m_folder.Path()), std::filesystem::directory_iterator()));
    }

    Support::ScopedTempDir m_folder;
};

} // namespace Ardo::Kiln::Tool
