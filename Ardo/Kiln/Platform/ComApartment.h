#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// How a thread's COM objects are called.
enum class ComApartment
{
    None,              ///< The thread has none.
    ApartmentThreaded, ///< Only by the thread itself.
    MultiThreaded,     ///< By all threads of the apartment.
};

/// Initializes COM for the calling thread. Each call that does not fail asks for one LeaveComApartment().
///
/// On Windows the system does. On Linux there is no COM: only what was asked for is recorded, thread by thread, by the
/// same rules, so that callers and tests can see it.
/// \param model not None.
/// \returns the HRESULT: 0; 1 when the thread was in such an apartment already; 0x80010106 as a negative number when it
/// is in another. On Windows also what else the system answers.
KILN_EXPORT_FOR_TESTS std::int32_t EnterComApartment(ComApartment model) noexcept;

/// Undoes one EnterComApartment() of the calling thread.
KILN_EXPORT_FOR_TESTS void LeaveComApartment() noexcept;

/// The apartment that the calling thread is in.
KILN_EXPORT_FOR_TESTS ComApartment CurrentComApartment() noexcept;

} // namespace Ardo::Kiln::Platform
