#include "Ardo/Kiln/Platform/ComApartment.h"

#include <windows.h>

#include <objbase.h>

namespace Ardo::Kiln::Platform
{

std::int32_t EnterComApartment(ComApartment model) noexcept
{
    return ::CoInitializeEx(
        nullptr,
        static_cast<DWORD>(model == ComApartment::ApartmentThreaded ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED));
}

void LeaveComApartment() noexcept
{
    ::CoUninitialize();
}

ComApartment CurrentComApartment() noexcept
{
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    if (FAILED(::CoGetApartmentType(&type, &qualifier)) || qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA)
    {
        return ComApartment::None; // an implicit apartment was initialised by other threads
    }
    return type == APTTYPE_MTA ? ComApartment::MultiThreaded : ComApartment::ApartmentThreaded;
}

} // namespace Ardo::Kiln::Platform
