#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <sys/uio.h>

namespace Ardo::Kiln::Platform
{

std::size_t ReadProcessMemory(std::int32_t process, std::uint64_t address, void* target, std::size_t size) noexcept
{
    const iovec local{target, size};
    const iovec remote{reinterpret_cast<void*>(address),
                       size}; // NOLINT(performance-no-int-to-ptr): not of this process
    const ssize_t got = ::process_vm_readv(process, &local, 1, &remote, 1, 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

} // namespace Ardo::Kiln::Platform
