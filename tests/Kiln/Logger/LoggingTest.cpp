#include "Ardo/Kiln/Logger/Logging.h"

#include "Ardo/Kiln/FileSystem/FileAttributes.h"
#include "Ardo/Kiln/Logger/ComponentLog.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/LogFileAttribute.h"
#include "Ardo/Kiln/Logger/LogFileRegistry.h"
#include "Ardo/Kiln/Logger/LogText_p.h"
#include "Ardo/Kiln/Logger/ScopedLogger.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"
#include "Ardo/Kiln/Logger/TextLogWriter_p.h"
#include "Ardo/Kiln/Time/IsoString.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/Pattern.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedTimeZone.h"
#include "tests/Support/SystemFacilities.h"
#include "tests/Support/VersionedLibrary.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

namespace Ardo::Kiln::Logger
{

namespace fs = std::filesystem;
using ::testing::ThrowsMessage;
using namespace std::string_literals;

class LoggingTest : public testing::Test
{
protected:
    void Log(const char* component, SeverityLevel level, const std::string& text)
    {
        auto logger = CreateLogger(component);
        BOOST_LOG_SEV(logger, level) << text;
    }

    /// What a file of the folder "Log" holds once everything is flushed.
    std::string Read(const std::string& name) const
    {
        Logging::Flush();
        return Support::ReadFile(m_folder / ("Log/" + name));
    }

    const Support::ScopedTempDir m_folder;
    Support::ScopedMachineSettings m_settings;
};

TEST_F(LoggingTest, OneObjectIsInitialisedUntilItGoes)
{
    {
        Logging first(m_folder.Path(), L"Bücher");
        first.Initialize();
        Logging second(m_folder.Path(), L"Other");
        EXPECT_THAT([&] { second.Initialize(); },
                    ThrowsMessage<std::runtime_error>("The logging environment is already initialized"));
        Log("C", debug, "one");
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Log("C", fatal, "nobody listens");
    ComponentLog("Quiet").Warning("nobody listens");
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
    const Support::LogCollector collector;
    {
        Logging again(m_folder.Path(), L"Bücher");
        again.Initialize();
        {
            const Logging idle(m_folder.Path(), L"Other");
        }
        Log("C", debug, "two");
    }
    Log("C", debug, "not heard: the end took the sinks of others along");
    EXPECT_EQ(collector.Messages(), std::vector<std::string>{"two"});
    EXPECT_THAT(Read("Bücher_Dbg.log"), Support::MatchesPattern("[^\n]* one\n[^\n]* two\n"));
    EXPECT_FALSE(fs::exists(m_folder / "Log/Other_Dbg.log"));
}

TEST_F(LoggingTest, AFolderThatCannotBeMadeIsAnErrorAndMayBeTriedAgain)
{
    Support::WriteFile(m_folder / "root", "");
    Logging logging(m_folder / "root", L"B");
    const fs::filesystem_error expected("create_directories", m_folder / "root" / "Log",
                                        std::make_error_code(std::errc::not_a_directory));
    EXPECT_THAT([&] { logging.Initialize(); }, ThrowsMessage<fs::filesystem_error>(expected.what()));
    fs::remove(m_folder / "root");
    if (Support::CanHaveNameThatIsNoText())
    {
        // It travels as wide text all the same.
        const fs::path root = m_folder.Path() / Support::NameThatIsNoText("r", "t");
        Support::WriteFile(root, "");
        Logging wide(FileSystem::ToWide(root), L"B");
        EXPECT_THAT([&] { wide.Initialize(); },
                    ThrowsMessage<fs::filesystem_error>(testing::HasSubstr(FileSystem::ToDisplayText(root / "Log"))));
        fs::remove(root);
        wide.Initialize();
        EXPECT_TRUE(fs::exists(root / "Log/B_Dbg.log"));
    }
    logging.Initialize();
    EXPECT_TRUE(fs::exists(m_folder / "root/Log/B_Dbg.log"));
}

TEST_F(LoggingTest, TheExtensionFollowsTheServersSoftwareOfTheMoment)
{
    fs::create_directories(m_folder / "Server/Exe");
    m_settings.Set("Ardo/Configuration", "Installation Path", (m_folder / "Server").string());
    Logging logging(m_folder.Path(), L"B");
    logging.Initialize(); // an installation without the library
    const std::pair<std::array<std::uint16_t, 4>, const char*> rows[] = {{{7, 6, 9, 9}, "a.log"},
                                                                         {{7, 7, 0, 0}, "b.txtlog"},
                                                                         {{7, 10, 1, 0}, "c.txtlog"},
                                                                         {{6, 10, 1, 0}, "d.log"},
                                                                         {{10, 0, 0, 0}, "e.txtlog"}};
    for (const auto& [version, name] : rows)
    {
        Support::WriteFile(m_folder / "Server/Exe/kestrel.dll", Support::VersionedLibrary(version));
        logging.AddSinks({{std::wstring(1, static_cast<wchar_t>(name[0])), 1000, {}, InfoAndAbove}});
        EXPECT_TRUE(fs::exists(m_folder / "Log" / name)) << name;
    }
    EXPECT_TRUE(fs::exists(m_folder / "Log/B_Dbg.log"));
}

TEST_F(LoggingTest, EachFileTakesItsLevelsOfItsOriginators)
{
    Logging logging(m_folder.Path(), L"B");
    logging.Initialize();
    logging.AddSinks({{L"all", 0, {}, InfoAndAbove}, {L"none", 0, {}, {}}});
    logging.AddSinks({{L"comp", 0, {"LoggerTests.Comp", "LoggerTests.Comp3"}, TraceAndDebug},
                      {L"app", 0, {"LoggerTests"}, {fatal}},
                      {L"odd", 0, {"LoggerTests.Comp"}, {static_cast<SeverityLevel>(-31), error}}});
    for (const char* component : {"", "Comp", "Comp2"})
    {
        for (int level = trace; level <= fatal; ++level)
        {
            Log(component, static_cast<SeverityLevel>(level), std::to_string(level));
        }
        Log(component, static_cast<SeverityLevel>(6), "6");
        Log(component, static_cast<SeverityLevel>(-31), "-31");
    }
    const auto texts = [&](const std::string& name)
    {
        std::string result;
        std::istringstream lines(Read(name));
        for (std::string line; std::getline(lines, line);)
        {
            result += line.substr(line.find("\tLoggerTests") + 12) + "|";
        }
        return result;
    };
    EXPECT_EQ(texts("all.log"),
              ": 2|: 3|: 4|: 5|.Comp: 2|.Comp: 3|.Comp: 4|.Comp: 5|.Comp2: 2|.Comp2: 3|.Comp2: 4|.Comp2: 5|");
    EXPECT_EQ(texts("none.log"), "");
    EXPECT_EQ(texts("comp.log"), ".Comp: 0|.Comp: 1|");
    EXPECT_EQ(texts("app.log"), ": 5|");
    EXPECT_EQ(texts("odd.log"), ".Comp: 4|.Comp: -31|");
    EXPECT_THAT(Read("odd.log"), Support::ContainsPattern("\tE\t[^\n]*: 4\n[^\n]*\tW\t[^\n]*: -31\n$"));
    EXPECT_THAT(Read("B_Dbg.log"),
                Support::ContainsPattern("^[^\n]* LoggerTests 1\n[^\n]* LoggerTests.Comp 1\n[^\n]*2 1\n$"));
}

TEST_F(LoggingTest, LinesCarryTimeLevelOriginatorAndTextInUtf8)
{
    Logging logging(m_folder.Path(), L"B");
    logging.Initialize();
    logging.AddSinks({{L"D", 0, {}, {trace, debug, info, warning, error, fatal}}});
    const std::string before = Time::ToLocalTimeISOString(std::chrono::system_clock::now());
    const char levels[] = "IWIWEC"; // by level code: debug counts as a warning
    const std::string message =
        "25 µm, \xFF\xE2\x82, \xED\xA0\x80, 100 %v {}\r\n26-11-21\tforged, \0\x1B[2J\x7F\x1F \u0085\u009B\u2028\u2029 \u00A0~ C:\\new"s;
    for (int level = trace; level <= fatal; ++level)
    {
        Log("µ", static_cast<SeverityLevel>(level), message);
    }
    const std::string after = Time::ToLocalTimeISOString(std::chrono::system_clock::now());
    const std::string text = "25 µm, \uFFFD\uFFFD\uFFFD, \uFFFD\uFFFD\uFFFD, 100 %v {}\\r\\n26-11-21\\tforged, "
                             "\\x00\\x1B[2J\\x7F\\x1F \\u0085\\u009B\\u2028\\u2029 \u00A0~ C:\\new";
    const std::string debugLine = Read("B_Dbg.log");
    EXPECT_EQ(debugLine.substr(23), " [debug  ] LoggerTests.µ " + text + "\n");
    EXPECT_LE(before, debugLine.substr(0, 23));
    EXPECT_GE(after, debugLine.substr(0, 23));
    std::istringstream lines(Read("D.log"));
    std::string line;
    for (int level = trace; std::getline(lines, line); ++level)
    {
        const std::string time = "[0-9][0-9]-[0-9][0-9]-[0-9][0-9]\t[0-9:]+[.][0-9]{6}[+-][0-9]{2}:[0-9]{2}\t";
        EXPECT_THAT(line,
                    Support::ContainsPattern("^" + time + levels[level] + "\t[0-9]+\t[0-9]+\tLoggerTests[.]µ: 25 µm"));
        EXPECT_THAT(line, testing::EndsWith("LoggerTests.µ: " + text));
    }
    EXPECT_EQ(SeverityTag(trace), "[trace  ]");
    EXPECT_EQ(SeverityTag(fatal), "[fatal  ]");
    EXPECT_EQ(LevelCode(static_cast<SeverityLevel>(6)), 2);
    std::string utf8;
    AppendText(utf8, std::wstring_view(L"a\xDC00 b\u20AC\n"));
    AppendText(utf8, std::wstring_view(L" plain"));
    AppendText(utf8, std::string_view("\n"));
    EXPECT_EQ(utf8, "a\uFFFD b\u20AC\\n plain\\n") << "wide text that is none";
}

TEST_F(LoggingTest, TheClockTextIsThatOfEveryMoment)
{
    using namespace std::chrono_literals;
    const Time::TimePoint start(std::chrono::sys_days(std::chrono::year(2024) / 10 / 27) + 59min + 59s); // zones change
    for (const Time::Ticks step : {0ms, 1ms, 999ms, 1000ms, 998ms, 3600'042ms, -1ms})
    {
        std::string text = "x";
        AppendLocalTime(text, start + step);
        EXPECT_EQ(text, "x" + Time::ToLocalTimeISOString(start + step));
    }
    std::string none;
    AppendLocalTime(none, Time::TimePoint::max());
    EXPECT_EQ(none, Time::ToLocalTimeISOString(Time::TimePoint::max()));
}

TEST_F(LoggingTest, TheOffsetFollowsTheClockThroughAChangeOfDaylightSaving)
{
    using namespace std::chrono;
    struct Row
    {
        const char* zone;
        sys_seconds change;
        const char* before;
        const char* after;
    };
    const Row rows[] = {{"CET-1CEST,M3.5.0,M10.5.0/3", sys_days(2026y / 10 / 25) + 1h, "02:59:59.000000+02:00",
                         "02:00:00.000000+01:00"},
                        {"NST3:30NDT,M3.2.0,M11.1.0", sys_days(2026y / 3 / 8) + 5h + 30min, "01:59:59.000000-03:30",
                         "03:00:00.000000-02:30"}};
    for (const Row& row : rows)
    {
        const Support::ScopedTimeZone zone(row.zone);
        TextLogWriter writer(m_folder / "T.log", 0, 1, true);
        writer.WriteUtf8(1, "A", "before", row.change - 1s);
        writer.WriteUtf8(1, "A", "after", row.change);
        writer.Flush();
        EXPECT_THAT(Support::ReadFile(m_folder / "T.log"),
                    testing::AllOf(testing::HasSubstr("\t"s + row.before + "\tI\t"),
                                   testing::HasSubstr("\t"s + row.after + "\tI\t")));
    }
    LogFileRegistry::Shutdown();
}

TEST_F(LoggingTest, FilesThatHideLieElsewhereOrRotateOverEachOtherAreRefused)
{
    {
        Logging early(m_folder / "not/yet", L"sub/B");
        early.AddSinks({{L"Early", 0, {}, InfoAndAbove}});
        Log("C", error, "first");
        EXPECT_THAT(Support::ReadFile(m_folder / "not/yet/Log/Early.log"), testing::EndsWith("first\n"));
        EXPECT_THROW(early.Initialize(), std::runtime_error);
    }
    Logging logging(m_folder.Path(), L"B");
    logging.Initialize();
    logging.AddSinks({{L"Guide", 0, {}, InfoAndAbove}, {L"Deep.2", 0, {}, InfoAndAbove}});
    for (const wchar_t* name : {L"Guide.1", L"Guide.2", L"Deep", L"B_Dbg.1"})
    {
        EXPECT_THAT(
            [&] {
                logging.AddSinks({{name, 0, {}, InfoAndAbove}});
            },
            ThrowsMessage<std::runtime_error>(testing::EndsWith("overwrite each other when they are rotated.")));
    }
    const bool dotHides = Support::HiddenName("x").starts_with('.');
    const std::pair<std::wstring, const char*> names[] = {
        {L"", "its name is empty."},
        {L"sub/x", "its name has a folder."},
        {L"../x", "its name has a folder."},
        {(m_folder / "x").wstring(), "its name has a folder."},
        {dotHides ? L".x" : L"", dotHides ? "its name would hide it." : "is empty."},
    };
    for (const auto& [name, reason] : names)
    {
        EXPECT_THAT(
            [&] {
                logging.AddSinks({{name, 0, {}, InfoAndAbove}});
            },
            ThrowsMessage<std::runtime_error>(testing::EndsWith(reason)));
    }
    EXPECT_NO_THROW(logging.AddSinks({{L"Guide", 0, {}, {fatal}}, {L"Guide.3", 0, {}, {}}, {L"Guide.10", 0, {}, {}}}));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder / "Log"), {}), 5);
}

TEST_F(LoggingTest, AReadOnlyFileIsUsedAndAHiddenOneRefused)
{
    fs::create_directories(m_folder / "Log");
    const std::string hidden = Support::HiddenName("hidden");
    for (const std::string& name : {std::string("B_Dbg.log"), hidden + ".log"})
    {
        Support::WriteFile(m_folder / "Log" / name, "");
        fs::permissions(m_folder / "Log" / name, fs::perms::owner_read);
    }
    Support::Hide(m_folder / "Log" / (hidden + ".log"));
    Logging logging(m_folder.Path(), L"B");
    logging.Initialize();
    Log("C", debug, "here");
    EXPECT_THAT(Read("B_Dbg.log"), testing::EndsWith("here\n"));
    const auto add = [&] { logging.AddSinks({{std::wstring(hidden.begin(), hidden.end()), 0, {}, InfoAndAbove}}); };
    if (hidden.starts_with('.')) // hidden by its name, which cannot be taken off
    {
        EXPECT_THAT(add, ThrowsMessage<std::exception>("Can not use file log " +
                                                       (m_folder / "Log" / (hidden + ".log")).string() +
                                                       " hidden on filesystem."));
        Log("C", fatal, "not there");
        EXPECT_EQ(Read(hidden + ".log"), "");
    }
    else
    {
        add();
        Log("C", fatal, "there");
        EXPECT_THAT(Read(hidden + ".log"), testing::EndsWith("there\n"));
        EXPECT_FALSE(FileSystem::IsHidden(m_folder / "Log" / (hidden + ".log")));
    }
    EXPECT_NO_THROW(CheckLogFileAttribute((m_folder / "Log/missing.log").string().c_str()));
}

TEST_F(LoggingTest, WarningsAreInTheFileAtOnceAndTheRestWithinTheSecond)
{
    Logging logging(m_folder.Path(), L"B");
    logging.Initialize();
    logging.AddSinks({{L"D", 0, {}, InfoAndAbove}});
    const auto size = [&] { return fs::file_size(m_folder / "Log/D.log"); };
    Log("C", warning, "now");
    const auto atOnce = size();
    EXPECT_GT(atOnce, 0U);
    // A record waits for one interval at most. A busy machine may delay one of these rounds, but not all of them.
    using Clock = std::chrono::steady_clock;
    auto shortest = Clock::duration::max();
    for (int round = 0; round < 4 && shortest > std::chrono::seconds(3); ++round)
    {
        const auto begin = Clock::now();
        const auto before = size();
        Log("C", info, "soon");
        while (size() == before && Clock::now() - begin < std::chrono::seconds(60))
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        shortest = std::min(shortest, Clock::now() - begin);
    }
    EXPECT_LT(shortest, std::chrono::seconds(3));
}

TEST_F(LoggingTest, ScopesAndComponentsLogInTheirName)
{
    Support::LogCollector collector;
    collector.ExpectErrors({"all"});
    auto logger = CreateLogger("S");
    {
        ScopedLogger scope(logger, "Grab");
        scope << std::endl;
    }
    ComponentLog("Detector").Warning("5 µm");
    ComponentLog("").Write(error, "all");
    std::string texts;
    for (const auto& record : collector.Records())
    {
        texts += std::to_string(record.severity) + " " + record.originator + " " + record.message + "|";
    }
    EXPECT_EQ(texts, "0 LoggerTests.S >> Grab|0 LoggerTests.S << Grab|3 LoggerTests.Detector 5 µm|4 LoggerTests all|");
}

} // namespace Ardo::Kiln::Logger
