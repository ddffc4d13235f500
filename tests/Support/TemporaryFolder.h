#pragma once

namespace Ardo::Kiln::Support
{

/// Gives the test program, and the processes that it starts, a folder for temporary files of its own (TMPDIR, on
/// Windows TMP). The program fails if the tests leave anything there, and the folder is removed. To be called once,
/// before the tests run; does nothing in a process that a test program has started.
void CheckTemporaryFolder();

} // namespace Ardo::Kiln::Support
