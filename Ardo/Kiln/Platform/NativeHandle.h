#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <utility>

namespace Ardo::Kiln::Platform
{

/// Owns an open file of the system, a HANDLE or a descriptor, and closes it. Move-only. Errors of closing are ignored;
/// flush the file first if its contents matter.
class KILN_EXPORT_FOR_TESTS NativeHandle
{
public:
    static constexpr std::intptr_t None = -1; ///< INVALID_HANDLE_VALUE, or no descriptor.

    explicit NativeHandle(std::intptr_t value = None) noexcept : m_value(value) {}
    ~NativeHandle() { Close(); }
    NativeHandle(NativeHandle&& other) noexcept : m_value(other.Release()) {}
    NativeHandle& operator=(NativeHandle&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            m_value = other.Release();
        }
        return *this;
    }

    explicit operator bool() const noexcept { return m_value != None; }

    /// The system's value: a HANDLE, or the number of a descriptor.
    std::intptr_t Get() const noexcept { return m_value; }

    /// Gives up ownership: the caller must close the returned value.
    std::intptr_t Release() noexcept { return std::exchange(m_value, None); }

    /// Closes the file now. A signal handler may call it.
    void Close() noexcept;

private:
    std::intptr_t m_value;
};

} // namespace Ardo::Kiln::Platform
