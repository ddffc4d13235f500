// Lets a program crash in every way there is, and reads what it leaves behind.

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <csignal>

namespace Ardo::Kiln::CrashProbe
{

using Support::ReadFile;
using Support::RunShell;
using Support::ScopedTempDir;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

namespace
{

// A sanitizer brings its own allocator, which reports in its own way, and needs descriptors and memory for its checks.
#ifdef __SANITIZE_ADDRESS__
constexpr bool IsSanitized = true;
#else
constexpr bool IsSanitized = false;
#endif

constexpr const char* FirstProcess = "unshare --pid --fork --mount-proc";
constexpr const char* WithoutStandardError = "sh -c '\"$@\" 2>&-' sh";

constexpr const char* LoadedLate = "sh -c 'exec \"" CRASH_PROBE_LATE "\" \"$2\"' sh"; // in place of the program

constexpr int Ended = 128; // and the signal: how the shell tells it

/// One crash, and what it left behind.
struct Child
{
    explicit Child(std::string options, std::string variables = "", std::string runner = "")
        : arguments(std::move(options)), environment(std::move(variables)), wrapper(std::move(runner))
    {
    }

    void Run()
    {
        // The sanitizer's runtime would handle the signals itself.
        const std::string sanitizer = "ASAN_OPTIONS=handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:"
                                      "handle_abort=0:use_sigaltstack=0:detect_leaks=0";
        const std::string place = Support::Quoted(folder->Path().string());
        result = RunShell(sanitizer + " XDG_DATA_HOME=" + place + " TMPDIR=" + place + " " + environment +
                              " timeout -k 1 60 " + wrapper + " " + Support::Quoted(CRASH_PROBE) + " " + arguments,
                          folder->Path());
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder->Path()))
        {
            const auto extension = entry.path().extension();
            reports += extension == ".txt" ? 1U : 0U;
            others +=
                entry.is_directory() || extension == ".txt" || extension == ".dmp" || entry.path().filename() == "data"
                    ? 0U
                    : 1U;
            if (extension == ".dmp")
            {
                dumps.push_back(entry.path());
            }
            else if (extension == ".txt")
            {
                report = ReadFile(entry.path());
            }
        }
    }

    std::string arguments;
    std::string environment;
    std::string wrapper; ///< A command that runs the program.
    Support::ProcessResult result{};
    std::vector<std::filesystem::path> dumps;
    std::size_t reports = 0;
    std::size_t others = 0; ///< Files that are neither: halves of one.
    std::string report;     ///< The text of one.
    std::unique_ptr<ScopedTempDir> folder = std::make_unique<ScopedTempDir>();
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

/// Where a scenario is at fault: the line that bears its mark.
struct Mark
{
    std::string file;
    std::string line;
    std::string message; ///< Of the exception that it throws.
};

Mark FindMark(const std::string& scenario)
{
    for (const char* file : {"BeforeMain_linux.cpp", "Exceptions.cpp", "Faults.cpp", "Faults_linux.cpp", "Plugin.cpp"})
    {
        std::istringstream text(ReadFile(std::filesystem::path(CRASH_PROBE_SOURCES) / file));
        int number = 1;
        for (std::string line; std::getline(text, line); ++number)
        {
            if (line.ends_with("// <- " + scenario))
            {
                const std::size_t quote = line.find('"') + 1; // 0: none
                const bool throws = quote != 0 && line.find("throw ") != std::string::npos;
                return {file, std::to_string(number), throws ? line.substr(quote, line.rfind('"') - quote) : ""};
            }
        }
    }
    ADD_FAILURE() << "no mark: " << scenario;
    return {};
}

enum Trait : unsigned
{
    Thrown = 1,       ///< What the stack shows may be what has become of it; the report tells where it was thrown.
    Ends = 2,         ///< The process ends also when the crash happens inside Execute.
    FirstThread = 4,  ///< Only on the first thread.
    NotSanitized = 8, ///< Only without a sanitizer.
    Ignored = 16,     ///< Execute reports nothing.
    Unguarded = 32,   ///< Not inside Execute, where it is left to chance how many reports there are.
    NoDump = 64       ///< There are reports only.
};

// clang-format off
const struct Class
{
    const char* code;
    const char* signal;
    int number;
    std::vector<const char*> scenarios;
    unsigned traits = 0;
} Classes[] = {
    {"C0000005 ACCESS_VIOLATION", "SIGSEGV", SIGSEGV,
     {"read-null", "read-bad", "read-non-canonical", "write-null", "write-constant", "jump-null", "jump-data", "jump-non-canonical"}},
    {"C0000005 ACCESS_VIOLATION", "SIGSEGV", SIGSEGV, {"in-loader", "stdio-lock", "in-printf", "at-exit", "static-destructor"}},
    {"C0000005 ACCESS_VIOLATION", "SIGSEGV", SIGSEGV, {"in-malloc"}, NotSanitized},
    {"C0000005 ACCESS_VIOLATION", "SIGSEGV", SIGSEGV, {"two-threads"}, Ends | Unguarded},
    {"C0000005 ACCESS_VIOLATION", "SIGSEGV", SIGSEGV, {"before-main", "killed"}, FirstThread},
    {"C0000006 IN_PAGE_ERROR", "SIGBUS", SIGBUS, {"truncated-file"}},
    {"80000002 DATATYPE_MISALIGNMENT", "SIGBUS", SIGBUS, {"misaligned"}},
    {"C00000FD STACK_OVERFLOW", "SIGSEGV", SIGSEGV, {"stack-overflow"}},
    {"C0000094 INT_DIVIDE_BY_ZERO", "SIGFPE", SIGFPE, {"divide-zero"}},
    {"C0000095 INT_OVERFLOW", "SIGFPE", SIGFPE, {"divide-overflow"}},
    {"C000008E FLT_DIVIDE_BY_ZERO", "SIGFPE", SIGFPE, {"float-divide"}},
    {"C0000091 FLT_OVERFLOW", "SIGFPE", SIGFPE, {"float-overflow"}},
    {"C0000090 FLT_INVALID_OPERATION", "SIGFPE", SIGFPE, {"float-invalid"}},
    {"C000001D ILLEGAL_INSTRUCTION", "SIGILL", SIGILL, {"illegal"}},
    {"C0000096 PRIV_INSTRUCTION", "SIGSEGV", SIGSEGV, {"privileged"}},
    {"80000003 BREAKPOINT", "SIGTRAP", SIGTRAP, {"breakpoint", "breakpoint-last"}},
    {"40000015 Unknown exception", "SIGABRT", SIGABRT, {"abort", "terminate", "pure-virtual", "abort-caught"}, Ends},
    {"C0000420 Unknown exception", "SIGABRT", SIGABRT, {"assert"}, Ends},
    {"C0000374 Unknown exception", "SIGABRT", SIGABRT, {"double-free", "corrupt-heap"}, Ends | NotSanitized},
    {"C0000409 Unknown exception", "SIGABRT", SIGABRT, {"smash-stack"}, Ends},
    {"E06D7363 CXX_EXCEPTION", "SIGABRT", SIGABRT,
     {"throw-std", "throw-int", "throw-error", "rethrow", "rethrow-stored", "rethrow-elsewhere"}, Thrown},
    {"E06D7363 CXX_EXCEPTION", "SIGABRT", SIGABRT, {"throw-noexcept", "throw-destructor"}, Thrown | Ends},
    {"E06D7363 CXX_EXCEPTION", "SIGABRT", SIGABRT, {"throw-warning"}, Thrown | Ignored},
};
// clang-format on

/// The report names the line at fault: as the first line of the program in it, or as the one that threw.
void CheckReport(const Child& child, const Class& kind, const Mark& mark)
{
    ASSERT_EQ(child.reports, 1U) << child.result.error;
    EXPECT_EQ(child.dumps.size(), 1U) << child.result.error;
    EXPECT_EQ(child.others, 0U);
    EXPECT_THAT(child.report, HasSubstr(std::string("Exception code: ") + kind.code + "\r\n"));
    EXPECT_THAT(child.report, HasSubstr(mark.message.empty() ? "" : "Exception message: " + mark.message + " \r"));
    const std::string place = "apps/crash_probe/" + mark.file + " line " + mark.line + "\r\n";
    const bool isThrown = (kind.traits & Thrown) != 0;
    const std::size_t frame = child.report.find(isThrown ? place : "apps/crash_probe/");
    ASSERT_NE(frame, std::string::npos) << child.report;
    EXPECT_EQ(child.report.substr(frame, place.size()), place) << child.report;
    const std::size_t begin = child.report.rfind('\n', frame) + 1;
    EXPECT_THAT(child.report.substr(begin, frame - begin), ContainsRegex("^  .*[a-zA-Z]\\(.*\\) .*at ")); // a function
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
    const std::string output = RunShell("timeout 100 lldb-14 -b -s commands 2>&1", folder.Path()).output;
    const std::string border = "(lldb) target create --core";
    std::vector<std::string> parts;
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
        const Class* kind;
        Mark mark;
        bool survives;
    };
    std::vector<Case> cases;
    std::vector<Child> children;
    for (const Class& kind : Classes)
    {
        for (const char* const scenario : kind.scenarios)
        {
            for (const std::string thread : {"", "--thread worker --execute ", "--thread bare "})
            {
                if ((IsSanitized && (kind.traits & NotSanitized) != 0) ||
                    (!thread.empty() && (kind.traits & FirstThread) != 0) ||
                    (thread.find("execute") != std::string::npos && (kind.traits & Unguarded) != 0))
                {
                    continue;
                }
                const bool survives = thread.find("execute") != std::string::npos && (kind.traits & Ends) == 0;
                cases.push_back({&kind, FindMark(scenario), survives});
                children.emplace_back(thread + scenario);
            }
        }
    }
    RunAll(children);

    std::vector<std::filesystem::path> dumps;
    std::vector<std::size_t> dumped;
    for (std::size_t index = 0; index < cases.size(); ++index)
    {
        const auto& [kind, mark, survives] = cases[index];
        const Child& child = children[index];
        SCOPED_TRACE(child.arguments);
        EXPECT_EQ(child.result.status, survives ? 0 : Ended + kind->number) << child.result.error;
        EXPECT_THAT(child.result.output, HasSubstr(survives ? "\nreturned\n" : ""));
        if (survives && (kind->traits & Ignored) != 0)
        {
            EXPECT_EQ(child.reports + child.dumps.size(), 0U);
            continue;
        }
        CheckReport(child, *kind, mark);
        if (!child.arguments.starts_with("--") && !child.dumps.empty())
        {
            dumps.push_back(child.dumps.front());
            dumped.push_back(index);
        }
    }
    const std::vector<std::string> texts = Debug(dumps);
    ASSERT_EQ(texts.size(), dumps.size());
    for (std::size_t index = 0; index < texts.size(); ++index)
    {
        const auto& [kind, mark, survives] = cases[dumped[index]];
        SCOPED_TRACE(children[dumped[index]].arguments);
        EXPECT_THAT(texts[index], ContainsRegex(std::string("\\* thread #.*stop reason = signal ") + kind->signal));
        EXPECT_THAT(texts[index], ContainsRegex((kind->traits & Thrown) != 0
                                                    ? "TerminateHandler\\(\\) at HandlerFilters.cpp:[0-9]+"
                                                    : "`.*[a-zA-Z]\\(.*at " + mark.file + ":" + mark.line + "[:\n]"));
    }
}

/// A crash, and what is expected of it.
struct State
{
    const char* arguments;
    int status;
    std::size_t reports;
    const char* frame = "ReadNull() at ";
    const char* said = "";
    unsigned traits = 0;
    const char* environment = "";
    const char* wrapper = "";
};

void CheckStates(std::span<const State> states)
{
    const bool hasNamespaces = RunShell(std::string(FirstProcess) + " true", ".").status == 0;
    if (!hasNamespaces)
    {
        std::cout << "Left out: what happens in process 1, because this user may not make one (unshare)\n";
    }
    std::vector<Child> children;
    std::vector<const State*> expected;
    for (const State& state : states)
    {
        if ((!IsSanitized || (state.traits & NotSanitized) == 0) && (hasNamespaces || state.wrapper != FirstProcess))
        {
            children.emplace_back(state.arguments, state.environment, state.wrapper);
            expected.push_back(&state);
        }
    }
    RunAll(children);
    for (std::size_t index = 0; index < children.size(); ++index)
    {
        const State& state = *expected[index];
        const Child& child = children[index];
        SCOPED_TRACE(state.environment + (" " + child.arguments));
        EXPECT_EQ(child.result.status, state.status) << child.result.error;
        EXPECT_THAT(child.result.output + child.result.error, HasSubstr(state.said));
        EXPECT_EQ(child.reports, state.reports);
        EXPECT_EQ(child.dumps.size(), (state.traits & NoDump) != 0 ? 0U : state.reports);
        EXPECT_EQ(child.others, 0U);
        EXPECT_EQ(ReadFile(*child.folder / "data"), ""); // the application's
        EXPECT_THAT(child.report, HasSubstr(state.frame));
    }
}

TEST(CrashProbeTest, ReportsAreMadeWhateverTheProcessHasRunOutOf)
{
    // clang-format off
    CheckStates(std::to_array<State>({
        {"--with full-disk --execute throw-std", 0, 0, "", "returned\n"}, // no half of a file
        {"--with no-descriptors --thread worker --execute read-null", 0, 1, "ReadNull() at ", "", NotSanitized},
        {"--with no-descriptors throw-std", Ended + SIGABRT, 1, "ThrowStandard() at ", "", NotSanitized},
        {"--with no-memory --thread bare read-null", Ended + SIGSEGV, 1, "ReadNull() at ", "", NotSanitized},
        {"--with no-memory --thread worker --execute throw-std", 0, 1, "WithCleanup(", "returned\n", NotSanitized},
        {"read-null", Ended + SIGSEGV, 1, "ReadNull() at ", "", 0, "XDG_DATA_HOME=/proc/none"},
        {"in-malloc", Ended + SIGSEGV, 1, "FaultInMalloc() at ", "", NotSanitized, "MALLOC_ARENA_MAX=1"}, // watchdog
        {"--with broken-pipe throw-std", Ended + SIGABRT, 1, "ThrowStandard() at "},
        {"--with broken-pipe --thread bare read-null", Ended + SIGSEGV, 1, "ReadNull() at "},
        {"--with file-as-stderr read-null", Ended + SIGSEGV, 1, "ReadNull() at ", "", 0, "", WithoutStandardError},
        {"--with fake-dump read-null", Ended + SIGSEGV, 1, "ReadNull() at ", "Minidump faked.\n", NoDump},
    }));
    // clang-format on
}

TEST(CrashProbeTest, ReportsAreMadeInChildrenInProcess1AndOnForeignThreads)
{
    // clang-format off
    CheckStates(std::to_array<State>({
        {"abort", Ended + SIGABRT, 1, "Abort() at ", "", 0, "", FirstProcess},
        {"throw-std", Ended + SIGABRT, 1, "ThrowStandard() at ", "", 0, "", FirstProcess},
        {"breakpoint", Ended + SIGTRAP, 1, "Breakpoint() at ", "", 0, "", FirstProcess},
        {"--thread worker divide-zero", Ended + SIGFPE, 1, "DivideByZero() at ", "", 0, "", FirstProcess},
        {"--thread bare stack-overflow", Ended + SIGSEGV, 1, "Recurse(", "", 0, "", FirstProcess},
        {"--with broken-pipe --child --thread bare read-null", 0, 1, "ReadNull() at "}, // from outside
        {"--with file-as-stderr --child --thread bare read-null", 0, 1, "ReadNull() at ", "", 0, "", WithoutStandardError},
        {"--thread c11 stack-overflow", Ended + SIGSEGV, 1, "Recurse("},
        {"--thread timer stack-overflow", Ended + SIGSEGV, 1, "Recurse("},
        {COMMON_LIBRARY, Ended + SIGSEGV, 1, "\r\nLoaded after the C library: ", "", NotSanitized, "", LoadedLate},
        {"--child read-null", 0, 1, "ReadNull() at ", "child: signal 11\n"},
        {"--child --thread bare read-null", 0, 1, "ReadNull() at ", "child: signal 11\n"},
        {"--child --thread bare --execute throw-std", 0, 1, "ThrowStandard() at ", "child: status 0\n"},
    }));
    // clang-format on
}

TEST(CrashProbeTest, FlagsSayWhatIsReported)
{
    // clang-format off
    CheckStates(std::to_array<State>({
        {"--flags 0 read-null", Ended + SIGSEGV, 0, ""},
        {"--flags 0 --execute read-null", 0, 1, "ReadNull() at ", "returned\n"},
        {"--flags 0 --execute throw-std", 0, 1, "ThrowStandard() at ", "returned\n"},
        {"--flags 31 --execute read-null", 0, 1, "ReadNull() at ", "\nTerminating Orbex.\n"},
        {"--flags 1039 double-free", Ended + SIGABRT, 1, "DoubleFree() at ", "\nHeap corruption detected\n", NotSanitized},
        {"--flags 1039 stdio-lock", Ended + SIGSEGV, 1, "FaultWithStdioLocked() at ", "(EEE) ------- Error"},
        {"--flags 1039 in-loader", Ended + SIGSEGV, 1, "FaultyConstructor() at ", "(EEE) ------- Error"},
    }));
    // clang-format on
}

TEST(CrashProbeTest, FunctionsOfTheApplicationDecideAndMayFail)
{
    // clang-format off
    CheckStates(std::to_array<State>({
        {"--with fake-dump --execute --handler faults read-null", Ended + SIGSEGV, 1, "ReadNull() at ", "Minidump faked.\n", NoDump},
        {"--execute --times 3 read-null", 0, 3, "", "returned\nreturned\nreturned\n"},
        {"--execute --handler nothing read-null", 0, 0, ""},
        {"--execute --handler throws read-null", 0, 1},
        {"--execute --handler faults read-null", Ended + SIGSEGV, 1},
        {"--execute --handler slow read-null", 0, 0, "", "returned\n"},
        {"--notify yes read-null", 0, 1, "ReadNull() at ", "asked\nfunction called\nreturned\n"},
        {"--thread worker --notify yes throw-std", 0, 1, "ThrowStandard() at ", "asked\nfunction called\nreturned\n"},
        {"--thread worker --notify no read-null", 0, 0, "", "asked\nfunction called\nreturned\n"},
        {"--thread worker --notify drops read-null", 0, 1, "ReadNull() at ", "asked\nreturned\n"},
        {"--thread worker --notify throws throw-int", 0, 1, "ThrowNumber() at ", "asked\nreturned\n"},
        {"--thread worker --notify faults read-null", Ended + SIGSEGV, 1},
        {"--thread worker --notify faults --times 2 throw-int", 0, 2, "Misbehave(", "asked\nreturned\nasked\nreturned\n"},
        {"--thread worker throw-std", Ended + SIGABRT, 1, "ThrowStandard() at ", ") is being abnormally terminated\nterminate called"},
        {"--thread worker --notify slow read-null", 0, 0, "", "asked\nfunction called\nreturned\n"},
        {"--notify slow read-null", 0, 0, "", "asked\nfunction called\nreturned\n"},
    }));
    // clang-format on
}

TEST(CrashProbeTest, LogIsFlushedAndItsFilesAreNamed)
{
    std::vector<Child> children;
    children.emplace_back("--with log read-null");
    children.emplace_back("--with log --thread worker --execute throw-std");
    RunAll(children);
    for (const Child& child : children)
    {
        SCOPED_TRACE(child.arguments);
        const auto file = child.folder->Path() / "Log" / "Probe.log";
        EXPECT_THAT(ReadFile(file), HasSubstr("the last record\n"));
        EXPECT_THAT(child.report, HasSubstr("\r\n Log files \r\n"));
        EXPECT_THAT(child.report, HasSubstr("\r\n" + file.string() + "\r\n"));
    }
}

TEST(CrashProbeTest, ReportsTellTypeAndTextOfWhatEndedTheProcess)
{
    const char* const cxx = "Exception code: E06D7363 CXX_EXCEPTION\r\n";
    const char* const failed = "Exception message: [not known: what() has failed itself]";
    const char* const late = "Exception message: [not known: what() did not return in time]";
    const char* const place = "\r\n Thrown at \r\n  void Ardo::Kiln::CrashProbe::(anonymous namespace)::ThrowText<";
    const char* const noPlace = " Thrown at ";
    const char* const own = "own terminate handler\n";
    const std::string cut = std::string("\xC3\xA4\xC3\xA4 [cut: 20000 bytes] \r");
    // clang-format off
    const struct Row
    {
        const char* arguments;
        int signal; ///< 0: the process ends by itself.
        std::vector<std::string> told;
        const char* notTold = "FORGED\r\n";
        const char* said = "";
        unsigned traits = 0;
    } rows[] = {
        // The C library's reason
        {"assert", SIGABRT, {"Reason of the abort: ", "Assert(): Assertion `g_number == 1' failed.\r\n"}},
        {"double-free", SIGABRT, {"\r\nReason of the abort: double free or corruption ("}, "", "", NotSanitized},
        {"smash-stack", SIGABRT, {"\r\nReason of the abort: *** stack smashing detected ***: terminated\r\n"}},
        {"abort", SIGABRT, {"40000015"}, "Reason of the abort"},
        // what()
        {"text-faults", SIGABRT, {cxx, failed, place, "Exception thrown is of type Ardo::Kiln::CrashProbe::"}},
        {"text-faults-noexcept", SIGABRT, {cxx, failed, place}},
        {"text-throws", SIGABRT, {cxx, failed, place}},
        {"text-aborts", SIGABRT, {cxx, failed, place}},
        {"text-hangs", SIGABRT, {cxx, late, place}},
        {"text-nowhere", SIGABRT, {cxx, failed, place}},
        {"--thread bare text-hangs", SIGABRT, {cxx, late, place}},
        {"--execute text-hangs", 0, {cxx, late, place}, "", "returned\n"},
        {"--thread worker --execute text-faults", 0, {cxx, failed, place}, "", "returned\n"},
        {"--thread worker --execute text-throws", 0, {cxx, failed, place}, "", "returned\n"},
        {"text-unasked", SIGABRT, {cxx, "Exception thrown is of type int\r\n"}, "Exception message"},
        {"text-forges", SIGABRT, {cxx, "message: first\\r\\nException code: 00000000 FORGED\\n\\x1B[2J\\xFF\\u2028 \r"}},
        {"text-long", SIGABRT, {cxx, cut}},
        // Places
        {"rethrow-made", SIGABRT, {cxx, "Exception message: made, not thrown \r"}, noPlace},
        // Another terminate handler
        {"--with own-terminate throw-std", SIGABRT, {cxx, "the stage is stuck", " Thrown at \r\n  Ardo", "WithCleanup("}, "", own},
        {"--with own-terminate throw-noexcept", SIGABRT, {cxx, "message: through noexcept", " Thrown at \r\n  Ardo"}, "", own},
        {"--with own-terminate rethrow-elsewhere", SIGABRT, {cxx, "from another thread", " Thrown at \r\n  Ardo"}, "", own},
        {"--with own-terminate --thread bare throw-int", SIGABRT, {cxx, "is of type int", " Thrown at \r\n  Ardo"}, "", own},
        {"--with own-terminate text-faults", SIGABRT, {cxx, failed, place}, "", own},
        {"--with own-terminate text-hangs", SIGABRT, {cxx, late, place}, "", own},
        {"--with own-terminate terminate", SIGABRT, {"40000015"}, "Thrown at", own},
        {"--with own-terminate abort-caught", SIGABRT, {"40000015"}, "Thrown at"},
    };
    // clang-format on
    std::vector<Child> children;
    std::vector<const Row*> expected;
    for (const Row& row : rows)
    {
        if (!IsSanitized || (row.traits & NotSanitized) == 0)
        {
            children.emplace_back(row.arguments);
            expected.push_back(&row);
        }
    }
    RunAll(children);
    for (std::size_t index = 0; index < children.size(); ++index)
    {
        const Row& row = *expected[index];
        const Child& child = children[index];
        SCOPED_TRACE(child.arguments);
        EXPECT_EQ(child.result.status, row.signal != 0 ? Ended + row.signal : 0) << child.result.error;
        EXPECT_EQ(child.reports, 1U);
        EXPECT_EQ(child.dumps.size(), 1U);
        for (const std::string& text : row.told)
        {
            EXPECT_THAT(child.report, HasSubstr(text));
        }
        if (*row.notTold != '\0')
        {
            EXPECT_THAT(child.report, testing::Not(HasSubstr(row.notTold)));
        }
        EXPECT_THAT(child.result.output, HasSubstr(row.said));
    }
}

TEST(CrashProbeTest, TellsHowItIsUsed)
{
    const ScopedTempDir folder;
    const auto run = [&](const std::string& arguments)
    { return RunShell(Support::Quoted(CRASH_PROBE) + " " + arguments, folder.Path()); };
    EXPECT_EQ(run("--help").status, 0);
    EXPECT_THAT(run("--list").output, HasSubstr("\n  read-null "));
    for (const char* arguments :
         {"", "no-such-scenario", "--with nothing abort", "--thread none abort", "abort no-such-scenario"})
    {
        EXPECT_EQ(run(arguments).status, 2) << arguments;
    }
}

} // namespace

} // namespace Ardo::Kiln::CrashProbe
