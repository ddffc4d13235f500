// A process that has dumps written of itself: minidump_victim HOW TYPE THREADS FILE. Its functions and variables are
// what the tests look for in the dumps. Tells on standard output the error number, and what else it has seen.

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"
#include "Ardo/Kiln/Crash/Writer/DescribedFault.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <latch>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

using namespace Ardo::Kiln::Crash;

struct Specimen
{
    int tilt;
    char name[16];
};

int g_magnification = 4711;
Specimen* g_specimen = nullptr;
Specimen* g_distant = nullptr;

namespace
{

MINIDUMP_TYPE g_type{};
std::string g_file;
std::atomic<int> g_childSignals;
int g_spare = -1;

void Tell(int error)
{
    errno = 0;
    const bool hasChild = ::waitpid(-1, nullptr, __WALL | WNOHANG) != -1 || errno != ECHILD;
    char text[80];
    const int length = std::snprintf(text, sizeof text, "error %u signals %d children %d\n", error,
                                     g_childSignals.load(), hasChild ? 1 : 0);
    static_cast<void>(::write(STDOUT_FILENO, text, static_cast<std::size_t>(length)));
}

int OpenFile()
{
    ::close(g_spare);
    return ::open(g_file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
}

int DumpInto(int descriptor, EXCEPTION_POINTERS* pointers)
{
    constexpr int changedTheCaller = 9999;
    sigset_t before;
    sigset_t after;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
    errno = E2BIG;
    const int error =
        DescribedFault(pointers).WriteMinidump(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), g_type);
    const bool sameError = errno == E2BIG;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &after);
    const bool sameSignals = std::memcmp(&before, &after, sizeof(long)) == 0;
    return sameError && sameSignals && ::fcntl(descriptor, F_GETFD) != -1 ? error : changedTheCaller;
}

void OnFault(int signal, siginfo_t* info, void* context)
{
    const auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    CONTEXT threadContext{};
    threadContext.ContextFlags = ContextFlag::Full;
    threadContext.Rip = static_cast<std::uint64_t>(registers[REG_RIP]);
    threadContext.Rsp = static_cast<std::uint64_t>(registers[REG_RSP]);
    threadContext.Rbp = static_cast<std::uint64_t>(registers[REG_RBP]);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = signal == SIGSEGV ? FaultCode::AccessViolation : FaultCode::FatalAppExit;
    record.ExceptionAddress = reinterpret_cast<void*>(threadContext.Rip);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = FaultAccess::Write;
    record.ExceptionInformation[1] = reinterpret_cast<std::uint64_t>(info->si_addr);
    EXCEPTION_POINTERS pointers{&record, &threadContext};
    if (g_file.ends_with(".dmp"))
    {
        Tell(DumpInto(OpenFile(), &pointers));
        ::_exit(0);
    }
    // A folder: as it is done when nothing of this process can run any more.
    static CrashRequest g_request;
    SetReportPlace(g_file.c_str(), "App", "V", g_type, false);
    DescribeFault(&pointers, g_request);
    g_request.tasks = CrashRequest::CreateFiles | CrashRequest::MakeText;
    CrashWriterProcess::Run(g_request, -1, 30'000);
    Tell(g_request.systemError);
    static_cast<void>(::write(STDOUT_FILENO, g_request.text, g_request.textLength));
    ::_exit(0);
}

// Without a frame pointer, as in most programs: when little is known of a thread, that is not.
[[gnu::noinline, gnu::optimize("O1", "omit-frame-pointer")]] void WaitOnStage(std::latch& ready)
{
    ready.count_down();
    ::pause(); // LINE waiting
}

[[gnu::noinline]] void AskForDump()
{
    Tell(DumpInto(OpenFile(), nullptr)); // LINE asking
}

// Puts "RED-ZONE" below the stack pointer, by its complement, so that the text is nowhere else in the process.
[[gnu::noinline]] void WriteToNowhere(volatile int* target)
{
    asm volatile("movabsq $0xBAB1B0A5D2BBBAAD, %%rax\n\t"
                 "notq %%rax\n\t"
                 "movq %%rax, -120(%%rsp)\n\t"
                 "xorl %%eax, %%eax"
                 :
                 :
                 : "rax", "cc", "memory");
    *target = 1; // LINE faulting
}

[[gnu::noinline]] int Recurse(volatile char* outer) // NOLINT(misc-no-recursion): until the stack is used up
{
    volatile char frame[2000] = {};
    frame[0] = *outer;
    return outer == nullptr ? 0 : Recurse(frame) + frame[1]; // LINE recursing
}

// As it is done where no process outside may look into this one.
[[gnu::noinline]] void WriteInOwnProcess()
{
    static CrashRequest g_request;
    DescribeFault(nullptr, g_request);
    g_request.minidumpType = g_type; // LINE writing: where the call before returns to
    Tell((WriteMinidumpFile(OpenFile(), g_request)));
}

void AskTogether()
{
    std::atomic<int> errors = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([&errors, file = g_file + std::to_string(i)]
                             { errors += DumpInto(::open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600), nullptr); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    AskForDump();
    Tell(errors);
}

void AskInForkedChild()
{
    if (const pid_t child = ::fork(); child != 0)
    {
        ::waitpid(child, nullptr, 0);
        return;
    }
    g_childSignals = 0;
    AskForDump();
}

void LimitFiles(int resource, rlim_t limit)
{
    const rlimit both{limit, limit};
    ::setrlimit(resource, &both);
}

// As some containers do: no process may look into another.
void ForbidLooking()
{
    constexpr auto equals = [](unsigned call) { return sock_filter{BPF_JMP | BPF_JEQ | BPF_K, 0, 1, call}; };
    constexpr sock_filter deny{BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EPERM};
    sock_filter rules[] = {{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
                           equals(SYS_ptrace),
                           deny,
                           equals(SYS_process_vm_readv),
                           deny,
                           {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    const sock_fprog program{std::size(rules), rules};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

void* MapPages(std::size_t size, int flags, int descriptor = -1)
{
    return ::mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, descriptor, 0);
}

// Letter by letter, so that the text is nowhere else in the process.
void PutReversed(void* page, std::string_view text)
{
    std::reverse_copy(text.begin(), text.end(), static_cast<volatile char*>(page));
}

void AskWithStrangeMemory()
{
    constexpr std::size_t page = 4096;
    constexpr int own = MAP_PRIVATE | MAP_ANONYMOUS;
    g_distant = static_cast<Specimen*>(MapPages(page, own));
    g_distant->tilt = 42;
    PutReversed(g_distant + 1, "NI-NEKAT");
    // More than 4 GiB that nobody has touched, below the page above.
    MapPages(std::size_t{5} << 30, own | MAP_NORESERVE);
    void* const secret = MapPages(page, own);
    ::madvise(secret, page, MADV_DONTDUMP);
    PutReversed(secret, "TUO-TFEL");
    // The second page of the mapping is no longer in the file.
    const int file = ::open((g_file + ".cut").c_str(), O_RDWR | O_CREAT, 0600);
    static_cast<void>(::ftruncate(file, 2 * page));
    MapPages(2 * page, MAP_SHARED, file);
    static_cast<void>(::ftruncate(file, page));
    AskForDump();
}

const std::pair<const char*, void (*)()> Ways[] = {
    {"ask", AskForDump},
    {"fault", [] { WriteToNowhere(reinterpret_cast<volatile int*>(0x18)); }},
    {"limitedfault",
     []
     {
         LimitFiles(RLIMIT_FSIZE, 16384);
         WriteToNowhere(reinterpret_cast<volatile int*>(0x18));
     }},
    {"overflow",
     []
     {
         volatile char outermost = 0;
         static_cast<void>(Recurse(&outermost));
     }},
    {"own", WriteInOwnProcess},
    {"together", AskTogether},
    {"forked", AskInForkedChild},
    {"limited",
     []
     {
         LimitFiles(RLIMIT_FSIZE, 16384);
         AskForDump();
         WriteInOwnProcess();
     }},
    {"descriptors",
     []
     {
         LimitFiles(RLIMIT_NOFILE, 64);
         while (::dup(g_spare) != -1)
         {
         }
         AskForDump();
     }},
    {"strange", AskWithStrangeMemory},
    {"sandboxed",
     []
     {
         ForbidLooking();
         AskForDump();
     }},
    {"hurried",
     []
     {
         static CrashRequest g_request;
         DescribeFault(nullptr, g_request);
         g_request.tasks = CrashRequest::WriteDump;
         CrashWriterProcess::Run(g_request, OpenFile(), 0);
         Tell(g_request.systemError);
         AskForDump();
     }},
    {"ignored",
     []
     {
         ::signal(SIGCHLD, SIG_IGN);
         AskForDump();
     }},
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
    {
        return 2;
    }
    const std::string how = argv[1];
    g_type = static_cast<MINIDUMP_TYPE>(std::strtoul(argv[2], nullptr, 16));
    const int threadCount = std::atoi(argv[3]);
    g_file = argv[4];
    g_specimen = new Specimen{-70, "graphene"};
    g_spare = ::open("/dev/null", O_RDONLY);
    CrashWriterProcess::Prepare();

    struct sigaction action
    {
    };
    action.sa_sigaction = OnFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    ::sigaction(SIGSEGV, &action, nullptr);
    ::signal(SIGCHLD, [](int) { ++g_childSignals; });
    constexpr std::size_t stackSize = std::size_t{256} << 10;
    const stack_t stack{::mmap(nullptr, stackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), 0,
                        stackSize};
    ::sigaltstack(&stack, nullptr);

    std::latch ready(threadCount);
    for (int i = 0; i < threadCount; ++i)
    {
        std::thread thread(WaitOnStage, std::ref(ready));
        ::pthread_setname_np(thread.native_handle(), "stage");
        thread.detach();
    }
    ready.wait();

    for (const auto& [name, function] : Ways)
    {
        if (how == name)
        {
            function();
        }
    }
    ::_exit(0); // the threads wait for ever
}
