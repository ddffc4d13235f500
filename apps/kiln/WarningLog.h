#pragma once

#include <memory>

namespace Ardo::Kiln::Tool
{

/// While it lives, what the library logs at warning and above goes to standard error, for the person at the terminal:
/// what a reader left out, why a file could not be opened.
class WarningLog
{
public:
    WarningLog();
    ~WarningLog();
    WarningLog(const WarningLog&) = delete;
    WarningLog& operator=(const WarningLog&) = delete;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Tool
