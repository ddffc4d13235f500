#pragma once

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Threading
{

/// The main thread did not run a job that a thread waits for, and never will.
class KILN_EXPORT MainThreadDispatchException : public Exception::Error
{
public:
    MainThreadDispatchException();
    ~MainThreadDispatchException() override;
    MainThreadDispatchException(const MainThreadDispatchException&) = default;
    MainThreadDispatchException& operator=(const MainThreadDispatchException&) = default;
};

} // namespace Ardo::Kiln::Threading
