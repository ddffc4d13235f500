#include "Ardo/Kiln/Platform/ThreadName.h"

#include <algorithm>
#include <array>
#include <pthread.h>

namespace Ardo::Kiln::Platform
{

void SetThreadName(std::thread::native_handle_type thread, std::string_view name) noexcept
{
    std::array<char, 16> text{}; // the kernel's limit, with the NUL
    std::size_t length = std::min(name.size(), text.size() - 1);
    const auto isWithinCharacter = [&]
    { return length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80; };
    while (length > 0 && isWithinCharacter())
    {
        --length;
    }
    std::copy_n(name.data(), length, text.data());
    ::pthread_setname_np(thread, text.data()); // fails only for a thread that has ended
}

std::string OwnThreadName()
{
    std::array<char, 16> text{};
    return ::pthread_getname_np(::pthread_self(), text.data(), text.size()) == 0 ? std::string(text.data())
                                                                                 : std::string();
}

} // namespace Ardo::Kiln::Platform
