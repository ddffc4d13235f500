#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <sys/mman.h>

namespace Ardo::Kiln::Platform
{

/// A growing array in memory that is mapped from the kernel, for code that runs while the heap may be corrupted or
/// locked. It does not throw.
template <typename T>
class MappedArray
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    MappedArray() noexcept = default;
    ~MappedArray()
    {
        if (m_data != nullptr)
        {
            ::munmap(m_data, m_bytes);
        }
    }
    MappedArray(const MappedArray&) = delete;
    MappedArray& operator=(const MappedArray&) = delete;

    /// Sets the number of elements. All bytes of new elements are zero.
    /// \returns false if there is no memory. The array is then unchanged.
    bool Resize(std::size_t count) noexcept
    {
        constexpr std::size_t maxCount = PTRDIFF_MAX / sizeof(T); // more would overflow the number of bytes
        if (count > maxCount || (count * sizeof(T) > m_bytes && !Grow(count * sizeof(T))))
        {
            return false;
        }
        // Elements beyond the end are zero unless the array was longer before.
        for (std::size_t i = m_size; i < std::min(count, m_longest); ++i)
        {
            m_data[i] = T{};
        }
        m_size = count;
        m_longest = std::max(m_longest, count);
        return true;
    }

    /// Adds \p value.
    /// \returns false if there is no memory. The array is then unchanged.
    bool Add(const T& value) noexcept
    {
        const std::size_t place = m_size;
        if (!Resize(place + 1))
        {
            return false;
        }
        m_data[place] = value;
        return true;
    }

    std::size_t Size() const noexcept { return m_size; }
    T* begin() noexcept { return m_data; }
    T* end() noexcept { return m_data + m_size; }
    const T* begin() const noexcept { return m_data; }
    const T* end() const noexcept { return m_data + m_size; }
    T& operator[](std::size_t index) noexcept { return m_data[index]; }
    const T& operator[](std::size_t index) const noexcept { return m_data[index]; }

private:
    bool Grow(std::size_t needed) noexcept
    {
        constexpr std::size_t page = 4096;
        const std::size_t bytes = (std::max(needed, m_bytes * 2) + page - 1) / page * page;
        void* const grown = m_data == nullptr
                                ? ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                                : ::mremap(m_data, m_bytes, bytes, MREMAP_MAYMOVE);
        if (grown == MAP_FAILED)
        {
            return false;
        }
        m_data = static_cast<T*>(grown);
        m_bytes = bytes;
        return true;
    }

    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_longest = 0;
    std::size_t m_bytes = 0;
};

} // namespace Ardo::Kiln::Platform
