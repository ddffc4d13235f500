#pragma once

#include <string>
#include <vector>

namespace Ardo::Kiln::Program
{

/// The command line of the program: its name and its arguments.
///
/// On Linux they are the bytes that \p argv holds, by convention UTF-8. On Windows they are UTF-8: \p argv, which is in
/// the code page of the machine, is ignored.
/// \throws std::bad_alloc only.
std::vector<std::string> ProgramArguments(int argc, char** argv);

/// Makes the standard streams streams of bytes: on Windows the C library would change line ends in them. A console
/// shows UTF-8 from then on. To be called before the first input and output.
void UseBinaryStreams();

} // namespace Ardo::Kiln::Program
