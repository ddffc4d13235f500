#pragma once

#include "Ardo/Kiln/Exception/HandledException.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Exception
{

/// A failure: what was asked for has not been done. The base of the error classes of all subsystems.
///
/// The thread remembers the error that was constructed last, from its message, until that object is destroyed. A copy
/// or an assignment changes nothing about it, so a copy made while the exception is on its way does not take the place
/// of the first object.
class KILN_EXPORT Error : public HandledException
{
public:
    /// Becomes the calling thread's last error.
    /// \throws std::bad_alloc only.
    Error(const std::string& message);
    Error(const Error& other) noexcept;
    Error& operator=(const Error& other) noexcept;
    ~Error() override;

    /// The calling thread's last error, or null. Not owned.
    /// \warning Stands until the object is destroyed by the thread that constructed it. An error that dies on another
    ///          thread cannot be forgotten here: do not look for one that was handed over.
    static Error* GetLast();

private:
    static Error** GetLastErrorPtr();
};

} // namespace Ardo::Kiln::Exception
