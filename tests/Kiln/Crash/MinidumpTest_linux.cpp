// What a debugger that knows nothing of this library finds in our dumps.

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace
{

using namespace Ardo::Kiln::Support;
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

struct Dump
{
    std::string told;  ///< By the process.
    std::string bytes; ///< Of the file.
};

ProcessResult RunVictim(const ScopedTempDir& folder, const std::string& how, const std::string& type, int threads,
                        const std::string& file)
{
    return RunShell("PASSWORD=LENS-CURRENT-9 timeout 60 " KILN_VICTIM " " + how + " " + type + " " +
                        std::to_string(threads) + " " + file,
                    folder.Path());
}

Dump MakeDump(const ScopedTempDir& folder, const std::string& how, const std::string& type, int threads)
{
    const ProcessResult result = RunVictim(folder, how, type, threads, "x.dmp");
    EXPECT_EQ(result.status, 0) << result.error;
    return {result.output, ReadFile(folder / "x.dmp")};
}

/// What the debugger answers. Under a time limit, because some faults of a dump make it wait for ever.
std::string Debug(const ScopedTempDir& folder, const std::string& commands)
{
    WriteFile(folder / "commands", "settings set target.process.thread.max-backtrace-depth 50\n"
                                   "target create --core x.dmp\nthread list\nbt all\n" +
                                       commands);
    return RunShell("timeout 120 lldb-14 -b -s commands 2>&1", folder.Path()).output;
}

/// "MinidumpVictim.cpp:17", where the victim's source says "LINE name".
std::string Line(const std::string& name)
{
    std::ifstream source(KILN_VICTIM_SOURCE);
    std::string line;
    for (int number = 1; std::getline(source, line); ++number)
    {
        if (line.find("// LINE " + name) != std::string::npos)
        {
            return "MinidumpVictim.cpp:" + std::to_string(number);
        }
    }
    return "no line " + name;
}

/// Where a file has a text. Holes are skipped.
std::vector<std::uint64_t> PlacesIn(const std::filesystem::path& path, const std::string& text)
{
    std::vector<std::uint64_t> places;
    const int file = ::open(path.c_str(), O_RDONLY);
    off_t end = 0;
    for (off_t begin = ::lseek(file, 0, SEEK_DATA); begin != -1; begin = ::lseek(file, end, SEEK_DATA))
    {
        end = ::lseek(file, begin, SEEK_HOLE);
        std::string data(static_cast<std::size_t>(end - begin), '\0');
        EXPECT_EQ(::pread(file, data.data(), data.size(), begin), end - begin);
        for (std::size_t at = data.find(text); at != std::string::npos; at = data.find(text, at + 1))
        {
            places.push_back(static_cast<std::uint64_t>(begin) + at);
        }
    }
    ::close(file);
    return places;
}

const std::string NothingSeen = "error 0 signals 0 children 0\n";
constexpr const char* Small = "1160";
constexpr const char* Medium = "1961";
constexpr const char* Full = "973";

struct Case
{
    const char* how;
    const char* type;
    const char* stop;     ///< What the debugger says about the stop; empty: nothing, because nothing has happened.
    const char* function; ///< On the stack of the thread that asked or faulted,
    const char* line;     ///< with this line.
    int threads = 3;      ///< That the process has.
};

class MinidumpOf : public ::testing::TestWithParam<Case>
{
};

TEST_P(MinidumpOf, ShowsEveryThreadWithFunctionsAndLines)
{
    const Case& expected = GetParam();
    const ScopedTempDir folder;
    const Dump dump = MakeDump(folder, expected.how, expected.type, 2);
    EXPECT_EQ(dump.told, NothingSeen);

    const std::string answer = Debug(folder, "");
    EXPECT_THAT(answer, AllOf(HasSubstr(expected.function), HasSubstr(Line(expected.line)), HasSubstr("`main")));
    EXPECT_EQ(Count(answer, " tid = "), expected.threads) << answer;
    EXPECT_EQ(Count(answer, Line("waiting")), expected.threads - 1) << answer;
    const bool hasFault = *expected.stop != '\0';
    EXPECT_EQ(answer.find("stop reason") != std::string::npos, hasFault);
    EXPECT_THAT(answer, HasSubstr(expected.stop));

    // The structure, to the letter of the format; the type; names of threads in UTF-16.
    const ProcessResult structure = RunShell("obj2yaml-14 x.dmp", folder.Path());
    EXPECT_EQ(structure.status, 0) << structure.error;
    EXPECT_EQ(Count(structure.output, "Type:            Exception"), hasFault ? 1 : 0);
    std::uint64_t flags = 0;
    std::memcpy(&flags, dump.bytes.data() + 24, sizeof flags);
    EXPECT_EQ(flags, std::stoul(expected.type, nullptr, 16));
    EXPECT_EQ(Count(dump.bytes, std::string("s\0t\0a\0g\0e\0\0", 11)), expected.threads - 1);
}

INSTANTIATE_TEST_SUITE_P(
    Minidump, MinidumpOf,
    ::testing::Values(Case{"ask", Small, "", "AskForDump", "asking"}, Case{"ask", "0", "", "AskForDump", "asking"},
                      Case{"fault", Small, "stop reason = signal SIGSEGV", "WriteToNowhere", "faulting"},
                      Case{"fault", Full, "stop reason = signal SIGSEGV", "WriteToNowhere", "faulting"},
                      Case{"own", Small, "", "WriteInOwnProcess", "writing"},
                      Case{"sandboxed", Small, "", "AskForDump", "asking"},
                      Case{"forked", Small, "", "AskInForkedChild", "asking", 1}),
    [](const auto& param) { return param.param.how + std::string("_") + param.param.type; });

TEST(Minidump, OfAnOverflowIsSmallAndShowsTheRecursion)
{
    const ScopedTempDir folder;
    const Dump dump = MakeDump(folder, "overflow", Small, 2);
    EXPECT_EQ(dump.told, NothingSeen);
    EXPECT_LT(dump.bytes.size(), 600'000);
    const std::string answer = Debug(folder, "");
    EXPECT_THAT(answer, HasSubstr("stop reason = signal SIGSEGV"));
    EXPECT_GT(Count(answer, Line("recursing")), 40) << answer;
}

TEST(Minidump, HoldsTheMemoryThatItsTypeSays)
{
    for (const char* type : {Medium, Full})
    {
        // The environment may hold secrets: it is only where all memory is.
        const ScopedTempDir folder;
        const Dump dump = MakeDump(folder, "ask", type, 2);
        EXPECT_EQ(dump.told, NothingSeen);
        EXPECT_EQ(dump.bytes.find("LENS-CURRENT-9") != std::string::npos, type == Full);
        const std::string answer = Debug(folder, "target variable g_magnification g_specimen *g_specimen\n");
        EXPECT_THAT(answer, AllOf(HasSubstr("g_magnification = 4711"), ContainsRegex("g_specimen = 0x0+[1-9a-f]")));
        if (type == Full)
        {
            EXPECT_THAT(answer, AllOf(HasSubstr("tilt = -70"), HasSubstr("\"graphene")));
        }
    }

    // Beyond 4 GiB, too large for the debugger here. What the program keeps from dumps is not in it; memory that nobody
    // has touched takes no room on the disk; a page that its file no longer has does no harm.
    const ScopedTempDir folder;
    constexpr std::uint64_t reserved = std::uint64_t{5} << 30;
    constexpr std::uint64_t placeInPage = 20;
    EXPECT_EQ(RunVictim(folder, "strange", Full, 1, "x.dmp").output, NothingSeen);
    const std::vector<std::uint64_t> places = PlacesIn(folder / "x.dmp", "TAKEN-IN");
    ASSERT_EQ(places.size(), 1);
    EXPECT_GT(places[0], reserved);
    EXPECT_EQ(places[0] % 4096, placeInPage);
    EXPECT_THAT(PlacesIn(folder / "x.dmp", "LEFT-OUT"), ::testing::IsEmpty());
    EXPECT_GT(std::filesystem::file_size(folder / "x.dmp"), reserved);
    EXPECT_LT(std::stol("0" + RunShell("du -k x.dmp", folder.Path()).output), 400'000);
}

TEST(Minidump, HasTheStreamsThatReadersOfItsKindKnow)
{
    const std::string always = "0x18 Exception LinuxAuxv LinuxCMDLine LinuxCPUInfo LinuxLSBRelease LinuxMaps "
                               "LinuxProcStatus MemoryInfoList MiscInfo ModuleList SystemInfo ThreadList";
    for (const auto& [type, more] : {std::pair{"0", "MemoryList"},
                                     {Small, "MemoryList ThreadInfoList UnloadedModuleList"},
                                     {Medium, "Memory64List MemoryList ThreadInfoList UnloadedModuleList"},
                                     {Full, "Memory64List UnloadedModuleList"}})
    {
        const ScopedTempDir folder;
        const Dump dump = MakeDump(folder, "fault", type, 1);
        EXPECT_NE(dump.bytes.find("RED-ZONE"), std::string::npos) << "in use below the stack pointer";
        const std::string list = "obj2yaml-14 x.dmp | sed -n 's/^  - Type: *//p' | LC_ALL=C sort | tr '\\n' ' '";
        std::istringstream words(always + " " + more);
        std::vector<std::string> expected{std::istream_iterator<std::string>(words), {}};
        std::ranges::sort(expected);
        std::string text;
        for (const std::string& word : expected)
        {
            text += word + " ";
        }
        EXPECT_EQ(RunShell(list, folder.Path()).output, text) << type;
        // Signal, place of the access, and the code of Windows as an extra: the debugger waits for ever for a process
        // that has stopped with a code that it does not know.
        EXPECT_THAT(RunShell("obj2yaml-14 x.dmp", folder.Path()).output,
                    AllOf(HasSubstr("Exception Code:  0xB\n"), HasSubstr("Exception Address: 0x18\n"),
                          HasSubstr("Parameter 0:     0x1\n"), HasSubstr("Parameter 2:     0xC0000005\n")));
    }
}

TEST(Minidump, IsSmall)
{
    for (const auto& [threads, size] : {std::pair{2, 300'000}, {199, 20'000'000}})
    {
        const ScopedTempDir folder;
        const Dump dump = MakeDump(folder, "fault", Small, threads);
        EXPECT_EQ(dump.told, NothingSeen);
        EXPECT_LT(dump.bytes.size(), size);
        EXPECT_EQ(Count(Debug(folder, ""), Line("waiting")), threads);
    }
}

TEST(Minidump, IsWrittenWhateverTheProcessHasRunOutOf)
{
    for (const char* how : {"descriptors", "ignored", "together"})
    {
        const ScopedTempDir folder;
        EXPECT_THAT(MakeDump(folder, how, Small, 1).told, ::testing::StartsWith(NothingSeen)) << how;
        EXPECT_EQ(RunShell("for f in x.dmp*; do obj2yaml-14 $f >/dev/null || exit 1; done", folder.Path()).status, 0);
    }
}

TEST(Minidump, IsNoMinidumpWhenTheDiskIsFull)
{
    const ScopedTempDir folder;
    const Dump dump = MakeDump(folder, "limited", Small, 1);
    EXPECT_EQ(dump.told, "error 27 signals 0 children 0\nerror 27 signals 0 children 0\n"); // EFBIG
    EXPECT_EQ(dump.bytes, "");
}

TEST(CrashWriter, CreatesReportAndDump)
{
    const ScopedTempDir folder;
    const ProcessResult result = RunVictim(folder, "fault", Small, 1, "new/dumps");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "Writing report file ...\nReport file created.\n");

    const auto files = NamesIn(folder / "new/dumps");
    ASSERT_EQ(files.size(), 2);
    EXPECT_THAT(files[0], ::testing::MatchesRegex("App_V_\\[[0-9]+-[0-9]+_[0-9]+-[0-9]+-[0-9]+\\]\\.dmp"));
    EXPECT_EQ(files[1], std::filesystem::path(files[0]).replace_extension(".txt"));
    const std::string report = ReadFile(folder / "new/dumps" / files[1]);
    const std::string samePart = report.substr(0, report.find("Physical Memory")); // which changes all the time
    EXPECT_THAT(result.output, ::testing::StartsWith(NothingSeen + samePart));
    EXPECT_THAT(report, AllOf(HasSubstr("Exception code: C0000005 ACCESS_VIOLATION\r\n"),
                              HasSubstr("Faulting module: minidump_victim"), HasSubstr("WriteToNowhere")));
    std::filesystem::copy_file(folder / "new/dumps" / files[0], folder / "x.dmp");
    EXPECT_THAT(Debug(folder, ""), AllOf(HasSubstr("stop reason = signal SIGSEGV"), HasSubstr(Line("faulting"))));
}

TEST(CrashWriter, LeavesNoHalfDumpWhenTheDiskIsFull)
{
    const ScopedTempDir folder;
    const ProcessResult result = RunVictim(folder, "limitedfault", Small, 1, "dumps");
    EXPECT_THAT(result.error, ::testing::StartsWith("MiniDumpWriteDump failed. Error: 27 \n"));
    EXPECT_THAT(result.output, ::testing::StartsWith("error 27 signals 0 children 0\n"));
    for (const auto& entry : std::filesystem::directory_iterator(folder / "dumps"))
    {
        EXPECT_EQ(entry.path().extension(), ".txt"); // which is small
    }
}

TEST(CrashWriter, IsEndedWhenItTakesTooLong)
{
    const ScopedTempDir folder;
    EXPECT_EQ(MakeDump(folder, "hurried", Small, 1).told,
              "error 110 signals 0 children 0\n" + NothingSeen); // ETIMEDOUT
}

TEST(CrashWriter, SaysWhatItIs)
{
    const ScopedTempDir folder;
    const auto run = [&folder](const std::string& arguments)
    { return RunShell(KILN_CRASH_WRITER " " + arguments, folder.Path()); };
    EXPECT_EQ(run("--help").status, 0);
    EXPECT_EQ(run("").status, 2);
    EXPECT_THAT(run("1 x").error, HasSubstr("It is of no use to start it by hand."));
    EXPECT_NE(run("1 1").status, 0); // there is no request
}

} // namespace
