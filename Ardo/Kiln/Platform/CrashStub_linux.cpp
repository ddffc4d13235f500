#include "Ardo/Kiln/Platform/CrashWriterProcess.h"

namespace Ardo::Kiln::Platform
{

// Until the writer process is there: weak, so that it takes their place.
[[gnu::weak]] bool CrashWriterProcess::Prepare() noexcept
{
    return false;
}

[[gnu::weak]] bool CrashWriterProcess::Run(CrashRequest& /*request*/, int /*descriptor*/, int /*timeout*/) noexcept
{
    return false;
}

} // namespace Ardo::Kiln::Platform
