#pragma once

#include "tests/Support/ScopedVariable.h"

#include <ctime>
#include <optional>

namespace Ardo::Kiln::Support
{

/// Another time zone for the process, until it is destroyed. Not while another thread asks for local times.
class ScopedTimeZone
{
public:
    /// \param zone the value of the environment variable TZ, such as "CET-1CEST,M3.5.0,M10.5.0/3".
    explicit ScopedTimeZone(const char* zone)
    {
        m_variable.emplace("TZ", zone);
        ::tzset();
    }
    ~ScopedTimeZone()
    {
        m_variable.reset();
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<ScopedVariable> m_variable; ///< Optional, so that it ends before tzset is called.
};

} // namespace Ardo::Kiln::Support
