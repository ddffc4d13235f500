#pragma once

#include <windows.h>

#include <utility>

namespace Ardo::Kiln::Platform
{

/// Owns a kernel handle and closes it. Move-only; both null and INVALID_HANDLE_VALUE are "none".
class ScopedHandle
{
public:
    explicit ScopedHandle(HANDLE handle = nullptr) noexcept : m_handle(handle) {}
    ~ScopedHandle() { Close(); }
    ScopedHandle(ScopedHandle&& other) noexcept : m_handle(other.Release()) {}
    ScopedHandle& operator=(ScopedHandle&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            m_handle = other.Release();
        }
        return *this;
    }

    explicit operator bool() const noexcept { return m_handle != nullptr && m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const noexcept { return m_handle; }

    /// Gives up ownership: the caller must close the returned handle.
    HANDLE Release() noexcept { return std::exchange(m_handle, nullptr); }

private:
    void Close() noexcept
    {
        if (*this)
        {
            ::CloseHandle(m_handle);
        }
    }

    HANDLE m_handle;
};

} // namespace Ardo::Kiln::Platform
