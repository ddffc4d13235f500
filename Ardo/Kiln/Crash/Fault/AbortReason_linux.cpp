#include "Ardo/Kiln/Crash/Fault/AbortReason_linux.h"

#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <dlfcn.h>

#include <atomic>
#include <cstddef>
#include <cstring>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The object that `__abort_msg` of glibc 2.4 and later points at (struct abort_msg_s, include/stdlib.h of its source).
struct AbortMessage
{
    unsigned size; ///< Of the memory, which is mapped for the message alone, in bytes: a multiple of the page size.
    char text[1];  ///< Null-terminated.
};

constexpr unsigned MaxSize = 64U << 20U; // an assertion holds an expression and a function's name

AbortMessage* const* g_message = nullptr;
std::atomic<const AbortMessage*> g_taken = nullptr;

/// Whether the memory looks like such a message. Another layout under the same name yields no text then.
bool IsPlausible(const AbortMessage& message) noexcept
{
    return message.size >= Platform::PageSize && message.size % Platform::PageSize == 0 && message.size <= MaxSize &&
           std::memchr(message.text, '\0', message.size - offsetof(AbortMessage, text)) != nullptr;
}

} // namespace

void PrepareAbortReason() noexcept
{
    g_message = static_cast<AbortMessage**>(dlvsym(RTLD_DEFAULT, "__abort_msg", "GLIBC_PRIVATE"));
}

std::string_view TakeAbortReason() noexcept
{
    const AbortMessage* const message = g_message != nullptr ? *g_message : nullptr;
    if (message == nullptr || g_taken.exchange(message) == message || !IsPlausible(*message))
    {
        return {};
    }
    std::string_view text = message->text;
    while (text.ends_with('\n'))
    {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace Ardo::Kiln::Crash
