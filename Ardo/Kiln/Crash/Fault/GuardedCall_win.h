#pragma once

/* Also included by C. */

#include <windows.h>

#ifdef __cplusplus
extern "C"
{
#endif

    /** One call of KilnCallGuarded; on the stack of its caller. */
    struct KilnGuardedCall
    {
        void (*work)(void*);
        void* argument;
        /** The filter of `__except`: asked about each exception that leaves the work. Answers as FaultFilter does. */
        long (*filter)(struct KilnGuardedCall* call, EXCEPTION_POINTERS* pointers);
        CONTEXT context;     /**< Set by the call: where it goes on when it is left. */
        volatile int isLeft; /**< Not 0: a thread that continues at `context` leaves the call. */
    };

    /**
 * Calls the work under a frame-based handler.
 * \returns 1 when the work has ended by itself; 0 when the filter has dealt with an exception, or when the call was left.
 * Destructors of what the work had on its stack do not run then.
 */
    int KilnCallGuarded(struct KilnGuardedCall* call);

#ifdef __cplusplus
}
#endif
