#pragma once

#include <utility>

namespace Ardo::Kiln::Platform
{

/// Owns one value that the system has given, such as a descriptor, and closes it. Move-only.
///
/// \tparam Traits has the type Value, the Value None, and the functions `bool IsOpen(Value) noexcept` and
///                `void Close(Value) noexcept`. Errors of closing are ignored; flush a file first if its contents
///                matter.
template <typename Traits>
class ScopedResource
{
public:
    using Value = typename Traits::Value;

    explicit ScopedResource(Value value = Traits::None) noexcept : m_value(value) {}
    ~ScopedResource() { Close(); }
    ScopedResource(ScopedResource&& other) noexcept : m_value(other.Release()) {}
    ScopedResource& operator=(ScopedResource&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            m_value = other.Release();
        }
        return *this;
    }

    explicit operator bool() const noexcept { return Traits::IsOpen(m_value); }
    Value Get() const noexcept { return m_value; }

    /// Gives up ownership: the caller must close the returned value.
    Value Release() noexcept { return std::exchange(m_value, Value{Traits::None}); }

    /// Closes the value now.
    void Close() noexcept
    {
        if (const Value value = Release(); Traits::IsOpen(value))
        {
            Traits::Close(value);
        }
    }

private:
    Value m_value;
};

} // namespace Ardo::Kiln::Platform
