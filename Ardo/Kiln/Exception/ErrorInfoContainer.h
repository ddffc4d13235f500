#pragma once

namespace boost
{
class exception;
}

namespace Ardo::Kiln::Exception
{

/// Gives an exception an empty container for its error info whose reference count is atomic.
///
/// Copies of an exception share their container and may die on different threads. Boost's own container, which the
/// first attached entry would bring along, counts without synchronisation.
/// \throws std::bad_alloc only.
void GiveErrorInfoContainer(const boost::exception& exception);

} // namespace Ardo::Kiln::Exception
