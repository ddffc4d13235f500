#include "Ardo/Kiln/Platform/ProcessFork.h"

namespace Ardo::Kiln::Platform
{

void OnFork(void (*)(), void (*)(), void (*)()) {}

} // namespace Ardo::Kiln::Platform
