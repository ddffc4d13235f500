#include "Ardo/Kiln/Exception/Handler.h"

#include "Ardo/Kiln/Exception/Notification.h"

namespace Ardo::Kiln::Exception
{

void Handler::Initialize() {}

void Handler::Execute(const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const std::exception&)
    {
        // What is thrown past the work ends it.
    }
}

} // namespace Ardo::Kiln::Exception
