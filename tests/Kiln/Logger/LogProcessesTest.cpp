#include "tests/Support/Pattern.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>
#include <sstream>

namespace Ardo::Kiln::Logger
{

namespace
{

constexpr int Records = 10'000;

class LogProcessesTest : public testing::Test
{
protected:
    Support::Program Command(const std::string& nameAndMode, std::size_t limit) const
    {
        const std::size_t blank = nameAndMode.find(' ');
        return {{KILN_LOG_WRITER, ".", nameAndMode.substr(0, blank), nameAndMode.substr(blank + 1),
                 std::to_string(Records), std::to_string(limit)},
                m_folder.Path()};
    }

    /// Runs processes side by side until all have ended.
    void Run(const std::vector<std::string>& namesAndModes, std::size_t limit)
    {
        std::vector<Support::Program> programs;
        for (const std::string& nameAndMode : namesAndModes)
        {
            programs.push_back(Command(nameAndMode, limit));
        }
        for (const Support::ProcessResult& result : Support::RunSideBySide(programs))
        {
            EXPECT_EQ(result.output + result.error, "");
        }
    }

    /// Reads files, the oldest first. Each writer's records must follow one another without a gap.
    void Read(const std::vector<std::string>& names, int step, std::size_t limit)
    {
        m_last.clear();
        m_lines = 0;
        for (const std::string& name : names)
        {
            const std::string text = Support::ReadFile(m_folder / ("Log/" + name));
            EXPECT_LE(text.size(), limit) << name;
            std::istringstream lines(text);
            for (std::string line; std::getline(lines, line);)
            {
                if (!Take(line, step))
                {
                    ++m_torn;
                    m_lastTorn = line;
                }
            }
        }
    }

    /// False for a line that is not whole, with one record and nothing else.
    bool Take(const std::string& line, int step)
    {
        constexpr std::string_view Application = "LogWriterProcess.";
        const std::size_t begin = line.find(Application);
        const std::size_t digits = line.find("record ", begin);
        if (begin == line.npos || digits == line.npos)
        {
            return false;
        }
        const std::string writer = line.substr(begin + Application.size(), 2);
        const int number = std::atoi(line.c_str() + digits + 7);
        const std::string text = writer + (step == 10 ? " " : ": ") + "record " + std::to_string(number) + " " +
                                 std::string(static_cast<std::size_t>(number % 70), 'x') + ".";
        if (line.substr(begin + Application.size()) != text)
        {
            return false;
        }
        const auto [last, isFirst] = m_last.try_emplace(writer, number);
        EXPECT_TRUE(isFirst || number == last->second + step) << writer << " " << number;
        last->second = number;
        ++m_lines;
        return true;
    }

    /// What a process that ends by itself leaves in the file.
    struct End
    {
        const char* nameAndMode;
        int lines;
        std::map<std::string, int> last;
    };

    void CheckEnds(const std::vector<End>& ends)
    {
        for (const auto& [mode, lines, last] : ends)
        {
            EXPECT_EQ(Support::Run(Command(mode, 1000)).status, 0) << mode;
            Read({"Shared.log"}, 0, 1000);
            EXPECT_EQ(m_lines, lines) << mode;
            EXPECT_EQ(m_last, last) << mode;
            std::filesystem::remove_all(m_folder / "Log");
        }
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
    using Row = std::pair<std::size_t, int>;
    for (const auto& [limit, lines] : {Row(4'000'000, 8 * Records), Row(50'000, 600)}) // all, and the last
    {
        Run({"P count", "Q count", "R count", "S count"}, limit);
        Read(Files, 1, limit);
        EXPECT_GE(m_lines, lines);
        EXPECT_GT(std::filesystem::file_size(m_folder / "Log/Shared.1.log"), limit / 2) << "no rotation, no test";
        for (const auto& [name, last] : m_last)
        {
            EXPECT_EQ(last, Records - 1) << name;
        }
        Read({"Shared_Dbg.log"}, 10, 4'194'304);
        EXPECT_EQ(m_lines, 8 * Records / 10);
        EXPECT_EQ(m_torn, 0) << m_lastTorn;
        std::filesystem::remove_all(m_folder / "Log");
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
                Support::ContainsPattern("\tLogWriterProcess.P: first words\n.*\tLogWriterProcess.P: last words\n$"));
}

TEST_F(LogProcessesTest, TheEndOfAProcessIsLoggedWhateverEndsFirst)
{
    // Static objects log as long as the log is there.
    CheckEnds({{"P end", 1, {{"PP", 0}}}, {"P exit", 2, {{"PL", 0}, {"PP", 0}}}});
}

TEST_F(LogProcessesTest, AForkedChildWritesItsOwnRecordsAndNoneOfItsParents)
{
    CheckEnds({{"P fork-end", 2, {{"PC", 0}, {"PP", 0}}}, {"P fork-exit", 4, {{"PC", 0}, {"PL", 0}, {"PP", 0}}}});
}

TEST_F(LogProcessesTest, TheProgramOfTheGuideWritesWhatTheGuideSays)
{
    const Support::ProcessResult result = Support::Run({{KILN_LOG_GUIDE}, m_folder.Path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.error, "");
    EXPECT_THAT(Support::ReadFile(m_folder / "Log/Guide.log"),
                Support::MatchesPattern("[^\n]*\tI\t[0-9]+\t[0-9]+\tguide.Stage: moved to 25 µm\n"));
    EXPECT_THAT(Support::ReadFile(m_folder / "Log/Guide_Dbg.log"),
                Support::MatchesPattern("[^\n ]* .debug  . guide.Stage motor steps: 4096\n"));
}

} // namespace Ardo::Kiln::Logger
