#pragma once

#include "tests/Support/Process.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace Ardo::Kiln::Support
{

// What the systems do each in its own way, for tests that run on both.

/// The file name \p name of a file that Hide() hides: on Linux with a dot in front.
std::string HiddenName(const std::string& name);

/// Hides an existing file with such a name: on Windows sets its attribute.
void Hide(const std::filesystem::path& file);

/// A file name that is no text: \p before, something that is displayed as U+FFFD, and \p after.
std::filesystem::path NameThatIsNoText(const std::string& before, const std::string& after);

/// Whether files can have such names: under wine they cannot.
bool CanHaveNameThatIsNoText();

/// What \p action writes to the standard error stream, byte for byte. GoogleTest alone reads what it has captured as
/// text, which makes "\n" of "\r\n" on Windows.
std::string SaidOnStandardError(const std::function<void()>& action);

/// By how much tests divide their loads of handovers between threads: 1. Under wine 10, because each handover is a
/// request to a server process there: a million of them take minutes instead of a second.
int HandoverCost();

/// The most memory that this process has used at one time, in bytes.
std::uint64_t PeakMemory();

/// Lets this process fail to get more than \p bytes of memory. Not to be taken back.
void LimitMemory(std::uint64_t bytes);

/// Runs a test of this program once more, with a copy of the library in \p folder that has no plug-ins beside it.
/// \param filter   the test, as --gtest_filter takes it.
/// \param variable an environment variable that is 1 there.
ProcessResult RunWithLibraryCopy(const std::filesystem::path& folder, const std::string& filter,
                                 const std::string& variable);

/// Settings of the machine that nobody else sees, until the object is destroyed.
///
/// On Linux they are files below a folder that XDG_CONFIG_DIRS names, on Windows another key takes the place of
/// HKEY_LOCAL_MACHINE in this process. One object at a time.
class ScopedMachineSettings
{
public:
    ScopedMachineSettings();
    ~ScopedMachineSettings();
    ScopedMachineSettings(const ScopedMachineSettings&) = delete;
    ScopedMachineSettings& operator=(const ScopedMachineSettings&) = delete;

    /// Sets the text \p name of \p key, such as "Ardo/Configuration" or "Wow6432Node/Ardo/Configuration", as the only
    /// one of this key.
    void Set(const std::string& key, const std::string& name, const std::string& text);

    /// Removes a key with all that it holds.
    void Remove(const std::string& key);

    /// Makes the key unusable: on Linux its file cannot be read, on Windows all its values are numbers.
    void Spoil(const std::string& key, const std::string& name);

private:
    struct System;
    std::unique_ptr<System> m_system;
};

} // namespace Ardo::Kiln::Support
