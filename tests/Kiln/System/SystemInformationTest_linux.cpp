#include "Ardo/Kiln/System/SystemInformation.h"

#include "tests/Support/Process.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/mman.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::System
{

namespace
{

/// What the shell makes of the system's files.
std::string Shell(const std::string& line)
{
    std::string output = Support::RunShell(line, "/").output;
    output.resize(output.find_last_not_of('\n') + 1);
    return output;
}

std::uint64_t BytesIn(const std::string& file, const std::string& name)
{
    return 1024 * std::strtoull(Shell("awk '$1 == \"" + name + ":\" { print $2 }' " + file).c_str(), nullptr, 10);
}

} // namespace

TEST(SystemInformationTest, SaysWhatTheSystemsFilesSay)
{
    const pid_t child = ::fork();
    if (child == 0)
    {
        constexpr std::size_t Freed = 16 << 20; // makes the peak larger than the memory in use
        void* const memory = ::mmap(nullptr, Freed, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        std::memset(memory, 1, Freed);
        ::munmap(memory, Freed);
        while (true)
        {
            ::pause(); // its memory does not change
        }
    }
    ASSERT_GT(child, 0);
    const std::string status = "/proc/" + std::to_string(child) + "/status";
    for (std::string state; state != "S"; state = Shell("awk '$1 == \"State:\" { print $2 }' " + status))
    {
    }
    const SystemInformation information = ReadSystemInformation(static_cast<std::uint32_t>(child));
    EXPECT_EQ(information.processMemory, BytesIn(status, "VmRSS"));
    EXPECT_EQ(information.peakProcessMemory, BytesIn(status, "VmHWM"));
    EXPECT_EQ(information.processAddresses, BytesIn(status, "VmSize"));
    EXPECT_GT(information.processMemory, 1U << 16U);
    EXPECT_GT(information.peakProcessMemory, information.processMemory + (8U << 20U));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);

    EXPECT_EQ(information.processor, Shell("sed -n 's/^model name\t*: *//p' /proc/cpuinfo | head -n 1"));
    EXPECT_EQ(information.processors, static_cast<std::uint32_t>(::sysconf(_SC_NPROCESSORS_ONLN)));
    EXPECT_EQ(information.physicalMemory, BytesIn("/proc/meminfo", "MemTotal"));
    EXPECT_EQ(information.swapMemory, BytesIn("/proc/meminfo", "SwapTotal"));
    EXPECT_LE(information.freeSwapMemory, information.swapMemory);
    EXPECT_LE(information.availableMemory, information.physicalMemory);
    EXPECT_GT(information.availableMemory, BytesIn("/proc/meminfo", "MemAvailable") / 4); // others take and give back
    utsname kernel{};
    ASSERT_EQ(::uname(&kernel), 0);
    EXPECT_EQ(information.systemName, Shell(". /etc/os-release && echo \"$NAME\""));
    EXPECT_EQ(information.systemVersion, Shell(". /etc/os-release && echo \"$VERSION\"") + ", " + kernel.sysname + " " +
                                             kernel.release + " " + kernel.machine);
}

TEST(SystemInformationTest, NothingIsToldOfAProcessThatIsNot)
{
    for (const std::uint32_t process : {0x7FFFFFFFU, 0xFFFFFFFFU})
    {
        const SystemInformation information = ReadSystemInformation(process);
        EXPECT_EQ(information.processMemory + information.peakProcessMemory + information.processAddresses, 0U);
        EXPECT_GT(information.physicalMemory, 0U);
    }
}

} // namespace Ardo::Kiln::System
