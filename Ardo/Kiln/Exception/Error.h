#pragma once

#include "Ardo/Kiln/Exception/HandledException.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Exception
{

/// A failure: the operation has not been carried out. The base of the error classes of all subsystems.
///
/// The thread remembers the error that was constructed last, from its message, until that object is destroyed. Copies
/// and assignments do not change it, so a copy made during unwinding does not replace the first object.
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
    /// \warning The pointer is reset when the thread that constructed the error destroys it. It dangles after another
    ///        thread has destroyed the error: do not call this for an error that was handed to another thread.
    static Error* GetLast();

private:
    static Error** GetLastErrorPtr();
};

} // namespace Ardo::Kiln::Exception
