#pragma once

#include <cstddef>
#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// Of a page of memory, in bytes.
inline constexpr std::size_t PageSize = 4096;

/// Copies memory of a process, which may be this one, as far as there is any from \p address on. Memory that is not
/// there is no fault. A system call only: a signal handler may use it.
/// \returns the number of bytes; on failure 0, with errno set: EFAULT when there is no memory at \p address.
std::size_t ReadProcessMemory(std::int32_t process, std::uint64_t address, void* target, std::size_t size) noexcept;

} // namespace Ardo::Kiln::Platform
