#include "tests/Kiln/Platform/RandomAccessFileTest.h"

#include <tuple>

namespace Ardo::Kiln::Platform
{

TEST(RandomAccessFileTest, ReadsAndWritesAtAnyPlace)
{
    const Support::ScopedTempDir folder;
    const fs::path path = folder / "µ.bin";
    Support::WriteFile(path, "former");
    RandomAccessFile file(path, Access::Replace);
    EXPECT_EQ(file.SizeWhenOpened(), 0U);
    EXPECT_EQ(Read(file, 0, 10), "");
    EXPECT_EQ(Write(file, 8, "89"), 2);
    EXPECT_EQ(Write(file, 2, "23"), 2);
    EXPECT_EQ(Write(file, 100, ""), 0);
    EXPECT_EQ(Support::ReadFile(path), "\0\0"
                                       "23"
                                       "\0\0\0\0"
                                       "89"s);
    for (const auto& [offset, size, bytes] : {std::tuple(2U, 2U, "23"s),
                                              {7U, 2U,
                                               "\0"
                                               "8"s},
                                              {9U, 5U, "9"s},
                                              {10U, 5U, ""s},
                                              {11U, 1U, ""s},
                                              {0U, 0U, ""s}})
    {
        EXPECT_EQ(Read(file, offset, size), bytes) << offset;
    }
    EXPECT_FALSE(file.LastError());

    constexpr std::uint64_t Far = (std::uint64_t{5} << 30) + 1;
    EXPECT_EQ(Write(file, Far, "far"), 3);
    EXPECT_EQ(fs::file_size(path), Far + 3);
    RandomAccessFile reader(path, Access::Read);
    EXPECT_EQ(reader.SizeWhenOpened(), Far + 3);
    EXPECT_EQ(Read(reader, Far - 1, 10), "\0far"s);
    EXPECT_EQ(Read(reader, 8, 2), "89");

    fs::resize_file(path, 9); // by another program
    EXPECT_EQ(Read(reader, 8, 2), "8");
    EXPECT_EQ(reader.SizeWhenOpened(), Far + 3);
}

} // namespace Ardo::Kiln::Platform
