#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

TEST(ProcFileTest, PathsNameProcessThreadAndFile)
{
    constexpr std::int32_t MaxId = 2147483647;
    const std::string longest(30, 'x');
    EXPECT_STREQ(ProcPath(1, 0, "maps").Text(), "/proc/1/maps");
    EXPECT_STREQ(ProcPath(12, 345, "stat").Text(), "/proc/12/task/345/stat");
    EXPECT_EQ(ProcPath(MaxId, MaxId, longest).Text(), "/proc/2147483647/task/2147483647/" + longest);
    EXPECT_EQ(std::string(ProcPath(1, 0, std::string(500, 'x')).Text()).size(), 79U) << "cut, and terminated";
}

TEST(ProcFileTest, FilesOfAnySizeAreReadToTheirEndOrALimit)
{
    const Support::ScopedTempDir folder;
    const std::string path = folder / "file";
    for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 16383, 16384, 16385, 32768, 1'000'000})
    {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
        {
            bytes[i] = static_cast<char>(i * i % 251);
        }
        Support::WriteFile(path, bytes);
        for (const std::size_t limit :
             {std::size_t{0}, std::size_t{1}, std::size_t{16384}, std::size_t{20000}, size, std::size_t{64} << 20})
        {
            MappedArray<char> text;
            ASSERT_TRUE(text.Add('<'));
            EXPECT_EQ(ReadWholeFile(path.c_str(), text, limit), 0);
            ASSERT_TRUE(std::string_view(text.begin(), text.Size()) == "<" + bytes.substr(0, limit))
                << size << " bytes, limit " << limit;
        }
        char buffer[100];
        EXPECT_EQ(ReadSmallFile(path.c_str(), buffer, sizeof buffer), bytes.substr(0, sizeof buffer));
    }
    for (const auto& [name, error] : {std::pair(folder / "missing", ENOENT), {folder.Path(), EISDIR}})
    {
        MappedArray<char> text;
        ASSERT_TRUE(text.Add('<'));
        EXPECT_EQ(ReadWholeFile(name.c_str(), text), error);
        EXPECT_EQ(text.Size(), 1U);
        char buffer[8];
        EXPECT_EQ(ReadSmallFile(name.c_str(), buffer, sizeof buffer), "");
    }
}

TEST(ProcFileTest, NumbersAndWordsAreTakenFromTheBeginning)
{
    const struct
    {
        std::string_view text;
        int base;
        std::uint64_t value;
        std::string_view rest;
    } numbers[] = {{"12 34", 10, 12, "34"},
                   {"7f-80 r", 16, 0x7f, "80 r"},
                   {"18446744073709551615\n", 10, UINT64_MAX, ""},
                   {"18446744073709551616 x", 10, 0, "x"},
                   {"ffffffffffffffff0 x", 16, 0, "x"},
                   {"x12", 10, 0, "12"},
                   {"-1 x", 10, 0, "1 x"},
                   {"5", 10, 5, ""},
                   {"", 10, 0, ""}};
    for (const auto& row : numbers)
    {
        std::string_view text = row.text;
        EXPECT_EQ(TakeNumber(text, row.base), row.value) << row.text;
        EXPECT_EQ(text, row.rest) << row.text;
    }
    std::string_view line = "one two  three";
    for (const std::string_view word : {"one", "two", "", "three", ""})
    {
        EXPECT_EQ(TakeUntil(line, ' '), word);
    }
}

TEST(ProcFileTest, AllThreadsAreListed)
{
    std::atomic<bool> isDone = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 200; ++i) // more than the system lists at a time
    {
        threads.emplace_back([&] { isDone.wait(false); });
    }
    MappedArray<std::int32_t> ids;
    EXPECT_EQ(ReadThreadIds(::getpid(), ids), 0);
    const auto expected = Support::NamesIn("/proc/self/task");
    isDone = true;
    isDone.notify_all();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    std::vector<std::string> found;
    for (const std::int32_t id : ids)
    {
        found.push_back(std::to_string(id));
    }
    EXPECT_GT(found.size(), 200U);
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
    EXPECT_EQ(ReadThreadIds(2147483647, ids), ENOENT);
}

} // namespace Ardo::Kiln::Platform
