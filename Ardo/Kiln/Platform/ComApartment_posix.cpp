#include "Ardo/Kiln/Platform/ComApartment.h"

namespace Ardo::Kiln::Platform
{

namespace
{

thread_local ComApartment g_apartment = ComApartment::None;
thread_local unsigned g_entries = 0; ///< EnterComApartment calls without LeaveComApartment.

} // namespace

std::int32_t EnterComApartment(ComApartment model) noexcept
{
    constexpr auto ChangedMode = static_cast<std::int32_t>(0x80010106);
    if (g_entries > 0 && g_apartment != model)
    {
        return ChangedMode;
    }
    g_apartment = model;
    return g_entries++ > 0 ? 1 : 0;
}

void LeaveComApartment() noexcept
{
    if (g_entries > 0 && --g_entries == 0)
    {
        g_apartment = ComApartment::None;
    }
}

ComApartment CurrentComApartment() noexcept
{
    return g_apartment;
}

} // namespace Ardo::Kiln::Platform
