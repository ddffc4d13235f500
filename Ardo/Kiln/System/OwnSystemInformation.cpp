#include "Ardo/Kiln/Platform/ProcessId.h"
#include "Ardo/Kiln/System/SystemInformation.h"

namespace Ardo::Kiln::System
{

SystemInformation ReadSystemInformation()
{
    return ReadSystemInformation(Platform::OwnProcessId());
}

} // namespace Ardo::Kiln::System
