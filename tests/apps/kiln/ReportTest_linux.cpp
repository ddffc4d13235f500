#include "tests/apps/kiln/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace Ardo::Kiln::Tool
{

namespace
{

using Support::ProcessResult;
using Support::ReadFile;
using Support::WriteFile;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A child process that has died, and what it left behind.
class ReportTest : public ToolTest
{
protected:
    void Crash(const std::string& how)
    {
        const std::string line = "export XDG_DATA_HOME=\"$PWD\" ASAN_OPTIONS=handle_segv=0:handle_abort=0:"
                                 "use_sigaltstack=0:detect_leaks=0; exec " +
                                 Support::Quoted(CRASH_PROBE) + " " + how;
        EXPECT_GT(Support::RunShell(line, m_folder.Path()).status, 128) << how;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.Path()))
        {
            const std::filesystem::path& path = entry.path();
            if (path.extension() == ".dmp" || (path.extension() == ".txt" && path.stem() != "crash"))
            {
                std::filesystem::rename(path, m_folder / ("crash" + path.extension().string()));
            }
        }
    }
};

} // namespace

TEST_F(ReportTest, ACrashIsToldFromReportAndMinidumpTogetherAndFromEachAlone)
{
    Crash("--with log --thread worker read-null");
    const std::string both = Must("kiln report crash.txt crash.dmp");
    EXPECT_EQ(Must("kiln report crash.dmp"), both);
    const auto function = ContainsRegex("\nWhere +[^\n]*ReadNull\\(\\) at .*Faults.cpp line [0-9]+\n");
    const auto what = AllOf(HasSubstr("\nWhat            ACCESS_VIOLATION (C0000005)\n"),
                            HasSubstr("The program used an address where it has no memory"),
                            HasSubstr("attempted to READ inaccessible data at address 0x0000000000000000\n"), function);
    EXPECT_THAT(both, StartsWith("Read            report crash.txt, minidump crash.dmp\n"));
    EXPECT_THAT(both,
                AllOf(what,
                      ContainsRegex("Thread [0-9]+ \"crash_probe\", at fault, stack from the report\n"
                                    "    [^\n]*ReadNull\\(\\) at "),
                      ContainsRegex("\n\nThread [0-9]+ \"kiln-faults\", stack from the minidump\n    .*\n"),
                      ContainsRegex("\n    main at .*Main.cpp line [0-9]+\n"), // of the first thread
                      ContainsRegex("\nLog .*/Log/Probe.log, last lines\n    [^\t?\n]* I [^\t?\n]*the last record\n"),
                      ContainsRegex("\nLog .*/Log/Probe_Dbg.log: is empty\n"),
                      ContainsRegex("\nModules\n(.*\n)* +0x[0-9A-F]{16} .*/libCommon.so.*[0-9]\n")));

    std::filesystem::rename(m_folder / "crash.txt", m_folder / "text.txt");
    const std::string dump = Must("kiln report - < crash.dmp");
    EXPECT_THAT(dump, AllOf(StartsWith("Read            minidump -\n"), what, Not(HasSubstr("\nLog ")),
                            HasSubstr("\nNo log files: only a report "),
                            HasSubstr(" linux-gate.so (a page of the kernel, no file)\n")));
    EXPECT_THAT(dump,
                ContainsRegex("at fault, stack from the minidump\n    [^\n]*ReadNull\\(\\)[^\n]*\n    .*Crash\\("));
    const std::string text = Must("kiln report text.txt");
    EXPECT_THAT(text, AllOf(StartsWith("Read            report text.txt\n"), what, Not(HasSubstr("\nModules\n"))));

    const std::string json = Must("kiln report crash.dmp text.txt --json");
    const QJsonArray facts = QJsonDocument::fromJson(QByteArray::fromStdString(json)).array();
    ASSERT_EQ(facts.size(), 2) << json;
    for (const QJsonValue& each : facts)
    {
        EXPECT_EQ(each["exception"]["code"].toString(), "C0000005");
        EXPECT_EQ(each["threads"][0]["atFault"].toBool(), true);
        EXPECT_THAT(each["where"].toString().toStdString(), HasSubstr("ReadNull() at "));
    }
    EXPECT_EQ(facts[0]["modules"][0]["found"].toBool(), true);
    EXPECT_EQ(facts[1]["threads"][0]["source"].toString(), "report");
    EXPECT_EQ(facts[1]["logs"].toArray().size(), 2) << "the file of the definition and the debug file";
}

TEST_F(ReportTest, AnExceptionIsToldWithItsMessageAndWhereItWasThrown)
{
    Crash("throw-error");
    EXPECT_THAT(Must("kiln report ."),
                AllOf(HasSubstr("CXX_EXCEPTION (E06D7363)"), HasSubstr("exception was thrown that no code caught"),
                      ContainsRegex("\n +Message: .+\n"), ContainsRegex("\nWhere +[^\n]*at .*Exceptions.cpp line"),
                      HasSubstr("\nThrown at\n"), HasSubstr("\nNo log files: the report names none\n")));
}

TEST_F(ReportTest, DamagedFilesAreRefusedAndAWholeOneBesideThemIsStillTold)
{
    Crash("--with fake-dump abort");
    const std::string report = ReadFile(m_folder / "crash.txt");
    WriteFile(m_folder / "crash.dmp", "MDMP" + std::string(60, '\xFF'));
    const ProcessResult half = Run("kiln report crash.txt");
    EXPECT_EQ(half.status, 1);
    EXPECT_THAT(half.output, HasSubstr("ended itself by abort()"));
    EXPECT_THAT(half.error, HasSubstr("kiln: crash.dmp: no minidump\n"));

    WriteFile(m_folder / "early.txt", report.substr(0, report.size() - 5));
    EXPECT_THAT(Must("kiln report early.txt"), HasSubstr("early.txt, which ends early\n"));

    WriteFile(m_folder / "out.tif", "the old file");
    WriteFile(m_folder / "cut.txt", report.substr(0, 60));
    WriteFile(m_folder / "long.txt", report + std::string(1 << 20, '\n'));
    std::filesystem::create_directories(m_folder / "empty" / "below");
    CheckFailures({{"kiln report cut.txt", "cut.txt: the crash report is cut"},
                   {"kiln report out.tif", "neither a minidump nor a crash report"},
                   {"kiln report long.txt", "longer than"},
                   {"kiln report empty", "has no crash reports itself; with --recursive"},
                   {"kiln report --recursive empty", "empty: has no crash reports\n"},
                   {"kiln report missing.dmp", "No such file"}});
}

} // namespace Ardo::Kiln::Tool
