#include "Ardo/Kiln/Platform/StandardError.h"

#include <cerrno>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

void WriteStandardError(std::string_view text) noexcept
{
    const int error = errno; // a signal handler leaves it as it was
    while (!text.empty())
    {
        const auto count = ::write(STDERR_FILENO, text.data(), text.size());
        if (count > 0)
        {
            text.remove_prefix(static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            break;
        }
    }
    errno = error;
}

} // namespace Ardo::Kiln::Platform
