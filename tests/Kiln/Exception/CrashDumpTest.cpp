#include "Ardo/Kiln/Exception/CrashDump.h"

#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/ProcessId.h"
#include "tests/Kiln/Exception/MiniDumpGeneratorTest.h"
#include "tests/Support/Process.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <random>

namespace Ardo::Kiln::Exception
{

namespace
{

class CrashDumpTest : public MiniDumpGeneratorTest
{
protected:
    /// A small dump of this process.
    std::string Dump() const
    {
        MiniDumpGenerator::SetDefaultMinidumpType(MiniDumpGenerator::GetSmallSizeMinidumpType());
        MiniDumpGenerator::CreateMiniDump();
        const auto names = Support::NamesIn(m_folder);
        EXPECT_EQ(names.size(), 1U);
        std::string bytes = Support::ReadFile(m_folder / names.front());
        std::filesystem::remove(m_folder / names.front());
        return bytes;
    }

    CrashDump Read(const std::string& bytes) const
    {
        Support::WriteFile(m_folder / "read.dmp", bytes);
        return ReadCrashDump(FileSystem::ToWide(m_folder / "read.dmp"));
    }

    /// The message of the refusal; empty if it was read.
    std::string Refusal(const std::string& bytes) const
    try
    {
        Read(bytes);
        return {};
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
};

void Put(std::string& bytes, std::size_t at, std::uint32_t value)
{
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

} // namespace

TEST_F(CrashDumpTest, ADumpOnRequestNamesThreadsAndModules)
{
    const CrashDump dump = Read(Dump());
    EXPECT_FALSE(dump.fault);
    EXPECT_EQ(dump.processId, Platform::OwnProcessId());
    EXPECT_LT(std::abs(dump.time - std::chrono::system_clock::to_time_t(std::chrono::system_clock::now())), 60);
    ASSERT_FALSE(dump.threads.empty());
    EXPECT_FALSE(dump.threads.front().stack.empty());
    ASSERT_FALSE(dump.modules.empty());
    EXPECT_EQ(FileSystem::ToPath(Conversion::String::FromUtf8(dump.modules.front().file)).filename(),
              Platform::ExecutablePath().filename());
}

TEST_F(CrashDumpTest, ADamagedDumpIsRefusedOrReadWithoutHarm)
{
    const std::string whole = Dump();
    for (std::size_t size = 0; size < whole.size(); size += 1 + size / 40)
    {
        EXPECT_NE(Refusal(whole.substr(0, size)), "") << size;
    }
    // The streams are at the front: numbers there are counts, sizes and positions.
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round)
    {
        std::string damaged = whole;
        for (int change = 0; change < 3; ++change)
        {
            const std::uint32_t value = random() % 2 == 0 ? 0xFFFFFFFFU : static_cast<std::uint32_t>(random());
            Put(damaged, random() % std::min<std::size_t>(damaged.size() - 4, 6000), value);
        }
        Refusal(damaged);
    }
    std::string crowded = whole;
    Put(crowded, 8, 0xFFFFFF); // streams
    EXPECT_THAT(Refusal(crowded), testing::HasSubstr("more than a process can have"));
    EXPECT_EQ(Refusal("MZ" + whole), "no minidump");
}

/// What a dump of Windows holds at least: its system, a fault, a thread and a module.
TEST_F(CrashDumpTest, ADumpOfWindowsIsReadOnEverySystem)
{
    std::string bytes(3000, '\0');
    const auto put = [&bytes](std::size_t at, std::initializer_list<std::uint32_t> values)
    {
        for (const std::uint32_t value : values)
        {
            Put(bytes, at, value);
            at += 4;
        }
    };
    put(0, {0x504D444D, 0xA793, 4, 32, 0, 86'400});              // header: streams at 32
    put(32, {7, 56, 100, 3, 52, 200, 4, 112, 300, 6, 168, 500}); // type, size, position
    put(100, {9, 0, 10, 0, 19'045, 2});                          // system: x86-64, 10.0.19045, Windows
    put(200, {1, 42});                                           // a thread: 42
    put(300, {1, 0x40000000, 1, 0x20000, 0, 0, 700, 0xFEEF04BD, 0, 0x10002, 0x30004}); // a module at 1 40000000
    put(500, {42, 0, 0xC0000005, 0, 0, 0, 0x40001234, 1, 2, 0, 1, 0, 0x10});           // a write at 16
    put(660, {1232, 1000});
    put(700, {20});
    std::memcpy(bytes.data() + 704, u"C:\\App.exe", 20);
    put(1000 + 0xF8, {0x40001234, 1}); // the instruction
    const CrashDump dump = Read(bytes);
    EXPECT_EQ(dump.system, "Windows 10.0.19045");
    EXPECT_EQ(dump.time, 86'400);
    ASSERT_TRUE(dump.fault);
    EXPECT_EQ(dump.fault->name, "ACCESS_VIOLATION");
    EXPECT_EQ(dump.fault->threadId, 42U);
    EXPECT_EQ(dump.fault->module, "App.exe");
    EXPECT_EQ(dump.fault->information, (std::vector<std::uint64_t>{1, 16}));
    EXPECT_EQ(dump.modules.at(0).version, "1.2.3.4");
    EXPECT_EQ(dump.threads.at(0).stack, std::vector<std::string>{"  0x0000000140001234 in App.exe + 0x1234"});
}

} // namespace Ardo::Kiln::Exception
