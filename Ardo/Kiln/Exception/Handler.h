#pragma once

#include "Ardo/Kiln/Exception/MinidumpActions.h"
#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace Ardo::Kiln::Exception
{

struct Notification;
class Warning;

/// The last line of defence of the process against faults and against exceptions that nobody catches.
class KILN_EXPORT Handler
{
public:
    /// Hands a notification to whoever presents it.
    using Notify = std::function<void(std::shared_ptr<Notification>)>;

    /// Deals with one fatal fault.
    using FaultHandler = std::function<void(EXCEPTION_POINTERS*, const Notify&)>;

    /// Monitors the calling thread.
    static void Initialize();

    /// Sets what is monitored, and how.
    static void SetFlags(unsigned long long flags);

    static void SetMonitorAllThread(bool monitor);

    static void SetHandler(const FaultHandler& handler);

    static void ResetHandler();

    /// Calls \p work. A fault or an exception that leaves it is handled, and the call returns.
    static void Execute(const std::function<void()>& work);

    /// The same; a Warning that leaves \p work, and the question whether reports are wanted, go to \p notify.
    static void ExecuteOrNotify(const std::function<void()>& work, const Notify& notify);

    Handler();
    ~Handler();
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;
};

} // namespace Ardo::Kiln::Exception
