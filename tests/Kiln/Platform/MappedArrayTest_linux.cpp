#include "Ardo/Kiln/Platform/MappedArray_linux.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace Ardo::Kiln::Platform
{

TEST(MappedArrayTest, GrowsAndKeepsItsElements)
{
    constexpr std::uint64_t Count = 300'000;
    MappedArray<std::uint64_t> array;
    EXPECT_EQ(array.Size(), 0U);
    EXPECT_EQ(array.begin(), array.end());
    for (std::uint64_t i = 0; i < Count; ++i)
    {
        ASSERT_TRUE(array.Add(i * i));
    }
    ASSERT_EQ(array.Size(), Count);
    EXPECT_EQ(array.end() - array.begin(), std::ptrdiff_t{Count});
    for (std::uint64_t i = 0; i < Count; ++i)
    {
        ASSERT_EQ(array[i], i * i);
    }
}

TEST(MappedArrayTest, NewElementsAreZeroAlsoWhereOldOnesWere)
{
    MappedArray<std::uint32_t> array;
    ASSERT_TRUE(array.Resize(5000));
    std::fill(array.begin(), array.end(), 7U);
    const struct
    {
        std::size_t size, kept;
    } rows[] = {{10, 10}, {5000, 10}, {0, 0}, {3, 0}, {20'000, 0}};
    for (const auto& row : rows)
    {
        ASSERT_TRUE(array.Resize(row.size));
        ASSERT_EQ(array.Size(), row.size);
        EXPECT_EQ(std::count(array.begin(), array.end(), 7U), static_cast<std::ptrdiff_t>(row.kept)) << row.size;
        EXPECT_EQ(std::count(array.begin(), array.end(), 0U), static_cast<std::ptrdiff_t>(row.size - row.kept));
    }
}

TEST(MappedArrayTest, WithoutMemoryItStaysAsItWas)
{
    MappedArray<std::uint64_t> array;
    ASSERT_TRUE(array.Add(42));
    for (const std::size_t count : {std::size_t{1} << 60, std::size_t{1} << 61, (std::size_t{1} << 61) + 1, SIZE_MAX})
    {
        EXPECT_FALSE(array.Resize(count)) << count;
        ASSERT_EQ(array.Size(), 1U);
        EXPECT_EQ(array[0], 42U);
    }
    EXPECT_TRUE(array.Add(43));
}

} // namespace Ardo::Kiln::Platform
