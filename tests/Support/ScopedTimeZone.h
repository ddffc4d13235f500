#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace Ardo::Kiln::Support
{

/// Another time zone for the process, until it is destroyed. Not while another thread asks for local times.
class ScopedTimeZone
{
public:
    /// \param zone what the environment variable TZ holds, such as "CET-1CEST,M3.5.0,M10.5.0/3".
    explicit ScopedTimeZone(const char* zone)
    {
        if (const char* const before = std::getenv("TZ"))
        {
            m_before = before;
        }
        Set(zone);
    }
    ~ScopedTimeZone() { Set(m_before ? m_before->c_str() : nullptr); }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    static void Set(const char* zone)
    {
        zone != nullptr ? ::setenv("TZ", zone, 1) : ::unsetenv("TZ");
        ::tzset();
    }

    std::optional<std::string> m_before;
};

} // namespace Ardo::Kiln::Support
