#include "apps/Program/ProgramArguments.h"

namespace Ardo::Kiln::Program
{

std::vector<std::string> ProgramArguments(int argc, char** argv)
{
    return {argv, argv + argc};
}

void UseBinaryStreams() {}

} // namespace Ardo::Kiln::Program
