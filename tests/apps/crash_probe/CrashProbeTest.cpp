// Lets a program crash in every way there is, and reads what it leaves behind.

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <csignal>

namespace Ardo::Kiln::CrashProbe
{

using Support::ProcessResult;
using Support::ReadFile;
using Support::RunShell;
using Support::ScopedTempDir;
using ::testing::AnyOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

namespace
{

#ifdef __SANITIZE_ADDRESS__
constexpr bool HasOwnAllocator = true; // which reports what the C library's would, in its own way
#else
constexpr bool HasOwnAllocator = false;
#endif

constexpr int Ended(int signal)
{
    return 128 + signal;
}

/// One crash, and what it left behind.
struct Child
{
    explicit Child(std::string options, std::string variables = "")
        : arguments(std::move(options)), environment(std::move(variables))
    {
    }

    std::string arguments;
    std::string environment;
    ProcessResult result{};
    std::vector<std::filesystem::path> reports;
    std::vector<std::filesystem::path> dumps;
    std::size_t others = 0; ///< Files that are neither.
    std::string report;     ///< The text of the only one.
    std::unique_ptr<ScopedTempDir> folder = std::make_unique<ScopedTempDir>();

    void Run()
    {
        // The sanitizer's runtime would handle the signals itself.
        const std::string sanitizer =
            "ASAN_OPTIONS=handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0:"
            "use_sigaltstack=0:detect_leaks=0";
        const std::string place = Support::Quoted(folder->Path().string());
        result = RunShell(sanitizer + " XDG_DATA_HOME=" + place + " TMPDIR=" + place + " " + environment +
                              " timeout -k 1 60 " + Support::Quoted(CRASH_PROBE) + " " + arguments,
                          folder->Path());
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder->Path()))
        {
            const auto extension = entry.path().extension();
            if (extension == ".txt" || extension == ".dmp")
            {
                (extension == ".txt" ? reports : dumps).push_back(entry.path());
            }
            else
            {
                others += entry.is_directory() ? 0U : 1U;
            }
        }
        report = reports.size() == 1 ? ReadFile(reports.front()) : "";
    }
};

/// Runs all of them, a few at a time.
void RunAll(std::vector<Child>& children)
{
    std::atomic<std::size_t> next = 0;
    const auto work = [&]
    {
        for (std::size_t index = next++; index < children.size(); index = next++)
        {
            children[index].Run();
        }
    };
    std::thread second(work);
    std::thread third(work);
    work();
    second.join();
    third.join();
}

/// "FILE:LINE" of the line that bears the scenario's mark; empty if none does.
std::string MarkedLine(const std::string& scenario, const char* separator)
{
    for (const char* file : {"BeforeMain_linux.cpp", "Exceptions.cpp", "Faults_linux.cpp", "Plugin.cpp", "Main.cpp"})
    {
        std::istringstream text(ReadFile(std::filesystem::path(CRASH_PROBE_SOURCES) / file));
        int number = 1;
        for (std::string line; std::getline(text, line); ++number)
        {
            if (line.ends_with("// <- " + scenario))
            {
                return file + (separator + std::to_string(number));
            }
        }
    }
    return "";
}

enum Traits : unsigned
{
    Plain = 0,
    Thrown = 1,      ///< An exception: the dump may show what has become of its stack, the report where it was thrown.
    Ends = 2,        ///< The process ends also when the crash happens inside Execute.
    FirstThread = 4, ///< Only on the first thread.
    Allocator = 8,   ///< Needs the C library's own allocator.
    NotReported = 0x10 ///< Execute reports nothing.
};

struct Row
{
    const char* scenario;
    const char* code;
    int signal;
    const char* function;
    unsigned traits = Plain;
    const char* message = "";
};

constexpr Row Rows[] = {
    {"read-null", "C0000005 ACCESS_VIOLATION", SIGSEGV, "ReadNull()"},
    {"read-bad", "C0000005 ACCESS_VIOLATION", SIGSEGV, "ReadBad()"},
    {"read-non-canonical", "C0000005 ACCESS_VIOLATION", SIGSEGV, "ReadNonCanonical()"},
    {"write-null", "C0000005 ACCESS_VIOLATION", SIGSEGV, "WriteNull()"},
    {"write-constant", "C0000005 ACCESS_VIOLATION", SIGSEGV, "WriteConstant()"},
    {"jump-null", "C0000005 ACCESS_VIOLATION", SIGSEGV, "JumpNull()"},
    {"jump-data", "C0000005 ACCESS_VIOLATION", SIGSEGV, "JumpData()"},
    {"jump-non-canonical", "C0000005 ACCESS_VIOLATION", SIGSEGV, "JumpNonCanonical()"},
    {"truncated-file", "C0000006 IN_PAGE_ERROR", SIGBUS, "TruncatedFile()"},
    {"misaligned", "80000002 DATATYPE_MISALIGNMENT", SIGBUS, "Misaligned()"},
    {"stack-overflow", "C00000FD STACK_OVERFLOW", SIGSEGV, "Recurse("},
    {"divide-zero", "C0000094 INT_DIVIDE_BY_ZERO", SIGFPE, "DivideByZero()"},
    {"divide-overflow", "C0000095 INT_OVERFLOW", SIGFPE, "DivideOverflow()"},
    {"float-divide", "C000008E FLT_DIVIDE_BY_ZERO", SIGFPE, "FloatDivide()"},
    {"float-overflow", "C0000091 FLT_OVERFLOW", SIGFPE, "FloatOverflow()"},
    {"float-invalid", "C0000090 FLT_INVALID_OPERATION", SIGFPE, "FloatInvalid()"},
    {"illegal", "C000001D ILLEGAL_INSTRUCTION", SIGILL, "Illegal()"},
    {"privileged", "C0000096 PRIV_INSTRUCTION", SIGSEGV, "Privileged()"},
    {"breakpoint", "80000003 BREAKPOINT", SIGTRAP, "Breakpoint()"},
    {"abort", "40000015 Unknown exception", SIGABRT, "Abort()"},
    {"assert", "C0000420 Unknown exception", SIGABRT, "Assert()"},
    {"double-free", "C0000374 Unknown exception", SIGABRT, "DoubleFree()", Ends | Allocator},
    {"corrupt-heap", "C0000374 Unknown exception", SIGABRT, "CorruptHeap()", Ends | Allocator},
    {"smash-stack", "C0000409 Unknown exception", SIGABRT, "SmashStack()", Ends},
    {"in-malloc", "C0000005 ACCESS_VIOLATION", SIGSEGV, "FaultInMalloc()", Allocator},
    {"in-loader", "C0000005 ACCESS_VIOLATION", SIGSEGV, "FaultyConstructor"},
    {"stdio-lock", "C0000005 ACCESS_VIOLATION", SIGSEGV, "FaultWithStdioLocked()"},
    {"in-printf", "C0000005 ACCESS_VIOLATION", SIGSEGV, "WriteNothing("},
    {"two-threads", "C0000005 ACCESS_VIOLATION", SIGSEGV, "FaultTogether(", Ends},
    {"killed", "C0000005 ACCESS_VIOLATION", SIGSEGV, "KilledFromOutside()", FirstThread},
    {"at-exit", "C0000005 ACCESS_VIOLATION", SIGSEGV, "AtExit()"},
    {"static-destructor", "C0000005 ACCESS_VIOLATION", SIGSEGV, "AfterMain"},
    {"before-main", "C0000005 ACCESS_VIOLATION", SIGSEGV, "FaultBeforeMain(", Ends | FirstThread},
    {"throw-std", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowStandard()", Thrown, "the stage is stuck"},
    {"throw-int", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowNumber()", Thrown},
    {"throw-error", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowError()", Thrown, "the beam is blanked"},
    {"throw-warning", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowWarning()", Thrown | NotReported, "the vacuum is poor"},
    {"throw-noexcept", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowFromNoexcept()", Thrown, "through noexcept"},
    {"throw-destructor", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowInDestructor()", Thrown, "from a destructor"},
    {"rethrow", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowFirst()", Thrown, "thrown once more"},
    {"rethrow-stored", "E06D7363 CXX_EXCEPTION", SIGABRT, "ThrowStored()", Thrown, "carried along"},
    {"terminate", "40000015 Unknown exception", SIGABRT, "Terminate()"},
    {"pure-virtual", "40000015 Unknown exception", SIGABRT, "OpenNow()"},
};

/// The first line of the report's stacks that names a function of the program, or, for an exception, its thrower.
std::string OwnFrame(const std::string& report, const Row& row)
{
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("  ") && line.find("apps/crash_probe/") != std::string::npos &&
            ((row.traits & Thrown) == 0 || line.find(row.function) != std::string::npos))
        {
            return line;
        }
    }
    return "";
}

void CheckReport(const Child& child, const Row& row)
{
    ASSERT_EQ(child.reports.size(), 1U) << child.result.error;
    EXPECT_EQ(child.dumps.size(), 1U) << child.result.error;
    EXPECT_EQ(child.others, 0U);
    EXPECT_THAT(child.report, HasSubstr("Exception code: " + std::string(row.code) + "\r\n"));
    const std::string frame = OwnFrame(child.report, row);
    EXPECT_THAT(frame, HasSubstr(row.function)) << child.report;
    EXPECT_THAT(frame, HasSubstr(MarkedLine(row.scenario, " line ")));
    if (*row.message != '\0')
    {
        EXPECT_THAT(child.report, HasSubstr("Exception message: " + std::string(row.message) + " \r"));
    }
}

/// What the debugger says about each of the dumps.
std::vector<std::string> Debug(const std::vector<std::filesystem::path>& dumps)
{
    const ScopedTempDir folder;
    std::string commands = "settings set target.process.thread.max-backtrace-depth 50\n";
    for (const auto& dump : dumps)
    {
        commands += "target create --core \"" + dump.string() + "\"\nthread list\nbt 20\ntarget delete\n";
    }
    Support::WriteFile(folder / "commands", commands);
    std::string output = RunShell("timeout 100 lldb-14 -b -s commands 2>&1", folder.Path()).output;
    std::vector<std::string> parts;
    const std::string border = "(lldb) target create --core";
    for (std::size_t begin = output.find(border); begin != std::string::npos;)
    {
        const std::size_t end = output.find(border, begin + 1);
        parts.push_back(output.substr(begin, end - begin));
        begin = end;
    }
    return parts;
}

TEST(CrashProbeTest, EveryCrashIsReportedOnEveryThread)
{
    struct Case
    {
        const Row* row;
        std::string thread;
        bool survives;
    };
    std::vector<Case> cases;
    std::vector<Child> children;
    for (const Row& row : Rows)
    {
        if (HasOwnAllocator && (row.traits & Allocator) != 0)
        {
            continue;
        }
        const bool survives = (row.traits & Ends) == 0;
        cases.push_back({&row, "", false});
        if ((row.traits & FirstThread) == 0)
        {
            cases.push_back({&row, "--thread worker --execute ", survives});
            cases.push_back({&row, "--thread bare ", false});
        }
    }
    for (const Case& one : cases)
    {
        children.emplace_back(one.thread + one.row->scenario);
    }
    RunAll(children);

    std::vector<std::filesystem::path> dumps;
    std::vector<const Row*> dumped;
    for (std::size_t index = 0; index < cases.size(); ++index)
    {
        const auto& [row, thread, survives] = cases[index];
        const Child& child = children[index];
        SCOPED_TRACE(child.arguments);
        EXPECT_EQ(child.result.status, survives ? 0 : Ended(row->signal)) << child.result.error;
        if (survives)
        {
            EXPECT_THAT(child.result.output, HasSubstr("\nreturned\n"));
        }
        if (survives && (row->traits & NotReported) != 0)
        {
            EXPECT_EQ(child.reports.size() + child.dumps.size(), 0U);
            continue;
        }
        CheckReport(child, *row);
        if (thread.empty() && child.dumps.size() == 1)
        {
            dumps.push_back(child.dumps.front());
            dumped.push_back(row);
        }
    }
    if (::getenv("KILN_HOSTILE_LOCALE") != nullptr)
    {
        return; // a dump has no locale
    }
    const std::vector<std::string> texts = Debug(dumps);
    ASSERT_EQ(texts.size(), dumps.size());
    for (std::size_t index = 0; index < texts.size(); ++index)
    {
        const Row& row = *dumped[index];
        SCOPED_TRACE(row.scenario);
        EXPECT_THAT(texts[index], ContainsRegex("\\* thread #[0-9]+.*stop reason = signal " +
                                                std::string(::sigabbrev_np(row.signal)).insert(0, "SIG")));
        if ((row.traits & Thrown) == 0 || std::string(row.scenario).starts_with("throw-std"))
        {
            const std::string function = row.function;
            EXPECT_THAT(texts[index], HasSubstr(function.substr(0, function.find('('))));
            EXPECT_THAT(texts[index], HasSubstr(MarkedLine(row.scenario, ":")));
        }
    }
}

TEST(CrashProbeTest, ReportsAreMadeWhateverTheStateOfTheProcess)
{
    constexpr int Any = -1;
    struct State
    {
        const char* arguments;
        int status;
        std::size_t reports;
        std::size_t dumps;
        const char* frame = "ReadNull() at ";
        const char* said = "";
        const char* environment = "";
        bool needsAllocator = false;
    };
    const State states[] = {
        {"--with full-disk read-null", Ended(SIGSEGV), std::size_t(Any), 0, "",
         "MiniDumpWriteDump failed. Error: 27 \n"},
        {"--with no-descriptors --thread worker --execute read-null", 0, 1, 1},
        {"--with no-descriptors throw-std", Ended(SIGABRT), 1, 1, "ThrowStandard() at "},
        {"--with no-memory --thread bare read-null", Ended(SIGSEGV), 1, 1, "ReadNull() at ", "", "", true},
        {"--with no-memory --thread worker --execute throw-std", 0, 1, 1, "WithCleanup(", "returned\n", "", true},
        {"read-null", Ended(SIGSEGV), 1, 1, "ReadNull() at ", "", "XDG_DATA_HOME=/proc/none"},
        {"in-malloc", Ended(SIGSEGV), 1, 1, "FaultInMalloc() at ", "", "MALLOC_ARENA_MAX=1", true}, // by the watchdog
        {"--child read-null", 0, 1, 1, "ReadNull() at ", "child: signal 11\n"},
        {"--child --thread bare read-null", 0, 1, 1, "ReadNull() at ", "child: signal 11\n"},
        {"--child --thread bare --execute throw-std", 0, 1, 1, "ThrowStandard() at ", "child: status 0\n"},
        {"--flags 0 read-null", Ended(SIGSEGV), 0, 0, ""},
        {"--flags 0 --execute read-null", 0, 1, 1, "ReadNull() at ", "returned\n"},
        {"--flags 0 --execute throw-std", 0, 1, 1, "ThrowStandard() at ", "returned\n"},
        {"--flags 31 --execute read-null", 0, 1, 1, "ReadNull() at ", "\nTerminating Orbex.\n"},
        {"--flags 1039 double-free", Ended(SIGABRT), 1, 1, "DoubleFree() at ", "\nHeap corruption detected\n", "",
         true},
        {"--flags 1039 stdio-lock", Ended(SIGSEGV), 1, 1, "FaultWithStdioLocked() at ", "(EEE) ------- Error"},
        {"--flags 1039 in-loader", Ended(SIGSEGV), 1, 1, "FaultyConstructor() at ", "(EEE) ------- Error"},
        {"--execute --times 3 read-null", 0, 3, 3, "", "returned\nreturned\nreturned\n"},
        {"--execute --handler nothing read-null", 0, 0, 0, ""},
        {"--execute --handler throws read-null", 0, 1, 1},
        {"--execute --handler faults read-null", Ended(SIGSEGV), 1, 1},
        {"--execute --handler hangs read-null", Ended(SIGSEGV), 1, 1}, // by the watchdog
        {"--notify yes read-null", 0, 1, 1, "ReadNull() at ", "asked\nfunction called\nreturned\n"},
        {"--thread worker --notify yes throw-std", 0, 1, 1, "ThrowStandard() at ",
         "asked\nfunction called\nreturned\n"},
        {"--thread worker --notify no read-null", 0, 0, 0, "", "asked\nfunction called\nreturned\n"},
        {"--thread worker --notify drops read-null", 0, 1, 1, "ReadNull() at ", "asked\nreturned\n"},
        {"--thread worker --notify throws throw-int", 0, 1, 1, "ThrowNumber() at ", "asked\nreturned\n"},
        {"--thread worker --notify faults read-null", Ended(SIGSEGV), 1, 1},
        {"--thread worker --notify faults throw-int", 0, 1, 1, "Misbehave(", "asked\nreturned\n"},
        {"--thread worker --notify hangs read-null", Ended(SIGSEGV), 1, 1}, // by the watchdog
    };
    std::vector<Child> children;
    for (const State& row : states)
    {
        children.emplace_back(row.arguments, row.environment);
    }
    RunAll(children);
    for (std::size_t index = 0; index < children.size(); ++index)
    {
        const State& row = states[index];
        const Child& child = children[index];
        if (HasOwnAllocator && row.needsAllocator)
        {
            continue;
        }
        SCOPED_TRACE(row.environment + (" " + child.arguments));
        EXPECT_EQ(child.result.status, row.status) << child.result.error;
        EXPECT_THAT(child.result.output + child.result.error, HasSubstr(row.said));
        if (row.reports != std::size_t(Any))
        {
            EXPECT_EQ(child.reports.size(), row.reports);
        }
        EXPECT_EQ(child.dumps.size(), row.dumps);
        EXPECT_EQ(child.others, 0U);
        EXPECT_THAT(child.report, HasSubstr(row.frame));
    }
}

TEST(CrashProbeTest, TellsHowItIsUsed)
{
    const ScopedTempDir folder;
    const auto status = [&](const std::string& arguments)
    { return RunShell(Support::Quoted(CRASH_PROBE) + " " + arguments, folder.Path()).status; };
    EXPECT_EQ(status("--help"), 0);
    for (const char* arguments : {"", "no-such-scenario", "--with nothing abort", "--thread none abort", "abort abort"})
    {
        EXPECT_EQ(status(arguments), 2) << arguments;
    }
    const std::string list = RunShell(Support::Quoted(CRASH_PROBE) + " --list", folder.Path()).output;
    for (const Row& row : Rows)
    {
        EXPECT_THAT(list, HasSubstr("  " + std::string(row.scenario) + " "));
    }
}

} // namespace

} // namespace Ardo::Kiln::CrashProbe
