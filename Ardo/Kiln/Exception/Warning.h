#pragma once

#include "Ardo/Kiln/Exception/HandledException.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Exception
{

/// An event that the user should know and that does not stop the work.
///
/// The thread remembers the warning that was constructed last, as it does for errors and apart from them: see Error.
class KILN_EXPORT Warning : public HandledException
{
public:
    /// Becomes the calling thread's last warning.
    /// \throws std::bad_alloc only.
    Warning(const std::string& message);
    Warning(const Warning& other) noexcept;
    Warning& operator=(const Warning& other) noexcept;
    ~Warning() override;

    /// The calling thread's last warning, or null. Not owned; the warning of Error::GetLast holds here too.
    static Warning* GetLast();

private:
    static Warning** GetLastWarningPtr();
};

} // namespace Ardo::Kiln::Exception
