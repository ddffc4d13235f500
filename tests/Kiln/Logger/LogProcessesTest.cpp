#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <charconv>
#include <map>

namespace Ardo::Kiln::Logger
{

namespace
{

constexpr int Records = 10'000;

class LogProcessesTest : public testing::Test
{
protected:
    /// Runs processes side by side until all have ended.
    void Run(const std::vector<std::string>& namesAndModes, std::size_t limit)
    {
        std::string line;
        for (const std::string& nameAndMode : namesAndModes)
        {
            line += Support::Quoted(KILN_LOG_WRITER) + " . " + nameAndMode + " " + std::to_string(Records) + " " +
                    std::to_string(limit) + " & ";
        }
        const Support::ProcessResult result = Support::RunShell(line + "wait", m_folder.Path());
        EXPECT_EQ(result.output + result.error, "");
    }

    /// Reads files, the oldest first. Each writer's records must follow one another without a gap.
    void Read(const std::vector<std::string>& names, int step, std::size_t limit)
    {
        for (const std::string& name : names)
        {
            const std::string text = Support::ReadFile(m_folder.Path() / "Log" / name);
            EXPECT_LE(text.size(), limit) << name;
            for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1)
            {
                end = std::min(text.find('\n', begin), text.size());
                const std::string_view line = std::string_view(text).substr(begin, end - begin);
                if (!Take(line, step))
                {
                    ++m_torn;
                    m_lastTorn = line;
                }
            }
        }
    }

    /// False for a line that is not whole.
    bool Take(std::string_view line, int step)
    {
        constexpr std::string_view Application = "LogWriterProcess.";
        constexpr std::string_view Record = "record ";
        const std::size_t writer = line.find(Application);
        const std::size_t record = line.find(Record, writer == line.npos ? 0 : writer);
        if (writer == line.npos || record == line.npos || line.find(Application, writer + 1) != line.npos)
        {
            return false;
        }
        int number = -1;
        const char* digits = line.data() + record + Record.size();
        const auto [rest, error] = std::from_chars(digits, line.data() + line.size(), number);
        const auto length = static_cast<std::size_t>(step == 1 ? number % 70 : 0);
        if (error != std::errc() ||
            std::string_view(rest, line.data() + line.size()) != " " + std::string(length, 'x') + ".")
        {
            return false;
        }
        const std::string name(line.substr(writer + Application.size(), 2));
        if (const auto last = m_last.find(name); last != m_last.end())
        {
            EXPECT_EQ(number, last->second + step) << name;
        }
        m_last[name] = number;
        ++m_lines;
        return true;
    }

    void Restart()
    {
        m_last.clear();
        m_lines = 0;
    }

    const Support::ScopedTempDir m_folder;
    std::map<std::string, int> m_last; ///< The last number of each writer.
    int m_lines = 0;                   ///< Whole ones.
    int m_torn = 0;
    std::string m_lastTorn;
};

const std::vector<std::string> Files{"Shared.2.log", "Shared.1.log", "Shared.log"};

} // namespace

TEST_F(LogProcessesTest, FourProcessesShareTheirFilesAndLoseNothing)
{
    constexpr std::size_t Limit = 4'000'000; // the three files hold everything
    Run({"P count", "Q count", "R count", "S count"}, Limit);
    Read(Files, 1, Limit);
    EXPECT_EQ(m_torn, 0) << m_lastTorn;
    EXPECT_EQ(m_lines, 8 * Records);
    EXPECT_GT(std::filesystem::file_size(m_folder / "Log/Shared.1.log"), Limit / 2) << "no rotation, nothing tested";
    Restart();
    Read({"Shared_Dbg.log"}, 10, 4'194'304);
    EXPECT_EQ(m_torn, 0) << m_lastTorn;
    EXPECT_EQ(m_lines, 8 * Records / 10);
}

TEST_F(LogProcessesTest, SmallFilesHoldTheLastRecordsWithoutAGap)
{
    constexpr std::size_t Limit = 50'000;
    Run({"P count", "Q count", "R count", "S count"}, Limit);
    Read(Files, 1, Limit);
    EXPECT_EQ(m_torn, 0) << m_lastTorn;
    EXPECT_GT(m_lines, 600);
    for (const auto& [name, last] : m_last)
    {
        EXPECT_EQ(last, Records - 1) << name;
    }
}

TEST_F(LogProcessesTest, KilledProcessesCostAtMostALineEachAndTheOthersGoOn)
{
    constexpr std::size_t Limit = 20'000'000;
    Run({"P count", "T killed", "Q count", "U killed", "V killed"}, Limit);
    Read(Files, 1, Limit);
    EXPECT_LE(m_torn, 3) << m_lastTorn;
    for (const char* name : {"PA", "PB", "QA", "QB"})
    {
        EXPECT_EQ(m_last[name], Records - 1) << name;
    }
    EXPECT_GE(m_last["TA"] + m_last["TB"], 1) << "what was flushed before stays";
}

TEST_F(LogProcessesTest, AWarningIsInTheFileWhenTheProcessDiesOfIt)
{
    Run({"P abort"}, 1000);
    EXPECT_THAT(Support::ReadFile(m_folder / "Log/Shared.log"),
                testing::ContainsRegex("\tLogWriterProcess.P: first words\n.*\tLogWriterProcess.P: last words\n$"));
}

TEST_F(LogProcessesTest, TheProgramOfTheGuideWritesWhatTheGuideSays)
{
    const Support::ProcessResult result = Support::RunShell(Support::Quoted(KILN_LOG_GUIDE), m_folder.Path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.error, "");
    EXPECT_THAT(Support::ReadFile(m_folder / "Log/Guide.log"),
                testing::MatchesRegex("[^\n]*\tI\t[0-9]+\t[0-9]+\tguide.Stage: moved to 25 µm\n"));
    EXPECT_THAT(Support::ReadFile(m_folder / "Log/Guide_Dbg.log"),
                testing::MatchesRegex("[^\n ]* .debug  . guide.Stage motor steps: 4096\n"));
}

} // namespace Ardo::Kiln::Logger
