#include "Ardo/Kiln/Exception/Notification.h"

namespace Ardo::Kiln::Exception
{

void Notification::Answer(const MinidumpActions& answer)
{
    try
    {
        reply.set_value(answer);
    }
    catch (const std::future_error& error)
    {
        if (error.code() != std::future_errc::promise_already_satisfied)
        {
            throw;
        }
    }
}

} // namespace Ardo::Kiln::Exception
