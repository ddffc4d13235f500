#pragma once

#include "tests/Support/Environment.h"

#include <concepts>
#include <filesystem>
#include <optional>
#include <string>

namespace Ardo::Kiln::Support
{

/// Another value of an environment variable, until it is destroyed. Not while another thread reads the environment.
class ScopedVariable
{
public:
    /// \param name a literal.
    /// \param value in UTF-8; empty: the variable is removed.
    ScopedVariable(const char* name, const std::optional<std::string>& value)
        : m_name(name), m_before(EnvironmentValue(name))
    {
        SetEnvironmentValue(m_name, value);
    }
    template <std::same_as<std::filesystem::path> Path>
    ScopedVariable(const char* name, const Path& value)
        : ScopedVariable(name, std::optional(std::string(reinterpret_cast<const char*>(value.u8string().c_str()))))
    {
    }
    ~ScopedVariable() { SetEnvironmentValue(m_name, m_before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_before; ///< Empty: it was not set.
};

/// Another folder for the data of products, for this process and those that it starts.
class ScopedDataFolder
{
public:
    explicit ScopedDataFolder(const std::filesystem::path& folder)
        : m_posix("XDG_DATA_HOME", folder), m_windows("ProgramData", folder)
    {
    }

private:
    ScopedVariable m_posix;
    ScopedVariable m_windows;
};

/// Another folder for temporary files, for this process and those that it starts.
class ScopedTemporaryFolder
{
public:
    explicit ScopedTemporaryFolder(const std::filesystem::path& folder)
        : m_posix("TMPDIR", folder), m_windows("TMP", folder)
    {
    }

private:
    ScopedVariable m_posix;
    ScopedVariable m_windows; ///< Asked before TEMP.
};

} // namespace Ardo::Kiln::Support
