#pragma once

// The structure `GUID` of Windows. On Windows it is that of the system; elsewhere one with the same name and layout.
// Public, because a public header takes and returns it.

#ifdef _WIN32

#include <guiddef.h>

#else

#include <cstdint>

/// A 16-byte identifier as Windows lays it out: Data1 to Data3 are numbers in the machine's byte order.
struct _GUID // NOLINT(bugprone-reserved-identifier): the name that the system gives it
{
    std::uint32_t Data1;   ///< Bytes 0 to 3.
    std::uint16_t Data2;   ///< Bytes 4 and 5.
    std::uint16_t Data3;   ///< Bytes 6 and 7.
    std::uint8_t Data4[8]; ///< Bytes 8 to 15.
};

#endif

static_assert(sizeof(_GUID) == 16);
