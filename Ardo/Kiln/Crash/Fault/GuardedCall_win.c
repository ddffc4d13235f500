/* The only place that needs __try. It is C, so that there are no destructors in the way, and is compiled by MSVC or, in a
   build by gcc, which has no __try, by clang. */

#include "Ardo/Kiln/Crash/Fault/GuardedCall_win.h"

int KilnCallGuarded(struct KilnGuardedCall* call)
{
    struct KilnGuardedCall* volatile own = call; /* in memory: registers are those of the capture when it is left */
    __try
    {
        RtlCaptureContext(&own->context);
        if (own->isLeft)
        {
            return 0;
        }
        own->work(own->argument);
        return 1;
    }
    __except (own->filter(own, GetExceptionInformation()))
    {
        return 0;
    }
}
