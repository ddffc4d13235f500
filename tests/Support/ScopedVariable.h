#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace Ardo::Kiln::Support
{

/// Another value of an environment variable, until it is destroyed. Not while another thread reads the environment.
class ScopedVariable
{
public:
    /// \param name a literal.
    /// \param value empty: the variable is removed.
    ScopedVariable(const char* name, const std::optional<std::string>& value) : m_name(name)
    {
        if (const char* const before = std::getenv(name))
        {
            m_before = before;
        }
        Set(value);
    }
    ~ScopedVariable() { Set(m_before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void Set(const std::optional<std::string>& value) const
    {
        value ? ::setenv(m_name, value->c_str(), 1) : ::unsetenv(m_name);
    }

    const char* m_name;
    std::optional<std::string> m_before; ///< Empty: it was not set.
};

} // namespace Ardo::Kiln::Support
