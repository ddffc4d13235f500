#include "Ardo/Kiln/System/Displays.h"

#include "Ardo/Kiln/Conversion/Replacing.h"

#include <memory>
#include <windows.h>

namespace Ardo::Kiln::System
{

namespace
{

std::string ToUtf8(const wchar_t* text)
{
    std::string utf8;
    Conversion::AppendReplacing(utf8, std::wstring_view(text));
    return utf8;
}

/// Takes the physical size from the driver.
void ReadPhysicalSize(const wchar_t* adapter, Display& display)
{
    struct Delete
    {
        void operator()(HDC__* context) const noexcept { ::DeleteDC(context); }
    };
    constexpr double MillimetresPerMetre = 1000;
    const std::unique_ptr<HDC__, Delete> context(::CreateDCW(L"DISPLAY", adapter, nullptr, nullptr));
    if (context)
    {
        display.physicalWidth = ::GetDeviceCaps(context.get(), HORZSIZE) / MillimetresPerMetre;
        display.physicalHeight = ::GetDeviceCaps(context.get(), VERTSIZE) / MillimetresPerMetre;
    }
}

} // namespace

std::vector<Display> ReadDisplays()
{
    std::vector<Display> displays;
    DISPLAY_DEVICEW adapter = {};
    adapter.cb = sizeof adapter;
    for (DWORD i = 0; ::EnumDisplayDevicesW(nullptr, i, &adapter, 0); ++i)
    {
        DEVMODEW mode = {};
        mode.dmSize = sizeof mode;
        if ((adapter.StateFlags & DISPLAY_DEVICE_ATTACHED_TO_DESKTOP) == 0 ||
            !::EnumDisplaySettingsW(adapter.DeviceName, ENUM_CURRENT_SETTINGS, &mode))
        {
            continue;
        }
        DISPLAY_DEVICEW monitor = {};
        monitor.cb = sizeof monitor;
        const bool hasMonitor = ::EnumDisplayDevicesW(adapter.DeviceName, 0, &monitor, 0);
        Display display;
        display.name = ToUtf8(hasMonitor ? monitor.DeviceString : adapter.DeviceName);
        display.width = static_cast<std::int32_t>(mode.dmPelsWidth);
        display.height = static_cast<std::int32_t>(mode.dmPelsHeight);
        ReadPhysicalSize(adapter.DeviceName, display);
        displays.push_back(std::move(display));
    }
    return displays;
}

} // namespace Ardo::Kiln::System
