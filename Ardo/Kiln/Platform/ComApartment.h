#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// The COM apartment of a thread: which threads may call its COM objects.
enum class ComApartment
{
    None,              ///< The thread has none.
    ApartmentThreaded, ///< Only the thread itself.
    MultiThreaded,     ///< All threads of the apartment.
};

/// Initializes COM for the calling thread. Each successful call must be followed by one LeaveComApartment().
///
/// On Linux there is no COM. The request is recorded per thread by the same rules; callers and tests can read it.
/// \param model not None.
/// \returns the HRESULT: 0 on success, 1 if the thread was already in such an apartment, 0x80010106 as a negative
///          number if it is in another one. On Windows also other errors of the system.
KILN_EXPORT_FOR_TESTS std::int32_t EnterComApartment(ComApartment model) noexcept;

/// Undoes one EnterComApartment() of the calling thread.
KILN_EXPORT_FOR_TESTS void LeaveComApartment() noexcept;

/// The apartment of the calling thread.
KILN_EXPORT_FOR_TESTS ComApartment CurrentComApartment() noexcept;

} // namespace Ardo::Kiln::Platform
