#pragma once

#include <unistd.h>

#include <utility>

namespace Ardo::Kiln::Platform
{

/// Owns a file descriptor and closes it. Move-only; -1 is "none".
class ScopedDescriptor
{
public:
    explicit ScopedDescriptor(int descriptor = -1) noexcept : m_descriptor(descriptor) {}
    ~ScopedDescriptor() { Close(); }
    ScopedDescriptor(ScopedDescriptor&& other) noexcept : m_descriptor(other.Release()) {}
    ScopedDescriptor& operator=(ScopedDescriptor&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            m_descriptor = other.Release();
        }
        return *this;
    }

    explicit operator bool() const noexcept { return m_descriptor != -1; }
    int Get() const noexcept { return m_descriptor; }

    /// Gives up ownership: the caller must close the returned descriptor.
    int Release() noexcept { return std::exchange(m_descriptor, -1); }

private:
    void Close() noexcept
    {
        if (m_descriptor != -1)
        {
            ::close(m_descriptor); // errors are ignored; call fsync first if the contents matter
        }
    }

    int m_descriptor;
};

} // namespace Ardo::Kiln::Platform
